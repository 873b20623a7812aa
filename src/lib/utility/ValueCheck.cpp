#include "ValueCheck.h"

#include <cerrno>
#include <clocale>
#include <cstdlib>
#include <locale.h>

namespace teskpf {

Table<std::string> splitFields(std::string_view text) {
    Table<std::string> out;
    size_t pos = 0;
    while (pos < text.size()) {
        size_t start = text.find_first_not_of(" \t", pos);
        if (start == std::string_view::npos) break;
        size_t end = text.find_first_of(" \t", start);
        if (end == std::string_view::npos) end = text.size();
        out.push_back(std::string(text.substr(start, end - start)));
        pos = end;
    }
    return out;
}

namespace {

bool isInteger(const std::string &field) {
    const char *start = field.c_str();
    char *end = nullptr;
    errno = 0;
    std::strtoll(start, &end, 0);
    return end != start && errno != ERANGE;
}

bool isFloat(const std::string &field) {
    static const locale_t c_locale = newlocale(LC_ALL_MASK, "C", locale_t{});
    const char *start = field.c_str();
    char *end = nullptr;
    errno = 0;
    strtod_l(start, &end, c_locale);
    return end != start && errno != ERANGE;
}

bool isWord(const std::string &field, const Table<std::string> &words) {
    if (words.empty()) return true;
    for (const std::string &word : words) {
        if (field == word) return true;
    }
    return false;
}

}  // namespace

bool fieldSatisfies(const std::string &field, const TeskPf_Constraint &constraint) {
    switch (constraint.type) {
    case CONSTRAINT_STR: return isWord(field, constraint.string_enum);
    case CONSTRAINT_INT: return isInteger(field);
    case CONSTRAINT_FLOAT: return isFloat(field);
    case CONSTRAINT_COLOR:
    case CONSTRAINT_FONT:
    case CONSTRAINT_REGEX: return true;
    default: return false;
    }
}

}  // namespace teskpf
