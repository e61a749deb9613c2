// The non-volatile variables' file: one JSON object per variable with its
// name, GUID text, attributes and data as hex, so that a person can read
// and edit the state directory.
#include <fstream>
#include <stdexcept>

#include <nlohmann/json.hpp>

#include "Ucs2.hpp"
#include "VariableStore.hpp"

namespace carvex::sim {

namespace {

std::string ToHex(const std::vector<std::uint8_t>& data) {
  static const char digits[] = "0123456789abcdef";
  std::string text;
  text.reserve(data.size() * 2);
  for (std::uint8_t byte : data) {
    text.push_back(digits[byte >> 4]);
    text.push_back(digits[byte & 0x0F]);
  }
  return text;
}

int HexDigit(char c) {
  if (c >= '0' && c <= '9') return c - '0';
  if (c >= 'a' && c <= 'f') return c - 'a' + 10;
  if (c >= 'A' && c <= 'F') return c - 'A' + 10;
  return -1;
}

std::vector<std::uint8_t> FromHex(const std::string& text) {
  if (text.size() % 2 != 0) {
    throw std::runtime_error("odd number of hex digits");
  }
  std::vector<std::uint8_t> data;
  for (std::size_t i = 0; i < text.size(); i += 2) {
    const int high = HexDigit(text[i]);
    const int low = HexDigit(text[i + 1]);
    if (high < 0 || low < 0) {
      throw std::runtime_error("not a hex digit in data");
    }
    data.push_back(static_cast<std::uint8_t>(high << 4 | low));
  }
  return data;
}

}  // namespace

void VariableStore::Load() {
  if (file_.empty() || !std::filesystem::exists(file_)) {
    return;
  }
  std::ifstream in(file_);
  try {
    const nlohmann::json document = nlohmann::json::parse(in);
    for (const auto& item : document.at("variables")) {
      Variable variable;
      variable.name = Utf8ToUtf16(item.at("name").get<std::string>());
      const auto guid = ParseGuid(item.at("guid").get<std::string>());
      if (!guid) {
        throw std::runtime_error("bad GUID " + item.at("guid").get<std::string>());
      }
      variable.guid = *guid;
      variable.attributes = item.at("attributes").get<UINT32>();
      variable.data = FromHex(item.at("data").get<std::string>());
      if ((variable.attributes & EFI_VARIABLE_NON_VOLATILE) != 0 && !variable.name.empty() &&
          !variable.data.empty()) {
        variables_.push_back(std::move(variable));
      }
    }
  } catch (const std::exception& error) {
    throw std::runtime_error("variable store " + file_.string() + ": " + error.what());
  }
}

void VariableStore::Save() const {
  if (file_.empty()) {
    return;
  }
  nlohmann::json list = nlohmann::json::array();
  for (const Variable& variable : variables_) {
    if ((variable.attributes & EFI_VARIABLE_NON_VOLATILE) == 0) {
      continue;
    }
    list.push_back({{"name", Utf16ToUtf8(variable.name)},
                    {"guid", GuidToString(variable.guid)},
                    {"attributes", variable.attributes},
                    {"data", ToHex(variable.data)}});
  }
  const nlohmann::json document = {{"variables", list}};
  if (!file_.parent_path().empty()) {
    std::filesystem::create_directories(file_.parent_path());
  }
  // Written aside and renamed, so that an interrupted run leaves the old file.
  const std::filesystem::path temporary = file_.string() + ".tmp";
  {
    std::ofstream out(temporary, std::ios::trunc);
    out << document.dump(2) << '\n';
    if (!out) {
      throw std::runtime_error("cannot write " + temporary.string());
    }
  }
  std::filesystem::rename(temporary, file_);
}

}  // namespace carvex::sim
