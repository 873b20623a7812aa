#include "checks/ValueCheck.h"

#include <locale.h>
#include <cerrno>
#include <clocale>
#include <cstdlib>

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

std::optional<long long> leadingInteger(const std::string &field) {
    const char *start = field.c_str();
    char *end = nullptr;
    errno = 0;
    long long number = std::strtoll(start, &end, 0);
    if (end == start || errno == ERANGE) return std::nullopt;
    return number;
}

std::optional<double> leadingFloat(const std::string &field) {
    static const locale_t c_locale = newlocale(LC_ALL_MASK, "C", locale_t{});
    const char *start = field.c_str();
    char *end = nullptr;
    errno = 0;
    double number = strtod_l(start, &end, c_locale);
    if (end == start || errno == ERANGE) return std::nullopt;
    return number;
}

namespace {

// The verdict for every type but <str>, whose words need a lookup.
bool hasTypeOf(const std::string &field, ValueType type) {
    switch (type) {
    case ValueType::Int: return leadingInteger(field).has_value();
    case ValueType::Float: return leadingFloat(field).has_value();
    case ValueType::Color:
    case ValueType::Font:
    case ValueType::Regex: return true;
    default: return false;
    }
}

}  // namespace

AnnotationCheck::AnnotationCheck(ConstraintTable constraints) : constraints_(std::move(constraints)) {
    words_.reserve(constraints_.size());
    for (const Constraint &constraint : constraints_)
        words_.emplace_back(constraint.words.begin(), constraint.words.end());
}

bool AnnotationCheck::satisfies(std::string_view value) const {
    if (constraints_.empty()) return true;
    Table<std::string> fields = splitFields(value);
    if (fields.size() != constraints_.size()) return false;
    for (size_t i = 0; i < fields.size(); ++i) {
        if (constraints_[i].type != ValueType::Str) {
            if (!hasTypeOf(fields[i], constraints_[i].type)) return false;
        } else if (!words_[i].empty() && words_[i].count(fields[i]) == 0) {
            return false;
        }
    }
    return true;
}

}  // namespace teskpf
