// Reading a platform file with errors that name the field:
// "modules[3].capacity.appDirect: expected a non-negative integer".
#pragma once

#include <cstdint>
#include <initializer_list>
#include <optional>
#include <stdexcept>
#include <string>
#include <vector>

#include <nlohmann/json.hpp>

#include "Names.hpp"

namespace carvex::sim::devices {

class PlatformFileError : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

// One value of the document and where it sits.
class JsonField {
 public:
  JsonField(const nlohmann::json& value, std::string path) : value_(&value), path_(std::move(path)) {}

  const nlohmann::json& Value() const { return *value_; }
  const std::string& Path() const { return path_; }
  [[noreturn]] void Fail(const std::string& message) const;

  // Objects: a member that must exist, or may; other members than these
  // are refused (a misspelt field would otherwise be silently ignored).
  JsonField Member(const char* key) const;
  std::optional<JsonField> Optional(const char* key) const;
  void AllowOnly(std::initializer_list<const char*> keys) const;

  // Arrays.
  std::vector<JsonField> Elements(std::size_t maxCount) const;

  std::uint64_t Unsigned(std::uint64_t max) const;  // integer, or "0x..." text
  // Bytes: an integer, or a text with a binary unit ("128 GiB", "512 MiB").
  std::uint64_t Size() const;
  bool Bool() const;
  // At most maxLength characters, printable ASCII.
  std::string Text(std::size_t maxLength) const;
  // A name from the table, or (when numbersAllowed) a plain number.
  std::uint64_t Named(const std::vector<NamedValue>& table, bool numbersAllowed,
                      std::uint64_t maxNumber = 0) const;

 private:
  const nlohmann::json* value_;
  std::string path_;
};

// Sizes as a platform file writes them: "128 GiB" when whole, else bytes.
nlohmann::ordered_json SizeValue(std::uint64_t bytes);
std::string Hex(std::uint64_t value, int digits);

}  // namespace carvex::sim::devices
