// Merging the entry lists of several files of one name.
#pragma once

#include "support/EntryList.h"

namespace teskpf {

// The entries of `winner`, in order, followed by the top-level keys of `loser`
// that `winner` lacks, each with its whole block. For every top-level entry of
// `winner` the last entry of `loser` with the same key is removed together
// with the entries after it whose keys start with that key (its block);
// nothing is merged inside blocks. The removed entries are taken out of
// `loser`; `winner` is not changed. Entries of `winner` below the top level
// travel with their block.
EntryList mergeEntryLists(const EntryList &winner, EntryList &loser);

}  // namespace teskpf
