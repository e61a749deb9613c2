/** @file
  Strings of a package list: get in the best language, set in many.
**/
#include <Guid/GlobalVariable.h>
#include <Library/BaseLib.h>
#include <Library/BaseMemoryLib.h>
#include <Library/HiiLib.h>
#include <Library/MemoryAllocationLib.h>
#include <Library/UefiRuntimeServicesTableLib.h>

#include "HiiLibInternal.h"

CHAR8 *
EFIAPI
HiiGetSupportedLanguages (
  IN EFI_HII_HANDLE HiiHandle
  )
{
  EFI_HII_STRING_PROTOCOL  *Strings;
  CHAR8                    Probe;
  CHAR8                    *Languages;
  UINTN                    Size;

  Strings = InternalHiiStringProtocol ();
  if ((HiiHandle == NULL) || (Strings == NULL)) {
    return NULL;
  }

  Size = 0;
  if (Strings->GetLanguages (Strings, HiiHandle, &Probe, &Size) != EFI_BUFFER_TOO_SMALL) {
    return NULL;
  }

  Languages = static_cast<CHAR8 *>(AllocateZeroPool (Size));
  if (Languages == NULL) {
    return NULL;
  }

  if (EFI_ERROR (Strings->GetLanguages (Strings, HiiHandle, Languages, &Size))) {
    FreePool (Languages);
    return NULL;
  }

  return Languages;
}

// The platform's language as a pool string, or NULL.
STATIC
CHAR8 *
InternalPlatformLanguage (
  VOID
  )
{
  CHAR16      Name[] = EFI_PLATFORM_LANG_VARIABLE_NAME;
  CHAR8       *Value;
  UINTN       Size;
  EFI_STATUS  Status;

  if ((gRT == NULL) || (gRT->GetVariable == NULL)) {
    return NULL;
  }

  Size   = 0;
  Status = gRT->GetVariable (Name, &gEfiGlobalVariableGuid, NULL, &Size, NULL);
  if (Status != EFI_BUFFER_TOO_SMALL) {
    return NULL;
  }

  // One more byte keeps the value terminated even if it was stored without.
  Value = static_cast<CHAR8 *>(AllocateZeroPool (Size + 1));
  if (Value == NULL) {
    return NULL;
  }

  if (EFI_ERROR (gRT->GetVariable (Name, &gEfiGlobalVariableGuid, NULL, &Size, Value))) {
    FreePool (Value);
    return NULL;
  }

  return Value;
}

// The first supported language that the first language of Wanted names,
// trimming Wanted at its '-' subtags until something matches (RFC 4646
// lookup, as firmware's GetBestLanguage does). Returns the position and
// length of the match in Supported.
STATIC
BOOLEAN
InternalMatchLanguage (
  IN  CONST CHAR8 *Supported,
  IN  CONST CHAR8 *Wanted,
  OUT CONST CHAR8 **Match,
  OUT UINTN       *MatchLength
  )
{
  UINTN        WantedLength;
  UINTN        CandidateLength;
  CONST CHAR8  *Candidate;

  for (WantedLength = 0; Wanted[WantedLength] != 0 && Wanted[WantedLength] != ';'; WantedLength++) {
  }

  while (WantedLength > 0) {
    for (Candidate = Supported; *Candidate != 0; Candidate += CandidateLength) {
      while (*Candidate == ';') {
        Candidate++;
      }

      for (CandidateLength = 0; Candidate[CandidateLength] != 0 && Candidate[CandidateLength] != ';'; CandidateLength++) {
      }

      if ((CandidateLength >= WantedLength) && (CandidateLength > 0) && (AsciiStrnCmp (Candidate, Wanted, WantedLength) == 0)) {
        *Match       = Candidate;
        *MatchLength = CandidateLength;
        return TRUE;
      }
    }

    for (WantedLength--; WantedLength > 0 && Wanted[WantedLength] != '-'; WantedLength--) {
    }
  }

  return FALSE;
}

EFI_STRING
EFIAPI
HiiGetString (
  IN EFI_HII_HANDLE HiiHandle,
  IN EFI_STRING_ID  StringId,
  IN CONST CHAR8    *Language OPTIONAL
  )
{
  EFI_HII_STRING_PROTOCOL  *Strings;
  CHAR8                    *Supported;
  CHAR8                    *Platform;
  CHAR8                    *Best;
  CONST CHAR8              *Match;
  UINTN                    MatchLength;
  CHAR16                   Probe;
  CHAR16                   *Text;
  UINTN                    Size;

  Strings = InternalHiiStringProtocol ();
  if ((HiiHandle == NULL) || (StringId == 0) || (Strings == NULL)) {
    return NULL;
  }

  Supported = HiiGetSupportedLanguages (HiiHandle);
  if (Supported == NULL) {
    return NULL;
  }

  // One language for the whole lookup: asked for, else the platform's,
  // else the first supported. A string missing there is not looked for in
  // other languages.
  Platform = InternalPlatformLanguage ();
  if (!((Language != NULL) && InternalMatchLanguage (Supported, Language, &Match, &MatchLength)) &&
      !((Platform != NULL) && InternalMatchLanguage (Supported, Platform, &Match, &MatchLength)) &&
      !InternalMatchLanguage (Supported, Supported, &Match, &MatchLength))
  {
    Match = NULL;
  }

  Text = NULL;
  Best = (Match != NULL) ? static_cast<CHAR8 *>(AllocateZeroPool (MatchLength + 1)) : NULL;
  if (Best != NULL) {
    CopyMem (Best, Match, MatchLength);
    Size = 0;
    if (Strings->GetString (Strings, Best, HiiHandle, StringId, &Probe, &Size, NULL) == EFI_BUFFER_TOO_SMALL) {
      Text = static_cast<CHAR16 *>(AllocateZeroPool (Size));
      if ((Text != NULL) && EFI_ERROR (Strings->GetString (Strings, Best, HiiHandle, StringId, Text, &Size, NULL))) {
        FreePool (Text);
        Text = NULL;
      }
    }

    FreePool (Best);
  }

  FreePool (Supported);
  if (Platform != NULL) {
    FreePool (Platform);
  }

  return Text;
}

EFI_STRING_ID
EFIAPI
HiiSetString (
  IN EFI_HII_HANDLE HiiHandle,
  IN EFI_STRING_ID  StringId OPTIONAL,
  IN CONST CHAR16   *String,
  IN CONST CHAR8    *SupportedLanguages OPTIONAL
  )
{
  EFI_HII_STRING_PROTOCOL  *Strings;
  CHAR8                    *Languages;
  CHAR8                    *Next;
  CHAR8                    *Language;
  EFI_STATUS               Status;

  Strings = InternalHiiStringProtocol ();
  if ((HiiHandle == NULL) || (String == NULL) || (Strings == NULL)) {
    return 0;
  }

  if (SupportedLanguages == NULL) {
    Languages = HiiGetSupportedLanguages (HiiHandle);
  } else {
    Languages = static_cast<CHAR8 *>(AllocateCopyPool (AsciiStrSize (SupportedLanguages), SupportedLanguages));
  }

  if (Languages == NULL) {
    return 0;
  }

  Status = EFI_INVALID_PARAMETER;
  for (Next = Languages; *Next != 0;) {
    Language = Next;
    while (*Next != 0 && *Next != ';') {
      Next++;
    }

    if (*Next != 0) {
      *Next++ = 0;
    }

    // The keyword languages are only written when named explicitly.
    if ((SupportedLanguages == NULL) && (AsciiStrnCmp (Language, UEFI_CONFIG_LANG, AsciiStrLen (UEFI_CONFIG_LANG)) == 0)) {
      continue;
    }

    if (StringId == 0) {
      // The new id is reserved in every language; the others are then set.
      Status = Strings->NewString (Strings, HiiHandle, &StringId, Language, NULL, String, NULL);
    } else {
      Status = Strings->SetString (Strings, HiiHandle, StringId, Language, String, NULL);
    }

    if (EFI_ERROR (Status)) {
      break;
    }
  }

  FreePool (Languages);
  return EFI_ERROR (Status) ? 0 : StringId;
}
