#include "FakeHiiBox.h"
#include "../FakePlatform.h"

#include <cstring>

namespace {

FakeHiiBox  *gBox = nullptr;

bool
SameGuid (const EFI_GUID *A, const EFI_GUID *B)
{
  return std::memcmp (A, B, sizeof (EFI_GUID)) == 0;
}

EFI_STATUS EFIAPI
BoxLocateProtocol (EFI_GUID *Protocol, VOID *Registration, VOID **Interface)
{
  FakeHiiBox &B = HiiBox ();
  if (SameGuid (Protocol, &gPlatformPostMessageProtocolGuid)) {
    B.PostMessageLocates++;
    *Interface = B.PublishPostMessage ? &B.PostMessage : nullptr;
    return B.PublishPostMessage ? EFI_SUCCESS : EFI_NOT_FOUND;
  }

  if (SameGuid (Protocol, &gEfiHiiStringProtocolGuid)) {
    *Interface = B.PublishStrings ? &B.Strings : nullptr;
    return B.PublishStrings ? EFI_SUCCESS : EFI_NOT_FOUND;
  }

  return B.PlatformLocate (Protocol, Registration, Interface);
}

std::u16string
Text (const CHAR16 *S)
{
  return S == nullptr ? std::u16string () : std::u16string (S);
}

EFI_STATUS EFIAPI
StrNew (const EFI_HII_STRING_PROTOCOL *, EFI_HII_HANDLE, EFI_STRING_ID *StringId, const CHAR8 *Language, const CHAR16 *,
        const CHAR16 *String, const EFI_FONT_INFO *)
{
  FakeHiiBox &B = HiiBox ();
  if (EFI_ERROR (B.WriteStatus)) {
    return B.WriteStatus;
  }

  *StringId = B.NextNewId++;
  B.Writes.push_back ({ true, *StringId, Language, Text (String) });
  for (const auto &Lang : B.Languages) {
    B.Texts[{ Lang, *StringId }] = u"";  // reserved in every language, as the database does
  }

  B.Texts[{ Language, *StringId }] = Text (String);
  return EFI_SUCCESS;
}

EFI_STATUS EFIAPI
StrGet (const EFI_HII_STRING_PROTOCOL *, const CHAR8 *Language, EFI_HII_HANDLE, EFI_STRING_ID StringId, EFI_STRING String,
        UINTN *StringSize, EFI_FONT_INFO **)
{
  FakeHiiBox &B  = HiiBox ();
  auto       It = B.Texts.find ({ Language, StringId });
  if (It == B.Texts.end ()) {
    return EFI_NOT_FOUND;
  }

  const UINTN Need = (It->second.size () + 1) * sizeof (CHAR16);
  if (*StringSize < Need) {
    *StringSize = Need;
    return EFI_BUFFER_TOO_SMALL;
  }

  std::memcpy (String, It->second.c_str (), Need);
  *StringSize = Need;
  B.Reads.push_back ({ Language, StringId });
  return EFI_SUCCESS;
}

EFI_STATUS EFIAPI
StrSet (const EFI_HII_STRING_PROTOCOL *, EFI_HII_HANDLE, EFI_STRING_ID StringId, const CHAR8 *Language, const CHAR16 *String,
        const EFI_FONT_INFO *)
{
  FakeHiiBox &B = HiiBox ();
  if (EFI_ERROR (B.WriteStatus)) {
    return B.WriteStatus;
  }

  B.Writes.push_back ({ false, StringId, Language, Text (String) });
  B.Texts[{ Language, StringId }] = Text (String);
  return EFI_SUCCESS;
}

EFI_STATUS EFIAPI
StrLanguages (const EFI_HII_STRING_PROTOCOL *, EFI_HII_HANDLE, CHAR8 *Languages, UINTN *LanguagesSize)
{
  std::string Joined;
  for (const auto &Lang : HiiBox ().Languages) {
    Joined += (Joined.empty () ? "" : ";") + Lang;
  }

  if (*LanguagesSize < Joined.size () + 1) {
    *LanguagesSize = Joined.size () + 1;
    return EFI_BUFFER_TOO_SMALL;
  }

  std::memcpy (Languages, Joined.c_str (), Joined.size () + 1);
  *LanguagesSize = Joined.size () + 1;
  return EFI_SUCCESS;
}

EFI_STATUS EFIAPI
ShowBox (const CHAR16 *Title, const CHAR16 *Message, UINT8 BoxType, UINT8 *Selection)
{
  FakeHiiBox &B = HiiBox ();
  B.Boxes.push_back ({ Title != nullptr, Text (Title), Text (Message), BoxType });
  EFI_STATUS Status = B.BoxStatus;
  if (!B.Statuses.empty ()) {
    Status = B.Statuses.front ();
    B.Statuses.erase (B.Statuses.begin ());
  }

  if (EFI_ERROR (Status)) {
    return Status;
  }

  if ((BoxType == POST_MESSAGE_BOX_ASK) && (Selection != nullptr)) {
    *Selection = 0;
    if (!B.Answers.empty ()) {
      *Selection = B.Answers.front ();
      B.Answers.erase (B.Answers.begin ());
    }
  }

  return EFI_SUCCESS;
}

}  // namespace

FakeHiiBox &
HiiBox ()
{
  return *gBox;
}

FakeHiiBox::FakeHiiBox ()
{
  gBox                          = this;
  Strings.NewString             = StrNew;
  Strings.GetString             = StrGet;
  Strings.SetString             = StrSet;
  Strings.GetLanguages          = StrLanguages;
  PostMessage.DisplayMessageBox = ShowBox;
  PlatformLocate                = Platform ().BootServices.LocateProtocol;
  Platform ().BootServices.LocateProtocol = BoxLocateProtocol;
}

FakeHiiBox::~FakeHiiBox ()
{
  Platform ().BootServices.LocateProtocol = PlatformLocate;
  gBox                                    = nullptr;
}
