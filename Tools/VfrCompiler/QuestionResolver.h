// Completes a parsed form set: numbers stores and questions that were given
// no id, and binds every question a condition names, across all forms of the
// form set, to its question. Also checks what only the whole form set shows:
// duplicate question ids and names, goto targets, labels.
#pragma once

#include "FormAst.h"

namespace carvex::vfr {

void resolveFormSet (FormSet &formSet);

// Calls `visit` for every statement of every form, depth first, in source order.
template <typename Visit> void forEachStatement (const FormSet &formSet, Visit &&visit) {
  struct Walker {
    Visit &visit;
    void   walk (const std::vector<std::unique_ptr<Statement>> &body) {
        for (const auto &s : body) {
          visit (*s);
          walk (s->body);
      }
    }
  } walker{visit};
  for (const auto &form : formSet.forms) {
    walker.walk (form->body);
  }
}

} // namespace carvex::vfr
