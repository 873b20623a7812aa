// The outline of one parameter-file text, as an editor shows and edits it:
// for each line what it is (a member, a note, a block's closing "}", or text
// reading never gets to) and its nesting level, and for each member its key
// path and where its key, value, comment and annotation stand. Offsets are
// bytes into the whole text; lines are 0-based.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

#include <teskpf/export.h>

namespace teskpf {

// A part of the text: bytes [begin, end).
struct TextRange {
    std::size_t begin = 0;
    std::size_t end = 0;
    bool empty() const { return begin == end; }
};

enum class OutlineBlock { None, Arr, Tbl };

// One member line.
struct OutlineEntry {
    long line = 0;         // 0-based
    int level = 0;         // nesting depth, 0 at the top level
    long parent = -1;      // index (in Outline::entries) of the enclosing block's opening; -1 at the top
    long position = -1;    // position in its list block; -1 outside lists
    std::string key_path;  // e.g. ["chan"]["list"][1]["x"]
    TextRange key;         // empty for list members
    TextRange value;       // trimmed, as written ("&Arr{..." for an opening)
    TextRange comment;     // from "#" to the end of the line's text; empty without one
    TextRange annotation;  // the annotation right after the comment's "#"; empty without one
    OutlineBlock block = OutlineBlock::None;  // the block this line opens
    long close_line = -1;                     // the line of the "}" that closes that block; -1 when it stays open
};

enum class OutlineLineKind {
    Member,  // a member line: see its entry
    Note,    // a blank or comment-only line
    Close,   // a "}" that closes a block
    Unread,  // a top-level "}" and every line after it: reading stops there
};

struct OutlineLine {
    std::size_t begin = 0;  // offset of the line's first byte
    OutlineLineKind kind = OutlineLineKind::Note;
    int level = 0;    // the nesting level the line stands at (a "}" at its block's opening's)
    long entry = -1;  // index in Outline::entries of a member line; else -1
    // The block the line stands among the members of, as the index of its
    // opening in Outline::entries (-1: the top level); for a "}" the block
    // around the one it closes.
    long block = -1;
};

struct Outline {
    std::vector<OutlineEntry> entries;  // the members, in file order
    std::vector<OutlineLine> lines;     // every line of the text, in order
};

// The outline of `text` as reading sees it. Throws Error (naming `name` and
// the line) where reading fails: a key-less line in an associative block.
TESKPF_API Outline outlineOf(std::string_view text, const std::string &name = {});

}  // namespace teskpf
