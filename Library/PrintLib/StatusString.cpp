/** @file
  The text %r prints for a status, worded exactly as EDK II's print library
  words it so that logs read the same on every platform.
**/
#include <Library/PrintLib.h>

namespace {

CONST CHAR8 *CONST  mWarningText[] = {
  "Success",
  "Warning Unknown Glyph",
  "Warning Delete Failure",
  "Warning Write Failure",
  "Warning Buffer Too Small",
  "Warning Stale Data",
  "Warning File System",
  "Warning Reset Required",
};

// Index 0 is unused: error codes start at 1.
CONST CHAR8 *CONST  mErrorText[] = {
  NULL,
  "Load Error",
  "Invalid Parameter",
  "Unsupported",
  "Bad Buffer Size",
  "Buffer Too Small",
  "Not Ready",
  "Device Error",
  "Write Protected",
  "Out of Resources",
  "Volume Corrupt",
  "Volume Full",
  "No Media",
  "Media changed",
  "Not Found",
  "Access Denied",
  "No Response",
  "No mapping",
  "Time out",
  "Not started",
  "Already started",
  "Aborted",
  "ICMP Error",
  "TFTP Error",
  "Protocol Error",
  "Incompatible Version",
  "Security Violation",
  "CRC Error",
  "End of Media",
  "Reserved (29)",
  "Reserved (30)",
  "End of File",
  "Invalid Language",
  "Compromised Data",
  "IP Address Conflict",
  "HTTP Error",
};

}  // namespace

CONST CHAR8 *
EFIAPI
StatusToString (
  IN EFI_STATUS Status
  )
{
  if (EFI_ERROR (Status)) {
    UINTN  Code = Status & ~MAX_BIT;
    return ((Code > 0) && (Code < ARRAY_SIZE (mErrorText))) ? mErrorText[Code] : NULL;
  }

  return (Status < ARRAY_SIZE (mWarningText)) ? mWarningText[Status] : NULL;
}
