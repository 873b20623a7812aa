// Parsing of constraint annotations such as "<int>", "<str>(low high)" or
// "<int> <float>" into constraint tables.
#pragma once

#include <optional>
#include <string>
#include <string_view>

#include "Array.h"
#include "TeskPf.h"

namespace teskpf {

// Parsed constraint tables, keyed by their annotation text.
using ConstraintTables = Array<std::string, Table<TeskPf_Constraint>>;

// The constraint table of an annotation text, one record per annotation, or
// nothing when the text is malformed (an unclosed "<" or "(", or a type that
// is not str, int, float, color, font or regex). Reading stops at the first
// position that does not hold "<"; a text not starting with "<" gives an
// empty table.
std::optional<Table<TeskPf_Constraint>> parseConstraintText(std::string_view text);

// Parses `text` and stores its table in `tables` under the text itself,
// unless it is already there. Returns 0 when the text is stored, -1 when it
// is malformed (and then nothing is stored).
int registerConstraints(ConstraintTables &tables, const std::string &text);

}  // namespace teskpf
