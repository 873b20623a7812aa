// Key paths as the core uses them: the printer of the key-path syntax, the
// budget for their size, and the text rules of the classic conversions.
#pragma once

#include <string>
#include <string_view>

#include "syntax/KeyPathSyntax.h"

namespace teskpf {

// The component printer of the key-path syntax, under the names the core uses.
using syntax::appendListComponent;
using syntax::appendNamedComponent;
using syntax::kListComponentRoom;
using syntax::listComponentAtEnd;
using syntax::listComponentSize;
using syntax::namedComponentAtEnd;
using syntax::namedComponentSize;
using syntax::writeListComponentBefore;
using syntax::writeNamedComponentBefore;

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

// The classic conversions below are text operations that do not require a
// well-formed path (their results on any text are fixed); they are written
// with the syntax's spelling of the components.

// The key path of the block that directly contains the entry `key`:
// ["a"]["b"] for ["a"]["b"][0]: the text before the last "[". Empty for a
// top-level key (["k"]), which has no enclosing block, and for text without
// "[".
inline std::string_view enclosingKey(std::string_view key) {
    size_t bracket = key.rfind(syntax::kPositionOpen);
    if (bracket == std::string_view::npos) return {};
    return key.substr(0, bracket);
}

// The key as written on the entry's line: the name inside the last "[\"...\"]"
// component. Empty for a list member ([n]) and for text without "[".
inline std::string_view writtenKey(std::string_view key) {
    using syntax::kNameClose;
    using syntax::kNameOpen;
    size_t p = key.rfind(syntax::kPositionOpen);
    if (p == std::string_view::npos || p + 1 >= key.size() || key[p + 1] != kNameOpen[1]) return {};
    // A key shorter than the closing "\"]" runs to its end.
    const size_t begin = p + kNameOpen.size();
    size_t end = key.size() >= begin + kNameClose.size() ? key.size() - kNameClose.size() : key.size();
    return key.substr(begin, end - begin);
}

}  // namespace teskpf
