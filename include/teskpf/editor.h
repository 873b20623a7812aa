// Editing one parameter file in place: every byte the edit does not mean to
// change stays as it is (white space, alignment, CRLF line ends, comments,
// lines after a stray "}", NUL bytes). Unlike the classic TeskPf::write, which
// regenerates the whole text, each edit splices only the bytes of the lines
// concerned.
//
// An edit whose result would not read back as asked (a line break or a tab in
// a value, a block marker, a list member that would vanish or close its
// block, ...) is refused with EditError and changes nothing.
//
// Concurrent editors: a read-modify-write must hold a teskpf::FileLock on the
// file from before it is read until after it is saved, or another process's
// save in between is lost. Editor::openLocked does exactly that.
#pragma once

#include <memory>
#include <string>
#include <string_view>

#include <teskpf/export.h>

namespace teskpf {

class ParsedFile;
class FileLock;
class FileText;
struct LockWait;

class TESKPF_API Editor {
public:
    // Reads the file at `path`. Throws IoError when it cannot be read and
    // Error when it does not parse (a key-less line in an associative block).
    static Editor open(const std::string &path);
    // open(), holding a FileLock on `path` from before the read until save()
    // or saveAs() returns, or the editor goes away. Throws IoError when the
    // file cannot be locked.
    static Editor openLocked(const std::string &path);
    // The same, waiting for the lock as `wait` says (a timeout, a check that
    // may end the wait; see teskpf::LockWait in <teskpf/save.h>).
    static Editor openLocked(const std::string &path, const LockWait &wait);
    // An editor on `text`, named `name` in messages; save() writes to `name`.
    // Throws Error when the text does not parse.
    static Editor fromText(const std::string &name, std::string text);

    Editor(Editor &&) noexcept;
    Editor &operator=(Editor &&) noexcept;
    ~Editor();

    // The current content, edits included.
    const std::string &text() const;
    // Whether any edit changed the content since it was read or last saved.
    bool changed() const;
    // The file name given to open() or fromText().
    const std::string &name() const;

    // The 0-based line of the last entry with key path `key_path` (as
    // ["a"]["b"][0]); -1 when there is none.
    long lineOf(std::string_view key_path) const;

    // Replaces the value of the last entry with `key_path` (or of the entry on
    // 0-based `line`): only the value's bytes change; escapes "#" as "\#".
    // Throws EditError for a missing entry, a block opening, or a value that
    // would not read back as given (see docs/cpp-api.md, "Editing files in place").
    void setValue(std::string_view key_path, std::string_view value);
    void setValueAtLine(long line, std::string_view value);

    // Replaces the comment of the entry. `comment` is the text after "#" (a
    // leading "#" is optional, white space at the ends dropped). An annotation
    // on the line ("#<int> ...") is kept unless `comment` starts with one; an
    // empty comment on a line without annotation removes the comment. Throws
    // EditError for a missing entry or a line break in the comment.
    void setComment(std::string_view key_path, std::string_view comment);
    void setCommentAtLine(long line, std::string_view comment);

    // Adds a new entry `key_path` with `value` (and `comment`, as for
    // setComment) as the last member of its block, indented like its
    // siblings; missing named blocks on the way are created as "&Arr{" blocks.
    // A list position may only be the next one (appending). Throws EditError
    // when the key exists, a block on the way is a value or of the other
    // kind, or the value would not read back as given.
    void add(std::string_view key_path, std::string_view value, std::string_view comment = {});

    // Removes the entry's line or, for a block opening, the whole block down
    // to its closing line. Later members of a list move up one position.
    // Throws EditError for a missing entry.
    void remove(std::string_view key_path);
    void removeAtLine(long line);

    // Writes the content to the file it was read from (save) or to `path`,
    // with teskpf::saveFile. A top-level pf_revision_time value is first set
    // to the current time, its line otherwise kept. Throws IoError when the
    // file cannot be written; the lock of openLocked is released afterwards.
    void save();
    void saveAs(const std::string &path);

private:
    Editor(std::string name, FileText text);
    struct TESKPF_LOCAL State;
    std::unique_ptr<State> state_;
};

// Why `name` cannot be the key of a member, written on a line and read back
// as that same key (white space, "#", a leading "}" or block marker, ...);
// "" when it can.
TESKPF_API std::string keyNameProblem(std::string_view name);

}  // namespace teskpf
