// Key path structure shared by the library and the tool.
#pragma once

#include <string_view>

namespace teskpf {

// The key path of the block that directly contains the entry `key`:
// ["a"]["b"] for ["a"]["b"][0]. Empty for a top-level key (["k"]), which has
// no enclosing block, and for text without "[".
inline std::string_view enclosingKey(std::string_view key) {
    size_t bracket = key.rfind('[');
    if (bracket == std::string_view::npos) return {};
    return key.substr(0, bracket);
}

}  // namespace teskpf
