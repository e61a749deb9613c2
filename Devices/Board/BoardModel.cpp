/** @file
  The board model's own side: an empty board, the embedded board, slots
  added to the map, checks of a stored model.
**/
#include "BoardModel.h"
#include <Library/BaseMemoryLib.h>

// Network setting kinds of the embedded board.
#define BOARD_NETWORK_KIND_LOM  2
#define BOARD_NETWORK_KIND_PHY  4

VOID
EFIAPI
BoardModelInitialize (
  OUT BOARD_MODEL  *Model
  )
{
  ZeroMem (Model, sizeof (*Model));
  Model->Signature       = BOARD_MODEL_SIGNATURE;
  Model->Version         = BOARD_MODEL_VERSION;
  Model->Size            = sizeof (BOARD_MODEL);
  Model->RecordSignature = PLATFORM_DATA_SIGNATURE;
  Model->RecordVersion   = PLATFORM_DATA_VERSION;
  SetMem (&Model->DimmMap[0], sizeof (Model->DimmMap[0]), DIMM_MAP_TERMINATOR);
  Model->DimmMapCount = 1;
}

EFI_STATUS
EFIAPI
BoardModelAddSlot (
  IN OUT BOARD_MODEL     *Model,
  IN     CONST DIMM_MAP_ENTRY  *Entry
  )
{
  UINT32  Count;

  // Entries before the terminator; a map without one grows at its end.
  for (Count = 0; Count < Model->DimmMapCount && Model->DimmMap[Count].CpuIndex != DIMM_MAP_TERMINATOR; Count++) {
  }
  if (Count + 1 >= BOARD_MAX_MAP_ENTRIES) {
    return EFI_OUT_OF_RESOURCES;
  }
  CopyMem (&Model->DimmMap[Count], Entry, sizeof (*Entry));
  SetMem (&Model->DimmMap[Count + 1], sizeof (Model->DimmMap[0]), DIMM_MAP_TERMINATOR);
  Model->DimmMapCount = Count + 2;
  return EFI_SUCCESS;
}

VOID
EFIAPI
BoardModelDefault (
  OUT BOARD_MODEL  *Model
  )
{
  DIMM_MAP_ENTRY  Entry;
  UINT8           Label;

  BoardModelInitialize (Model);
  Model->SocketCount = 2;
  Model->FactorA     = 2;
  Model->FactorB     = 3;
  for (Label = 1; Label <= 12; Label++) {
    ZeroMem (&Entry, sizeof (Entry));
    Entry.CpuIndex        = (UINT8)((Label - 1) / 6);
    Entry.ImcNum          = (UINT8)(((Label - 1) % 6) / 3);
    Entry.ChannelNum      = (UINT8)((Label - 1) % 3);
    Entry.ChannelByte     = (UINT8)((Label - 1) % 6);  // channel within the processor
    Entry.DimmNum         = 0;
    Entry.SilkScreenLabel = Label;
    BoardModelAddSlot (Model, &Entry);
  }
  Model->NetworkCount             = 2;
  Model->Network[0].Kind          = BOARD_NETWORK_KIND_LOM;
  Model->Network[0].Present       = 1;
  Model->Network[1].Kind          = BOARD_NETWORK_KIND_PHY;
  Model->Network[1].Present       = 1;
}

EFI_STATUS
EFIAPI
BoardModelValidate (
  IN CONST BOARD_MODEL  *Model
  )
{
  if (Model == NULL) {
    return EFI_INVALID_PARAMETER;
  }
  if (Model->Signature != BOARD_MODEL_SIGNATURE || Model->Version != BOARD_MODEL_VERSION ||
      Model->Size != sizeof (BOARD_MODEL))
  {
    return EFI_INCOMPATIBLE_VERSION;
  }
  if (Model->DimmMapCount > BOARD_MAX_MAP_ENTRIES || Model->NetworkCount > BOARD_MAX_NETWORK_ENTRIES) {
    return EFI_VOLUME_CORRUPTED;
  }
  return EFI_SUCCESS;
}
