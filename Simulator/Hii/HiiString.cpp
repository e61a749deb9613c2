// EFI_HII_STRING_PROTOCOL members of HiiServices.
#include <algorithm>
#include <cstring>

#include "ConfigText.hpp"
#include "HiiServicesImpl.hpp"

namespace carvex::sim {

namespace {

constexpr std::size_t kMaxStringId = 0xFFFF;

// Copies text and its NUL out under the size protocol shared by the string
// members: sizes in bytes, EFI_BUFFER_TOO_SMALL with the size needed.
template <class Char>
EFI_STATUS CopyOut(std::basic_string_view<Char> text, Char* buffer, UINTN* size) {
  const UINTN needed = (text.size() + 1) * sizeof(Char);
  if (*size < needed) {
    *size = needed;
    return EFI_BUFFER_TOO_SMALL;
  }
  std::memcpy(buffer, text.data(), text.size() * sizeof(Char));
  buffer[text.size()] = 0;
  *size = needed;
  return EFI_SUCCESS;
}

}  // namespace

EFI_STATUS HiiServices::Impl::NewString(EFI_HII_HANDLE handle, EFI_STRING_ID* id, const CHAR8* language,
                                        const CHAR16* languageName, const CHAR16* text, const EFI_FONT_INFO* font) {
  if (handle == nullptr || id == nullptr || language == nullptr || text == nullptr) {
    return EFI_INVALID_PARAMETER;
  }
  Record* record = Find(handle);
  if (record == nullptr) {
    return EFI_NOT_FOUND;
  }
  if (font != nullptr) {
    return EFI_INVALID_PARAMETER;  // no font is registered on this platform
  }
  auto& packages = record->packages.strings;
  // Every language must end at the same id, or the new id would mean
  // different strings in different languages.
  std::size_t lastId = 0;
  for (std::size_t i = 0; i < packages.size(); i++) {
    if (i > 0 && packages[i].MaxStringId() != lastId) {
      return EFI_INVALID_PARAMETER;
    }
    lastId = packages[i].MaxStringId();
  }
  const std::size_t newId = packages.empty() ? 2 : lastId + 1;  // id 1 names the language
  if (newId > kMaxStringId) {
    return EFI_OUT_OF_RESOURCES;
  }
  auto match = std::find_if(packages.begin(), packages.end(),
                            [language](const hii::StringPackage& p) { return p.Matches(language); });
  if (match == packages.end() && languageName == nullptr) {
    return EFI_INVALID_PARAMETER;  // a new language needs its printable name
  }

  const std::u16string value(hii::ViewOf(text));
  const hii::StringPackage* matched = (match == packages.end()) ? nullptr : &*match;
  for (auto& package : packages) {
    package.Append(&package == matched ? value : std::u16string());
  }
  if (matched == nullptr) {
    auto created = hii::StringPackage::Create(language, hii::ViewOf(languageName), newId - 1);
    created.Append(value);
    packages.push_back(std::move(created));
    const EFI_HII_HANDLE listHandle = record->handle;
    const std::vector<std::uint8_t> encoded = packages.back().Encode();
    *id = static_cast<EFI_STRING_ID>(newId);
    Notify(EFI_HII_DATABASE_NOTIFY_NEW_PACK, encoded, listHandle);
    return EFI_SUCCESS;
  }
  *id = static_cast<EFI_STRING_ID>(newId);
  return EFI_SUCCESS;
}

EFI_STATUS HiiServices::Impl::GetString(const CHAR8* language, EFI_HII_HANDLE handle, EFI_STRING_ID id,
                                        EFI_STRING text, UINTN* size, EFI_FONT_INFO** font) {
  if (language == nullptr || id < 1 || size == nullptr || handle == nullptr) {
    return EFI_INVALID_PARAMETER;
  }
  if (text == nullptr && *size != 0) {
    return EFI_INVALID_PARAMETER;
  }
  const Record* record = Find(handle);
  if (record == nullptr) {
    return EFI_NOT_FOUND;
  }
  for (const auto& package : record->packages.strings) {
    if (!package.Matches(language)) {
      continue;
    }
    if (const std::u16string* found = package.Find(id)) {
      if (font != nullptr) {
        *font = nullptr;  // default font
      }
      return CopyOut<CHAR16>(*found, text, size);
    }
  }
  // Missing in this language: tell apart "exists elsewhere" from "nowhere".
  for (const auto& package : record->packages.strings) {
    if (package.Find(id) != nullptr) {
      return EFI_INVALID_LANGUAGE;
    }
  }
  return EFI_NOT_FOUND;
}

EFI_STATUS HiiServices::Impl::SetString(EFI_HII_HANDLE handle, EFI_STRING_ID id, const CHAR8* language,
                                        const CHAR16* text, const EFI_FONT_INFO* font) {
  if (handle == nullptr || id < 1 || language == nullptr || text == nullptr) {
    return EFI_INVALID_PARAMETER;
  }
  Record* record = Find(handle);
  if (record == nullptr) {
    return EFI_NOT_FOUND;
  }
  if (font != nullptr) {
    return EFI_INVALID_PARAMETER;
  }
  for (auto& package : record->packages.strings) {
    if (package.Matches(language)) {
      // A skipped id inside the package may be filled; past its end is not.
      if (id > package.MaxStringId()) {
        return EFI_NOT_FOUND;
      }
      package.Set(id, std::u16string(hii::ViewOf(text)));
      return EFI_SUCCESS;
    }
  }
  return EFI_NOT_FOUND;
}

EFI_STATUS HiiServices::Impl::GetLanguages(EFI_HII_HANDLE handle, CHAR8* languages, UINTN* size) {
  if (handle == nullptr || size == nullptr || (*size != 0 && languages == nullptr)) {
    return EFI_INVALID_PARAMETER;
  }
  const Record* record = Find(handle);
  if (record == nullptr) {
    return EFI_NOT_FOUND;
  }
  if (record->packages.strings.empty()) {
    return EFI_NOT_FOUND;
  }
  std::string all;
  for (const auto& package : record->packages.strings) {
    if (!all.empty()) {
      all.push_back(';');
    }
    all.append(package.Language());
  }
  return CopyOut<CHAR8>(all, languages, size);
}

EFI_STATUS HiiServices::Impl::GetSecondaryLanguages(EFI_HII_HANDLE handle, const CHAR8* primary, CHAR8* languages,
                                                    UINTN* size) {
  if (handle == nullptr || primary == nullptr || size == nullptr || (*size != 0 && languages == nullptr)) {
    return EFI_INVALID_PARAMETER;
  }
  const Record* record = Find(handle);
  if (record == nullptr) {
    return EFI_NOT_FOUND;
  }
  for (const auto& package : record->packages.strings) {
    if (package.Matches(primary)) {
      return CopyOut<CHAR8>(package.SecondaryLanguages(), languages, size);
    }
  }
  return EFI_INVALID_LANGUAGE;
}

}  // namespace carvex::sim
