// What a teskpf::Document holds: the merged entry records of its files and
// the tree over them that navigation needs.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include <teskpf/document.h>

#include "detail/ConstraintParser.h"
#include "detail/EntryList.h"
#include "detail/KeyIndex.h"

namespace teskpf::detail {

struct DocumentData {
    std::vector<std::string> files;  // lowest precedence first
    EntryList entries;               // the classic entry records
    ConstraintTables constraints;    // parsed annotations by their text
    KeyIndex index;                  // key path -> last entry with it
    std::vector<int32_t> parents;    // enclosing block's entry; -1 at the top level and for notes
    std::vector<std::vector<int32_t>> children;  // [0]: top level; [i + 1]: members of entry i
    ChangeHook on_change;

    // Builds index, parents and children from `entries` in one pass.
    void buildTree();

    const std::vector<int32_t> &childrenOf(int32_t entry) const {
        return children[static_cast<size_t>(entry + 1)];
    }
    const Entry &entry(int32_t entry) const { return entries[static_cast<size_t>(entry)]; }
    // Whether entry `entry` opens a block (its value is a block marker).
    bool opensBlock(int32_t entry) const;
    // The key as written of entry `entry`; "" for list items.
    std::string_view nameOf(int32_t entry) const;
    // The member of block `block` (-1: the top level) called `name`, the last
    // one when it repeats; -1 when none.
    int32_t memberNamed(int32_t block, std::string_view name) const;
};

}  // namespace teskpf::detail
