// The browser's state for one open form set: its parsed forms, the driver
// behind it, and the browser's copy of each store (what the user edits, and
// what was last loaded or saved).
#pragma once

#include <map>
#include <set>
#include <tuple>
#include <string>
#include <vector>

#include <Protocol/HiiConfigAccess.h>

#include "IfrModel.hpp"

namespace carvex::sim::browser {

// A question's value: numbers and booleans in `number`, strings in `text`,
// everything else (dates, times, references, ordered lists) as raw bytes.
struct QuestionValue {
  std::uint8_t type = EFI_IFR_TYPE_UNDEFINED;
  std::uint64_t number = 0;
  std::u16string text;
  Bytes raw;

  bool operator==(const QuestionValue& other) const = default;
};

struct Store {
  StoreDecl decl;
  Bytes edit;       // the browser's copy the user changes
  Bytes committed;  // as loaded, or as last saved
  bool used = false;  // some question keeps its value here

  bool Changed() const { return edit != committed; }
};

struct FormSetSession {
  EFI_HII_HANDLE handle = nullptr;
  FormSetModel model;
  Bytes forms;  // the form packages the model was read from, to notice updates
  EFI_HANDLE driverHandle = nullptr;
  EFI_HII_CONFIG_ACCESS_PROTOCOL* access = nullptr;
  Bytes devicePath;  // of the driver handle, end node included
  std::vector<std::string> languages;
  std::map<EFI_VARSTORE_ID, Store> stores;
  std::map<EFI_QUESTION_ID, QuestionValue> unstored;  // questions without storage
  std::map<EFI_QUESTION_ID, EFI_STRING_ID> valueStrings;  // string questions' value strings
  // Storage of questions the user (or loading defaults) changed: only these
  // count as changes to save or discard. A driver filling the browser's copy
  // with HiiSetBrowserData changes nothing of the user's.
  std::set<std::tuple<EFI_VARSTORE_ID, std::uint16_t, std::uint16_t>> touched;
  bool gone = false;  // the package list was removed

  Store* StoreOf(const Statement& question) {
    auto found = stores.find(question.storeId);
    return question.storeId != 0 && found != stores.end() ? &found->second : nullptr;
  }
  const Store* StoreOf(const Statement& question) const {
    auto found = stores.find(question.storeId);
    return question.storeId != 0 && found != stores.end() ? &found->second : nullptr;
  }
  void Touch(const Statement& question) { touched.emplace(question.storeId, question.varOffset, question.width); }
  bool Touched(const Statement& question) const {
    return touched.count({question.storeId, question.varOffset, question.width}) != 0;
  }
  void Untouch(EFI_VARSTORE_ID store) {
    for (auto it = touched.begin(); it != touched.end();) {
      it = std::get<0>(*it) == store ? touched.erase(it) : std::next(it);
    }
  }

  // The question with this identifier, looked for in `preferred` first
  // (an identifier may be reused in another form).
  const Statement* FindQuestion(EFI_QUESTION_ID id, const Form* preferred) const;
};

// "EFI_NOT_READY" and the like, for messages.
std::string StatusText(EFI_STATUS status);

// "GUID=...&NAME=...&PATH=..." for a store of this session.
std::u16string ConfigHeader(const FormSetSession& session, const StoreDecl& store);

// The &OFFSET=..&WIDTH=.. items of the questions kept in a store, in offset
// order without duplicates; passwords with a callback are never included.
std::u16string ConfigItems(const FormSetModel& model, EFI_VARSTORE_ID store);

}  // namespace carvex::sim::browser
