// Parsing of constraint annotations such as "<int>", "<str>(low high)" or
// "<int> <float>" into constraint tables.
#pragma once

#include <optional>
#include <string_view>

#include "syntax/Constraint.h"

namespace teskpf {

// The constraint table of an annotation text, one record per annotation, or
// nothing when the text is malformed (an unclosed "<" or "(", or a type that
// is not str, int, float, color, font or regex). Reading stops at the first
// position that does not hold "<"; a text not starting with "<" gives an
// empty table.
std::optional<ConstraintTable> parseConstraintText(std::string_view text);

}  // namespace teskpf
