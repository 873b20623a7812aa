// The reference model's trimming and line lexer.
#include "support/Reference.h"

namespace reference {

bool isWhiteSpace(char c) { return c == ' ' || c == '\t' || c == '\n' || c == '\v' || c == '\f' || c == '\r'; }

std::string trim(const std::string &text) {
    const std::string cut = text.substr(0, text.find('\0'));
    size_t begin = 0;
    size_t end = cut.size();
    while (begin < end && isWhiteSpace(cut[begin])) ++begin;
    while (end > begin && isWhiteSpace(cut[end - 1])) --end;
    return cut.substr(begin, end - begin);
}

std::string replace(const std::string &text, const std::string &from, const std::string &to) {
    std::string result;
    size_t at = 0;
    while (at < text.size()) {
        if (text.compare(at, from.size(), from) == 0) {
            result += to;
            at += from.size();
        } else {
            result += text[at];
            ++at;
        }
    }
    return result;
}

std::string unescapeValue(const std::string &value) {
    std::string result;
    for (size_t i = 0; i < value.size(); ++i)
        if (!(value[i] == '\\' && i + 1 < value.size() && value[i + 1] == '#')) result += value[i];
    return result;
}

std::string escapeValue(const std::string &value) {
    std::string result;
    for (char c : value) {
        if (c == '#') result += '\\';
        result += c;
    }
    return result;
}

LineFields lexLine(const std::string &line, bool in_list) {
    // The comment starts at the first "#" not right after a backslash.
    size_t hash = std::string::npos;
    for (size_t i = 0; i < line.size(); ++i) {
        if (line[i] == '#' && (i == 0 || line[i - 1] != '\\')) {
            hash = i;
            break;
        }
    }
    std::string working = hash == std::string::npos ? line : line.substr(0, hash);
    std::string comment = hash == std::string::npos ? std::string() : line.substr(hash);

    working = trim(replace(working, "\t", " "));
    LineFields fields;
    if (in_list) {
        fields.value = working;
    } else {
        size_t blank = working.find(' ');
        fields.key = working.substr(0, blank);
        if (blank != std::string::npos) fields.value = working.substr(blank);
    }
    fields.key = trim(fields.key);
    fields.value = trim(unescapeValue(fields.value));

    // Annotations: "<type>", optionally followed at once by "(list)", right
    // after the "#"; a further one only one character after the last.
    std::string constraints;
    size_t j = 1;
    while (j < comment.size() && comment[j] == '<') {
        j = comment.find('>', j + 1);
        if (j == std::string::npos) {
            constraints.clear();
            break;
        }
        if (j + 1 < comment.size() && comment[j + 1] == '(') {
            j = comment.find(')', j + 2);
            if (j == std::string::npos) {
                constraints.clear();
                break;
            }
        }
        ++j;
        constraints = comment.substr(1, j);
        ++j;
    }
    fields.constraints = trim(constraints);
    if (!fields.constraints.empty()) {
        const size_t rest = fields.constraints.size() + 1;
        comment = "# " + (rest < comment.size() ? comment.substr(rest) : std::string());
    }
    fields.comment = trim(comment);
    return fields;
}

}  // namespace reference
