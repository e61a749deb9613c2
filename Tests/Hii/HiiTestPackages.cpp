#include "HiiTestPackages.hpp"

#include <cstring>

namespace hiitest {

void Put16(Bytes& bytes, std::uint16_t value) {
  bytes.push_back(static_cast<std::uint8_t>(value));
  bytes.push_back(static_cast<std::uint8_t>(value >> 8));
}

void Put32(Bytes& bytes, std::uint32_t value) {
  Put16(bytes, static_cast<std::uint16_t>(value));
  Put16(bytes, static_cast<std::uint16_t>(value >> 16));
}

void PutGuid(Bytes& bytes, const EFI_GUID& guid) {
  const auto* raw = reinterpret_cast<const std::uint8_t*>(&guid);
  bytes.insert(bytes.end(), raw, raw + sizeof guid);
}

namespace {

Bytes WithPackageHeader(std::uint8_t type, const Bytes& body) {
  Bytes package;
  const auto length = static_cast<std::uint32_t>(body.size() + 4);
  package.push_back(static_cast<std::uint8_t>(length));
  package.push_back(static_cast<std::uint8_t>(length >> 8));
  package.push_back(static_cast<std::uint8_t>(length >> 16));
  package.push_back(type);
  package.insert(package.end(), body.begin(), body.end());
  return package;
}

}  // namespace

Bytes StringPackageWithBlocks(const std::string& language, const Bytes& blocks) {
  Bytes body;
  const auto headerSize = static_cast<std::uint32_t>(46 + language.size() + 1);
  Put32(body, headerSize);  // HdrSize
  Put32(body, headerSize);  // StringInfoOffset
  body.resize(body.size() + 32, 0);  // LanguageWindow
  Put16(body, 1);                    // LanguageName
  body.insert(body.end(), language.begin(), language.end());
  body.push_back(0);
  body.insert(body.end(), blocks.begin(), blocks.end());
  return WithPackageHeader(EFI_HII_PACKAGE_STRINGS, body);
}

Bytes StringPackage(const std::string& language, const Strings& strings) {
  Bytes blocks;
  for (std::size_t i = 0; i < strings.size();) {
    if (strings[i]) {
      blocks.push_back(EFI_HII_SIBT_STRING_UCS2);
      for (char16_t c : *strings[i]) {
        Put16(blocks, c);
      }
      Put16(blocks, 0);
      i++;
      continue;
    }
    std::uint16_t run = 0;
    while (i < strings.size() && !strings[i]) {
      run++;
      i++;
    }
    blocks.push_back(EFI_HII_SIBT_SKIP2);
    Put16(blocks, run);
  }
  blocks.push_back(EFI_HII_SIBT_END);
  return StringPackageWithBlocks(language, blocks);
}

Ifr& Ifr::Op(std::uint8_t opcode, bool scope, const Bytes& body) {
  ops_.push_back(opcode);
  ops_.push_back(static_cast<std::uint8_t>((body.size() + 2) | (scope ? 0x80 : 0)));
  ops_.insert(ops_.end(), body.begin(), body.end());
  return *this;
}

Ifr& Ifr::FormSet(const EFI_GUID& guid, EFI_STRING_ID title) {
  Bytes body;
  PutGuid(body, guid);
  Put16(body, title);
  Put16(body, 0);
  body.push_back(1);  // one class GUID
  PutGuid(body, gEfiHiiPlatformSetupFormsetGuid);
  return Op(EFI_IFR_FORM_SET_OP, true, body);
}

Ifr& Ifr::VarStore(const EFI_GUID& guid, EFI_VARSTORE_ID id, std::uint16_t size, const std::string& name) {
  Bytes body;
  PutGuid(body, guid);
  Put16(body, id);
  Put16(body, size);
  body.insert(body.end(), name.begin(), name.end());
  body.push_back(0);
  return Op(EFI_IFR_VARSTORE_OP, false, body);
}

Ifr& Ifr::VarStoreEfi(const EFI_GUID& guid, EFI_VARSTORE_ID id, std::uint16_t size, std::uint32_t attributes,
                      const std::string& name) {
  Bytes body;
  Put16(body, id);
  PutGuid(body, guid);
  Put32(body, attributes);
  Put16(body, size);
  body.insert(body.end(), name.begin(), name.end());
  body.push_back(0);
  return Op(EFI_IFR_VARSTORE_EFI_OP, false, body);
}

Ifr& Ifr::Form(EFI_FORM_ID id, EFI_STRING_ID title) {
  Bytes body;
  Put16(body, id);
  Put16(body, title);
  return Op(EFI_IFR_FORM_OP, true, body);
}

Bytes LabelOp(std::uint16_t number) {
  Bytes op = {EFI_IFR_GUID_OP, 21};
  PutGuid(op, gEfiIfrTianoGuid);
  op.push_back(EFI_IFR_EXTEND_OP_LABEL);
  Put16(op, number);
  return op;
}

Ifr& Ifr::Label(std::uint16_t number) {
  return Raw(LabelOp(number));
}

Ifr& Ifr::Text(EFI_STRING_ID prompt) {
  Bytes body;
  Put16(body, prompt);
  Put16(body, 0);
  Put16(body, 0);
  return Op(EFI_IFR_TEXT_OP, false, body);
}

namespace {

Bytes QuestionHeader(EFI_QUESTION_ID id, EFI_VARSTORE_ID store, std::uint16_t offset) {
  Bytes body;
  Put16(body, 2);  // prompt
  Put16(body, 0);  // help
  Put16(body, id);
  Put16(body, store);
  Put16(body, offset);
  body.push_back(0);  // flags
  return body;
}

}  // namespace

Ifr& Ifr::OneOf(EFI_QUESTION_ID id, EFI_VARSTORE_ID store, std::uint16_t offset, std::uint8_t sizeFlag) {
  Bytes body = QuestionHeader(id, store, offset);
  body.push_back(sizeFlag);
  body.resize(body.size() + 3 * (std::size_t{1} << sizeFlag), 0);
  Op(EFI_IFR_ONE_OF_OP, true, body);
  Bytes option;
  Put16(option, 2);
  option.push_back(EFI_IFR_OPTION_DEFAULT);
  option.push_back(sizeFlag);  // the NUM_SIZE types share the flag's values
  option.resize(option.size() + (std::size_t{1} << sizeFlag), 0);
  Op(EFI_IFR_ONE_OF_OPTION_OP, false, option);
  return End();
}

Ifr& Ifr::CheckBox(EFI_QUESTION_ID id, EFI_VARSTORE_ID store, std::uint16_t offset) {
  Bytes body = QuestionHeader(id, store, offset);
  body.push_back(0);
  return Op(EFI_IFR_CHECKBOX_OP, false, body);
}

Ifr& Ifr::String(EFI_QUESTION_ID id, EFI_VARSTORE_ID store, std::uint16_t offset, std::uint8_t maxChars) {
  Bytes body = QuestionHeader(id, store, offset);
  body.push_back(0);
  body.push_back(maxChars);
  body.push_back(0);
  Op(EFI_IFR_STRING_OP, true, body);
  return End();
}

Ifr& Ifr::End() {
  return Op(EFI_IFR_END_OP, false, {});
}

Ifr& Ifr::Raw(const Bytes& bytes) {
  ops_.insert(ops_.end(), bytes.begin(), bytes.end());
  return *this;
}

Bytes Ifr::Package() const {
  return WithPackageHeader(EFI_HII_PACKAGE_FORMS, ops_);
}

Bytes VendorDevicePath(const EFI_GUID& guid) {
  Bytes path = {HARDWARE_DEVICE_PATH, HW_VENDOR_DP, 20, 0};
  PutGuid(path, guid);
  path.insert(path.end(), {END_DEVICE_PATH_TYPE, END_ENTIRE_DEVICE_PATH_SUBTYPE, 4, 0});
  return path;
}

Bytes DevicePathPackage(const Bytes& path) {
  return WithPackageHeader(EFI_HII_PACKAGE_DEVICE_PATH, path);
}

Bytes PackageList(const EFI_GUID& guid, const std::vector<Bytes>& packages) {
  Bytes list;
  PutGuid(list, guid);
  Put32(list, 0);
  for (const Bytes& package : packages) {
    list.insert(list.end(), package.begin(), package.end());
  }
  list.insert(list.end(), {4, 0, 0, EFI_HII_PACKAGE_END});
  const auto length = static_cast<std::uint32_t>(list.size());
  std::memcpy(list.data() + 16, &length, sizeof length);
  return list;
}

Bytes Generated(const Bytes& package) {
  Bytes out;
  Put32(out, static_cast<std::uint32_t>(package.size() + 4));
  out.insert(out.end(), package.begin(), package.end());
  return out;
}

std::u16string HexOf(const Bytes& bytes) {
  static const char16_t kDigits[] = u"0123456789abcdef";
  std::u16string text;
  for (std::uint8_t b : bytes) {
    text.push_back(kDigits[b >> 4]);
    text.push_back(kDigits[b & 0xF]);
  }
  return text;
}

std::u16string HeaderText(const EFI_GUID& guid, const std::u16string& name, const Bytes& path) {
  Bytes guidBytes;
  PutGuid(guidBytes, guid);
  std::u16string text = u"GUID=" + HexOf(guidBytes) + u"&NAME=";
  for (char16_t c : name) {
    Bytes two = {static_cast<std::uint8_t>(c >> 8), static_cast<std::uint8_t>(c)};
    text += HexOf(two);
  }
  return text + u"&PATH=" + HexOf(path);
}

}  // namespace hiitest
