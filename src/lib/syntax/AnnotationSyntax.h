// The syntax of annotations: "<type>" groups, each optionally followed at
// once by "(list)", one character between groups. The one scanner of that
// syntax: the line lexer cuts the annotation out of a comment with it, and
// the constraint parser reads the groups it finds.
#pragma once

#include <string_view>

namespace teskpf {

// Scans the groups at the start of `text` (the text right after a comment's
// "#", or an annotation text), calling `group(type, list)` for each complete
// one, in order (`list` is empty without "(list)"). Returns the offset right
// after the last group's closing ">" or ")", 0 when `text` starts with no
// "<", or npos when a group is left without its ">" or ")".
template <class OnGroup>
size_t scanAnnotations(std::string_view text, OnGroup &&group) {
    size_t end = 0;
    for (size_t at = 0; at < text.size() && text[at] == '<'; at = end + 1) {
        const size_t close = text.find('>', at + 1);
        if (close == std::string_view::npos) return std::string_view::npos;
        std::string_view list;
        end = close + 1;
        if (end < text.size() && text[end] == '(') {
            const size_t list_close = text.find(')', end + 1);
            if (list_close == std::string_view::npos) return std::string_view::npos;
            list = text.substr(end + 1, list_close - end - 1);
            end = list_close + 1;
        }
        group(text.substr(at + 1, close - at - 1), list);
    }
    return end;
}

}  // namespace teskpf
