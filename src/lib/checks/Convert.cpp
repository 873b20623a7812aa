#include <teskpf/convert.h>

#include <array>
#include <string>

#include "checks/ValueCheck.h"

namespace teskpf {

namespace {

// Whether `text` is a single field: not empty, no blank or tab in it.
bool isOneField(std::string_view text) { return !text.empty() && text.find_first_of(" \t") == std::string_view::npos; }

bool equalIgnoringCase(std::string_view text, std::string_view word) {
    if (text.size() != word.size()) return false;
    for (size_t i = 0; i < text.size(); ++i) {
        char c = text[i];
        if (c >= 'A' && c <= 'Z') c = static_cast<char>(c - 'A' + 'a');
        if (c != word[i]) return false;
    }
    return true;
}

}  // namespace

std::optional<std::int64_t> toInteger(std::string_view text) {
    if (!isOneField(text)) return std::nullopt;
    std::optional<long long> number = leadingInteger(std::string(text));
    if (!number) return std::nullopt;
    return static_cast<std::int64_t>(*number);
}

std::optional<double> toFloat(std::string_view text) {
    if (!isOneField(text)) return std::nullopt;
    return leadingFloat(std::string(text));
}

std::optional<bool> toBool(std::string_view text) {
    static constexpr std::array<std::string_view, 4> kTrue{"true", "yes", "on", "1"};
    static constexpr std::array<std::string_view, 4> kFalse{"false", "no", "off", "0"};
    for (std::string_view word : kTrue) {
        if (equalIgnoringCase(text, word)) return true;
    }
    for (std::string_view word : kFalse) {
        if (equalIgnoringCase(text, word)) return false;
    }
    return std::nullopt;
}

}  // namespace teskpf
