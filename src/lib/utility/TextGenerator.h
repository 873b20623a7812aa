// Turns an entry list back into parameter-file text.
#pragma once

#include <string>

#include "EntryList.h"

namespace teskpf {

// One line per entry, indented with one tab per level, the closing lines of
// blocks derived from the level fields, and, when the list holds a top-level
// "pf_revision_time" entry, a fresh "pf_revision_time<TAB><now>" line last.
std::string generateText(const EntryList &list);

}  // namespace teskpf
