#include "entries.h"

#include <algorithm>
#include <vector>

#include <teskpf/classic.h>

#include "tool_error.h"

namespace teskpf_tool {

namespace {

// The edit distance of `a` and `b` (insertions, deletions, changes), in
// two rows.
size_t editDistance(const std::string &a, const std::string &b) {
    std::vector<size_t> previous(b.size() + 1), current(b.size() + 1);
    for (size_t j = 0; j <= b.size(); ++j) previous[j] = j;
    for (size_t i = 1; i <= a.size(); ++i) {
        current[0] = i;
        for (size_t j = 1; j <= b.size(); ++j)
            current[j] = std::min({previous[j] + 1, current[j - 1] + 1, previous[j - 1] + (a[i - 1] != b[j - 1])});
        std::swap(previous, current);
    }
    return previous[b.size()];
}

}  // namespace

std::string keyPathArgument(const std::string &key) {
    try {
        return teskpf::parseKeyArgument(key);
    } catch (const teskpf::KeyPathError &error) {
        const std::string what = error.what();
        const std::string expected = what.substr(0, what.rfind(" at offset "));
        throw UsageError("KEY '" + key + "' is " + expected + " at column " + std::to_string(error.offset() + 1));
    }
}

int requireEntry(const TeskPf &pf, const std::string &key, const std::string &name) {
    int index = pf.getEntryIndex(key);
    if (index < 0) throw ToolError("no key " + key + " in '" + name + "'" + nearestKeys(pf, key), kExitFailed);
    return index;
}

std::string nearestKeys(const TeskPf &pf, const std::string &key) {
    // Near: two edits apart, one more for each ten bytes of the key path.
    const size_t limit = 2 + key.size() / 10;
    std::vector<std::pair<size_t, std::string>> near;
    for (int i = 0; i < pf.size(); ++i) {
        const std::string candidate = pf.getKey(i);
        if (candidate.empty()) continue;
        const size_t gap =
            candidate.size() > key.size() ? candidate.size() - key.size() : key.size() - candidate.size();
        if (gap > limit) continue;
        const size_t distance = editDistance(key, candidate);
        if (distance <= limit) near.emplace_back(distance, candidate);
    }
    std::stable_sort(near.begin(), near.end(), [](const auto &a, const auto &b) { return a.first < b.first; });
    near.erase(std::unique(near.begin(), near.end()), near.end());
    if (near.empty()) return "";
    std::string text = " (did you mean ";
    for (size_t i = 0; i < near.size() && i < 3; ++i) text += (i == 0 ? "" : ", ") + near[i].second;
    return text + "?)";
}

bool isCommentEntry(const TeskPf &pf, int index) { return pf.getKey(index).empty(); }

bool isBlockOpening(const TeskPf &pf, int index) { return teskpf::opensBlock(pf, index); }

}  // namespace teskpf_tool
