// The generated header of identifiers that C++ code shares with the forms:
// store ids and sizes, form, question and label numbers. (The form set GUID
// already lives in the header the form source includes.)
#pragma once

#include "FormAst.h"

#include <string>

namespace carvex::vfr {

// Each identifier becomes "#define <prefix><KIND>_<name> <value>" with KIND
// one of FORM, QID, VARSTORE, LABEL and name taken from the source: the macro
// the number was written with, the question's 'name', or its varid path;
// otherwise the value in hex.
std::string renderIdHeader (const FormSet &formSet, const std::string &prefix, const std::string &headerFileName,
                            const std::string &sourceName);

} // namespace carvex::vfr
