// Key path structure shared by the library and the tool.
#pragma once

#include <charconv>
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
