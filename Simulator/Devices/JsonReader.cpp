#include "JsonReader.hpp"

#include <cctype>
#include <cinttypes>
#include <cstdio>
#include <limits>

namespace carvex::sim::devices {

namespace {

const char* TypeName(const nlohmann::json& value) {
  switch (value.type()) {
    case nlohmann::json::value_t::null: return "null";
    case nlohmann::json::value_t::object: return "an object";
    case nlohmann::json::value_t::array: return "an array";
    case nlohmann::json::value_t::string: return "a text";
    case nlohmann::json::value_t::boolean: return "true or false";
    case nlohmann::json::value_t::number_float: return "a fraction";
    case nlohmann::json::value_t::number_integer:
    case nlohmann::json::value_t::number_unsigned: return "a number";
    default: return "something else";
  }
}

std::optional<std::uint64_t> ParseUnsignedText(const std::string& text) {
  if (text.empty()) return std::nullopt;
  const bool hex = text.size() > 2 && text[0] == '0' && (text[1] == 'x' || text[1] == 'X');
  const std::size_t start = hex ? 2 : 0;
  std::uint64_t value = 0;
  const std::uint64_t base = hex ? 16 : 10;
  for (std::size_t index = start; index < text.size(); ++index) {
    const char c = text[index];
    std::uint64_t digit;
    if (c >= '0' && c <= '9') {
      digit = static_cast<std::uint64_t>(c - '0');
    } else if (hex && std::isxdigit(static_cast<unsigned char>(c))) {
      digit = static_cast<std::uint64_t>(std::tolower(static_cast<unsigned char>(c)) - 'a' + 10);
    } else {
      return std::nullopt;
    }
    if (value > (std::numeric_limits<std::uint64_t>::max() - digit) / base) return std::nullopt;
    value = value * base + digit;
  }
  return value;
}

}  // namespace

void JsonField::Fail(const std::string& message) const {
  throw PlatformFileError(path_.empty() ? message : path_ + ": " + message);
}

JsonField JsonField::Member(const char* key) const {
  auto found = Optional(key);
  if (!found) Fail(std::string("missing field \"") + key + "\"");
  return *found;
}

std::optional<JsonField> JsonField::Optional(const char* key) const {
  if (!value_->is_object()) Fail(std::string("expected an object, found ") + TypeName(*value_));
  auto found = value_->find(key);
  if (found == value_->end()) return std::nullopt;
  return JsonField(*found, path_.empty() ? std::string(key) : path_ + "." + key);
}

void JsonField::AllowOnly(std::initializer_list<const char*> keys) const {
  if (!value_->is_object()) Fail(std::string("expected an object, found ") + TypeName(*value_));
  for (auto item = value_->begin(); item != value_->end(); ++item) {
    bool known = false;
    for (const char* key : keys) known = known || item.key() == key;
    if (!known) {
      std::string allowed;
      for (const char* key : keys) allowed += std::string(allowed.empty() ? "" : ", ") + key;
      JsonField(*item, path_.empty() ? item.key() : path_ + "." + item.key())
          .Fail("unknown field (known here: " + allowed + ")");
    }
  }
}

std::vector<JsonField> JsonField::Elements(std::size_t maxCount) const {
  if (!value_->is_array()) Fail(std::string("expected an array, found ") + TypeName(*value_));
  if (value_->size() > maxCount) {
    Fail("at most " + std::to_string(maxCount) + " entries, found " + std::to_string(value_->size()));
  }
  std::vector<JsonField> elements;
  for (std::size_t index = 0; index < value_->size(); ++index) {
    elements.emplace_back((*value_)[index], path_ + "[" + std::to_string(index) + "]");
  }
  return elements;
}

std::uint64_t JsonField::Unsigned(std::uint64_t max) const {
  std::optional<std::uint64_t> value;
  if (value_->is_number_unsigned()) {
    value = value_->get<std::uint64_t>();
  } else if (value_->is_number_integer() && value_->get<std::int64_t>() >= 0) {
    value = static_cast<std::uint64_t>(value_->get<std::int64_t>());
  } else if (value_->is_string()) {
    value = ParseUnsignedText(value_->get<std::string>());
  }
  if (!value) Fail("expected a non-negative integer");
  if (*value > max) Fail("at most " + std::to_string(max) + ", found " + std::to_string(*value));
  return *value;
}

std::uint64_t JsonField::Size() const {
  if (!value_->is_string()) {
    if (!value_->is_number_unsigned() && !(value_->is_number_integer() && value_->get<std::int64_t>() >= 0)) {
      Fail("expected a non-negative integer (bytes) or a size such as \"128 GiB\"");
    }
    return Unsigned(std::numeric_limits<std::uint64_t>::max());
  }
  const std::string text = value_->get<std::string>();
  static const struct {
    const char* unit;
    std::uint64_t bytes;
  } kUnits[] = {{"TiB", 1ull << 40}, {"GiB", 1ull << 30}, {"MiB", 1ull << 20}, {"KiB", 1ull << 10}, {"B", 1}};
  std::size_t end = text.size();
  std::uint64_t multiplier = 1;
  for (const auto& unit : kUnits) {
    const std::string suffix = unit.unit;
    if (text.size() > suffix.size() && text.compare(text.size() - suffix.size(), suffix.size(), suffix) == 0) {
      end = text.size() - suffix.size();
      multiplier = unit.bytes;
      break;
    }
  }
  while (end > 0 && text[end - 1] == ' ') --end;
  const auto number = ParseUnsignedText(text.substr(0, end));
  if (!number) Fail("expected a size such as \"128 GiB\", \"512 MiB\" or a number of bytes, found \"" + text + "\"");
  if (*number > std::numeric_limits<std::uint64_t>::max() / multiplier) Fail("size too large: \"" + text + "\"");
  return *number * multiplier;
}

bool JsonField::Bool() const {
  if (!value_->is_boolean()) Fail(std::string("expected true or false, found ") + TypeName(*value_));
  return value_->get<bool>();
}

std::string JsonField::Text(std::size_t maxLength) const {
  if (!value_->is_string()) Fail(std::string("expected a text, found ") + TypeName(*value_));
  const std::string text = value_->get<std::string>();
  if (text.size() > maxLength) {
    Fail("at most " + std::to_string(maxLength) + " characters, found " + std::to_string(text.size()));
  }
  for (char c : text) {
    if (static_cast<unsigned char>(c) < 0x20 || static_cast<unsigned char>(c) > 0x7E) {
      Fail("only printable ASCII characters are allowed");
    }
  }
  return text;
}

std::uint64_t JsonField::Named(const std::vector<NamedValue>& table, bool numbersAllowed,
                               std::uint64_t maxNumber) const {
  if (value_->is_string()) {
    if (auto value = ValueOf(table, value_->get<std::string>())) return *value;
    if (numbersAllowed) {
      if (auto number = ParseUnsignedText(value_->get<std::string>()); number && *number <= maxNumber) {
        return *number;
      }
    }
  } else if (numbersAllowed && (value_->is_number_unsigned() || value_->is_number_integer())) {
    return Unsigned(maxNumber);
  }
  Fail("expected " + ChoiceList(table) + (numbersAllowed ? " or a number" : ""));
}

nlohmann::ordered_json SizeValue(std::uint64_t bytes) {
  static const struct {
    const char* unit;
    std::uint64_t bytes;
  } kUnits[] = {{"TiB", 1ull << 40}, {"GiB", 1ull << 30}, {"MiB", 1ull << 20}};
  if (bytes == 0) return 0;
  for (const auto& unit : kUnits) {
    if (bytes % unit.bytes == 0) return std::to_string(bytes / unit.bytes) + " " + unit.unit;
  }
  return bytes;
}

std::string Hex(std::uint64_t value, int digits) {
  char text[32];
  std::snprintf(text, sizeof text, "0x%0*" PRIX64, digits, value);
  return text;
}

}  // namespace carvex::sim::devices
