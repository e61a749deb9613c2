// Save, discard and load defaults over every form set of the setup session,
// and the platform events that follow them.
#include "BrowserSession.hpp"
#include "FormBrowser.hpp"
#include "Platform/Ucs2.hpp"

namespace carvex::sim::browser {

Outcome FormBrowser::Submit(FormSetSession& session) {
  // Which stores to route and whether a reset follows, before the copies agree.
  std::map<EFI_VARSTORE_ID, bool> changedStores;
  for (const Form& form : session.model.forms) {
    for (const Statement& s : form.statements) {
      if (!s.IsQuestion() || !Changed(session, s)) continue;
      changedStores[s.storeId] = true;
      if (s.HasFlag(EFI_IFR_FLAG_RESET_REQUIRED)) resetRequired_ = true;
    }
  }
  for (const auto& [id, changed] : changedStores) {
    const EFI_STATUS status = RouteStore(session, id);
    if (EFI_ERROR(status)) {
      Notify(u"Failed to save the changes.");
      return Outcome::Fail("saving store " + std::to_string(id) + " failed: " + StatusText(status));
    }
  }
  if (changedStores.empty()) {
    return Outcome{};
  }
  // SUBMITTED to the callback questions of routed (not EFI variable) stores.
  const std::vector<Form> forms = session.model.forms;
  for (const Form& form : forms) {
    for (const Statement& s : form.statements) {
      if (!s.IsQuestion() || !s.HasFlag(EFI_IFR_FLAG_CALLBACK) || s.kind == StatementKind::Password) continue;
      const Store* store = session.StoreOf(s);
      if (store == nullptr || store->decl.kind == StoreDecl::Kind::Efi) continue;
      QuestionValue value = Read(session, s);
      Call(session, EFI_BROWSER_ACTION_SUBMITTED, s, value);
    }
  }
  RefreshIfUpdated(session);
  return Outcome{};
}

void FormBrowser::DiscardSession(FormSetSession& session) {
  std::vector<Statement> changed;
  for (const Form& form : session.model.forms) {
    for (const Statement& s : form.statements) {
      if (s.IsQuestion() && s.HasFlag(EFI_IFR_FLAG_CALLBACK) && Changed(session, s)) changed.push_back(s);
    }
  }
  for (auto& [id, store] : session.stores) {
    store.edit = store.committed;
  }
  session.touched.clear();
  // Drivers hear of the values they saw change back.
  for (const Statement& s : changed) {
    QuestionValue value = Read(session, s);
    Call(session, EFI_BROWSER_ACTION_CHANGED, s, value);
  }
  RefreshIfUpdated(session);
}

Outcome FormBrowser::Save() {
  for (const auto& session : sessions_) {
    for (const Form& form : session->model.forms) {
      for (const Statement& s : form.statements) {
        if (!s.IsQuestion() || s.checks.empty() || StateOf(*session, form, s).disabled) continue;
        if (auto message = FailedCheck(*session, form, s, Check::Kind::NoSubmit)) {
          Notify(*message);
          return Outcome::Fail("not saved: " + Utf16ToUtf8(*message));
        }
      }
    }
  }
  std::vector<FormSetSession*> all;
  for (const auto& session : sessions_) all.push_back(session.get());
  for (FormSetSession* session : all) {
    const Outcome submitted = Submit(*session);
    if (!submitted.ok) return submitted;
  }
  leaveRaised_ = true;
  if (services_.leaveSetup) services_.leaveSetup(LeaveKind::Save);
  return Outcome{};
}

Outcome FormBrowser::Discard() {
  std::vector<FormSetSession*> all;
  for (const auto& session : sessions_) all.push_back(session.get());
  for (FormSetSession* session : all) {
    if (SessionChanged(*session)) DiscardSession(*session);
  }
  leaveRaised_ = true;
  if (services_.leaveSetup) services_.leaveSetup(LeaveKind::Discard);
  return Outcome{};
}

Outcome FormBrowser::LoadDefaults(EFI_DEFAULT_ID defaultId) {
  std::vector<FormSetSession*> all;
  for (const auto& session : sessions_) all.push_back(session.get());
  for (FormSetSession* session : all) {
    ApplyDefaults(*session, defaultId, true, std::nullopt);
    RefreshIfUpdated(*session);
  }
  if (services_.leaveSetup) services_.leaveSetup(LeaveKind::Defaults);
  return Outcome{};
}

bool FormBrowser::HasUnsavedChanges() const {
  for (const auto& session : sessions_) {
    if (SessionChanged(*session)) return true;
  }
  return false;
}

void FormBrowser::LeaveSetup() {
  const bool unsaved = HasUnsavedChanges();
  std::vector<FormSetSession*> all;
  for (const auto& session : sessions_) all.push_back(session.get());
  for (FormSetSession* session : all) {
    if (SessionChanged(*session)) DiscardSession(*session);
  }
  Home();
  if ((unsaved || !leaveRaised_) && services_.leaveSetup) {
    services_.leaveSetup(LeaveKind::Discard);
  }
  sessions_.clear();
  leaveRaised_ = true;  // leaving again raises nothing more
}

}  // namespace carvex::sim::browser
