#include "detail/ConstraintParser.h"

namespace teskpf {

namespace {

// The keywords in the order of ValueType.
std::optional<ValueType> typeOf(std::string_view keyword) {
    static constexpr std::string_view keywords[] = {"str", "int", "float", "color", "font", "regex"};
    for (int code = 0; code < 6; ++code) {
        if (keyword == keywords[code]) return static_cast<ValueType>(code);
    }
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

std::optional<ConstraintTable> parseConstraintText(std::string_view text) {
    ConstraintTable table;
    size_t j = 0;
    while (j < text.size() && text[j] == '<') {
        size_t type_start = j + 1;
        j = text.find('>', type_start);
        if (j == std::string_view::npos) return std::nullopt;
        std::string_view type_string = text.substr(type_start, j - type_start);
        std::string_view list;
        ++j;
        if (j < text.size() && text[j] == '(') {
            size_t list_start = j + 1;
            j = text.find(')', list_start);
            if (j == std::string_view::npos) return std::nullopt;
            list = text.substr(list_start, j - list_start);
            ++j;
        }
        std::optional<ValueType> type = typeOf(type_string);
        if (!type) return std::nullopt;
        Constraint constraint;
        constraint.type = *type;
        if (*type == ValueType::Str) appendWords(list, constraint.words);
        table.push_back(std::move(constraint));
        ++j;  // the one separator character after each annotation
    }
    return table;
}

}  // namespace teskpf
