#include "detail/EditRules.h"

#include "detail/BlockSyntax.h"
#include "detail/LineLexer.h"

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
        return "a value starting with \"&Arr\" or \"&Tbl\" reads as a block";
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
    if (blockOpenedBy(name) != BlockKind::None) return "a key starting with \"&Arr{\" or \"&Tbl{\" reads as a block";
    return {};
}

bool splitKeyPath(std::string_view path, std::vector<PathComponent> &components) {
    components.clear();
    size_t p = 0;
    while (p < path.size()) {
        if (path[p] != '[') return false;
        PathComponent component;
        if (path.compare(p, 2, "[\"") == 0) {
            size_t end = path.find("\"]", p + 2);
            if (end == std::string_view::npos) return false;
            component.name = std::string(path.substr(p + 2, end - p - 2));
            p = end + 2;
        } else {
            size_t end = path.find(']', p);
            // Reading writes a position without leading zeros: [00] is no
            // entry's path, so it is not taken for [0].
            if (end == std::string_view::npos || end == p + 1 || end - p > 10) return false;
            if (path[p + 1] == '0' && end > p + 2) return false;
            long position = 0;
            for (size_t i = p + 1; i < end; ++i) {
                if (path[i] < '0' || path[i] > '9') return false;
                position = position * 10 + (path[i] - '0');
            }
            component.position = position;
            p = end + 1;
        }
        components.push_back(std::move(component));
    }
    return !components.empty();
}

}  // namespace teskpf
