/** @file
  The one formatter behind every print function: output and format may each
  be CHAR8 or CHAR16. Capacity counts output characters, NUL included.
**/
#ifndef PRINT_LIB_PRINT_ENGINE_H_
#define PRINT_LIB_PRINT_ENGINE_H_

#include <Uefi/UefiBaseType.h>

namespace PrintLibInternal {

// Formats into Buffer, never writing past Capacity characters, and always
// terminates when Capacity > 0. Returns the characters stored before the
// NUL. Marker is copied first, so the caller's list is left for it to end.
template <typename OutChar, typename FormatChar>
UINTN
FormatToBuffer (
  OUT OutChar          *Buffer,
  IN  UINTN            Capacity,
  IN  CONST FormatChar *Format,
  IN  VA_LIST          Marker
  );

}  // namespace PrintLibInternal

#endif
