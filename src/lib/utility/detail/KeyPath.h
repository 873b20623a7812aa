// Key path structure shared by the library and the tool.
#pragma once

#include <charconv>
#include <cstdint>
#include <cstring>
#include <string>
#include <string_view>

namespace teskpf {

// Appends the key path component of a named member: ["name"]. Names are
// inserted as they are; nothing is quoted or escaped.
inline void appendNamedComponent(std::string &path, std::string_view name) {
    path.append("[\"").append(name).append("\"]");
}

// Appends the key path component of a list member: [position].
inline void appendListComponent(std::string &path, long position) {
    char digits[24];
    char *end = std::to_chars(digits, digits + sizeof digits, position).ptr;
    path.append("[").append(digits, static_cast<size_t>(end - digits)).append("]");
}

// The sizes of the two components, and writers that put one right before
// `end` and return where it starts: a path can be built from its last
// component back, at its exact size.
inline size_t namedComponentSize(std::string_view name) { return name.size() + 4; }

// Room enough for the list component of any position.
constexpr size_t kListComponentRoom = 24;

inline size_t listComponentSize(long position) {
    size_t digits = position < 0 ? 2 : 1;
    for (long rest = position; rest >= 10 || rest <= -10; rest /= 10) ++digits;
    return digits + 2;
}

inline char *writeNamedComponentBefore(char *end, std::string_view name) {
    char *begin = end - namedComponentSize(name);
    begin[0] = '[';
    begin[1] = '"';
    name.copy(begin + 2, name.size());
    end[-2] = '"';
    end[-1] = ']';
    return begin;
}

inline char *writeListComponentBefore(char *end, long position) {
    char *begin = end - listComponentSize(position);
    begin[0] = '[';
    std::to_chars(begin + 1, end - 1, position);
    end[-1] = ']';
    return begin;
}

// The size of the component ["name"] (or [position]) when `path` ends with
// it, else 0: compared in place, eight bytes at a time, as names are short.
inline size_t namedComponentAtEnd(std::string_view path, std::string_view name) {
    const size_t size = namedComponentSize(name);
    if (path.size() < size) return 0;
    const char *begin = path.data() + (path.size() - size);
    if (begin[0] != '[' || begin[1] != '"' || begin[size - 2] != '"' || begin[size - 1] != ']') return 0;
    const char *text = begin + 2;
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

inline size_t listComponentAtEnd(std::string_view path, long position) {
    char component[kListComponentRoom];
    char *end = component + sizeof component;
    const size_t size = listComponentSize(position);
    const char *begin = writeListComponentBefore(end, position);
    if (path.size() < size) return 0;
    const char *tail = path.data() + (path.size() - size);
    for (size_t i = 0; i < size; ++i)
        if (tail[i] != begin[i]) return 0;
    return size;
}

// How many bytes of key paths files of `file_bytes` bytes may produce. Key
// paths repeat their block's path, so deep nesting makes them grow with the
// square of the depth; this bound stops a hostile file from exhausting memory
// while leaving room for any realistic one.
inline size_t keyPathBudget(size_t file_bytes) {
    const size_t floor = size_t{256} << 20;
    return floor + 16 * file_bytes;
}

// What reading says when key paths exceed `budget` bytes.
inline std::string keyPathBudgetExceeded(size_t budget) {
    return "key paths exceed " + std::to_string(budget) + " bytes; blocks are nested too deeply";
}

// The key path of the block that directly contains the entry `key`:
// ["a"]["b"] for ["a"]["b"][0]. Empty for a top-level key (["k"]), which has
// no enclosing block, and for text without "[".
inline std::string_view enclosingKey(std::string_view key) {
    size_t bracket = key.rfind('[');
    if (bracket == std::string_view::npos) return {};
    return key.substr(0, bracket);
}

// The key as written on the entry's line: the name inside the last "[\"...\"]"
// component. Empty for a list member ([n]) and for text without "[".
inline std::string_view writtenKey(std::string_view key) {
    size_t p = key.rfind('[');
    if (p == std::string_view::npos || p + 1 >= key.size() || key[p + 1] != '"') return {};
    // A key shorter than the closing "\"]" runs to its end.
    size_t end = key.size() >= p + 4 ? key.size() - 2 : key.size();
    return key.substr(p + 2, end - (p + 2));
}

}  // namespace teskpf
