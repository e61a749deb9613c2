// Capacity texts a user types into the goal and namespace pages, with the
// unit code the page's unit question holds: ConvertCapacityStrToBytes, and
// the splitting it relies on (StrSplit, StrTok, GetU64FromString) on the
// same text. The first byte is the unit code, the second the delimiter the
// splitters use, the rest the text (one character per byte).
#include <vector>

#include <NvmDimmConfig/Convert.h>
#include <NvmDimmConfig/TextParse.h>

#include "FakeUefi.hpp"
#include "FuzzSupport.hpp"

namespace {

FakeUefi& Uefi() {
  static FakeUefi* uefi = new FakeUefi();  // pool for the driver, for the process
  return *uefi;
}

// A NUL-terminated copy the callee may rewrite, sized exactly so that ASan
// sees a read or write past the terminator.
std::vector<CHAR16> Buffer(const std::u16string& text) {
  std::vector<CHAR16> buffer(text.begin(), text.end());
  buffer.push_back(u'\0');
  return buffer;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  if (size < 2) {
    return 0;
  }
  FakeUefi& uefi = Uefi();
  const std::size_t liveBefore = uefi.live.size();
  const UINT8 units = data[0];
  const CHAR16 delimiter = data[1];
  const std::u16string text = carvex::fuzz::Widen(data + 2, size - 2);

  std::vector<CHAR16> typed = Buffer(text);
  UINT64 bytes = 0;
  ConvertCapacityStrToBytes(nullptr, units, typed.data(), &bytes);

  std::vector<CHAR16> number = Buffer(text);
  UINT64 value = 0;
  GetU64FromString(number.data(), &value);

  UINT32 count = 0;
  CHAR16** parts = StrSplit(text.c_str(), delimiter, &count);
  if (parts != nullptr) {
    FreeStringArray(parts, count);
  }

  std::vector<CHAR16> rest = Buffer(text);
  CHAR16* cursor = rest.data();
  for (std::size_t tokens = 0; tokens <= text.size(); ++tokens) {
    CHAR16* token = StrTok(&cursor, delimiter);
    if (token == nullptr) {
      break;
    }
    uefi.bootServices.FreePool(token);
  }
  carvex::fuzz::Check(rest[0] == u'\0', "StrTok left text behind");

  carvex::fuzz::Check(uefi.live.size() == liveBefore, "pool leaked by the capacity parser");
  carvex::fuzz::Check(uefi.badFrees == 0, "pool freed twice or never allocated");
  return 0;
}
