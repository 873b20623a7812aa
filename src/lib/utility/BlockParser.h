// The block parser: turns the lines of one parameter file into its entry list.
// Nested "&Arr{" and "&Tbl{" blocks are followed with an explicit stack, so
// the nesting depth is not limited by the call stack.
#pragma once

#include <string>

#include "ConstraintParser.h"
#include "FileLines.h"
#include "EntryList.h"

namespace teskpf {

struct BlockStart {
    int level;               // nesting depth of the block
    std::string key_prefix;  // key path of the block; "" at a file's top level
    bool is_list;            // a "&Tbl{" block rather than an "&Arr{" one
};

// Reads the block `start` from the lines `lines` still holds; `iline` counts
// every line taken (the block's closing line included). Nested
// blocks are read as they come. Every member line's constraint text is
// registered in `constraints`. Blank and comment-only lines give entries only
// when `keep_comments` is set. Throws a std::string for a line without a key
// in an associative block, and when the key paths of the file grow beyond a
// size that only absurd nesting reaches (see keyPathBudget).
EntryList parseBlock(const BlockStart &start, const std::string &fname, int &iline, LineReader &lines,
                     bool keep_comments, ConstraintTables &constraints);

// How many bytes of key paths a file of `file_bytes` bytes may produce. Key
// paths repeat their block's path, so deep nesting makes them grow with the
// square of the depth; this bound stops a hostile file from exhausting memory
// while leaving room for any realistic one.
size_t keyPathBudget(size_t file_bytes);

}  // namespace teskpf
