/** @file
  Byte-wise memory comparison.
**/
#include <Library/BaseMemoryLib.h>

#include "MemoryLoop.h"

MEMORY_LOOP_NO_BUILTIN
INTN
EFIAPI
CompareMem (
  IN CONST VOID *DestinationBuffer,
  IN CONST VOID *SourceBuffer,
  IN UINTN      Length
  )
{
  CONST UINT8  *Destination;
  CONST UINT8  *Source;

  Destination = static_cast<CONST UINT8 *>(DestinationBuffer);
  Source      = static_cast<CONST UINT8 *>(SourceBuffer);
  for (UINTN Index = 0; Index < Length; Index++) {
    if (Destination[Index] != Source[Index]) {
      return static_cast<INTN>(Destination[Index]) - static_cast<INTN>(Source[Index]);
    }
  }

  return 0;
}
