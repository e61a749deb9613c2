// HII strings and the platform's message box for the driver's unit tests,
// published next to FakePlatform's protocols: a string protocol over a table
// of texts that records every read and write, and a POST message protocol
// that records every box and answers asking boxes from a script.
#pragma once

#include <map>
#include <string>
#include <utility>
#include <vector>

#include <Uefi.h>
#include <Protocol/HiiString.h>
#include <Protocol/PostMessage.h>

struct ShownBox {
  bool            HasTitle = false;
  std::u16string  Title;
  std::u16string  Message;
  UINT8           BoxType = 0;
};

struct StringWrite {
  bool            New = false;  // NewString; otherwise SetString
  UINT16          Id = 0;       // the identifier written (new: the one handed out)
  std::string     Language;
  std::u16string  Text;
};

class FakeHiiBox {
public:
  // Publishes both protocols through the fake platform's LocateProtocol.
  FakeHiiBox ();
  ~FakeHiiBox ();
  FakeHiiBox (const FakeHiiBox &) = delete;
  FakeHiiBox &operator= (const FakeHiiBox &) = delete;

  bool  PublishPostMessage = true;
  bool  PublishStrings = true;

  // Languages of the package list, in package order, and texts by
  // (language, identifier).
  std::vector<std::string>                                Languages = { "en-US" };
  std::map<std::pair<std::string, UINT16>, std::u16string>  Texts;
  std::vector<std::pair<std::string, UINT16>>             Reads;  // GetString calls that found text

  UINT16                    NextNewId = 0x0300;
  EFI_STATUS                WriteStatus = EFI_SUCCESS;
  std::vector<StringWrite>  Writes;

  // Answers of asking boxes, in order; once used up, asking boxes answer 0.
  std::vector<UINT8>     Answers;
  // Statuses of the box service, one per box in order; once used up, every
  // box returns BoxStatus. A failing box answers nothing.
  std::vector<EFI_STATUS>  Statuses;
  EFI_STATUS             BoxStatus = EFI_SUCCESS;
  std::vector<ShownBox>  Boxes;
  UINTN                  PostMessageLocates = 0;

  EFI_HII_STRING_PROTOCOL         Strings{};
  PLATFORM_POST_MESSAGE_PROTOCOL  PostMessage{};

  EFI_LOCATE_PROTOCOL  PlatformLocate = nullptr;
};

// The instance the protocols' entry points talk to.
FakeHiiBox &HiiBox ();

// Any non-null handle: the fakes serve one package list.
inline EFI_HII_HANDLE const  kFakeHiiHandle = reinterpret_cast<EFI_HII_HANDLE> (static_cast<UINTN> (0x5E70));
