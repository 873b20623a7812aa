// teskpf::Document: a loaded set of parameter files, read with the same rules
// as the classic TeskPf class (same parse, same merge: the file last on the
// search path wins each top-level key), navigated through Node views.
#pragma once

#include <functional>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include <teskpf/export.h>
#include <teskpf/node.h>

namespace teskpf {

namespace detail {
struct DocumentAccess;
}

// Called before a value is changed: the key path, the old value and the new
// one, which the hook may rewrite; what is left in `to` is stored.
using ChangeHook = std::function<void(std::string_view key, std::string_view from, std::string &to)>;

class TESKPF_API Document {
public:
    // Every file called `name` along the search path (PFPATH), a leading "~"
    // expanded; the name itself when the path holds none. Throws IoError when
    // there is no such file or one cannot be read, Error for a line the
    // format does not allow.
    static Document load(std::string_view name);
    // The one file at `path`, not searched. Throws IoError when it cannot be
    // read, Error for a line the format does not allow.
    static Document loadFile(const std::string &path);
    // The parameter-file text `text`; `name` is the file name its sources
    // report. Throws Error for a line the format does not allow.
    static Document parse(std::string_view text, std::string_view name = "<string>");

    Document(Document &&) noexcept;
    Document &operator=(Document &&) noexcept;
    ~Document();

    // The files read, lowest precedence first; empty for parse().
    const std::vector<std::string> &files() const;

    // The document as a block of its top-level keys.
    Node root() const;
    // root()[name]: the top-level key `name`; an empty node when missing.
    Node operator[](std::string_view name) const;
    // root().at(name); throws Error when missing.
    Node at(std::string_view name) const;
    // Whether the top-level key `name` exists.
    bool contains(std::string_view name) const;
    // Number of top-level keys.
    std::size_t size() const;
    MemberIterator begin() const;
    MemberIterator end() const;
    // The entry with full key path `key_path` (e.g. ["net"]["port"]), the last
    // one when it repeats; an empty node when there is none.
    Node find(std::string_view key_path) const;

    // Runs `hook` before every change made with set(); replaces the previous
    // hook; an empty function removes it.
    void onChange(ChangeHook hook);
    // Changes the value at `key_path` in memory, after the change hook.
    // Throws Error when there is no such value (missing, or a block) and
    // EditError when the value would not read back as stored (a line break,
    // or text that opens a block).
    void set(std::string_view key_path, std::string value);
    // The parameter-file text of the document as the classic writer makes it
    // (closing lines from the levels; the comments of the winning file kept).
    std::string toString() const;
    // Writes toString() to `path` with saveFile (atomic). Throws IoError.
    void save(const std::string &path) const;

private:
    friend detail::DocumentAccess;
    TESKPF_LOCAL explicit Document(std::unique_ptr<detail::DocumentData> data);
    std::unique_ptr<detail::DocumentData> data_;
};

}  // namespace teskpf
