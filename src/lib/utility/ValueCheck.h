// Checking values against constraint records.
#pragma once

#include <string>
#include <string_view>

#include "TeskPf.h"

namespace teskpf {

// The maximal runs of characters other than blank and tab, in order.
Table<std::string> splitFields(std::string_view text);

// Whether one field satisfies one constraint record: <str> one of its words
// (any field when it has none), <int> a leading integer in base 0 notation
// (decimal, 0x hex, 0 octal) that fits 64 bits, <float> a leading
// floating-point number without range error (read in the C locale whatever
// the application's locale), <color>/<font>/<regex> anything.
bool fieldSatisfies(const std::string &field, const TeskPf_Constraint &constraint);

}  // namespace teskpf
