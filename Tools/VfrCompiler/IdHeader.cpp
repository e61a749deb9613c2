#include "IdHeader.h"

#include "../Common/ByteArraySource.h"
#include "QuestionResolver.h"

#include <cctype>
#include <cstdio>
#include <map>

namespace carvex::vfr {

namespace {

std::string hex (uint64_t v, int digits) {
  char buf[24];
  std::snprintf (buf, sizeof buf, "0x%0*llX", digits, static_cast<unsigned long long> (v));
  return buf;
}

std::string sanitize (const std::string &text) {
  std::string out;
  for (char c : text) {
    if (std::isalnum (static_cast<unsigned char> (c))) {
      out += c;
    } else if (!out.empty () && out.back () != '_') {
      out += '_';
    }
  }
  while (!out.empty () && out.back () == '_') {
    out.pop_back ();
  }
  return out;
}

class Section {
public:
  Section (std::string &out, const std::string &prefix, const char *kind, const char *title)
      : out_ (out), prefix_ (prefix), kind_ (kind) {
    out_ += "\n// " + std::string (title) + "\n";
  }

  void add (const std::string &name, uint64_t value, int digits = 4) {
    std::string full = prefix_ + kind_ + "_" + sanitize (name);
    auto        it = seen_.find (full);
    if (it != seen_.end ()) {
      if (it->second == value) {
        return;
      }
      full += "_" + hex (value, digits).substr (2);
    }
    seen_[full] = value;
    out_ += "#define " + full + " " + hex (value, digits) + "\n";
  }

private:
  std::string                    &out_;
  const std::string              &prefix_;
  std::string                     kind_;
  std::map<std::string, uint64_t> seen_;
};

} // namespace

std::string renderIdHeader (const FormSet &fs, const std::string &prefix, const std::string &headerFileName,
                            const std::string &sourceName) {
  const std::string guard = tools::includeGuardFor (headerFileName);
  std::string       out = "// Identifiers of the forms compiled from " + sourceName +
                    ".\n// Generated file: do not edit.\n#ifndef " + guard + "\n#define " + guard + "\n";
  {
    Section stores (out, prefix, "VARSTORE", "Variable stores: id and size in bytes");
    for (const auto &s : fs.stores) {
      stores.add (s->name, s->id);
      stores.add (s->name + "_SIZE", s->type->size);
    }
  }
  {
    Section forms (out, prefix, "FORM", "Forms");
    for (const auto &f : fs.forms) {
      forms.add (f->idSymbol.empty () ? hex (f->id, 4).substr (2) : f->idSymbol, f->id);
    }
  }
  {
    Section questions (out, prefix, "QID", "Questions");
    forEachStatement (fs, [&] (const Statement &s) {
      if (!isQuestion (s.kind)) {
        return;
      }
      std::string name = !s.qname.empty ()      ? s.qname
                         : !s.idSymbol.empty () ? s.idSymbol
                         : s.var                ? s.var->view.path
                                                : hex (s.qid, 4).substr (2);
      questions.add (name, s.qid);
    });
  }
  {
    Section labels (out, prefix, "LABEL", "Labels");
    forEachStatement (fs, [&] (const Statement &s) {
      if (s.kind == StmtKind::Label) {
        labels.add (s.labelSymbol.empty () ? hex (s.label, 4).substr (2) : s.labelSymbol, s.label);
      }
    });
  }
  out += "\n#endif\n";
  return out;
}

} // namespace carvex::vfr
