/** @file
  Memory fill and zeroing.
**/
#include <Library/BaseMemoryLib.h>

#include "MemoryLoop.h"

MEMORY_LOOP_NO_BUILTIN
VOID *
EFIAPI
SetMem (
  OUT VOID  *Buffer,
  IN  UINTN Length,
  IN  UINT8 Value
  )
{
  UINT8  *Bytes;

  Bytes = static_cast<UINT8 *>(Buffer);
  for (UINTN Index = 0; Index < Length; Index++) {
    Bytes[Index] = Value;
  }

  return Buffer;
}

VOID *
EFIAPI
ZeroMem (
  OUT VOID  *Buffer,
  IN  UINTN Length
  )
{
  return SetMem (Buffer, Length, 0);
}

VOID
EFIAPI
ZeroMemSecure (
  OUT VOID  *Buffer,
  IN  UINTN Length
  )
{
  volatile UINT8  *Bytes;

  // Volatile stores: the buffer is usually freed right after, which would
  // let the compiler drop ordinary writes as dead.
  Bytes = static_cast<volatile UINT8 *>(Buffer);
  for (UINTN Index = 0; Index < Length; Index++) {
    Bytes[Index] = 0;
  }
}
