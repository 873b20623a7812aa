// The parse of one parameter file: its text, kept byte for byte in one
// shared buffer, and its entries as spans into that text. The reading rules
// (lines, trimming, blocks, levels, list positions, key paths) live here and
// serve every reader: the classic handle, the editor and the diagnostics.
#pragma once

#include <sys/types.h>

#include <cstdint>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "files/FileIdentity.h"
#include "syntax/BlockSyntax.h"
#include "syntax/LineLexer.h"

namespace teskpf {

// The bytes of one file; copies share them. Zero bytes follow the text,
// kPadding of them, so that any part of it can be read in 8-byte words.
class FileText {
public:
    static constexpr size_t kPadding = 8;

    FileText() = default;
    // A copy of `bytes`.
    FileText(std::string_view bytes);
    // Room for `capacity` bytes, left uninitialised for a reader to fill.
    static FileText withCapacity(size_t capacity);

    std::string_view view() const { return std::string_view(bytes_, size_); }
    size_t capacity() const { return capacity_; }
    char *data() { return bytes_; }
    // Keeps the first `size` bytes (at most capacity()).
    void resize(size_t size);
    // Whether no other copy shares the bytes: only then may splice change them.
    bool unique() const { return buffer_.use_count() == 1; }
    // Replaces bytes [begin, end) by `replacement` (which must not view these
    // bytes), moving the bytes after them. A text that outgrows its buffer
    // is reallocated: a large buffer then moves its pages instead of being
    // copied, so that the text is never held twice. Throws std::bad_alloc,
    // leaving the text as it was; never allocates when the text does not grow.
    void splice(size_t begin, size_t end, std::string_view replacement);

private:
    // malloc'ed, so that it can grow with realloc.
    struct Buffer {
        char *bytes = nullptr;
        Buffer() = default;
        Buffer(const Buffer &) = delete;
        Buffer &operator=(const Buffer &) = delete;
        ~Buffer();
    };
    std::shared_ptr<Buffer> buffer_;
    char *bytes_ = nullptr;  // buffer_->bytes, read without going through the pointer
    size_t size_ = 0;
    size_t capacity_ = 0;
};

// A part of the file's text.
struct Span {
    uint32_t begin = 0;
    uint32_t size = 0;
    uint32_t end() const { return begin + size; }
};

enum class EntryKind : uint8_t {
    Note,     // a blank or comment-only line
    Value,    // a member line that holds a value
    ArrOpen,  // a member line that opens an "&Arr{" block
    TblOpen,  // a member line that opens a "&Tbl{" block
};

// One entry: a blank or comment line, or a member line.
struct FileEntry {
    uint32_t line = 0;        // 0-based index of the line in the file
    uint32_t line_begin = 0;  // offset of the line's first byte
    int32_t parent = -1;      // index of the enclosing block's opening entry; -1 at the top level
    int32_t position = -1;    // position in its list block (members of "&Tbl{" only); else -1
    int32_t level = 0;        // nesting depth, 0 at the top level
    EntryKind kind = EntryKind::Note;
    bool value_verbatim = true;     // the value reads as written (no tab, no "\#")
    Span key;                       // the key as written; empty for list members and notes
    Span value;                     // the value as written, trimmed ("&Arr{..." for an opening)
    Span comment;                   // from "#" to the end of the line's text; empty without one
    uint32_t constraints_size = 0;  // the annotation, starting right after the comment's "#"

    bool opensBlock() const { return kind == EntryKind::ArrOpen || kind == EntryKind::TblOpen; }
};

// Things about the file's structure that reading passes over silently; the
// diagnostics report them.
enum class LayoutNoteKind : uint8_t {
    StrayClose,      // a "}" at the top level: the lines after it are not read
    TextAfterOpen,   // text after "&Arr{" / "&Tbl{" (dropped)
    TextAfterClose,  // text after a closing "}" (dropped)
    UnclosedBlock,   // a block still open at the end of the file (entry = its opening)
    NulByte,         // a NUL byte: the rest of its line is not read
};

struct LayoutNote {
    LayoutNoteKind kind;
    uint32_t line;        // 0-based
    uint32_t line_begin;  // offset of the line's first byte
    Span span;            // the text concerned
    int32_t entry;        // the entry concerned, or -1
};

class ParsedFile {
public:
    // Parses `text` read from the file called `name`. Throws Error (naming
    // the file, and the line where there is one) for a key-less line in an
    // associative block, for a text of 4 GiB or more and for more lines than
    // an int counts.
    ParsedFile(std::string name, FileText text);
    ParsedFile(std::string name, std::string_view text) : ParsedFile(std::move(name), FileText(text)) {}

    // The file's name as given, as it appears in sources ("name:line").
    const std::string &name() const { return name_; }
    // The whole text, byte for byte.
    std::string_view text() const { return text_.view(); }
    // The entries, in file order; a block's members follow its opening.
    const std::vector<FileEntry> &entries() const { return entries_; }
    const std::vector<LayoutNote> &notes() const { return notes_; }
    // Number of lines in the text (a last line without line feed counts).
    uint32_t lineCount() const { return line_count_; }
    // The 0-based line of the top-level "}" that ended reading, or -1.
    long strayCloseLine() const { return stray_close_line_; }

    std::string_view at(Span span) const { return text().substr(span.begin, span.size); }
    // The line of `entry` as in the file, without its line feed.
    std::string_view lineText(const FileEntry &entry) const;
    // Fields as the classic entry record holds them.
    std::string_view key(const FileEntry &entry) const { return at(entry.key); }
    // The value: escapes removed and tabs made blanks; "&Arr"/"&Tbl" for an
    // opening. `buffer` is used when the value differs from its written text.
    std::string_view value(const FileEntry &entry, std::string &buffer) const;
    // The comment field ("" or text starting with "#", annotation cut out).
    std::string_view comment(const FileEntry &entry, std::string &buffer) const;
    std::string_view constraints(const FileEntry &entry) const;
    // The full key path, e.g. ["chan"]["list"][1]["x"]; "" for a note.
    std::string keyPath(size_t index) const;
    // Whether keyPath(index) is `path`, compared component by component from
    // the last one without building the path.
    bool hasKeyPath(size_t index, std::string_view path) const;
    // Appends the key path component of entry `index`: ["name"] or [n].
    void appendComponent(std::string &path, size_t index) const;
    // The length of that component.
    size_t componentSize(const FileEntry &entry) const;

    // Replaces text [begin, end), which lies within the line of entry
    // `index` (before its line feed), by `replacement`, when that can be done
    // without reading the file again: the line then reads as the same kind
    // of line (a member that holds a plain value, or a note) in the same
    // place. The entry is read again from its line and every later entry and
    // layout note moves by the difference in size. Returns false, changing
    // nothing, for any other edit: a line break or NUL byte in
    // `replacement`, a NUL byte on the line, a line that opens or closes a
    // block before or after, or whose key or value would appear or vanish;
    // and when the text is shared with a copy. Throws std::bad_alloc,
    // changing nothing.
    bool replaceInLine(size_t index, size_t begin, size_t end, std::string_view replacement);

private:
    void parse();
    LineSpans spansOf(const FileEntry &entry) const;

    std::string name_;
    FileText text_;
    std::vector<FileEntry> entries_;
    std::vector<LayoutNote> notes_;
    uint32_t line_count_ = 0;
    long stray_close_line_ = -1;
};

// Reads the file at `path` whole (open, fstat, read). Returns false, leaving
// `text` empty, when it cannot be opened or is not a regular file; `error`
// then holds the errno value. `identity`, when given, receives what the file
// was when reading began.
bool readFileText(const std::string &path, FileText &text, int &error, FileIdentity *identity = nullptr);

// Reads the regular file open at `fd`, which held `size` bytes, to its end
// (to the first read that fills less than it asks for). Returns false, with
// `text` empty and `error` the errno value, when a read fails.
bool readOpenFile(int fd, off_t size, FileText &text, int &error);

}  // namespace teskpf
