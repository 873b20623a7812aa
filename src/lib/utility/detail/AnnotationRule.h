// Which entry's annotation a value is checked against: its own, else that of
// the block its key path sits in (the text before its last "["), one level
// only; a top-level key has no block to fall back to. The one home of that
// rule, for every kind of entry storage.
#pragma once

#include <string_view>

#include "detail/KeyPath.h"

namespace teskpf {

// The index of the entry whose annotation applies to entry `index`, or -1
// when none does. `constraintsOf(i)` gives entry i's own annotation text,
// `keyOf(i)` its key path, `find(key)` the index of the last entry with that
// key path (or -1).
template <class ConstraintsOf, class KeyOf, class Find>
int annotatedEntry(int index, ConstraintsOf constraintsOf, KeyOf keyOf, Find find) {
    if (!std::string_view(constraintsOf(index)).empty()) return index;
    const auto &key = keyOf(index);
    std::string_view parent_key = enclosingKey(key);
    if (parent_key.empty()) return -1;
    const int parent = find(parent_key);
    return parent >= 0 && !std::string_view(constraintsOf(parent)).empty() ? parent : -1;
}

}  // namespace teskpf
