// Entry shapes whose written text reads back as something else. The round-trip
// fuzzer skips handles holding one; each case is listed in the README.
#pragma once

#include <string>
#include <vector>

#include "TeskPf.h"

namespace fuzz {

inline const std::string revision_key = "[\"pf_revision_time\"]";

// The name of a member of an associative block (or of the top level) as it
// stood on its line: its key path without the enclosing block's path and the
// ["..."] around it.
inline std::string memberName(const std::string &key, const std::string &block_path) {
    return key.substr(block_path.size() + 2, key.size() - block_path.size() - 4);
}

// A member name holding "[" is written as its part after the last "[" (or as
// nothing), so the line reads back with another key.
inline bool lossyName(const std::string &name) { return name.find('[') != std::string::npos; }

// An annotated comment is written as "#", the annotation, one blank and the
// comment's words; the reader stores that as "#", two blanks and the words
// ("#" alone without words). Other spacing does not come back: none, when a
// character follows the annotation's closing bracket directly, or several
// blanks or tabs. And when the annotation ends with its closing bracket and
// the words begin with "<", the reader takes them for one more annotation.
inline bool lossyAnnotation(const std::string &comment, const std::string &constraints) {
    if (constraints.empty()) return false;
    size_t start = comment.find_first_not_of(" \t\v\f\r", 1);
    if (start == std::string::npos) return comment != "#";
    const std::string words = comment.substr(start);
    const bool closed = constraints.back() == '>' || constraints.back() == ')';
    return comment != "#  " + words || (closed && words[0] == '<');
}

inline bool hasLossyEntry(const Table<Table<std::string>> &entries) {
    struct Block {
        std::string path;
        bool list;
    };
    std::vector<Block> open;  // the blocks enclosing the current entry, outermost first
    for (const Table<std::string> &entry : entries) {
        const std::string &key = entry[FIELD_KEY];
        const std::string &value = entry[FIELD_VALUE];
        open.resize(static_cast<size_t>(std::stoi(entry[FIELD_LEVEL])), Block{"", false});
        // The top-level revision entry is written as the revision line at the
        // end instead. When it opens a block, the block's members are still
        // written, without their opening line, and the closing line after them
        // ends the file when it is read back: what follows is lost.
        if (!open.empty() && open.front().path == revision_key) return true;
        if (lossyAnnotation(entry[FIELD_COMMENT], entry[FIELD_CONSTRAINTS])) return true;
        if (key.empty()) continue;
        const Block parent = open.empty() ? Block{"", false} : open.back();
        if (!parent.list && lossyName(memberName(key, parent.path))) return true;
        if (value == "&Arr" || value == "&Tbl") open.push_back({key, value == "&Tbl"});
    }
    return false;
}

}  // namespace fuzz
