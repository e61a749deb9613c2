#include "QuestionResolver.h"

#include <map>
#include <set>

namespace carvex::vfr {

namespace {

std::string hex4 (unsigned v) {
  static const char digits[] = "0123456789ABCDEF";
  std::string       s = "0x";
  for (int shift = 12; shift >= 0; shift -= 4) {
    s += digits[(v >> shift) & 0xF];
  }
  return s;
}

std::string where (const SourceLoc &loc) {
  return loc.file + ":" + std::to_string (loc.line);
}

void assignStoreIds (FormSet &fs) {
  std::set<uint16_t> used;
  for (const auto &s : fs.stores) {
    if (s->id != 0) {
      used.insert (s->id);
    }
  }
  uint16_t next = 1;
  for (auto &s : fs.stores) {
    if (s->id == 0) {
      while (used.count (next) != 0) {
        ++next;
      }
      s->id = next;
      used.insert (next);
    }
  }
}

class Resolver {
public:
  explicit Resolver (FormSet &fs) : fs_ (fs) {
  }

  void run () {
    assignStoreIds (fs_);
    collectQuestions ();
    assignQuestionIds ();
    forEachStatement (fs_, [&] (Statement &s) {
      if (s.condition) {
        resolve (*s.condition);
      }
      for (auto &d : s.defaults) {
        resolve (*d.expr);
      }
      if (s.kind == StmtKind::Goto) {
        checkGoto (s);
      }
    });
    checkLabels ();
  }

private:
  void collectQuestions () {
    std::map<uint16_t, const Statement *>    byId;
    std::map<std::string, const Statement *> byName;
    forEachStatement (fs_, [&] (Statement &s) {
      if (!isQuestion (s.kind)) {
        return;
      }
      questions_.push_back (&s);
      if (s.qidExplicit) {
        auto [it, fresh] = byId.emplace (s.qid, &s);
        if (!fresh) {
          throw CompileError (s.loc, "question id " + hex4 (s.qid) + " is already used at " + where (it->second->loc));
        }
      }
      if (!s.qname.empty ()) {
        auto [it, fresh] = byName.emplace (s.qname, &s);
        if (!fresh) {
          throw CompileError (s.loc, "question name '" + s.qname + "' is already used at " + where (it->second->loc));
        }
        names_[s.qname] = &s;
      }
    });
  }

  void assignQuestionIds () {
    std::set<uint16_t> used;
    for (const Statement *q : questions_) {
      if (q->qidExplicit) {
        used.insert (q->qid);
      }
    }
    uint32_t next = 1;
    for (Statement *q : questions_) {
      if (!q->qidExplicit) {
        while (used.count (static_cast<uint16_t> (next)) != 0) {
          ++next;
        }
        if (next > 0xFFFF) {
          throw CompileError (q->loc, "no question id left to assign");
        }
        q->qid = static_cast<uint16_t> (next);
        used.insert (q->qid);
      }
    }
  }

  void resolve (Expr &e) {
    for (auto &ref : e.refs) {
      ref.target = find (ref);
      if (!hasValue (ref.target->kind)) {
        throw CompileError (ref.loc,
                            "'" + ref.text + "' is a " + kindName (ref.target->kind) +
                                " question; conditions can compare numeric, oneof and checkbox questions only");
      }
    }
    for (auto &operand : e.operands) {
      resolve (*operand);
    }
  }

  const Statement *find (const QuestionRef &ref) const {
    if (!ref.field) {
      auto it = names_.find (ref.name);
      if (it == names_.end ()) {
        throw CompileError (ref.loc, "no question is named '" + ref.name + "'");
      }
      return it->second;
    }
    const Statement *found = nullptr;
    for (const Statement *q : questions_) {
      if (q->var && q->var->sameStorage (*ref.field)) {
        if (found != nullptr && found->qid != q->qid) {
          throw CompileError (ref.loc, "'" + ref.text + "' is stored by two questions (" + where (found->loc) +
                                           " and " + where (q->loc) + "); name one with 'name ='");
        }
        found = q;
      }
    }
    if (found == nullptr) {
      throw CompileError (ref.loc, "no question in this formset is bound to '" + ref.text + "'");
    }
    return found;
  }

  void checkGoto (const Statement &s) const {
    for (const auto &form : fs_.forms) {
      if (form->id == s.targetForm) {
        return;
      }
    }
    throw CompileError (s.targetLoc, "goto target form " + hex4 (s.targetForm) + " is not defined in this formset");
  }

  void checkLabels () const {
    for (const auto &form : fs_.forms) {
      std::map<uint16_t, const Statement *> seen;
      struct Walk {
        std::map<uint16_t, const Statement *> &seen;
        void                                   walk (const std::vector<std::unique_ptr<Statement>> &body) {
                                            for (const auto &s : body) {
                                              if (s->kind == StmtKind::Label) {
                                                auto [it, fresh] = seen.emplace (s->label, s.get ());
                                                if (!fresh) {
                                                  throw CompileError (s->loc, "label " + hex4 (s->label) + " appears twice in this form (first at " +
                                                                                  where (it->second->loc) + ")");
              }
            }
                                              walk (s->body);
          }
        }
      } walker{seen};
      walker.walk (form->body);
    }
  }

  FormSet                                 &fs_;
  std::vector<Statement *>                 questions_;
  std::map<std::string, const Statement *> names_;
};

} // namespace

void resolveFormSet (FormSet &formSet) {
  Resolver (formSet).run ();
}

} // namespace carvex::vfr
