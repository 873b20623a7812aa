// The line lexer: splits one line of parameter-file text into key, value,
// comment and constraint annotation. It knows nothing of blocks.
#pragma once

#include <string>
#include <string_view>

namespace teskpf {

struct LineFields {
    std::string key;
    std::string value;        // escapes removed
    std::string comment;      // "" or text starting with "#"
    std::string constraints;  // the annotation text cut out of the comment
};

// Splits `line`. With `in_list` set (a line inside a list block) there is no
// key: the whole text before the comment is the value. `out` is overwritten;
// passing the same object for every line reuses its storage.
void lexLine(std::string_view line, bool in_list, LineFields &out);

// Trimming as the platform's strtrim does it: the text is cut at its first
// NUL character, then white space is removed at both ends.
std::string_view trimmed(std::string_view text);
void trimInPlace(std::string &text);

// Drops every backslash that stands right before a "#".
std::string unescape(std::string_view value);

// Replaces every occurrence of `from` (non-empty) by `to`, left to right,
// without overlaps; the inserted text is not searched again.
std::string replaceAll(std::string_view text, std::string_view from, std::string_view to);

}  // namespace teskpf
