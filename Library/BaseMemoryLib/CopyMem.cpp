/** @file
  Overlap-safe memory copy.
**/
#include <Library/BaseMemoryLib.h>

#include "MemoryLoop.h"

MEMORY_LOOP_NO_BUILTIN
VOID *
EFIAPI
CopyMem (
  OUT VOID       *DestinationBuffer,
  IN  CONST VOID *SourceBuffer,
  IN  UINTN      Length
  )
{
  UINT8        *Destination;
  CONST UINT8  *Source;

  Destination = static_cast<UINT8 *>(DestinationBuffer);
  Source      = static_cast<CONST UINT8 *>(SourceBuffer);
  if ((Length == 0) || (Destination == Source)) {
    return DestinationBuffer;
  }

  // Copy backwards when the destination starts inside the source, so that
  // no source byte is overwritten before it has been read.
  if ((Destination > Source) && (Destination < Source + Length)) {
    while (Length > 0) {
      Length--;
      Destination[Length] = Source[Length];
    }
  } else {
    for (UINTN Index = 0; Index < Length; Index++) {
      Destination[Index] = Source[Index];
    }
  }

  return DestinationBuffer;
}
