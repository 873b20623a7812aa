#include "teskpf/words.h"

#include <algorithm>

#include "syntax/ConstraintParser.h"

namespace teskpf {

std::vector<std::string> allowedWords(std::string_view annotation, std::size_t field) {
    const std::optional<ConstraintTable> table = parseConstraintText(annotation);
    if (!table || field >= table->size()) return {};
    const Constraint &constraint = (*table)[field];
    return constraint.type == ValueType::Str ? constraint.words : std::vector<std::string>{};
}

namespace {

// The edit distance between `a` and `b`, one row of the table at a time.
size_t editDistance(std::string_view a, std::string_view b) {
    std::vector<size_t> row(b.size() + 1);
    for (size_t j = 0; j <= b.size(); ++j) row[j] = j;
    for (size_t i = 1; i <= a.size(); ++i) {
        size_t diagonal = row[0];
        row[0] = i;
        for (size_t j = 1; j <= b.size(); ++j) {
            const size_t replaced = diagonal + (a[i - 1] == b[j - 1] ? 0 : 1);
            diagonal = row[j];
            row[j] = std::min({replaced, row[j] + 1, row[j - 1] + 1});
        }
    }
    return row[b.size()];
}

}  // namespace

std::string nearestWord(std::string_view value, const std::vector<std::string> &words) {
    const std::string *best = nullptr;
    size_t best_distance = 0;
    for (const std::string &word : words) {
        const size_t distance = editDistance(value, word);
        if (!best || distance < best_distance) {
            best = &word;
            best_distance = distance;
        }
    }
    return best ? *best : std::string();
}

}  // namespace teskpf
