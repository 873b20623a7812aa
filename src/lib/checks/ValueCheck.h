// Checking values against constraint records.
#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <unordered_set>
#include <vector>

#include "Table.h"
#include "syntax/Constraint.h"

namespace teskpf {

// The maximal runs of characters other than blank and tab, in order.
Table<std::string> splitFields(std::string_view text);

// The numbers an <int> / <float> field stands for. These are the conversions
// the checks use, so a field converts exactly when it satisfies the check:
// the leading number is read and text after it is ignored.
// The leading integer (strtoll, base 0); nothing when there is none or it does
// not fit 64 bits.
std::optional<long long> leadingInteger(const std::string &field);
// The leading floating-point number (strtod in the C locale); nothing when
// there is none or it is out of range.
std::optional<double> leadingFloat(const std::string &field);

// One parsed annotation, prepared for checking many values: the words of each
// <str>(...) are hashed once, so a check costs time linear in the value, not
// in the word list. The one value check of the library: the classic
// checkValue and every other reader ask it.
class AnnotationCheck {
public:
    explicit AnnotationCheck(ConstraintTable constraints);
    // Whether `value` has one field per annotation and each field satisfies
    // its annotation: <str> one of its words (any field when it has none),
    // <int> a leading integer in base 0 notation (decimal, 0x hex, 0 octal)
    // that fits 64 bits, <float> a leading floating-point number without range
    // error (read in the C locale whatever the application's locale),
    // <color>/<font>/<regex> anything. True for an empty annotation.
    bool satisfies(std::string_view value) const;
    const ConstraintTable &constraints() const { return constraints_; }

private:
    ConstraintTable constraints_;
    std::vector<std::unordered_set<std::string>> words_;  // per annotation; empty: any field
};

}  // namespace teskpf
