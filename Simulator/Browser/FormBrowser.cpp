// Form sets and navigation: opening a form set, moving between its forms
// with the callbacks EDK II's browser sends on the way, and the view a front
// end shows.
#include "FormBrowser.hpp"

#include <algorithm>
#include <cstring>
#include <set>

#include <Protocol/DevicePath.h>

#include "BrowserSession.hpp"
#include "DevicePathBytes.hpp"
#include "HiiServices.hpp"
#include "Platform/PlatformLog.hpp"
#include "Platform/Ucs2.hpp"

namespace carvex::sim::browser {

namespace {

std::set<FormBrowser*>& Live() {
  static std::set<FormBrowser*> live;
  return live;
}

EFI_STATUS EFIAPI SendFormThunk(const EFI_FORM_BROWSER2_PROTOCOL* This, EFI_HII_HANDLE* handles, UINTN count,
                                EFI_GUID* formSet, EFI_FORM_ID form, const EFI_SCREEN_DESCRIPTOR* /*screen*/,
                                EFI_BROWSER_ACTION_REQUEST* actionRequest) {
  FormBrowser* browser = BrowserOf(This);
  return browser ? browser->SendForm(handles, count, formSet, form, actionRequest) : EFI_INVALID_PARAMETER;
}

EFI_STATUS EFIAPI CallbackThunk(const EFI_FORM_BROWSER2_PROTOCOL* This, UINTN* size, EFI_STRING data,
                                BOOLEAN retrieve, const EFI_GUID* guid, const CHAR16* name) {
  FormBrowser* browser = BrowserOf(This);
  return browser ? browser->BrowserCallback(size, data, retrieve != 0, guid, name) : EFI_INVALID_PARAMETER;
}

Bytes Concatenate(const std::vector<std::vector<std::uint8_t>>& packages) {
  Bytes all;
  for (const auto& package : packages) {
    all.insert(all.end(), package.begin(), package.end());
  }
  return all;
}

bool IsZero(const EFI_GUID& guid) {
  const EFI_GUID zero{};
  return SameGuid(guid, zero);
}

}  // namespace

FormBrowser* BrowserOf(const EFI_FORM_BROWSER2_PROTOCOL* protocol) {
  for (FormBrowser* browser : Live()) {
    if (browser->Protocol() == protocol) {
      return browser;
    }
  }
  return nullptr;
}

FormBrowser::FormBrowser(Services services) : services_(std::move(services)) {
  instance_.protocol.SendForm = &SendFormThunk;
  instance_.protocol.BrowserCallback = &CallbackThunk;
  instance_.self = this;
  Live().insert(this);
}

FormBrowser::~FormBrowser() { Live().erase(this); }

void FormBrowser::Trace(const std::string& text) const {
  if (services_.log != nullptr) {
    services_.log->Note("browser: " + text, 0x00400000);
  }
}

std::uint8_t FormBrowser::Notify(const std::u16string& text, bool asks) {
  Trace("notice: " + Utf16ToUtf8(text));
  if (ui_ == nullptr) {
    return asks ? 1 : 0;
  }
  Box box;
  box.text = text;
  box.asks = asks;
  box.fromBrowser = true;
  return ui_->ShowBox(box);
}

EFI_STATUS FormBrowser::ShowDriverBox(const CHAR16* title, const CHAR16* message, std::uint8_t boxType,
                                      std::uint8_t* selection) {
  if (message == nullptr || (boxType != 1 && boxType != 3)) {
    return EFI_INVALID_PARAMETER;
  }
  Box box;
  box.title = FromChar16(title, 4096);
  box.text = FromChar16(message, 65536);
  box.asks = boxType == 3;
  Trace("box: " + Utf16ToUtf8(box.title) + ": " + Utf16ToUtf8(box.text));
  const std::uint8_t answer = ui_ != nullptr ? ui_->ShowBox(box) : (box.asks ? 1 : 0);
  if (box.asks && selection != nullptr) {
    *selection = answer;
  }
  return EFI_SUCCESS;
}

std::vector<FormSetEntry> FormBrowser::FormSets() const {
  std::vector<FormSetEntry> entries;
  if (services_.hii == nullptr) {
    return entries;
  }
  for (const HiiPackageListInfo& list : services_.hii->PackageLists()) {
    for (const auto& package : list.formPackages) {
      for (const FormSetModel& model : ParseFormPackage(package)) {
        if (!model.IsPlatformSetup()) continue;
        FormSetEntry entry;
        entry.handle = list.handle;
        entry.guid = model.guid;
        entry.title = TextIn(list.handle, list.languages, model.title);
        entry.help = TextIn(list.handle, list.languages, model.help, false);
        entries.push_back(std::move(entry));
      }
    }
  }
  return entries;
}

FormSetSession* FormBrowser::FindSession(EFI_HII_HANDLE handle, const EFI_GUID& guid) const {
  for (const auto& session : sessions_) {
    if (session->handle == handle && SameGuid(session->model.guid, guid) && !session->gone) {
      return session.get();
    }
  }
  return nullptr;
}

FormSetSession* FormBrowser::CreateSession(EFI_HII_HANDLE handle, const EFI_GUID* guid, std::string& why) {
  const auto info = services_.hii ? services_.hii->PackageList(handle) : std::nullopt;
  if (!info) {
    why = "no package list has this HII handle";
    return nullptr;
  }
  auto session = std::make_unique<FormSetSession>();
  std::optional<FormSetModel> chosen;
  for (const auto& package : info->formPackages) {
    for (FormSetModel& model : ParseFormPackage(package)) {
      const bool match = guid ? SameGuid(model.guid, *guid) : model.IsPlatformSetup();
      if (match && !chosen) chosen = std::move(model);
    }
  }
  if (!chosen) {
    why = "the package list holds no such form set";
    return nullptr;
  }
  if (chosen->forms.empty()) {
    why = "the form set has no form";
    return nullptr;
  }
  session->handle = handle;
  session->model = std::move(*chosen);
  session->forms = Concatenate(info->formPackages);
  session->languages = info->languages;
  session->driverHandle = info->driverHandle;
  EFI_BOOT_SERVICES* bs = services_.bootServices;
  if (session->driverHandle != nullptr && bs != nullptr) {
    void* access = nullptr;
    if (bs->HandleProtocol(session->driverHandle, &gEfiHiiConfigAccessProtocolGuid, &access) == EFI_SUCCESS) {
      session->access = static_cast<EFI_HII_CONFIG_ACCESS_PROTOCOL*>(access);
    }
    void* path = nullptr;
    if (bs->HandleProtocol(session->driverHandle, &gEfiDevicePathProtocolGuid, &path) == EFI_SUCCESS) {
      if (auto bytes = hii::CopyDevicePath(static_cast<const EFI_DEVICE_PATH_PROTOCOL*>(path))) {
        session->devicePath = std::move(*bytes);
      }
    }
  }
  if (session->devicePath.empty()) {
    session->devicePath = info->devicePath;
  }
  for (const StoreDecl& decl : session->model.stores) {
    Store store;
    store.decl = decl;
    store.edit.assign(decl.size, 0);
    store.committed = store.edit;
    session->stores.emplace(decl.id, std::move(store));
  }
  for (const Form& form : session->model.forms) {
    for (const Statement& s : form.statements) {
      auto store = session->stores.find(s.storeId);
      if (s.IsQuestion() && s.storeId != 0 && store != session->stores.end()) store->second.used = true;
    }
  }
  LoadStores(*session);
  sessions_.push_back(std::move(session));
  return sessions_.back().get();
}

void FormBrowser::DropSession(FormSetSession* session) {
  sessions_.erase(std::remove_if(sessions_.begin(), sessions_.end(),
                                 [session](const auto& s) { return s.get() == session; }),
                  sessions_.end());
}

const Form* FormBrowser::CurrentForm() const {
  if (history_.empty()) {
    return nullptr;
  }
  return history_.back().session->model.FindForm(history_.back().form);
}

Outcome FormBrowser::Open(EFI_HII_HANDLE handle, const EFI_GUID* formSet, EFI_FORM_ID form) {
  FormSetSession* session = nullptr;
  if (formSet != nullptr) {
    session = FindSession(handle, *formSet);
  } else {
    for (const auto& s : sessions_) {
      if (s->handle == handle && s->model.IsPlatformSetup() && !s->gone) session = s.get();
    }
  }
  if (session == nullptr) {
    std::string why;
    session = CreateSession(handle, formSet, why);
    if (session == nullptr) {
      return Outcome::Fail(why);
    }
  }
  if (form == 0) {
    form = session->model.forms.front().id;
  }
  return Enter(session, form, 0);
}

Outcome FormBrowser::OpenByTitle(const std::u16string& title) {
  for (const FormSetEntry& entry : FormSets()) {
    if (entry.title == title) {
      return Open(entry.handle, &entry.guid, 0);
    }
  }
  return Outcome::Fail("no form set is titled \"" + Utf16ToUtf8(title) + "\"");
}

Outcome FormBrowser::Enter(FormSetSession* session, EFI_FORM_ID form, EFI_QUESTION_ID highlight) {
  if (session->model.FindForm(form) == nullptr) {
    LeaveFormSetIfDone(session);
    return Outcome::Fail("the form set has no form " + std::to_string(form));
  }
  history_.push_back(Location{session, form, highlight});
  return EnterForm();
}

// FORM_OPEN, then RETRIEVE, to every callback question of the form about to
// be shown; an error other than EFI_UNSUPPORTED ends the form set.
Outcome FormBrowser::EnterForm() {
  FormSetSession* session = history_.back().session;
  const EFI_FORM_ID form = history_.back().form;
  for (EFI_BROWSER_ACTION action : {EFI_BROWSER_ACTION_FORM_OPEN, EFI_BROWSER_ACTION_RETRIEVE}) {
    const EFI_STATUS status = CallEachQuestion(*session, form, action);
    RefreshIfUpdated(*session);
    if (EFI_ERROR(status)) {
      return AbortFormSet(session, std::string(action == EFI_BROWSER_ACTION_FORM_OPEN ? "FORM_OPEN" : "RETRIEVE") +
                                       " returned " + StatusText(status));
    }
  }
  if (session->model.FindForm(form) == nullptr) {
    return AbortFormSet(session, "the form was removed while opening");
  }
  return Outcome{};
}

void FormBrowser::LeaveForm() {
  const Location here = history_.back();
  const EFI_STATUS status = CallEachQuestion(*here.session, here.form, EFI_BROWSER_ACTION_FORM_CLOSE);
  if (EFI_ERROR(status)) {
    Trace("FORM_CLOSE failed");
  }
  RefreshIfUpdated(*here.session);
  history_.pop_back();
}

Outcome FormBrowser::AbortFormSet(FormSetSession* session, const std::string& why) {
  Trace("form set closed: " + why);
  while (!history_.empty() && history_.back().session == session) {
    history_.pop_back();
  }
  LeaveFormSetIfDone(session);
  if (!history_.empty()) {
    FormSetSession* revealed = history_.back().session;
    const EFI_STATUS open = CallEachQuestion(*revealed, history_.back().form, EFI_BROWSER_ACTION_FORM_OPEN);
    if (EFI_ERROR(open)) {
      while (!history_.empty() && history_.back().session == revealed) history_.pop_back();
      LeaveFormSetIfDone(revealed);
    }
  }
  return Outcome::Fail(why);
}

void FormBrowser::LeaveFormSetIfDone(FormSetSession* session) {
  if (std::none_of(sessions_.begin(), sessions_.end(), [session](const auto& s) { return s.get() == session; })) {
    return;  // already dropped
  }
  for (const Location& location : history_) {
    if (location.session == session) return;
  }
  // Unsaved work stays with the setup session; a form set left as it was
  // is read again from its driver the next time it opens.
  if (session->gone || !SessionChanged(*session)) {
    DropSession(session);
  }
}

void FormBrowser::ExitFormSet(FormSetSession* session) {
  while (!history_.empty() && history_.back().session == session) {
    LeaveForm();
  }
  LeaveFormSetIfDone(session);
  if (!history_.empty()) {
    EnterForm();
  }
}

Outcome FormBrowser::Back() {
  if (history_.empty()) {
    return Outcome::Fail("already on the front page");
  }
  FormSetSession* session = history_.back().session;
  LeaveForm();
  if (!history_.empty()) {
    const Outcome entered = EnterForm();
    LeaveFormSetIfDone(session);
    return entered;
  }
  LeaveFormSetIfDone(session);
  return Outcome{};
}

Outcome FormBrowser::Home() {
  while (!history_.empty()) {
    Back();
  }
  return Outcome{};
}

Outcome FormBrowser::Select(std::size_t index) {
  if (history_.empty()) {
    const auto entries = FormSets();
    if (index >= entries.size()) {
      return Outcome::Fail("no such form set");
    }
    return Open(entries[index].handle, &entries[index].guid, 0);
  }
  FormSetSession* session = history_.back().session;
  const Form* form = CurrentForm();
  if (form == nullptr || index >= form->statements.size()) {
    return Outcome::Fail("no such item");
  }
  const Form formCopy = *form;
  const Statement link = formCopy.statements[index];
  if (link.kind != StatementKind::Link) {
    return Outcome::Fail("not a link");
  }
  const State state = StateOf(*session, formCopy, link);
  if (state.disabled || state.suppressed) return Outcome::Fail("the link is not shown");
  if (state.grayed) return Outcome::Fail("the link is grayed out");

  QuestionValue value = Read(*session, link);
  if (link.HasFlag(EFI_IFR_FLAG_CALLBACK) && session->access != nullptr) {
    const EFI_STATUS status = Call(*session, EFI_BROWSER_ACTION_CHANGING, link, value);
    RefreshIfUpdated(*session);
    if (EFI_ERROR(status) && status != EFI_UNSUPPORTED) {
      return Outcome::Note("the driver did not let the link be followed");
    }
    if (status == EFI_UNSUPPORTED) {
      value = Read(*session, link);
    }
  }
  EFI_HII_REF target{};
  std::memcpy(&target, value.raw.data(), std::min(value.raw.size(), sizeof target));
  if (!link.link.hasTarget && target.FormId == 0 && IsZero(target.FormSetGuid)) {
    return Outcome{};  // a link without a target only tells the driver
  }
  return NavigateLink(link, target);
}

Outcome FormBrowser::NavigateLink(const Statement& link, const EFI_HII_REF& target) {
  (void)link;
  FormSetSession* session = history_.back().session;
  if (!IsZero(target.FormSetGuid) && !SameGuid(target.FormSetGuid, session->model.guid)) {
    // Another form set: this package list first, then every other.
    std::vector<EFI_HII_HANDLE> handles{session->handle};
    for (const HiiPackageListInfo& list : services_.hii->PackageLists()) {
      if (list.handle != session->handle) handles.push_back(list.handle);
    }
    for (EFI_HII_HANDLE handle : handles) {
      const auto info = services_.hii->PackageList(handle);
      if (!info) continue;
      for (const auto& package : info->formPackages) {
        for (const FormSetModel& model : ParseFormPackage(package)) {
          if (!SameGuid(model.guid, target.FormSetGuid)) continue;
          const Location here = history_.back();
          CallEachQuestion(*here.session, here.form, EFI_BROWSER_ACTION_FORM_CLOSE);
          const Outcome opened = Open(handle, &target.FormSetGuid, target.FormId);
          if (!opened.ok && !history_.empty() && history_.back().session == here.session) {
            EnterForm();
          }
          return opened;
        }
      }
    }
    return Outcome::Fail("no form set has the link's target GUID");
  }
  if (target.FormId == 0) {
    return Outcome{};
  }
  if (session->model.FindForm(target.FormId) == nullptr) {
    return Outcome::Fail("the link's form " + std::to_string(target.FormId) + " does not exist");
  }
  const Location here = history_.back();
  const EFI_STATUS closed = CallEachQuestion(*session, here.form, EFI_BROWSER_ACTION_FORM_CLOSE);
  if (EFI_ERROR(closed)) {
    Trace("FORM_CLOSE failed");
  }
  RefreshIfUpdated(*session);
  return Enter(session, target.FormId, target.QuestionId);
}

FormView FormBrowser::View() const {
  FormView view;
  if (history_.empty()) {
    view.frontPage = true;
    view.title = u"Setup";
    std::size_t index = 0;
    for (const FormSetEntry& entry : FormSets()) {
      ItemView item;
      item.index = index++;
      item.kind = ItemKind::FormSet;
      item.prompt = entry.title;
      item.help = entry.help;
      view.items.push_back(std::move(item));
    }
    return view;
  }
  const Location& here = history_.back();
  const FormSetSession& session = *here.session;
  const Form* form = session.model.FindForm(here.form);
  view.frontPage = false;
  view.formSetTitle = Text(session, session.model.title);
  view.formId = here.form;
  view.highlight = here.highlight;
  if (form == nullptr) {
    return view;
  }
  view.title = Text(session, form->title);
  for (std::size_t i = 0; i < form->statements.size(); ++i) {
    view.items.push_back(Describe(session, *form, i));
  }
  return view;
}

std::optional<Bytes> FormBrowser::StoreData(const EFI_GUID& formSet, const std::u16string& storeName) const {
  for (const auto& session : sessions_) {
    if (!SameGuid(session->model.guid, formSet)) continue;
    for (const auto& [id, store] : session->stores) {
      if (store.decl.name == storeName) return store.edit;
    }
  }
  return std::nullopt;
}

}  // namespace carvex::sim::browser
