// What a teskpf::Document holds: the classic handle's store of its files (the
// same parse, merge and key path index), the values changed by set(), and
// the tree over the merged entries that navigation needs.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

#include <teskpf/document.h>

#include "store/AnnotationInEffect.h"
#include "store/EditedTexts.h"
#include "store/EntryStore.h"

namespace teskpf::detail {

// The text fields of an entry that a node reads.
enum class EntryField : int { Key, Value, Comment, Constraints };

struct DocumentData {
    // Merges `parsed` (lowest precedence first) and builds the tree. Throws
    // Error as Store does.
    explicit DocumentData(std::vector<ParsedFile> parsed);

    std::vector<std::string> files;  // lowest precedence first
    Store store;
    mutable AnnotationInEffect annotations{store};  // reads lower files alone once, when first needed
    EditedTexts edited_values;                      // set() by entry index
    std::vector<int32_t> parents;                   // enclosing block's entry; -1 at the top level and for notes
    std::vector<std::vector<int32_t>> children;     // [0]: top level; [i + 1]: members of entry i
    ChangeHook on_change;

    const std::vector<int32_t> &childrenOf(int32_t entry) const { return children[static_cast<size_t>(entry + 1)]; }
    // Field `which` (Value, Comment or Constraints) of entry `entry`, the
    // value as set() left it. The view stays valid while the document lives,
    // a value until set() changes it again.
    std::string_view field(int32_t entry, EntryField which) const;
    // The key as written of entry `entry`; "" for list items. Valid as long.
    std::string_view nameOf(int32_t entry) const;
    // Whether entry `entry` opens a block (its value is a block marker).
    bool opensBlock(int32_t entry) const;
    // The member of block `block` (-1: the top level) called `name`, the last
    // one when it repeats; -1 when none.
    int32_t memberNamed(int32_t block, std::string_view name) const;

private:
    // A field that the store builds into a buffer (a value with a tab or
    // "\#", an annotated comment) is built once and kept
    // in `built`, so that views of it outlive the call; fields read verbatim
    // are views of the file's text.
    template <typename Read>
    std::string_view kept(int32_t entry, EntryField which, Read read) const;

    mutable std::unordered_map<int64_t, std::string> built;  // by entry and field
};

}  // namespace teskpf::detail
