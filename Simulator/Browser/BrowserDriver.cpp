// Everything the browser asks of a driver: its stores through the router
// (and EFI variables directly), its callback, strings in its package list,
// and noticing when it rewrote its forms.
#include <algorithm>
#include <cstdio>
#include <cstring>

#include <Protocol/HiiConfigRouting.h>
#include <Protocol/HiiString.h>

#include "BlockConfig.hpp"
#include "BrowserSession.hpp"
#include "ConfigText.hpp"
#include "FormBrowser.hpp"
#include "HiiServices.hpp"
#include "Platform/Ucs2.hpp"

namespace carvex::sim::browser {

namespace {

std::u16string Widen(const char* text) {
  std::u16string wide;
  for (; *text != 0; ++text) wide.push_back(static_cast<char16_t>(*text));
  return wide;
}

std::string ActionName(EFI_BROWSER_ACTION action) {
  switch (action) {
    case EFI_BROWSER_ACTION_CHANGING: return "CHANGING";
    case EFI_BROWSER_ACTION_CHANGED: return "CHANGED";
    case EFI_BROWSER_ACTION_RETRIEVE: return "RETRIEVE";
    case EFI_BROWSER_ACTION_FORM_OPEN: return "FORM_OPEN";
    case EFI_BROWSER_ACTION_FORM_CLOSE: return "FORM_CLOSE";
    case EFI_BROWSER_ACTION_SUBMITTED: return "SUBMITTED";
    default: return "DEFAULT_" + std::to_string(action);
  }
}

// Marks the form set whose driver runs, for as long as the call lasts.
class CallingScope {
 public:
  CallingScope(FormSetSession*& slot, FormSetSession* session) : slot_(slot), previous_(slot) { slot_ = session; }
  ~CallingScope() { slot_ = previous_; }
  CallingScope(const CallingScope&) = delete;
  CallingScope& operator=(const CallingScope&) = delete;

 private:
  FormSetSession*& slot_;
  FormSetSession* previous_;
};

std::string Hex(unsigned value) {
  char text[16];
  std::snprintf(text, sizeof text, "0x%04x", value);
  return text;
}

}  // namespace

void FormBrowser::LoadStores(FormSetSession& session) {
  EFI_HII_CONFIG_ROUTING_PROTOCOL* routing = services_.hii ? services_.hii->ConfigRouting() : nullptr;
  for (auto& [id, store] : session.stores) {
    if (!store.used) continue;
    bool loaded = false;
    switch (store.decl.kind) {
      case StoreDecl::Kind::Buffer: {
        if (routing == nullptr || session.devicePath.empty()) break;
        char width[24];
        std::snprintf(width, sizeof width, "&OFFSET=0&WIDTH=%04x", store.decl.size);
        const std::u16string request = ConfigHeader(session, store.decl) + Widen(width);
        const CHAR16* progress = nullptr;
        CHAR16* results = nullptr;
        const EFI_STATUS status = routing->ExtractConfig(routing, request.c_str(), &progress, &results);
        Trace("ExtractConfig " + Utf16ToUtf8(store.decl.name) + ": " + StatusText(status));
        if (!EFI_ERROR(status) && results != nullptr) {
          std::u16string text = FromChar16(results, 1 << 20);
          // Only the current values: the default sections start at "&GUID=".
          const std::size_t defaults = text.find(u"&GUID=");
          if (defaults != std::u16string::npos) text.resize(defaults);
          std::size_t size = store.edit.size();
          const hii::TextResult result = hii::ConfigToBlockText(text, store.edit.data(), size);
          loaded = !EFI_ERROR(result.status) || result.status == EFI_BUFFER_TOO_SMALL;
        }
        if (results != nullptr && services_.bootServices != nullptr) {
          services_.bootServices->FreePool(results);
        }
        break;
      }
      case StoreDecl::Kind::Efi: {
        EFI_RUNTIME_SERVICES* rt = services_.runtimeServices;
        if (rt == nullptr) break;
        std::u16string name = store.decl.name;
        EFI_GUID guid = store.decl.guid;
        UINTN size = 0;
        EFI_STATUS status = rt->GetVariable(name.data(), &guid, nullptr, &size, nullptr);
        if (status == EFI_BUFFER_TOO_SMALL) {
          Bytes data(size);
          status = rt->GetVariable(name.data(), &guid, nullptr, &size, data.data());
          if (status == EFI_SUCCESS) {
            std::copy_n(data.begin(), std::min<std::size_t>(size, store.edit.size()), store.edit.begin());
            loaded = true;
          }
        }
        Trace("GetVariable " + Utf16ToUtf8(store.decl.name) + ": " + StatusText(status));
        break;
      }
      case StoreDecl::Kind::NameValue: break;
    }
    store.committed = store.edit;
    if (!loaded) {
      ApplyDefaults(session, EFI_HII_DEFAULT_CLASS_STANDARD, false, id);
      store.committed = store.edit;
      session.Untouch(id);
    }
  }
}

void FormBrowser::RefreshIfUpdated(FormSetSession& session) {
  if (services_.hii == nullptr || session.gone) return;
  const auto info = services_.hii->PackageList(session.handle);
  if (!info) {
    session.gone = true;
    return;
  }
  Bytes forms;
  for (const auto& package : info->formPackages) forms.insert(forms.end(), package.begin(), package.end());
  session.languages = info->languages;
  if (forms == session.forms) return;
  session.forms = forms;
  for (const auto& package : info->formPackages) {
    for (FormSetModel& model : ParseFormPackage(package)) {
      if (!SameGuid(model.guid, session.model.guid) || model.forms.empty()) continue;
      session.model = std::move(model);
      Trace("form set read again after its forms changed");
      bool added = false;
      for (const StoreDecl& decl : session.model.stores) {
        if (session.stores.count(decl.id) != 0) continue;
        Store store;
        store.decl = decl;
        store.edit.assign(decl.size, 0);
        store.committed = store.edit;
        session.stores.emplace(decl.id, std::move(store));
        added = true;
      }
      for (const Form& form : session.model.forms) {
        for (const Statement& s : form.statements) {
          auto store = session.stores.find(s.storeId);
          if (s.IsQuestion() && s.storeId != 0 && store != session.stores.end() && !store->second.used) {
            store->second.used = true;
            added = true;
          }
        }
      }
      if (added) {
        LoadStores(session);
      }
      return;
    }
  }
}

EFI_STATUS FormBrowser::Call(FormSetSession& session, EFI_BROWSER_ACTION action, const Statement& question,
                             QuestionValue& value, EFI_BROWSER_ACTION_REQUEST* request) {
  if (session.access == nullptr || session.access->Callback == nullptr) {
    return EFI_UNSUPPORTED;
  }
  const std::uint8_t type = question.ValueType();
  EFI_IFR_TYPE_VALUE data{};
  Bytes buffer;
  EFI_IFR_TYPE_VALUE* pointer = &data;
  switch (type) {
    case EFI_IFR_TYPE_NUM_SIZE_8:
    case EFI_IFR_TYPE_NUM_SIZE_16:
    case EFI_IFR_TYPE_NUM_SIZE_32:
    case EFI_IFR_TYPE_NUM_SIZE_64: data.u64 = value.number; break;
    case EFI_IFR_TYPE_BOOLEAN: data.b = value.number != 0; break;
    case EFI_IFR_TYPE_STRING: {
      // The text travels in a string of the driver's own package list.
      auto found = session.valueStrings.find(question.questionId);
      if (found == session.valueStrings.end()) {
        const EFI_STRING_ID id = NewDriverString(session, value.text);
        if (id != 0) session.valueStrings[question.questionId] = id;
        data.string = id;
      } else {
        SetDriverString(session, found->second, value.text);
        data.string = found->second;
      }
      break;
    }
    case EFI_IFR_TYPE_ACTION: data.string = question.questionConfig; break;
    case EFI_IFR_TYPE_BUFFER:
      // Ordered lists get the raw buffer, with room for a whole union.
      buffer = value.raw;
      buffer.resize(std::max<std::size_t>(buffer.size() + sizeof(CHAR16), sizeof data), 0);
      pointer = reinterpret_cast<EFI_IFR_TYPE_VALUE*>(buffer.data());
      break;
    default:
      std::memcpy(&data, value.raw.data(), std::min(value.raw.size(), sizeof data));
      break;
  }
  EFI_BROWSER_ACTION_REQUEST answer = EFI_BROWSER_ACTION_REQUEST_NONE;
  EFI_STATUS status = EFI_SUCCESS;
  {
    const CallingScope calling(calling_, &session);
    status = session.access->Callback(session.access, action, question.questionId, type, pointer, &answer);
  }
  Trace("callback " + ActionName(action) + " question " + Hex(question.questionId) + ": " + StatusText(status));
  if (!EFI_ERROR(status)) {
    switch (type) {
      case EFI_IFR_TYPE_NUM_SIZE_8: value.number = data.u8; break;
      case EFI_IFR_TYPE_NUM_SIZE_16: value.number = data.u16; break;
      case EFI_IFR_TYPE_NUM_SIZE_32: value.number = data.u32; break;
      case EFI_IFR_TYPE_NUM_SIZE_64: value.number = data.u64; break;
      case EFI_IFR_TYPE_BOOLEAN: value.number = data.b != 0; break;
      case EFI_IFR_TYPE_STRING:
        if (data.string != 0) {
          value.text = TextIn(session.handle, session.languages, data.string, false);
          if (question.maxSize != 0 && value.text.size() > question.maxSize) value.text.resize(question.maxSize);
        }
        break;
      case EFI_IFR_TYPE_ACTION: break;
      case EFI_IFR_TYPE_BUFFER:
        std::copy_n(buffer.begin(), value.raw.size(), value.raw.begin());
        break;
      default:
        std::memcpy(value.raw.data(), &data, std::min(value.raw.size(), sizeof data));
        break;
    }
  }
  if (request != nullptr) {
    *request = answer;
  }
  return status;
}

EFI_STATUS FormBrowser::CallEachQuestion(FormSetSession& session, EFI_FORM_ID formId, EFI_BROWSER_ACTION action) {
  const Form* found = session.model.FindForm(formId);
  if (found == nullptr || session.access == nullptr) {
    return EFI_SUCCESS;
  }
  const Form form = *found;  // the driver may rewrite the forms meanwhile
  for (const Statement& question : form.statements) {
    if (!question.IsQuestion() || !question.HasFlag(EFI_IFR_FLAG_CALLBACK)) continue;
    if (StateOf(session, form, question).disabled) continue;
    QuestionValue value = Read(session, question);
    const EFI_STATUS status = Call(session, action, question, value);
    if (status == EFI_SUCCESS && action == EFI_BROWSER_ACTION_RETRIEVE && question.kind != StatementKind::Action) {
      Write(session, question, value);
    }
    if (EFI_ERROR(status) && status != EFI_UNSUPPORTED) {
      return status;
    }
  }
  return EFI_SUCCESS;
}

EFI_STRING_ID FormBrowser::NewDriverString(FormSetSession& session, const std::u16string& text) {
  EFI_HII_STRING_PROTOCOL* strings = services_.hii ? services_.hii->Strings() : nullptr;
  if (strings == nullptr || session.languages.empty()) return 0;
  EFI_STRING_ID id = 0;
  const std::u16string copy = text;
  if (strings->NewString(strings, session.handle, &id, session.languages.front().c_str(), nullptr, copy.c_str(),
                         nullptr) != EFI_SUCCESS) {
    return 0;
  }
  for (std::size_t i = 1; i < session.languages.size(); ++i) {
    strings->SetString(strings, session.handle, id, session.languages[i].c_str(), copy.c_str(), nullptr);
  }
  return id;
}

void FormBrowser::SetDriverString(FormSetSession& session, EFI_STRING_ID id, const std::u16string& text) {
  EFI_HII_STRING_PROTOCOL* strings = services_.hii ? services_.hii->Strings() : nullptr;
  if (strings == nullptr || id == 0) return;
  for (const std::string& language : session.languages) {
    strings->SetString(strings, session.handle, id, language.c_str(), text.c_str(), nullptr);
  }
}

// One step of the password conversation: the typed text in a temporary
// string of the driver's package list, emptied as soon as the driver has
// answered; no text at all (string 0) tells the driver to start over.
EFI_STATUS FormBrowser::CallPassword(FormSetSession& session, const Statement& question, const std::u16string* text) {
  if (session.access == nullptr || session.access->Callback == nullptr) {
    return EFI_UNSUPPORTED;
  }
  EFI_IFR_TYPE_VALUE data{};
  if (text != nullptr) {
    data.string = NewDriverString(session, *text);
  }
  const EFI_STRING_ID temporary = data.string;
  EFI_BROWSER_ACTION_REQUEST request = EFI_BROWSER_ACTION_REQUEST_NONE;
  EFI_STATUS status = EFI_SUCCESS;
  {
    const CallingScope calling(calling_, &session);
    status = session.access->Callback(session.access, EFI_BROWSER_ACTION_CHANGING, question.questionId,
                                      EFI_IFR_TYPE_STRING, &data, &request);
  }
  Trace("password callback question " + Hex(question.questionId) + (text ? "" : " (reset)") + ": " +
        StatusText(status));
  if (temporary != 0) {
    SetDriverString(session, temporary, u"");
  }
  return status;
}

EFI_STATUS FormBrowser::RouteStore(FormSetSession& session, EFI_VARSTORE_ID id) {
  auto found = session.stores.find(id);
  if (found == session.stores.end()) return EFI_NOT_FOUND;
  Store& store = found->second;
  EFI_STATUS status = EFI_SUCCESS;
  switch (store.decl.kind) {
    case StoreDecl::Kind::Buffer: {
      const std::u16string items = ConfigItems(session.model, id);
      if (items.empty()) break;
      std::u16string config;
      const hii::TextResult made =
          hii::BlockToConfigText(ConfigHeader(session, store.decl) + items, store.edit.data(), store.edit.size(), config);
      if (EFI_ERROR(made.status)) return made.status;
      EFI_HII_CONFIG_ROUTING_PROTOCOL* routing = services_.hii ? services_.hii->ConfigRouting() : nullptr;
      if (routing == nullptr) return EFI_NOT_READY;
      const CHAR16* progress = nullptr;
      status = routing->RouteConfig(routing, config.c_str(), &progress);
      Trace("RouteConfig " + Utf16ToUtf8(store.decl.name) + ": " + StatusText(status));
      break;
    }
    case StoreDecl::Kind::Efi: {
      EFI_RUNTIME_SERVICES* rt = services_.runtimeServices;
      if (rt == nullptr) return EFI_NOT_READY;
      std::u16string name = store.decl.name;
      EFI_GUID guid = store.decl.guid;
      status = rt->SetVariable(name.data(), &guid, store.decl.attributes, store.edit.size(), store.edit.data());
      Trace("SetVariable " + Utf16ToUtf8(store.decl.name) + ": " + StatusText(status));
      break;
    }
    case StoreDecl::Kind::NameValue: break;
  }
  if (!EFI_ERROR(status)) {
    store.committed = store.edit;
    session.Untouch(id);
  }
  return status;
}

void FormBrowser::HandleActionRequest(FormSetSession& session, EFI_BROWSER_ACTION_REQUEST request) {
  FormSetSession* target = &session;
  switch (request) {
    case EFI_BROWSER_ACTION_REQUEST_RESET:
      DiscardSession(session);
      resetRequired_ = true;
      ExitFormSet(target);
      break;
    case EFI_BROWSER_ACTION_REQUEST_SUBMIT:
      Submit(session);
      ExitFormSet(target);
      break;
    case EFI_BROWSER_ACTION_REQUEST_EXIT:
      DiscardSession(session);
      ExitFormSet(target);
      break;
    case EFI_BROWSER_ACTION_REQUEST_FORM_SUBMIT_EXIT:
      Submit(session);
      Back();
      break;
    case EFI_BROWSER_ACTION_REQUEST_FORM_DISCARD_EXIT:
      DiscardSession(session);
      Back();
      break;
    case EFI_BROWSER_ACTION_REQUEST_FORM_APPLY: Submit(session); break;
    case EFI_BROWSER_ACTION_REQUEST_FORM_DISCARD: DiscardSession(session); break;
    default: break;
  }
}

}  // namespace carvex::sim::browser
