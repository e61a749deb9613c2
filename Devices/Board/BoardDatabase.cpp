/** @file
  The board configuration database over the board model: the platform data
  record under gPlatformDataDxeGuid, whose getters answer from the model.
**/
#include "BoardModel.h"
#include <Library/BaseMemoryLib.h>

STATIC BOARD_MODEL  *mBoardModel;

STATIC
VOID
EFIAPI
BoardGetSocketCount (
  OUT UINT32  *Value
  )
{
  if (Value != NULL) {
    *Value = mBoardModel != NULL ? mBoardModel->SocketCount : 0;
  }
}

STATIC
VOID
EFIAPI
BoardGetFactorA (
  OUT UINT32  *Value
  )
{
  if (Value != NULL) {
    *Value = mBoardModel != NULL ? mBoardModel->FactorA : 0;
  }
}

STATIC
VOID
EFIAPI
BoardGetFactorB (
  OUT UINT32  *Value
  )
{
  if (Value != NULL) {
    *Value = mBoardModel != NULL ? mBoardModel->FactorB : 0;
  }
}

STATIC
EFI_STATUS
EFIAPI
BoardGetDimmMap (
  OUT VOID   **Table,
  OUT UINTN  *Count
  )
{
  if (mBoardModel == NULL) {
    return EFI_NOT_READY;
  }
  mBoardModel->CallCount[BOARD_CALL_DIMM_MAP]++;
  if (Table == NULL || Count == NULL) {
    return EFI_INVALID_PARAMETER;
  }
  if (mBoardModel->DimmMapStatus != EFI_SUCCESS) {
    return mBoardModel->DimmMapStatus;
  }
  // The board's own table: callers copy what they keep.
  *Table = mBoardModel->DimmMap;
  *Count = mBoardModel->DimmMapCount;
  return EFI_SUCCESS;
}

STATIC
EFI_STATUS
EFIAPI
BoardGetNetworkSetting (
  OUT VOID    **Table,
  OUT UINT32  *Count
  )
{
  if (mBoardModel == NULL) {
    return EFI_NOT_READY;
  }
  mBoardModel->CallCount[BOARD_CALL_NETWORK_SETTING]++;
  if (Table == NULL || Count == NULL) {
    return EFI_INVALID_PARAMETER;
  }
  if (mBoardModel->NetworkStatus != EFI_SUCCESS) {
    return mBoardModel->NetworkStatus;
  }
  *Table = mBoardModel->Network;
  *Count = mBoardModel->NetworkCount;
  return EFI_SUCCESS;
}

STATIC
EFI_STATUS
EFIAPI
BoardGetData (
  IN     UBA_CONFIG_DATABASE_PROTOCOL  *This,
  IN     CONST EFI_GUID                *ResourceGuid,
  OUT    VOID                          *Buffer,
  IN OUT UINTN                         *BufferSize
  )
{
  PLATFORM_DATA  Record;

  (VOID)This;
  if (mBoardModel == NULL) {
    return EFI_NOT_READY;
  }
  mBoardModel->CallCount[BOARD_CALL_GET_DATA]++;
  if (ResourceGuid == NULL || BufferSize == NULL) {
    return EFI_INVALID_PARAMETER;
  }
  if (mBoardModel->GetDataStatus != EFI_SUCCESS) {
    return mBoardModel->GetDataStatus;
  }
  if (!CompareGuid (ResourceGuid, &gPlatformDataDxeGuid)) {
    return EFI_NOT_FOUND;
  }
  if (*BufferSize < sizeof (Record) || Buffer == NULL) {
    *BufferSize = sizeof (Record);
    return EFI_BUFFER_TOO_SMALL;
  }
  ZeroMem (&Record, sizeof (Record));
  Record.Signature         = mBoardModel->RecordSignature;
  Record.Version           = mBoardModel->RecordVersion;
  Record.GetSocketCount    = BoardGetSocketCount;
  Record.GetFactorA        = BoardGetFactorA;
  Record.GetFactorB        = BoardGetFactorB;
  Record.GetDimmMap        = BoardGetDimmMap;
  Record.GetNetworkSetting = BoardGetNetworkSetting;
  CopyMem (Buffer, &Record, sizeof (Record));
  *BufferSize = sizeof (Record);
  return EFI_SUCCESS;
}

STATIC UBA_CONFIG_DATABASE_PROTOCOL  mBoardDatabase = {
  {},
  BoardGetData,
};

VOID
EFIAPI
BoardDeviceBind (
  IN BOARD_MODEL  *Model OPTIONAL
  )
{
  mBoardModel = Model;
}

UBA_CONFIG_DATABASE_PROTOCOL *
EFIAPI
BoardDeviceDatabaseProtocol (
  VOID
  )
{
  return &mBoardDatabase;
}
