/** @file
  ASCII to UCS-2 and back. Both fail as the safe copies do, leaving an empty
  destination; UCS-2 to ASCII also refuses characters above 0xFF.
**/
#include <Library/BaseLib.h>

#include "StringTemplates.h"

using namespace BaseLibInternal;

namespace {

// Checks shared by both directions; on success *SourceLength is the number
// of characters to convert.
template <typename SourceT, typename DestinationT>
RETURN_STATUS
CheckConversion (
  IN  CONST SourceT *Source,
  IN  DestinationT  *Destination,
  IN  UINTN         DestMax,
  OUT UINTN         *SourceLength
  )
{
  if ((Destination == NULL) || (DestMax == 0)) {
    return EFI_INVALID_PARAMETER;
  }

  if (Source == NULL) {
    return EFI_INVALID_PARAMETER;
  }

  *SourceLength = StringLengthLimited (Source, DestMax);
  if (*SourceLength >= DestMax) {
    return EFI_BUFFER_TOO_SMALL;
  }

  if (Overlaps (Destination, DestMax, Source, *SourceLength + 1)) {
    return EFI_ACCESS_DENIED;
  }

  return EFI_SUCCESS;
}

}  // namespace

RETURN_STATUS
EFIAPI
AsciiStrToUnicodeStrS (
  IN  CONST CHAR8 *Source,
  OUT CHAR16      *Destination,
  IN  UINTN       DestMax
  )
{
  RETURN_STATUS  Status;
  UINTN          SourceLength;

  Status = CheckConversion (Source, Destination, DestMax, &SourceLength);
  if (Status != EFI_SUCCESS) {
    if ((Destination != NULL) && (DestMax > 0)) {
      Destination[0] = 0;
    }

    return Status;
  }

  for (UINTN Index = 0; Index < SourceLength; Index++) {
    Destination[Index] = static_cast<CHAR16>(CodeOf (Source[Index]));
  }

  Destination[SourceLength] = 0;
  return EFI_SUCCESS;
}

RETURN_STATUS
EFIAPI
UnicodeStrToAsciiStrS (
  IN  CONST CHAR16 *Source,
  OUT CHAR8        *Destination,
  IN  UINTN        DestMax
  )
{
  RETURN_STATUS  Status;
  UINTN          SourceLength;

  Status = CheckConversion (Source, Destination, DestMax, &SourceLength);
  for (UINTN Index = 0; (Status == EFI_SUCCESS) && (Index < SourceLength); Index++) {
    if (Source[Index] > 0xFF) {
      Status = EFI_INVALID_PARAMETER;
    }
  }

  if (Status != EFI_SUCCESS) {
    if ((Destination != NULL) && (DestMax > 0)) {
      Destination[0] = 0;
    }

    return Status;
  }

  for (UINTN Index = 0; Index < SourceLength; Index++) {
    Destination[Index] = static_cast<CHAR8>(Source[Index]);
  }

  Destination[SourceLength] = 0;
  return EFI_SUCCESS;
}
