// The host platform's form browser: owns the browser's copy of every store
// of the form sets the user opened, shows forms through a front end, and
// talks to drivers the way EDK II's browser does (ExtractConfig when a form
// set opens, FORM_OPEN / RETRIEVE / CHANGING / CHANGED / FORM_CLOSE
// callbacks, the password conversation, RouteConfig on save).
//
// A front end drives it: View() describes the current form (or the front
// page listing the form sets), and Select / Press / SetValue / Password /
// Back act on an item of that view by its index. Save, Discard and
// LoadDefaults work on every form set opened in this setup session and then
// raise the platform's matching event.
#pragma once

#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include <Uefi.h>
#include <Protocol/FormBrowser2.h>
#include <Protocol/HiiConfigAccess.h>

#include "BrowserUi.hpp"
#include "IfrModel.hpp"

namespace carvex::sim {
class HiiServices;
class PlatformLog;
}  // namespace carvex::sim

namespace carvex::sim::browser {

struct FormSetSession;
struct QuestionValue;

enum class LeaveKind { Save, Discard, Defaults };

struct FormSetEntry {
  EFI_HII_HANDLE handle = nullptr;
  EFI_GUID guid{};
  std::u16string title;
  std::u16string help;
};

enum class ItemKind {
  Subtitle,
  Text,
  Numeric,
  OneOf,
  Checkbox,
  String,
  Password,
  Action,
  Link,
  ResetButton,
  Date,
  Time,
  OrderedList,
  FormSet,  // an entry of the front page
};

struct ItemView {
  std::size_t index = 0;  // what Select, Press, SetValue and Password take
  ItemKind kind = ItemKind::Text;
  EFI_QUESTION_ID questionId = 0;
  std::u16string prompt;
  std::u16string help;
  std::u16string value;  // as shown; check boxes "checked" / "unchecked"
  bool disabled = false;
  bool suppressed = false;
  bool grayed = false;
  bool readOnly = false;
  bool callback = false;
  bool checked = false;                  // check boxes
  std::uint64_t number = 0;              // numeric, one-of and check box values
  std::vector<std::u16string> options;   // the options shown (one-of)
  std::vector<std::uint64_t> optionValues;
  std::uint64_t minimum = 0, maximum = 0, step = 0;
  std::uint16_t minSize = 0, maxSize = 0;
  std::uint16_t width = 0;               // bytes of storage
  bool signedDisplay = false, hexDisplay = false;

  bool Shown() const { return !disabled && !suppressed; }
  bool Interactive() const {
    return kind != ItemKind::Subtitle && kind != ItemKind::Text && kind != ItemKind::Date &&
           kind != ItemKind::Time && kind != ItemKind::OrderedList;
  }
  bool Selectable() const { return Shown() && !grayed && !readOnly && Interactive(); }
};

struct FormView {
  bool frontPage = true;
  std::u16string formSetTitle;
  std::u16string title;
  EFI_FORM_ID formId = 0;
  EFI_QUESTION_ID highlight = 0;  // the question a link asked to highlight
  std::vector<ItemView> items;
};

// What an action did. `ok` is false when the action could not be done at all
// (wrong kind of item, value out of range, form missing); a driver that
// refuses a change leaves `ok` true and says so in `note`.
struct Outcome {
  bool ok = true;
  std::string note;
  static Outcome Fail(std::string why) { return Outcome{false, std::move(why)}; }
  static Outcome Note(std::string what) { return Outcome{true, std::move(what)}; }
};

// A value a front end sets: a number (numeric, one-of, check box) or text.
struct InputValue {
  std::uint64_t number = 0;
  std::u16string text;
};

class FormBrowser {
 public:
  struct Services {
    EFI_BOOT_SERVICES* bootServices = nullptr;        // the browser's own image tables
    EFI_RUNTIME_SERVICES* runtimeServices = nullptr;
    HiiServices* hii = nullptr;
    PlatformLog* log = nullptr;                        // optional
    // Raises the platform's save, discard or load-default event.
    std::function<void(LeaveKind)> leaveSetup;
  };

  explicit FormBrowser(Services services);
  ~FormBrowser();
  FormBrowser(const FormBrowser&) = delete;
  FormBrowser& operator=(const FormBrowser&) = delete;

  void SetUi(BrowserUi* ui) { ui_ = ui; }
  BrowserUi* Ui() const { return ui_; }
  // Strings are shown in this language, else en-US, else the first the
  // package list has, else "!".
  void SetLanguage(std::string language) { language_ = std::move(language); }
  const std::string& Language() const { return language_; }

  // The form sets of the platform-setup class, in registration order.
  std::vector<FormSetEntry> FormSets() const;

  // Opens a form set (the first of the platform-setup class in the package
  // list when formSet is null) at a form (its first when 0).
  Outcome Open(EFI_HII_HANDLE handle, const EFI_GUID* formSet = nullptr, EFI_FORM_ID form = 0);
  Outcome OpenByTitle(const std::u16string& title);

  bool InFormSet() const { return !history_.empty(); }
  std::size_t Depth() const { return history_.size(); }
  FormView View() const;

  Outcome Select(std::size_t index);  // a link, or a form set of the front page
  Outcome Press(std::size_t index);   // an action or a reset button
  Outcome SetValue(std::size_t index, const InputValue& value);
  Outcome Password(std::size_t index);
  Outcome Back();                     // the previous form, or out of the form set
  Outcome Home();                     // back to the front page

  Outcome Save();
  Outcome Discard();
  // Standard defaults unless another default store is named.
  Outcome LoadDefaults(EFI_DEFAULT_ID defaultId = EFI_HII_DEFAULT_CLASS_STANDARD);
  bool HasUnsavedChanges() const;
  // Ends the setup session: what is still unsaved is discarded (raising the
  // discard event) unless a save or discard already ended the work.
  void LeaveSetup();
  bool ResetRequired() const { return resetRequired_; }

  // A driver's message box (the POST message protocol's box member).
  EFI_STATUS ShowDriverBox(const CHAR16* title, const CHAR16* message, std::uint8_t boxType, std::uint8_t* selection);

  // EFI_FORM_BROWSER2_PROTOCOL, installed by the platform.
  EFI_FORM_BROWSER2_PROTOCOL* Protocol() { return &instance_.protocol; }
  EFI_STATUS SendForm(EFI_HII_HANDLE* handles, UINTN count, const EFI_GUID* formSet, EFI_FORM_ID form,
                      EFI_BROWSER_ACTION_REQUEST* actionRequest);
  EFI_STATUS BrowserCallback(UINTN* size, EFI_STRING data, bool retrieve, const EFI_GUID* guid, const CHAR16* name);

  // For tests and tools: the browser's copy of a store of an open form set.
  std::optional<Bytes> StoreData(const EFI_GUID& formSet, const std::u16string& storeName) const;

 private:
  struct Location {
    FormSetSession* session = nullptr;
    EFI_FORM_ID form = 0;
    EFI_QUESTION_ID highlight = 0;
  };
  struct Instance {
    EFI_FORM_BROWSER2_PROTOCOL protocol;
    FormBrowser* self;
  };
  // Sessions.
  FormSetSession* FindSession(EFI_HII_HANDLE handle, const EFI_GUID& guid) const;
  FormSetSession* CreateSession(EFI_HII_HANDLE handle, const EFI_GUID* guid, std::string& why);
  void DropSession(FormSetSession* session);
  Outcome Enter(FormSetSession* session, EFI_FORM_ID form, EFI_QUESTION_ID highlight);
  Outcome EnterForm();
  void LeaveForm();
  Outcome AbortFormSet(FormSetSession* session, const std::string& why);
  void LeaveFormSetIfDone(FormSetSession* session);
  void ExitFormSet(FormSetSession* session);
  const Form* CurrentForm() const;
  Outcome NavigateLink(const Statement& link, const EFI_HII_REF& target);

  // Driver work (BrowserDriver.cpp).
  void LoadStores(FormSetSession& session);
  void RefreshIfUpdated(FormSetSession& session);
  EFI_STATUS Call(FormSetSession& session, EFI_BROWSER_ACTION action, const Statement& question, QuestionValue& value,
                  EFI_BROWSER_ACTION_REQUEST* request = nullptr);
  EFI_STATUS CallEachQuestion(FormSetSession& session, EFI_FORM_ID form, EFI_BROWSER_ACTION action);
  EFI_STATUS CallPassword(FormSetSession& session, const Statement& question, const std::u16string* text);
  EFI_STRING_ID NewDriverString(FormSetSession& session, const std::u16string& text);
  void SetDriverString(FormSetSession& session, EFI_STRING_ID id, const std::u16string& text);
  EFI_STATUS RouteStore(FormSetSession& session, EFI_VARSTORE_ID id);
  void HandleActionRequest(FormSetSession& session, EFI_BROWSER_ACTION_REQUEST request);

  // Values and state (BrowserValues.cpp).
  QuestionValue Read(const FormSetSession& session, const Statement& question) const;
  void Write(FormSetSession& session, const Statement& question, const QuestionValue& value);
  bool Changed(const FormSetSession& session, const Statement& question) const;
  bool SessionChanged(const FormSetSession& session) const;
  struct State {
    bool disabled = false, suppressed = false, grayed = false;
  };
  State StateOf(const FormSetSession& session, const Form& form, const Statement& statement) const;
  bool OptionShown(const FormSetSession& session, const Form& form, const Option& option) const;
  std::optional<QuestionValue> DefaultOf(FormSetSession& session, const Form& form, const Statement& question,
                                 EFI_DEFAULT_ID defaultId, bool askDriver);
  void ApplyDefaults(FormSetSession& session, EFI_DEFAULT_ID defaultId, bool askDriver,
                     std::optional<EFI_VARSTORE_ID> onlyStore);
  std::u16string Text(const FormSetSession& session, EFI_STRING_ID id) const;
  // The string in the browser's language order; "!" (or empty) when missing.
  std::u16string TextIn(EFI_HII_HANDLE handle, const std::vector<std::string>& languages, EFI_STRING_ID id,
                        bool markMissing = true) const;
  std::u16string ValueText(const FormSetSession& session, const Form& form, const Statement& s) const;
  ItemView Describe(const FormSetSession& session, const Form& form, std::size_t index) const;
  std::optional<std::u16string> FailedCheck(const FormSetSession& session, const Form& form,
                                            const Statement& question, Check::Kind kind) const;

  // Edits (BrowserEdit.cpp).
  std::optional<std::u16string> ReadEntry(const std::u16string& prompt, const Statement& question);
  Outcome Validate(const FormSetSession& session, const Form& form, const Statement& s, const QuestionValue& v) const;

  // Submit (BrowserSubmit.cpp).
  Outcome Submit(FormSetSession& session);
  void DiscardSession(FormSetSession& session);

  std::uint8_t Notify(const std::u16string& text, bool asks = false);
  void Trace(const std::string& text) const;

  Services services_;
  BrowserUi* ui_ = nullptr;
  std::string language_ = "en-US";
  Instance instance_;
  std::vector<std::unique_ptr<FormSetSession>> sessions_;
  std::vector<Location> history_;
  // The form set whose driver is being called: its stores are the ones
  // BrowserCallback reaches, even when another form set is on screen.
  FormSetSession* calling_ = nullptr;
  bool resetRequired_ = false;
  bool leaveRaised_ = false;  // a save or discard ended the work since the last change
};

// The browser whose protocol table this is, or null (for the protocol's
// EFIAPI members).
FormBrowser* BrowserOf(const EFI_FORM_BROWSER2_PROTOCOL* protocol);

}  // namespace carvex::sim::browser
