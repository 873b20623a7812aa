// Key paths as text and as components: ["chan"]["list"][1]["x"] is the
// named component chan, the named component list, list position 1 and the
// named component x. Every reader and writer of the library, the tool and
// the Python package parse and print key paths with these functions.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

#include <teskpf/error.h>
#include <teskpf/export.h>

namespace teskpf {

// One component of a key path: a name (["name"]) or a list position ([n]).
struct KeyPathComponent {
    std::string name;    // the name of a named component; "" for a position
    long position = -1;  // the list position, counted from 0; -1 for a name
    // Whether this is a list position.
    bool isPosition() const { return position >= 0; }
};

// A text that is not a key path: offset() is the byte of the text where the
// first error is (0-based), the message says what was expected there.
class TESKPF_API KeyPathError : public Error {
public:
    KeyPathError(const std::string &message, std::size_t offset) : Error(message), offset_(offset) {}
    // The 0-based byte offset of the first error in the text.
    std::size_t offset() const noexcept { return offset_; }

private:
    std::size_t offset_;
};

// The components of the key path `path`, as reading writes paths: a name
// runs from ["" to the first "] that leaves a key path after it (so names
// may hold '"' and ']'), a position is decimal digits without leading zeros
// ([00] is not a position) up to 2147483647. The empty text has no
// component. Throws KeyPathError for any other text.
TESKPF_API std::vector<KeyPathComponent> parseKeyPath(std::string_view path);

// The text of `components`, exactly as reading writes the key path of an
// entry with them: ["name"] for a name (written as it is, nothing escaped),
// [n] for a position. parseKeyPath gives the components back. Throws
// KeyPathError for a position beyond 2147483647.
TESKPF_API std::string formatKeyPath(const std::vector<KeyPathComponent> &components);

// The key path a KEY argument of the tool (or a str key in Python) stands
// for, in any of its forms: a key path as it is (["database"]["port"]), the
// brace form `teskpf keys --perl` prints ({database}{port}, {servers}[0]),
// the dotted shorthand (database.port, servers[0].name) for names without
// '.', '[', '{', ']' or blanks, and any other text as a top-level key
// ("gain" means ["gain"]). Throws KeyPathError, with the byte offset of the
// first error, for text in none of these forms, e.g. [database][port].
TESKPF_API std::string parseKeyArgument(std::string_view key);

// parseKeyArgument, never throwing: text starting with "[" is taken as it is
// (not checked), and a malformed brace or dotted form names the top-level
// key of that whole text.
TESKPF_API std::string keyPathArgument(std::string_view key);

}  // namespace teskpf
