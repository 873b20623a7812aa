// The reference model's annotation parser and value checks.
#include <cerrno>
#include <cstdlib>

#include "support/Reference.h"

namespace reference {

bool parseConstraints(const std::string &text, Constraints &out) {
    static const std::vector<std::string> keywords = {"str", "int", "float", "color", "font", "regex"};
    out.clear();
    size_t j = 0;
    while (j < text.size() && text[j] == '<') {
        const size_t close = text.find('>', j + 1);
        if (close == std::string::npos) return false;
        const std::string type = text.substr(j + 1, close - j - 1);
        std::string list;
        j = close + 1;
        if (j < text.size() && text[j] == '(') {
            const size_t end = text.find(')', j + 1);
            if (end == std::string::npos) return false;
            list = text.substr(j + 1, end - j - 1);
            j = end + 1;
        }
        Constraint constraint;
        size_t code = 0;
        while (code < keywords.size() && keywords[code] != type) ++code;
        if (code == keywords.size()) return false;
        constraint.type = static_cast<int>(code);
        if (constraint.type == 0) {
            std::string word;
            for (char c : list + " ") {
                if (c != ' ') {
                    word += c;
                } else if (!word.empty()) {
                    constraint.words.push_back(word);
                    word.clear();
                }
            }
        }
        out.push_back(constraint);
        ++j;  // the separator
    }
    return true;
}

namespace {

bool fieldSatisfies(const std::string &field, const Constraint &constraint) {
    char *end = nullptr;
    errno = 0;
    switch (constraint.type) {
    case 0:
        if (constraint.words.empty()) return true;
        for (const std::string &word : constraint.words)
            if (word == field) return true;
        return false;
    case 1: std::strtoll(field.c_str(), &end, 0); return end != field.c_str() && errno != ERANGE;
    case 2: std::strtod(field.c_str(), &end); return end != field.c_str() && errno != ERANGE;
    case 3:
    case 4:
    case 5: return true;
    default: return false;
    }
}

}  // namespace

bool satisfies(const std::string &value, const Constraints &constraints) {
    if (constraints.empty()) return true;
    std::vector<std::string> fields;
    std::string field;
    for (char c : value + " ") {
        if (c != ' ' && c != '\t') {
            field += c;
        } else if (!field.empty()) {
            fields.push_back(field);
            field.clear();
        }
    }
    if (fields.size() != constraints.size()) return false;
    for (size_t i = 0; i < fields.size(); ++i)
        if (!fieldSatisfies(fields[i], constraints[i])) return false;
    return true;
}

}  // namespace reference
