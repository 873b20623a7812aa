#include "editing/EditRules.h"

#include "syntax/BlockSyntax.h"
#include "syntax/LineLexer.h"

namespace teskpf {

namespace {

bool startsWith(std::string_view text, std::string_view prefix) { return text.substr(0, prefix.size()) == prefix; }

}  // namespace

std::string valueProblem(std::string_view value, bool list_member) {
    if (value.find_first_of("\n\r") != std::string_view::npos) return "a line break would split the line";
    if (value.find('\0') != std::string_view::npos) return "a NUL byte ends the line's text on reading";
    if (value.find('\t') != std::string_view::npos) return "a tab reads back as a blank";
    if (trimmedWhiteSpace(value).size() != value.size()) return "white space at either end is dropped on reading";
    if (startsWith(value, kArrMarker) || startsWith(value, kTblMarker))
        return "a value starting with \"" + std::string(kArrMarker) + "\" or \"" + std::string(kTblMarker) +
               "\" reads as a block";
    if (list_member && value.empty()) return "an empty list member reads as no member at all";
    if (list_member && value[0] == '}') return "a list member starting with \"}\" closes its block";
    return {};
}

std::string commentProblem(std::string_view comment) {
    if (comment.find_first_of("\n\r") != std::string_view::npos) return "a line break would split the line";
    if (comment.find('\0') != std::string_view::npos) return "a NUL byte ends the line's text on reading";
    return {};
}

std::string keyNameProblem(std::string_view name) {
    if (name.empty()) return "a key cannot be empty";
    for (char c : name) {
        if (c == '\n' || c == '\r') return "a line break would split the line";
        if (c == '\0') return "a NUL byte ends the line's text on reading";
        if (c == '#') return "a \"#\" in a key starts a comment";
        if (trimmedWhiteSpace(std::string_view(&c, 1)).empty()) return "white space in a key ends the key";
    }
    if (name[0] == '}') return "a line starting with \"}\" closes a block";
    if (blockOpenedBy(name) != BlockKind::None)
        return "a key starting with \"" + openingOf(BlockKind::Arr) + "\" or \"" + openingOf(BlockKind::Tbl) +
               "\" reads as a block";
    return {};
}

}  // namespace teskpf
