#include "syntax/ConstraintParser.h"

#include <iterator>

#include "syntax/AnnotationSyntax.h"

namespace teskpf {

namespace {

// The keywords in the order of ValueType.
constexpr std::string_view kKeywords[] = {"str", "int", "float", "color", "font", "regex"};

std::optional<ValueType> typeOf(std::string_view keyword) {
    for (size_t code = 0; code < std::size(kKeywords); ++code)
        if (keyword == kKeywords[code]) return static_cast<ValueType>(code);
    return std::nullopt;
}

void appendWords(std::string_view list, std::vector<std::string> &words) {
    size_t pos = 0;
    while (pos < list.size()) {
        size_t end = list.find(' ', pos);
        if (end == std::string_view::npos) end = list.size();
        if (end > pos) words.push_back(std::string(list.substr(pos, end - pos)));
        pos = end + 1;
    }
}

}  // namespace

std::string_view typeKeyword(ValueType type) { return kKeywords[static_cast<size_t>(type)]; }

std::optional<ConstraintTable> parseConstraintText(std::string_view text) {
    ConstraintTable table;
    bool known = true;
    const size_t end = scanAnnotations(text, [&](std::string_view type_text, std::string_view list) {
        const std::optional<ValueType> type = typeOf(type_text);
        if (!type) {
            known = false;
            return;
        }
        Constraint constraint;
        constraint.type = *type;
        if (*type == ValueType::Str) appendWords(list, constraint.words);
        table.push_back(std::move(constraint));
    });
    if (end == std::string_view::npos || !known) return std::nullopt;
    return table;
}

}  // namespace teskpf
