#include "FormParser.h"

#include "ConstExpr.h"

#include <algorithm>
#include <cstring>

namespace carvex::vfr {

namespace {

struct FlagName {
  const char *name;
  uint8_t     value;
};

// Question header flags, accepted on every question (and on options, where
// they apply to the enclosing one-of).
const FlagName kHeaderFlags[] = {
    {"READ_ONLY", 0x01}, {"INTERACTIVE", 0x04}, {"RESET_REQUIRED", 0x10}, {"RECONNECT_REQUIRED", 0x40}};
const FlagName kCheckBoxFlags[] = {
    {"CHECKBOX_DEFAULT", 0x01}, {"CHECKBOX_DEFAULT_MFG", 0x02}, {"DEFAULT", 0x01}, {"MANUFACTURING", 0x02}};
const FlagName kOptionFlags[] = {
    {"OPTION_DEFAULT", 0x10}, {"OPTION_DEFAULT_MFG", 0x20}, {"DEFAULT", 0x10}, {"MANUFACTURING", 0x20}};
const FlagName kDisplayFlags[] = {{"DISPLAY_INT_DEC", 0x00}, {"DISPLAY_UINT_DEC", 0x10}, {"DISPLAY_UINT_HEX", 0x20}};
const FlagName kSizeFlags[] = {
    {"NUMERIC_SIZE_1", 0x00}, {"NUMERIC_SIZE_2", 0x01}, {"NUMERIC_SIZE_4", 0x02}, {"NUMERIC_SIZE_8", 0x03}};

template <size_t N> const FlagName *findFlag (const FlagName (&table)[N], const std::string &name) {
  for (const auto &f : table) {
    if (name == f.name) {
      return &f;
    }
  }
  return nullptr;
}

// Attributes each statement accepts, in the order EDK II writes them.
std::vector<std::string> allowedKeys (StmtKind kind) {
  switch (kind) {
  case StmtKind::Subtitle:
    return {"text", "flags"};
  case StmtKind::Text:
    return {"help", "text"};
  case StmtKind::Numeric:
  case StmtKind::OneOf:
    return {"name", "varid", "questionid", "key", "prompt", "help", "flags", "minimum", "maximum", "step"};
  case StmtKind::CheckBox:
    return {"name", "varid", "questionid", "key", "prompt", "help", "flags"};
  case StmtKind::String:
  case StmtKind::Password:
    return {"name", "varid", "questionid", "key", "prompt", "help", "flags", "minsize", "maxsize"};
  case StmtKind::Action:
    return {"name", "questionid", "key", "prompt", "help", "flags", "config"};
  case StmtKind::Goto:
    return {"formid", "question", "name", "questionid", "key", "prompt", "help", "flags"};
  case StmtKind::Option:
    return {"text", "value", "flags"};
  default:
    return {};
  }
}

const char *endKeyword (StmtKind kind) {
  switch (kind) {
  case StmtKind::Numeric:
    return "endnumeric";
  case StmtKind::OneOf:
    return "endoneof";
  case StmtKind::CheckBox:
    return "endcheckbox";
  case StmtKind::String:
    return "endstring";
  case StmtKind::Password:
    return "endpassword";
  case StmtKind::Action:
    return "endaction";
  default:
    return nullptr; // closed by ';'
  }
}

struct KindWord {
  const char *word;
  StmtKind    kind;
};
const KindWord kStatementWords[] = {
    {"subtitle", StmtKind::Subtitle}, {"text", StmtKind::Text},         {"numeric", StmtKind::Numeric},
    {"oneof", StmtKind::OneOf},       {"checkbox", StmtKind::CheckBox}, {"string", StmtKind::String},
    {"password", StmtKind::Password}, {"action", StmtKind::Action},     {"goto", StmtKind::Goto},
};
const KindWord kConditionWords[] = {
    {"suppressif", StmtKind::SuppressIf}, {"grayoutif", StmtKind::GrayOutIf}, {"disableif", StmtKind::DisableIf}};

} // namespace

const char *kindName (StmtKind kind) {
  switch (kind) {
  case StmtKind::Subtitle:
    return "subtitle";
  case StmtKind::Text:
    return "text";
  case StmtKind::Numeric:
    return "numeric";
  case StmtKind::OneOf:
    return "oneof";
  case StmtKind::Option:
    return "option";
  case StmtKind::CheckBox:
    return "checkbox";
  case StmtKind::String:
    return "string";
  case StmtKind::Password:
    return "password";
  case StmtKind::Action:
    return "action";
  case StmtKind::Goto:
    return "goto";
  case StmtKind::Label:
    return "label";
  case StmtKind::SuppressIf:
    return "suppressif";
  case StmtKind::GrayOutIf:
    return "grayoutif";
  case StmtKind::DisableIf:
    return "disableif";
  }
  return "?";
}

bool isQuestion (StmtKind kind) {
  switch (kind) {
  case StmtKind::Numeric:
  case StmtKind::OneOf:
  case StmtKind::CheckBox:
  case StmtKind::String:
  case StmtKind::Password:
  case StmtKind::Action:
  case StmtKind::Goto:
    return true;
  default:
    return false;
  }
}

bool hasValue (StmtKind kind) {
  return kind == StmtKind::Numeric || kind == StmtKind::OneOf || kind == StmtKind::CheckBox;
}

FormParser::FormParser (const std::vector<Token> &tokens, const std::string &mainFile)
    : tokens_ (tokens), mainFile_ (mainFile), c_ (tokens_, {mainFile, 1}), types_ (std::make_unique<TypeTable> ()),
      structs_ (*types_, pack_) {
}

std::unique_ptr<FormSet> FormParser::parse () {
  while (!c_.atEnd ()) {
    const Token &t = c_.peek ();
    if (t.kind == TokenKind::Pragma) {
      pack_.apply (c_.next ());
    } else if (t.isIdent ("formset")) {
      if (formSet_) {
        c_.fail ("only one formset is allowed per file");
      }
      parseFormSet ();
    } else if ((t.isIdent ("typedef") || t.isIdent ("struct")) && structs_.read (c_)) {
      // struct definition recorded
    } else if (!t.inMainFile) {
      structs_.skipDeclaration (c_);
    } else {
      c_.fail ("expected 'formset' or a struct definition, found " + TokenCursor::describe (t));
    }
  }
  if (!formSet_) {
    throw CompileError ({mainFile_, 1}, "no formset defined");
  }
  formSet_->types = std::move (types_);
  return std::move (formSet_);
}

// ---------------------------------------------------------------- form set

void FormParser::parseFormSet () {
  const Token &at = c_.next ();
  formSet_ = std::make_unique<FormSet> ();
  formSet_->loc = at.loc;
  bool haveGuid = false, haveTitle = false, haveHelp = false;
  while (c_.peek ().kind == TokenKind::Identifier && c_.peek (1).isPunct ("=")) {
    const Token key = c_.next ();
    c_.next ();
    if (key.text == "guid" && !haveGuid) {
      formSet_->guid = parseGuid ();
      haveGuid = true;
    } else if (key.text == "title" && !haveTitle) {
      formSet_->title = parseStringToken ();
      haveTitle = true;
    } else if (key.text == "help" && !haveHelp) {
      formSet_->help = parseStringToken ();
      haveHelp = true;
    } else if (key.text == "classguid" && formSet_->classGuids.empty ()) {
      do {
        formSet_->classGuids.push_back (parseGuid ());
      } while (c_.acceptPunct ("|"));
      if (formSet_->classGuids.size () > 3) {
        c_.failAt (key, "at most three class GUIDs are allowed (the browser reads only two bits of the count)");
      }
    } else if (key.text == "guid" || key.text == "title" || key.text == "help" || key.text == "classguid") {
      c_.failAt (key, "duplicate formset attribute '" + key.text + "'");
    } else {
      c_.failAt (key, "unsupported formset attribute '" + key.text + "'");
    }
    if (!c_.acceptPunct (",")) {
      break;
    }
  }
  if (!haveGuid || !haveTitle || !haveHelp) {
    c_.failAt (at, std::string ("formset needs '") + (!haveGuid ? "guid" : !haveTitle ? "title" : "help") + "'");
  }
  for (;;) {
    const Token &t = c_.peek ();
    if (t.isIdent ("endformset")) {
      c_.next ();
      c_.expectPunct (";", "after 'endformset'");
      break;
    }
    if (t.isIdent ("defaultstore")) {
      parseDefaultStore ();
    } else if (t.isIdent ("varstore") || t.isIdent ("efivarstore")) {
      parseVarStore (t.isIdent ("efivarstore"));
    } else if (t.isIdent ("form")) {
      parseForm ();
    } else if (t.kind == TokenKind::EndOfInput) {
      c_.failAt (at, "formset is not closed by 'endformset'");
    } else {
      c_.fail ("expected 'form', 'varstore', 'efivarstore', 'defaultstore' or 'endformset', found " +
               TokenCursor::describe (t));
    }
  }
}

void FormParser::parseDefaultStore () {
  const Token &at = c_.next ();
  DefaultStore ds;
  ds.loc = at.loc;
  ds.name = c_.expectIdentifier ("for the default store").text;
  bool haveAttribute = false;
  while (c_.acceptPunct (",")) {
    const Token key = c_.expectIdentifier ("of a default store attribute");
    c_.expectPunct ("=", "after the attribute name");
    if (key.text == "prompt") {
      ds.prompt = parseStringToken ();
    } else if (key.text == "attribute") {
      ds.id = static_cast<uint16_t> (parseConstMax ("default store id", 0xFFFF));
      haveAttribute = true;
      if (ds.id > 1) {
        c_.failAt (key, "only the standard (0x0000) and manufacturing (0x0001) default stores are supported");
      }
    } else {
      c_.failAt (key, "unsupported default store attribute '" + key.text + "'");
    }
  }
  (void)haveAttribute; // absent means the standard store, as in EDK II
  c_.expectPunct (";", "after the default store");
  for (const auto &other : formSet_->defaultStores) {
    if (other.name == ds.name || other.id == ds.id) {
      c_.failAt (at, "default store '" + ds.name + "' duplicates '" + other.name + "'");
    }
  }
  formSet_->defaultStores.push_back (ds);
}

void FormParser::parseVarStore (bool efi) {
  const Token &at = c_.next ();
  auto         store = std::make_unique<VarStore> ();
  store->kind = efi ? VarStore::Kind::Efi : VarStore::Kind::Buffer;
  store->loc = at.loc;
  const Token &type = c_.expectIdentifier ("for the store's struct type");
  store->type = types_->find (type.text);
  if (store->type == nullptr || !store->type->isStruct) {
    c_.failAt (type, "unknown struct type '" + type.text + "'");
  }
  if (!store->type->invalidReason.empty ()) {
    c_.failAt (type, "struct '" + type.text + "' cannot type a store: " + store->type->invalidReason);
  }
  if (store->type->size > 0xFFFF) {
    c_.failAt (type, "struct '" + type.text + "' is larger than 65535 bytes");
  }
  store->name = type.text;
  bool haveGuid = false, haveAttribute = false, haveName = false, haveId = false;
  while (c_.acceptPunct (",")) {
    const Token key = c_.expectIdentifier ("of a store attribute");
    c_.expectPunct ("=", "after the attribute name");
    bool &seen = key.text == "guid"        ? haveGuid
                 : key.text == "attribute" ? haveAttribute
                 : key.text == "name"      ? haveName
                                           : haveId;
    if (seen) {
      c_.failAt (key, "duplicate store attribute '" + key.text + "'");
    }
    seen = true;
    if (key.text == "varid") {
      store->id = static_cast<uint16_t> (parseConstMax ("store id", 0xFFFF));
      if (store->id == 0) {
        c_.failAt (key, "store id 0 is reserved");
      }
    } else if (key.text == "name") {
      store->name = c_.expectIdentifier ("for the store name").text;
    } else if (key.text == "guid") {
      store->guid = parseGuid ();
    } else if (key.text == "attribute" && efi) {
      store->attributes = static_cast<uint32_t> (parseConstMax ("variable attributes", 0xFFFFFFFF));
    } else {
      c_.failAt (key, "unsupported store attribute '" + key.text + "'");
    }
  }
  c_.expectPunct (";", "after the store declaration");
  if (!haveGuid) {
    c_.failAt (at, "store '" + store->name + "' needs a 'guid'");
  }
  if (efi && !haveAttribute) {
    c_.failAt (at, "efivarstore '" + store->name + "' needs an 'attribute'");
  }
  for (const auto &other : formSet_->stores) {
    if (other->name == store->name) {
      c_.failAt (at, "store '" + store->name + "' is already declared");
    }
    if (store->id != 0 && other->id == store->id) {
      c_.failAt (at, "store id " + std::to_string (store->id) + " is already used by '" + other->name + "'");
    }
  }
  formSet_->stores.push_back (std::move (store));
}

void FormParser::parseForm () {
  const Token &at = c_.next ();
  auto         form = std::make_unique<Form> ();
  form->loc = at.loc;
  bool haveId = false, haveTitle = false;
  do {
    const Token key = c_.expectIdentifier ("of a form attribute");
    c_.expectPunct ("=", "after the attribute name");
    if (key.text == "formid" && !haveId) {
      const size_t start = c_.position ();
      form->id = static_cast<uint16_t> (parseConstMax ("form id", 0xFFFF));
      form->idSymbol = macroOfValue (start);
      haveId = true;
      if (form->id == 0) {
        c_.failAt (key, "form id 0 is reserved");
      }
    } else if (key.text == "title" && !haveTitle) {
      form->title = parseStringToken ();
      haveTitle = true;
    } else {
      c_.failAt (key, "unexpected form attribute '" + key.text + "'");
    }
  } while (c_.acceptPunct (","));
  c_.expectPunct (";", "after the form header");
  if (!haveId || !haveTitle) {
    c_.failAt (at, std::string ("form needs '") + (haveId ? "title" : "formid") + "'");
  }
  for (const auto &other : formSet_->forms) {
    if (other->id == form->id) {
      c_.failAt (at, "form id " + std::to_string (form->id) + " is already used (line " +
                         std::to_string (other->loc.line) + ")");
    }
  }
  form_ = form.get ();
  formSet_->forms.push_back (std::move (form));
  while (!c_.peek ().isIdent ("endform")) {
    if (c_.atEnd ()) {
      c_.failAt (at, "form is not closed by 'endform'");
    }
    form_->body.push_back (parseItem (Context::Form));
  }
  c_.next ();
  c_.expectPunct (";", "after 'endform'");
  form_ = nullptr;
}

// ---------------------------------------------------------------- statements

std::unique_ptr<Statement> FormParser::parseItem (Context context) {
  const Token &t = c_.peek ();
  for (const auto &w : kConditionWords) {
    if (t.isIdent (w.word)) {
      return parseCondition (w.kind, context);
    }
  }
  if (context == Context::OneOf) {
    if (t.isIdent ("option")) {
      return parseAttributed (StmtKind::Option);
    }
    c_.fail ("expected 'option', a condition or 'endoneof', found " + TokenCursor::describe (t));
  }
  for (const auto &w : kStatementWords) {
    if (t.isIdent (w.word)) {
      return parseAttributed (w.kind);
    }
  }
  if (t.isIdent ("label")) {
    return parseLabel ();
  }
  c_.fail ("expected a statement, found " + TokenCursor::describe (t));
}

std::unique_ptr<Statement> FormParser::parseCondition (StmtKind kind, Context context) {
  const Token &at = c_.next ();
  auto         s = std::make_unique<Statement> ();
  s->kind = kind;
  s->loc = at.loc;
  s->condition = parseExpression ();
  c_.expectPunct (";", "after the condition");
  while (!c_.peek ().isIdent ("endif")) {
    if (c_.atEnd () || c_.peek ().isIdent ("endform") || c_.peek ().isIdent ("endoneof") ||
        c_.peek ().isIdent ("endformset")) {
      c_.failAt (at, std::string (kindName (kind)) + " is not closed by 'endif'");
    }
    s->body.push_back (parseItem (context));
  }
  c_.next ();
  c_.expectPunct (";", "after 'endif'");
  return s;
}

std::unique_ptr<Statement> FormParser::parseLabel () {
  const Token &at = c_.next ();
  auto         s = std::make_unique<Statement> ();
  s->kind = StmtKind::Label;
  s->loc = at.loc;
  const size_t start = c_.position ();
  s->label = static_cast<uint16_t> (parseConstMax ("label number", 0xFFFF));
  s->labelSymbol = macroOfValue (start);
  c_.expectPunct (";", "after the label number");
  return s;
}

std::unique_ptr<Statement> FormParser::parseAttributed (StmtKind kind) {
  const Token &at = c_.next ();
  auto         s = std::make_unique<Statement> ();
  s->kind = kind;
  s->loc = at.loc;
  seenKeys_.clear ();
  sizeFlag_ = -1;
  displayGiven_ = false;

  if (kind == StmtKind::Goto && c_.peek ().kind == TokenKind::Number) {
    // EDK II's short form: goto <formid>, ...
    s->targetLoc = c_.peek ().loc;
    s->targetForm = static_cast<uint16_t> (parseConstMax ("form id", 0xFFFF));
    seenKeys_.push_back ("formid");
    c_.expectPunct (",", "after the goto form id");
  }
  const auto keys = allowedKeys (kind);
  const bool takesDefaults = kind == StmtKind::Numeric || kind == StmtKind::OneOf || kind == StmtKind::CheckBox;
  for (;;) {
    const Token &key = c_.peek ();
    if (key.kind != TokenKind::Identifier) {
      break;
    }
    if (key.text == "default" && takesDefaults) {
      parseDefault (*s);
    } else if (c_.peek (1).isPunct ("=")) {
      if (std::find (keys.begin (), keys.end (), key.text) == keys.end ()) {
        c_.fail ("'" + key.text + "' is not an attribute of " + kindName (kind));
      }
      const bool repeatable =
          kind == StmtKind::Text && key.text == "text" && std::count (seenKeys_.begin (), seenKeys_.end (), "text") < 2;
      const bool idTwice = (key.text == "key" || key.text == "questionid") &&
                           (std::count (seenKeys_.begin (), seenKeys_.end (), "key") +
                            std::count (seenKeys_.begin (), seenKeys_.end (), "questionid")) > 0;
      if ((!repeatable && std::count (seenKeys_.begin (), seenKeys_.end (), key.text) > 0) || idTwice) {
        c_.fail ("duplicate attribute '" + key.text + "'");
      }
      seenKeys_.push_back (key.text);
      const std::string name = c_.next ().text;
      c_.next ();
      parseAttribute (*s, name);
    } else {
      break;
    }
    if (!c_.acceptPunct (",")) {
      break;
    }
  }

  if (kind == StmtKind::OneOf) {
    // Options are statements of their own: keep this question's parse state.
    const auto savedKeys = seenKeys_;
    const int  savedSize = sizeFlag_;
    const bool savedDisplay = displayGiven_;
    while (!c_.peek ().isIdent ("endoneof")) {
      if (c_.atEnd ()) {
        c_.failAt (at, "oneof is not closed by 'endoneof'");
      }
      if (c_.peek ().isIdent ("default")) {
        parseDefault (*s);
        c_.acceptPunct (",");
        continue;
      }
      s->body.push_back (parseItem (Context::OneOf));
    }
    seenKeys_ = savedKeys;
    sizeFlag_ = savedSize;
    displayGiven_ = savedDisplay;
  }
  if (const char *end = endKeyword (kind)) {
    c_.expectIdent (end, ("to close the " + std::string (kindName (kind))).c_str ());
  }
  c_.expectPunct (";", ("to end the " + std::string (kindName (kind))).c_str ());
  finishQuestion (*s);
  return s;
}

void FormParser::parseAttribute (Statement &s, const std::string &key) {
  const Token &value = c_.peek ();
  if (key == "name") {
    s.qname = c_.expectIdentifier ("for the question name").text;
  } else if (key == "varid") {
    s.var = parseFieldRef ();
  } else if (key == "questionid" || key == "key") {
    const size_t start = c_.position ();
    s.qid = static_cast<uint16_t> (parseConstMax ("question id", 0xFFFF));
    s.idSymbol = macroOfValue (start);
    s.qidExplicit = true;
    if (s.qid == 0) {
      c_.failAt (value, "question id 0 is reserved");
    }
  } else if (key == "prompt") {
    s.prompt = parseStringToken ();
  } else if (key == "help") {
    s.help = parseStringToken ();
  } else if (key == "text") {
    (std::count (seenKeys_.begin (), seenKeys_.end (), "text") == 2 ? s.text2 : s.prompt) = parseStringToken ();
  } else if (key == "flags") {
    parseFlags (s);
  } else if (key == "minimum") {
    s.minimum = parseConst ("minimum");
    s.rangeGiven = true;
  } else if (key == "maximum") {
    s.maximum = parseConst ("maximum");
    s.rangeGiven = true;
  } else if (key == "step") {
    s.step = parseConst ("step");
  } else if (key == "minsize") {
    s.minSize = static_cast<uint16_t> (parseConstMax ("minsize", 0xFFFF));
  } else if (key == "maxsize") {
    s.maxSize = static_cast<uint16_t> (parseConstMax ("maxsize", 0xFFFF));
  } else if (key == "config") {
    s.config = parseStringToken ();
  } else if (key == "formid") {
    s.targetLoc = value.loc;
    s.targetForm = static_cast<uint16_t> (parseConstMax ("form id", 0xFFFF));
  } else if (key == "question") {
    s.targetQuestion = static_cast<uint16_t> (parseConstMax ("question id", 0xFFFF));
    if (s.targetQuestion == 0) {
      c_.failAt (value, "question id 0 is reserved");
    }
  } else if (key == "value") {
    s.optionValue = parseConst ("option value");
  }
}

void FormParser::parseFlags (Statement &s) {
  do {
    const Token &t = c_.peek ();
    if (t.kind == TokenKind::Number) {
      if (parseConst ("flags") != 0) {
        c_.failAt (t, "write flags by name; only 0 is accepted as a number");
      }
      continue;
    }
    const std::string name = c_.expectIdentifier ("of a flag").text;
    const FlagName   *f = nullptr;
    if (s.kind == StmtKind::Option) {
      if ((f = findFlag (kOptionFlags, name)) != nullptr) {
        s.optionFlags |= f->value;
        continue;
      }
      if ((f = findFlag (kHeaderFlags, name)) != nullptr && f->value != 0x01) {
        s.qflags |= f->value; // applies to the one-of
        continue;
      }
    } else if (s.kind == StmtKind::Subtitle) {
      if (name == "HORIZONTAL") {
        s.opFlags |= 0x01;
        continue;
      }
    } else if (isQuestion (s.kind) && (f = findFlag (kHeaderFlags, name)) != nullptr) {
      s.qflags |= f->value;
      continue;
    } else if (s.kind == StmtKind::CheckBox && (f = findFlag (kCheckBoxFlags, name)) != nullptr) {
      s.opFlags |= f->value;
      continue;
    } else if (s.kind == StmtKind::String && name == "MULTI_LINE") {
      s.opFlags |= 0x01;
      continue;
    } else if (s.kind == StmtKind::Numeric || s.kind == StmtKind::OneOf) {
      if ((f = findFlag (kSizeFlags, name)) != nullptr) {
        sizeFlag_ = f->value;
        continue;
      }
      if ((f = findFlag (kDisplayFlags, name)) != nullptr) {
        s.opFlags = static_cast<uint8_t> ((s.opFlags & ~0x30) | f->value);
        displayGiven_ = true;
        continue;
      }
    }
    c_.failAt (t, "'" + name + "' is not a flag of " + kindName (s.kind));
  } while (c_.acceptPunct ("|"));
}

void FormParser::parseDefault (Statement &s) {
  const Token    &at = c_.next ();
  QuestionDefault d;
  d.loc = at.loc;
  const bool valueForm = c_.acceptIdent ("value");
  c_.expectPunct ("=", "after 'default'");
  d.expr = parseExpression ();
  d.asExpression = valueForm;
  if (c_.peek ().isPunct (",") && c_.peek (1).isIdent ("defaultstore")) {
    c_.next ();
    c_.next ();
    c_.expectPunct ("=", "after 'defaultstore'");
    const Token &name = c_.expectIdentifier ("of a default store");
    bool         found = false;
    for (const auto &ds : formSet_->defaultStores) {
      if (ds.name == name.text) {
        d.storeId = ds.id;
        found = true;
      }
    }
    if (!found) {
      c_.failAt (name, "unknown default store '" + name.text + "'");
    }
  }
  for (const auto &other : s.defaults) {
    if (other.storeId == d.storeId) {
      c_.failAt (at, "a default for this default store is already given");
    }
  }
  s.defaults.push_back (std::move (d));
}

void FormParser::checkRequired (const Statement &s, std::initializer_list<const char *> keys) {
  for (const char *key : keys) {
    bool present = std::find (seenKeys_.begin (), seenKeys_.end (), key) != seenKeys_.end ();
    if (std::strcmp (key, "questionid") == 0) {
      present = present || std::find (seenKeys_.begin (), seenKeys_.end (), "key") != seenKeys_.end ();
    }
    if (!present) {
      throw CompileError (s.loc, std::string (kindName (s.kind)) + " needs '" + key + "'");
    }
  }
}

// Checks that need the whole statement: storage widths, ranges, sizes.
void FormParser::finishQuestion (Statement &s) {
  auto fail = [&] (const std::string &message) { throw CompileError (s.loc, message); };
  auto fits = [] (uint64_t v, unsigned width) { return width >= 8 || v <= ((uint64_t{1} << (8 * width)) - 1); };

  switch (s.kind) {
  case StmtKind::Subtitle:
    checkRequired (s, {"text"});
    return;
  case StmtKind::Text:
    checkRequired (s, {"help", "text"});
    return;
  case StmtKind::Option:
    checkRequired (s, {"text", "value"});
    return;
  case StmtKind::Action:
    checkRequired (s, {"prompt", "help"});
    return;
  case StmtKind::Goto:
    checkRequired (s, {"formid", "prompt", "help"});
    if (s.targetForm == 0) {
      fail ("goto needs a non-zero form id");
    }
    return;
  default:
    break;
  }
  checkRequired (s, {"varid", "prompt", "help"});
  const FieldView  &v = s.var->view;
  const std::string field = "'" + v.path + "'";
  if (s.kind == StmtKind::String || s.kind == StmtKind::Password) {
    checkRequired (s, {"maxsize"});
    if (v.type->scalar != ScalarKind::Char16) {
      fail (std::string (kindName (s.kind)) + " needs a CHAR16 field; " + field + " is not");
    }
    if (s.maxSize == 0 || s.minSize > s.maxSize) {
      fail ("minsize must not exceed maxsize, and maxsize must be at least 1");
    }
    if (s.kind == StmtKind::String && s.maxSize > 0xFF) {
      fail ("string maxsize is limited to 255 characters");
    }
    if (uint32_t{s.maxSize} * 2 > v.size ()) {
      fail ("maxsize " + std::to_string (s.maxSize) + " needs " + std::to_string (s.maxSize * 2) + " bytes but " +
            field + " has " + std::to_string (v.size ()));
    }
    return;
  }
  if (!v.isScalar () || (v.type->scalar == ScalarKind::Guid) || v.type->scalar == ScalarKind::Char16 ||
      v.type->scalar == ScalarKind::Char8) {
    fail (std::string (kindName (s.kind)) + " needs an integer field; " + field + " is not");
  }
  const unsigned w = v.size ();
  if (s.kind == StmtKind::CheckBox) {
    if (w != 1) {
      fail ("checkbox needs a one-byte field; " + field + " has " + std::to_string (w));
    }
    for (const auto &d : s.defaults) {
      if (d.isConstant () && d.constant () > 1) {
        throw CompileError (d.loc, "checkbox default must be TRUE, FALSE, 0 or 1");
      }
    }
    return;
  }
  checkRequired (s, s.kind == StmtKind::Numeric ? std::initializer_list<const char *>{"minimum", "maximum"}
                                                : std::initializer_list<const char *>{});
  static const int kSizeCode[] = {-1, 0, 1, -1, 2, -1, -1, -1, 3};
  if (sizeFlag_ >= 0 && sizeFlag_ != kSizeCode[w]) {
    fail ("NUMERIC_SIZE flag does not match the " + std::to_string (w) + "-byte field " + field);
  }
  s.opFlags = static_cast<uint8_t> ((s.opFlags & ~0x03) | kSizeCode[w]);
  if (s.kind == StmtKind::Numeric && !displayGiven_) {
    s.opFlags |= 0x10; // unsigned decimal unless told otherwise
  }
  if (s.kind == StmtKind::OneOf) {
    std::vector<const Statement *> options;
    std::vector<const Statement *> pending{&s};
    while (!pending.empty ()) {
      const Statement *p = pending.back ();
      pending.pop_back ();
      for (const auto &child : p->body) {
        (child->kind == StmtKind::Option ? options : pending).push_back (child.get ());
      }
    }
    if (options.empty ()) {
      fail ("oneof has no options");
    }
    if (!s.rangeGiven) {
      s.minimum = s.maximum = options.front ()->optionValue;
      for (const Statement *o : options) {
        s.minimum = std::min (s.minimum, o->optionValue);
        s.maximum = std::max (s.maximum, o->optionValue);
      }
    }
    for (const Statement *o : options) {
      if (!fits (o->optionValue, w) || o->optionValue < s.minimum || o->optionValue > s.maximum) {
        throw CompileError (o->loc, "option value " + std::to_string (o->optionValue) +
                                        " is outside the one-of's range or width");
      }
      s.qflags |= o->qflags;
    }
  }
  if (!fits (s.minimum, w) || !fits (s.maximum, w) || !fits (s.step, w)) {
    fail ("minimum, maximum and step must fit the " + std::to_string (w) + "-byte field " + field);
  }
  if (s.minimum > s.maximum) {
    fail ("minimum is greater than maximum");
  }
  for (const auto &d : s.defaults) {
    if (d.isConstant () && (d.constant () < s.minimum || d.constant () > s.maximum)) {
      throw CompileError (d.loc, "default " + std::to_string (d.constant ()) + " is outside " +
                                     std::to_string (s.minimum) + ".." + std::to_string (s.maximum));
    }
  }
}

// ---------------------------------------------------------------- values

std::string FormParser::macroOfValue (size_t start) const {
  const std::string &macro = tokens_[start].macro;
  for (size_t i = start; i < c_.position (); ++i) {
    if (tokens_[i].macro != macro) {
      return {}; // written as an expression, not as one name
    }
  }
  return macro;
}

uint16_t FormParser::parseStringToken () {
  c_.expectIdent ("STRING_TOKEN", "for a string");
  c_.expectPunct ("(", "after STRING_TOKEN");
  const Token &at = c_.peek ();
  uint64_t     id = parseConst ("string id");
  if (id > 0xFFFF) {
    c_.failAt (at, "string id does not fit 16 bits");
  }
  c_.expectPunct (")", "after the string id");
  return static_cast<uint16_t> (id);
}

Guid FormParser::parseGuid () {
  Guid         g{};
  const Token &at = c_.expectPunct ("{", "to open a GUID");
  auto         part = [&] (unsigned bytes, size_t offset) {
    const Token &t = c_.peek ();
    uint64_t     v = parseConst ("GUID part");
    if (bytes < 8 && v >> (8 * bytes) != 0) {
      c_.failAt (t, "GUID part does not fit " + std::to_string (bytes) + " bytes");
    }
    for (unsigned i = 0; i < bytes; ++i) {
      g[offset + i] = static_cast<uint8_t> (v >> (8 * i));
    }
  };
  part (4, 0);
  c_.expectPunct (",", "in a GUID");
  part (2, 4);
  c_.expectPunct (",", "in a GUID");
  part (2, 6);
  c_.expectPunct (",", "in a GUID");
  const bool inner = c_.acceptPunct ("{");
  for (size_t i = 0; i < 8; ++i) {
    if (i > 0) {
      c_.expectPunct (",", "in a GUID");
    }
    part (1, 8 + i);
  }
  if (inner) {
    c_.expectPunct ("}", "to close the GUID's last eight bytes");
  }
  c_.expectPunct ("}", "to close the GUID");
  (void)at;
  return g;
}

uint64_t FormParser::parseConst (const char *what) {
  if (!startsConstExpr (c_.peek ()) && c_.peek ().kind != TokenKind::Identifier) {
    c_.fail (std::string ("expected a number for the ") + what + ", found " + TokenCursor::describe (c_.peek ()));
  }
  return evalConstExpr (c_, UnknownIdentifiers::AreErrors);
}

uint64_t FormParser::parseConstMax (const char *what, uint64_t max) {
  const Token &at = c_.peek ();
  uint64_t     v = parseConst (what);
  if (v > max) {
    c_.failAt (at, std::string (what) + " " + std::to_string (v) + " is larger than " + std::to_string (max));
  }
  return v;
}

VarStore *FormParser::findStore (const std::string &name) const {
  for (const auto &s : formSet_->stores) {
    if (s->name == name) {
      return s.get ();
    }
  }
  return nullptr;
}

FieldBinding FormParser::parseFieldRef () {
  const Token &storeTok = c_.expectIdentifier ("of a variable store");
  FieldBinding b;
  b.store = findStore (storeTok.text);
  if (b.store == nullptr) {
    c_.failAt (storeTok, "unknown variable store '" + storeTok.text + "'");
  }
  b.view.type = b.store->type;
  b.view.path = storeTok.text;
  c_.expectPunct (".", "after the store name");
  do {
    const Token &member = c_.expectIdentifier ("of a field");
    if (auto err = selectMember (b.view, member.text); !err.empty ()) {
      c_.failAt (member, err);
    }
    while (c_.peek ().isPunct ("[")) {
      const Token &open = c_.next ();
      uint64_t     index = parseConst ("array index");
      c_.expectPunct ("]", "after the array index");
      if (auto err = selectIndex (b.view, index); !err.empty ()) {
        c_.failAt (open, err);
      }
    }
  } while (c_.acceptPunct ("."));
  return b;
}

} // namespace carvex::vfr
