#include "BrowserSession.hpp"

#include <cstdio>
#include <set>

#include "ConfigText.hpp"

namespace carvex::sim::browser {

const Statement* FormSetSession::FindQuestion(EFI_QUESTION_ID id, const Form* preferred) const {
  if (id == 0) {
    return nullptr;
  }
  if (preferred != nullptr) {
    for (const Statement& s : preferred->statements) {
      if (s.IsQuestion() && s.questionId == id) {
        return &s;
      }
    }
  }
  for (const Form& form : model.forms) {
    for (const Statement& s : form.statements) {
      if (s.IsQuestion() && s.questionId == id) {
        return &s;
      }
    }
  }
  return nullptr;
}

std::string StatusText(EFI_STATUS status) {
  switch (status) {
    case EFI_SUCCESS: return "EFI_SUCCESS";
    case EFI_LOAD_ERROR: return "EFI_LOAD_ERROR";
    case EFI_INVALID_PARAMETER: return "EFI_INVALID_PARAMETER";
    case EFI_UNSUPPORTED: return "EFI_UNSUPPORTED";
    case EFI_BUFFER_TOO_SMALL: return "EFI_BUFFER_TOO_SMALL";
    case EFI_NOT_READY: return "EFI_NOT_READY";
    case EFI_DEVICE_ERROR: return "EFI_DEVICE_ERROR";
    case EFI_OUT_OF_RESOURCES: return "EFI_OUT_OF_RESOURCES";
    case EFI_NOT_FOUND: return "EFI_NOT_FOUND";
    case EFI_ACCESS_DENIED: return "EFI_ACCESS_DENIED";
    case EFI_NOT_STARTED: return "EFI_NOT_STARTED";
    case EFI_ALREADY_STARTED: return "EFI_ALREADY_STARTED";
    case EFI_ABORTED: return "EFI_ABORTED";
    case EFI_NOT_AVAILABLE_YET: return "EFI_NOT_AVAILABLE_YET";
    default: {
      char text[32];
      std::snprintf(text, sizeof text, "0x%llx", static_cast<unsigned long long>(status));
      return text;
    }
  }
}

std::u16string ConfigHeader(const FormSetSession& session, const StoreDecl& store) {
  std::u16string header = u"GUID=";
  header += hii::HexBytes(reinterpret_cast<const std::uint8_t*>(&store.guid), sizeof store.guid);
  header += u"&NAME=";
  header += hii::HexName(store.name);
  header += u"&PATH=";
  header += hii::HexBytes(session.devicePath.data(), session.devicePath.size());
  return header;
}

std::u16string ConfigItems(const FormSetModel& model, EFI_VARSTORE_ID store) {
  std::set<std::pair<std::uint16_t, std::uint16_t>> blocks;
  for (const Form& form : model.forms) {
    for (const Statement& s : form.statements) {
      if (!s.IsQuestion() || s.storeId != store || s.width == 0) {
        continue;
      }
      if (s.kind == StatementKind::Password && s.HasFlag(EFI_IFR_FLAG_CALLBACK)) {
        continue;  // the driver keeps those itself
      }
      blocks.emplace(s.varOffset, s.width);
    }
  }
  std::u16string items;
  for (const auto& [offset, width] : blocks) {
    char text[40];
    std::snprintf(text, sizeof text, "&OFFSET=%04x&WIDTH=%04x", offset, width);
    for (const char* c = text; *c != 0; ++c) {
      items.push_back(static_cast<char16_t>(*c));
    }
  }
  return items;
}

}  // namespace carvex::sim::browser
