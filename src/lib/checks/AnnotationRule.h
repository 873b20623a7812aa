// Which entry's annotation a value is checked against: its own, else that of
// the block its key path sits in (the text before its last "["), one level
// only; a top-level key has no block to fall back to. The one home of that
// rule, for every kind of entry storage.
#pragma once

#include <string_view>

#include "syntax/KeyPath.h"

namespace teskpf {

// The index of the entry whose annotation applies to entry `index`, or -1
// when none does. `constraintsOf(i)` gives entry i's own annotation text,
// `enclosing(i)` the index of the last entry whose key path is enclosingKey
// of entry i's, or -1 when that is empty or no entry has it.
template <class ConstraintsOf, class Enclosing>
int annotatedEntry(int index, ConstraintsOf constraintsOf, Enclosing enclosing) {
    if (!std::string_view(constraintsOf(index)).empty()) return index;
    const int parent = enclosing(index);
    return parent >= 0 && !std::string_view(constraintsOf(parent)).empty() ? parent : -1;
}

}  // namespace teskpf
