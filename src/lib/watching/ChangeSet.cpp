#include "watching/ChangeSet.h"

#include <unordered_map>
#include <utility>

namespace teskpf {

std::vector<FlatEntry> flatEntries(const Document &document) {
    std::vector<FlatEntry> out;
    std::unordered_map<std::string, size_t> at;
    // Depth first in file order, without recursion: nesting may be deep.
    std::vector<std::pair<MemberIterator, MemberIterator>> stack;
    const Node root = document.root();
    stack.emplace_back(root.begin(), root.end());
    while (!stack.empty()) {
        auto &[it, end] = stack.back();
        if (it == end) {
            stack.pop_back();
            continue;
        }
        const Node node = it->node;
        ++it;
        Source source = node.source();
        FlatEntry entry{node.keyPath(), std::string(node.text()), std::move(source.file), source.line};
        auto [found, added] = at.emplace(entry.key, out.size());
        if (added)
            out.push_back(std::move(entry));
        else
            out[found->second] = std::move(entry);
        if (node.isBlock() || node.isList()) stack.emplace_back(node.begin(), node.end());
    }
    return out;
}

std::vector<KeyChange> changesBetween(const std::vector<FlatEntry> &before, const std::vector<FlatEntry> &after) {
    std::unordered_map<std::string_view, const FlatEntry *> old_by_key;
    old_by_key.reserve(before.size());
    for (const FlatEntry &entry : before) old_by_key.emplace(entry.key, &entry);
    std::vector<KeyChange> out;
    std::unordered_map<std::string_view, bool> still;
    for (const FlatEntry &entry : after) {
        auto found = old_by_key.find(entry.key);
        if (found == old_by_key.end()) {
            out.push_back({entry.key, ChangeKind::Added, "", entry.value, entry.file, entry.line});
            continue;
        }
        still.emplace(entry.key, true);
        if (found->second->value != entry.value)
            out.push_back({entry.key, ChangeKind::Changed, found->second->value, entry.value, entry.file, entry.line});
    }
    for (const FlatEntry &entry : before)
        if (!still.count(entry.key))
            out.push_back({entry.key, ChangeKind::Removed, entry.value, "", entry.file, entry.line});
    return out;
}

}  // namespace teskpf
