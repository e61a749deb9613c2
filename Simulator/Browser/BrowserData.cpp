// The two members of EFI_FORM_BROWSER2_PROTOCOL: SendForm, and
// BrowserCallback through which HiiGetBrowserData / HiiSetBrowserData reach
// the browser's copy of a store while a form set is shown.
#include <cstring>

#include "BlockConfig.hpp"
#include "BrowserSession.hpp"
#include "ConfigText.hpp"
#include "FormBrowser.hpp"
#include "Platform/Ucs2.hpp"

namespace carvex::sim::browser {

EFI_STATUS FormBrowser::BrowserCallback(UINTN* size, EFI_STRING data, bool retrieve, const EFI_GUID* guid,
                                        const CHAR16* name) {
  if (size == nullptr || (data == nullptr && (!retrieve || *size != 0))) {
    return EFI_INVALID_PARAMETER;
  }
  FormSetSession* current = calling_ != nullptr ? calling_ : history_.empty() ? nullptr : history_.back().session;
  if (current == nullptr) {
    return EFI_NOT_READY;
  }
  FormSetSession& session = *current;
  Store* store = nullptr;
  if (guid == nullptr) {
    if (session.model.stores.empty()) return EFI_UNSUPPORTED;
    store = &session.stores.at(session.model.stores.front().id);
  } else {
    for (const StoreDecl& decl : session.model.stores) {
      if (!SameGuid(decl.guid, *guid)) continue;
      if (decl.kind != StoreDecl::Kind::NameValue) {
        if (name == nullptr || FromChar16(name, 256) != decl.name) continue;
      }
      store = &session.stores.at(decl.id);
      break;
    }
    if (store == nullptr) return EFI_NOT_FOUND;
  }
  if (store->decl.kind == StoreDecl::Kind::NameValue) {
    return EFI_UNSUPPORTED;
  }
  const std::u16string header = ConfigHeader(session, store->decl);
  if (retrieve) {
    // The question items of this store, without the routing header.
    std::u16string body;
    const std::u16string items = ConfigItems(session.model, store->decl.id);
    if (!items.empty()) {
      std::u16string config;
      const hii::TextResult made = hii::BlockToConfigText(header + items, store->edit.data(), store->edit.size(), config);
      if (EFI_ERROR(made.status)) return made.status;
      body = config.substr(header.size() + 1);
    }
    const UINTN needed = (body.size() + 1) * sizeof(CHAR16);
    if (*size < needed) {
      *size = needed;
      return EFI_BUFFER_TOO_SMALL;
    }
    std::memcpy(data, body.c_str(), needed);
    *size = needed;
    return EFI_SUCCESS;
  }
  const std::u16string response = header + u"&" + FromChar16(data, 1 << 20);
  std::size_t blockSize = store->edit.size();
  const hii::TextResult written = hii::ConfigToBlockText(response, store->edit.data(), blockSize);
  Trace("browser data set for " + Utf16ToUtf8(store->decl.name) + ": " + StatusText(written.status));
  return written.status;
}

EFI_STATUS FormBrowser::SendForm(EFI_HII_HANDLE* handles, UINTN count, const EFI_GUID* formSet, EFI_FORM_ID form,
                                 EFI_BROWSER_ACTION_REQUEST* actionRequest) {
  if (handles == nullptr || count == 0) {
    return EFI_INVALID_PARAMETER;
  }
  if (ui_ == nullptr) {
    return EFI_NOT_READY;  // nobody to show it to
  }
  const std::size_t depth = history_.size();
  const bool wasReset = resetRequired_;
  resetRequired_ = false;
  const Outcome opened = Open(handles[0], formSet, form);
  if (!opened.ok) {
    resetRequired_ = wasReset;
    return EFI_NOT_FOUND;
  }
  ui_->RunNested(*this, depth);
  while (history_.size() > depth) {
    Back();
  }
  if (actionRequest != nullptr) {
    *actionRequest = resetRequired_ ? EFI_BROWSER_ACTION_REQUEST_RESET : EFI_BROWSER_ACTION_REQUEST_NONE;
  }
  resetRequired_ = resetRequired_ || wasReset;
  return EFI_SUCCESS;
}

}  // namespace carvex::sim::browser
