/** @file
  The platform's memory setup, read only at its exact size.
**/
#include "SocketMemoryConfig.h"
#include <Library/BaseMemoryLib.h>
#include <Library/UefiRuntimeServicesTableLib.h>

STATIC CHAR16  mSocketMemoryConfigName[] = SOCKET_MEMORY_CONFIG_NAME;

EFI_STATUS
EFIAPI
GetSocketMemoryConfig (
  OUT UINT32  *pAttributes,
  OUT UINT8   *pConfig
  )
{
  EFI_STATUS  Status;
  UINTN       DataSize;

  *pAttributes = 0;
  DataSize     = SOCKET_MEMORY_CONFIG_SIZE;
  Status       = gRT->GetVariable (mSocketMemoryConfigName, &gSocketMemoryConfigGuid, pAttributes, &DataSize, pConfig);
  // A shorter variable would leave the tail of the image from an earlier
  // read, and writing it back would grow the platform's variable with it.
  if (!EFI_ERROR (Status) && (DataSize != SOCKET_MEMORY_CONFIG_SIZE)) {
    Status = EFI_BAD_BUFFER_SIZE;
  }

  if (EFI_ERROR (Status)) {
    *pAttributes = 0;
    ZeroMem (pConfig, SOCKET_MEMORY_CONFIG_SIZE);
  }

  return Status;
}
