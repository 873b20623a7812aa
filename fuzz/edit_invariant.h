// What an edit must leave alone, shared by the editor's property test and
// its fuzz target: the lines of a text and the entries reading gives.
#pragma once

#include <string>
#include <vector>

#include "parsing/ParsedFile.h"

namespace edit_invariant {

// The lines of `text`, each with its line feed.
inline std::vector<std::string> linesOf(const std::string &text) {
    std::vector<std::string> lines;
    for (size_t p = 0; p < text.size();) {
        size_t end = text.find('\n', p);
        end = end == std::string::npos ? text.size() : end + 1;
        lines.push_back(text.substr(p, end - p));
        p = end;
    }
    return lines;
}

// Each entry as "level|key|value|comment|constraints": everything reading
// gives but its line and key path.
inline std::vector<std::string> entriesOf(const std::string &text) {
    teskpf::ParsedFile parsed("edited", text);
    std::vector<std::string> out;
    std::string value_buffer, comment_buffer;
    for (const teskpf::FileEntry &e : parsed.entries())
        out.push_back(std::to_string(e.level) + "|" + std::string(parsed.key(e)) + "|" +
                      std::string(parsed.value(e, value_buffer)) + "|" +
                      std::string(parsed.comment(e, comment_buffer)) + "|" + std::string(parsed.constraints(e)));
    return out;
}

}  // namespace edit_invariant
