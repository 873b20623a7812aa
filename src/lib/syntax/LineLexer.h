// The line lexer: splits one line of parameter-file text into key, value,
// comment and constraint annotation. It knows nothing of blocks.
#pragma once

#include <string>
#include <string_view>

#include "pf_strtrim.h"

namespace teskpf {

// Where the parts of one line stand in the line itself: every view is a part
// of the line handed to splitLine, so its offset in the file is known.
struct LineSpans {
    std::string_view key;          // "" inside a list block and for key-less text
    std::string_view value;        // as written, trimmed; may hold tabs and "\#"
    std::string_view comment;      // from the comment's "#" to the line's end; "" without one
    std::string_view constraints;  // the annotation text, trimmed: a part of `comment`
    bool value_verbatim = true;    // the value reads as written: no tab, no "\#" (see readValue)
};

// Splits `line` into its spans: a line as the block reader hands it over,
// holding no NUL character and no white space at either end. With `in_list`
// set (a line inside a list block) there is no key: the whole text before the
// comment is the value.
LineSpans splitLine(std::string_view line, bool in_list);

// The value as read from its written form: tabs become blanks and the
// backslash before each "#" is dropped.
std::string readValue(std::string_view written_value);

// The comment field of a line: the comment trimmed or, when it carries an
// annotation, "#" followed by what comes after the annotation ("#" and two
// blanks before words after a blank). Uses `buffer` only in that case.
std::string_view readComment(const LineSpans &spans, std::string &buffer);

// The four fields of a line. They view the line itself or the object's own
// buffers, so they are valid while both live and until the next lexLine call
// with the same object.
struct LineFields {
    std::string_view key;
    std::string_view value;        // escapes removed
    std::string_view comment;      // "" or text starting with "#"
    std::string_view constraints;  // the annotation text cut out of the comment

    std::string value_text;    // the value with tabs made blanks and escapes removed
    std::string comment_text;  // the comment of an annotated line
};

// Splits `line` (cut at its first NUL character first). With `in_list` set
// there is no key. Passing the same object for every line reuses its buffers.
void lexLine(std::string_view line, bool in_list, LineFields &out);

// Trimming as the platform's strtrim does it: the text is cut at its first
// NUL character, then white space is removed at both ends.
std::string_view trimmed(std::string_view text);
// White space removed at the start, at the end, or at both ends; NUL
// characters left alone. Inline: the line reader trims parts of every line.
inline std::string_view trimmedStart(std::string_view text) {
    size_t begin = 0;
    while (begin < text.size() && pf_isspace(static_cast<unsigned char>(text[begin]))) ++begin;
    return text.substr(begin);
}
inline std::string_view trimmedEnd(std::string_view text) {
    size_t end = text.size();
    while (end > 0 && pf_isspace(static_cast<unsigned char>(text[end - 1]))) --end;
    return text.substr(0, end);
}
inline std::string_view trimmedWhiteSpace(std::string_view text) { return trimmedEnd(trimmedStart(text)); }
void trimInPlace(std::string &text);

// Drops every backslash that stands right before a "#".
std::string unescape(std::string_view value);

// Appends `value` with a backslash put in front of every "#".
void appendEscaped(std::string &out, std::string_view value);

// Replaces every occurrence of `from` (non-empty) by `to`, left to right,
// without overlaps; the inserted text is not searched again.
std::string replaceAll(std::string_view text, std::string_view from, std::string_view to);

}  // namespace teskpf
