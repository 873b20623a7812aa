#include "syntax/LineLexer.h"

#include <algorithm>

#include "pf_strtrim.h"
#include "syntax/AnnotationSyntax.h"

namespace teskpf {

std::string_view trimmed(std::string_view text) { return trimmedWhiteSpace(text.substr(0, text.find('\0'))); }

void trimInPlace(std::string &text) {
    std::string_view kept = trimmed(text);
    size_t offset = static_cast<size_t>(kept.data() - text.data());
    size_t length = kept.size();
    text.erase(0, offset);
    text.resize(length);
}

std::string unescape(std::string_view value) {
    std::string out;
    out.reserve(value.size());
    for (size_t i = 0; i < value.size(); ++i) {
        if (value[i] == '\\' && i + 1 < value.size() && value[i + 1] == '#') continue;
        out += value[i];
    }
    return out;
}

void appendEscaped(std::string &out, std::string_view value) {
    // By chunks: the text up to each "#" at once.
    for (size_t hash = value.find('#'); hash != std::string_view::npos; hash = value.find('#')) {
        out.append(value.substr(0, hash)).append("\\#");
        value.remove_prefix(hash + 1);
    }
    out.append(value);
}

std::string replaceAll(std::string_view text, std::string_view from, std::string_view to) {
    std::string out;
    out.reserve(text.size());
    size_t pos = 0;
    while (pos < text.size()) {
        size_t hit = text.find(from, pos);
        if (hit == std::string_view::npos) break;
        out.append(text.substr(pos, hit - pos));
        out.append(to);
        pos = hit + from.size();
    }
    if (pos < text.size()) out.append(text.substr(pos));
    return out;
}

namespace {

// Where the comment starts: the first "#" not right after a backslash (only
// that one preceding character is looked at), or npos; and the last escaped
// "#" before it, or npos.
struct HashMarks {
    size_t comment = std::string_view::npos;
    size_t last_escaped = std::string_view::npos;
};

HashMarks hashMarks(std::string_view line) {
    HashMarks marks;
    for (size_t i = line.find('#'); i != std::string_view::npos; i = line.find('#', i + 1)) {
        if (i == 0 || line[i - 1] != '\\') {
            marks.comment = i;
            break;
        }
        marks.last_escaped = i;
    }
    return marks;
}

// The annotation text at the start of `comment` (which begins with "#"):
// every group the scan finds plus the one character after the last, or
// empty when there is none or a group is left unclosed.
std::string_view annotation(std::string_view comment) {
    const std::string_view text = comment.substr(1);
    const size_t end = scanAnnotations(text, [](std::string_view, std::string_view) {});
    if (end == 0 || end == std::string_view::npos) return {};
    return text.substr(0, end + 1);
}

// Index of the first blank or tab, or npos; a plain loop, as keys are short.
size_t firstBlankOrTab(std::string_view text) {
    for (size_t i = 0; i < text.size(); ++i)
        if (text[i] == ' ' || text[i] == '\t') return i;
    return std::string_view::npos;
}

}  // namespace

LineSpans splitLine(std::string_view line, bool in_list) {
    LineSpans spans;
    const HashMarks marks = hashMarks(line);
    const size_t hash = marks.comment;
    // Tabs count as blanks, and trimming removes both, so the key/value part
    // is trimmed as written and its first blank or tab ends the key. The line
    // is trimmed already: only the white space before a comment is left.
    std::string_view text = hash == std::string_view::npos ? line : trimmedEnd(line.substr(0, hash));
    if (in_list) {
        spans.value = text;
    } else {
        size_t blank = firstBlankOrTab(text);
        // The key is trimmed like the rest: other white space before the
        // blank (a carriage return, a form feed) is not part of it.
        spans.key = trimmedEnd(text.substr(0, blank));
        // The text ends in a non-blank, so a value follows the blank.
        if (blank != std::string_view::npos) spans.value = trimmedStart(text.substr(blank));
    }
    // Every "#" before the comment is escaped; the value holds one when the
    // last of them lies within it.
    const bool escape_in_value = !spans.value.empty() && marks.last_escaped != std::string_view::npos &&
                                 marks.last_escaped > static_cast<size_t>(spans.value.data() - line.data());
    spans.value_verbatim = !escape_in_value && spans.value.find('\t') == std::string_view::npos;
    if (hash != std::string_view::npos) {
        spans.comment = line.substr(hash);
        spans.constraints = trimmedWhiteSpace(annotation(spans.comment));
    }
    return spans;
}

std::string readValue(std::string_view written_value) {
    std::string value = unescape(written_value);
    std::replace(value.begin(), value.end(), '\t', ' ');
    return value;
}

std::string_view readComment(const LineSpans &spans, std::string &buffer) {
    if (spans.constraints.empty()) return trimmedWhiteSpace(spans.comment);
    // The annotation moves to the constraints field; the comment keeps "#",
    // a blank and whatever followed the annotation.
    buffer.assign("# ");
    buffer.append(spans.comment.substr(std::min(spans.comment.size(), spans.constraints.size() + 1)));
    return trimmedWhiteSpace(buffer);
}

void lexLine(std::string_view line, bool in_list, LineFields &out) {
    LineSpans spans = splitLine(trimmed(line), in_list);
    out.key = spans.key;
    if (spans.value_verbatim) {
        out.value = spans.value;
    } else {
        out.value_text = readValue(spans.value);
        out.value = out.value_text;
    }
    out.comment = readComment(spans, out.comment_text);
    out.constraints = spans.constraints;
}

}  // namespace teskpf
