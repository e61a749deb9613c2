// One string package: its header and the text of every string id, decoded
// from the string blocks. Missing (skipped) ids are kept as gaps. A package
// that was never changed is exported with its original bytes; a changed one
// is re-encoded as UCS-2 string blocks and SKIP2 runs.
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include <Uefi/UefiInternalFormRepresentation.h>

namespace carvex::sim::hii {

class StringPackage {
 public:
  // bytes holds exactly one string package (its header gives the length).
  static std::optional<StringPackage> Parse(const std::uint8_t* bytes, std::size_t length);
  // A new package for language whose id 1 is languageName and whose ids up
  // to lastReservedId are empty strings.
  static StringPackage Create(std::string_view language, std::u16string_view languageName, std::size_t lastReservedId);

  std::vector<std::uint8_t> Encode() const;

  // The language field as stored ("en-US", or a primary followed by
  // ';'-separated secondaries).
  const std::string& Language() const { return language_; }
  std::string_view PrimaryLanguage() const;
  std::string_view SecondaryLanguages() const;
  // Case-insensitive match of the primary language with language.
  bool Matches(std::string_view language) const;

  // Ids run from 1 to MaxStringId(); a gap is an id the package skips.
  std::size_t MaxStringId() const { return strings_.size(); }
  // nullptr when the id is 0, past the end, or a gap.
  const std::u16string* Find(EFI_STRING_ID id) const;
  // Fills or replaces an id up to MaxStringId().
  void Set(EFI_STRING_ID id, std::u16string text);
  // The next id (MaxStringId() + 1).
  void Append(std::u16string text);

 private:
  std::vector<std::uint8_t> header_;  // HdrSize bytes, language included
  std::string language_;
  std::vector<std::optional<std::u16string>> strings_;
  std::vector<std::uint8_t> original_;
  bool modified_ = false;
};

bool LanguagesEqual(std::string_view a, std::string_view b);  // ASCII, case-insensitive

}  // namespace carvex::sim::hii
