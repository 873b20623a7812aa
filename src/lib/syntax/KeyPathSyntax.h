// The key-path syntax: a chain of components, ["name"] for a member of an
// associative block and [n] for a member of a list, e.g.
// ["chan"]["list"][1]["x"]. The one parser and the one printer of key paths;
// the platform, the core, the tool and the Python package all go through
// them. Depends on nothing but the standard library, so that the platform
// layer can use it too.
#pragma once

#include <charconv>
#include <cstdint>
#include <cstring>
#include <string>
#include <string_view>
#include <vector>

namespace teskpf::syntax {

// How the two components are spelled.
inline constexpr std::string_view kNameOpen = "[\"";
inline constexpr std::string_view kNameClose = "\"]";
inline constexpr char kPositionOpen = '[';
inline constexpr char kPositionClose = ']';

// The largest list position a path may name: positions are counted in 32
// bits when files are read.
inline constexpr long kMaxPosition = INT32_MAX;

// One component: a name, or a list position (position >= 0). The name is a
// view into the parsed text.
struct Component {
    std::string_view name;
    long position = -1;
    bool isPosition() const { return position >= 0; }
};

// The components of a key path, or where and why it is not one.
struct ParsedPath {
    std::vector<Component> components;
    size_t error_offset = std::string_view::npos;  // byte offset of the first error
    std::string_view error;                        // what was expected there; empty when parsed
    bool ok() const { return error.empty(); }
};

// Parses `path` into its components. The empty text is the path of no
// component. A name runs from "[\"" to the first "\"]" after which the rest
// of the text is a key path again, so that every path that reading builds
// parses back into components that print as the very same text, names
// holding '"' or ']' included. A position is decimal digits without leading
// zeros (reading writes [0], never [00]) up to kMaxPosition. On failure,
// `components` holds the components before the error.
ParsedPath parse(std::string_view path);

// The text of `components`, the printer's inverse of parse: names are
// written as they are, nothing is quoted or escaped.
std::string print(const std::vector<Component> &components);

// What a KEY argument stands for, or where it is malformed. The forms:
// a key path as it is (["a"]["b"][0], checked by parse); the brace form that
// `keys --perl` prints ({a}{b}[0], a name running to the first "}"); the
// dotted shorthand a.b[0].c for names without '.', '[', '{', ']' or blanks;
// any other text names a top-level key ("gain" is ["gain"]).
struct ArgumentPath {
    std::string path;
    size_t error_offset = std::string_view::npos;  // byte offset of the first error
    std::string_view error;                        // what was expected there; empty when read
    bool ok() const { return error.empty(); }
};
ArgumentPath readArgument(std::string_view key);

// The key path of readArgument, leniently: text starting with "[" is a key
// path as it is (not checked), and a malformed brace or dotted form names
// the top-level key of that whole text.
std::string fromArgument(std::string_view key);

// ---- The printer, one component at a time ------------------------------

// Appends ["name"].
inline void appendNamedComponent(std::string &path, std::string_view name) {
    path.append(kNameOpen).append(name).append(kNameClose);
}

// Appends [position].
inline void appendListComponent(std::string &path, long position) {
    char digits[24];
    char *end = std::to_chars(digits, digits + sizeof digits, position).ptr;
    path.append(1, kPositionOpen).append(digits, static_cast<size_t>(end - digits)).append(1, kPositionClose);
}

// The sizes of the two components, and writers that put one right before
// `end` and return where it starts: a path can be built from its last
// component back, at its exact size.
inline size_t namedComponentSize(std::string_view name) { return name.size() + kNameOpen.size() + kNameClose.size(); }

// Room enough for the list component of any position.
constexpr size_t kListComponentRoom = 24;

inline size_t listComponentSize(long position) {
    size_t digits = position < 0 ? 2 : 1;
    for (long rest = position; rest >= 10 || rest <= -10; rest /= 10) ++digits;
    return digits + 2;
}

inline char *writeNamedComponentBefore(char *end, std::string_view name) {
    char *begin = end - namedComponentSize(name);
    kNameOpen.copy(begin, kNameOpen.size());
    name.copy(begin + kNameOpen.size(), name.size());
    kNameClose.copy(end - kNameClose.size(), kNameClose.size());
    return begin;
}

inline char *writeListComponentBefore(char *end, long position) {
    char *begin = end - listComponentSize(position);
    begin[0] = kPositionOpen;
    std::to_chars(begin + 1, end - 1, position);
    end[-1] = kPositionClose;
    return begin;
}

// The size of the component ["name"] when `path` ends with it, else 0:
// compared in place, eight bytes at a time, as names are short.
inline size_t namedComponentAtEnd(std::string_view path, std::string_view name) {
    const size_t size = namedComponentSize(name);
    if (path.size() < size) return 0;
    const std::string_view tail = path.substr(path.size() - size);
    if (tail.substr(0, kNameOpen.size()) != kNameOpen || tail.substr(size - kNameClose.size()) != kNameClose) return 0;
    const char *text = tail.data() + kNameOpen.size();
    size_t i = 0;
    for (; i + 8 <= name.size(); i += 8) {
        uint64_t a, b;
        std::memcpy(&a, text + i, 8);
        std::memcpy(&b, name.data() + i, 8);
        if (a != b) return 0;
    }
    for (; i < name.size(); ++i)
        if (text[i] != name[i]) return 0;
    return size;
}

// The size of the component [position] when `path` ends with it, else 0.
inline size_t listComponentAtEnd(std::string_view path, long position) {
    char component[kListComponentRoom];
    char *end = component + sizeof component;
    const size_t size = listComponentSize(position);
    const char *begin = writeListComponentBefore(end, position);
    if (path.size() < size) return 0;
    return path.substr(path.size() - size) == std::string_view(begin, size) ? size : 0;
}

}  // namespace teskpf::syntax
