/** @file
  The platform data image: the board configuration database and the
  component data storage over a board model and a storage model. A platform
  that owns the models installs the hand-over protocol before the image
  starts; without it the image serves the embedded board and an empty
  storage of its own, and installs the hand-over itself so that readers
  (a test application) reach the stored records.
**/
#ifndef BOARD_PLATFORM_DATA_H_
#define BOARD_PLATFORM_DATA_H_

#include "BoardModel.h"
#include "ComponentData/CdsModel.h"

CARVEX_GUID_DEFINE (gPlatformDataHandOverProtocolGuid, 0x5B0C8E13, 0x6A2F, 0x4D71, 0x9E, 0x44, 0x3C, 0x1B, 0x87, 0xD2, 0x60, 0xA9);

#define PLATFORM_DATA_HAND_OVER_REVISION  1

typedef struct {
  UINT32         Revision;  // PLATFORM_DATA_HAND_OVER_REVISION
  UINT32         Reserved;
  // A model whose Signature is 0 is initialised by the image (the board as
  // the embedded one).
  BOARD_MODEL    *Board;
  CDS_MODEL      *Storage;
} PLATFORM_DATA_HAND_OVER_PROTOCOL;

// Binds both models and installs the board configuration database and the
// component data storage on a new handle.
EFI_STATUS EFIAPI PlatformDataInstall (IN BOARD_MODEL *Board, IN CDS_MODEL *Storage, IN OUT EFI_HANDLE *Handle);

EFI_STATUS EFIAPI PlatformDataEntryPoint (IN EFI_HANDLE ImageHandle, IN EFI_SYSTEM_TABLE *SystemTable);

#endif
