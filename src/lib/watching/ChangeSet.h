// What a reload changed: the entries of a document by key path, and the
// differences between two such lists.
#pragma once

#include <string>
#include <vector>

#include <teskpf/document.h>
#include <teskpf/watch.h>

namespace teskpf {

// One entry of a document as a change set compares it.
struct FlatEntry {
    std::string key;    // the full key path
    std::string value;  // the value text; "&Arr"/"&Tbl" for a block
    std::string file;
    long line = 0;  // 1-based
};

// Every entry of `document` by key path, in file order; a key path that
// repeats keeps its first place and its last value, as lookups read it.
std::vector<FlatEntry> flatEntries(const Document &document);

// The key paths added, changed (in the order of `after`) and removed (in the
// order of `before`) from `before` to `after`.
std::vector<KeyChange> changesBetween(const std::vector<FlatEntry> &before, const std::vector<FlatEntry> &after);

}  // namespace teskpf
