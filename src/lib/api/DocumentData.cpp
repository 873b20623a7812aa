#include "api/DocumentData.h"

#include "syntax/KeyPath.h"

namespace teskpf::detail {

DocumentData::DocumentData(std::vector<ParsedFile> parsed) : store(std::move(parsed)) {
    const size_t count = store.size();
    parents.assign(count, -1);
    children.assign(count + 1, {});
    std::vector<int32_t> open;  // open[l]: the block opened at level l
    for (size_t i = 0; i < count; ++i) {
        if (store.isNote(i)) continue;
        const FileEntry &entry = store.entryOf(i);
        const size_t depth = static_cast<size_t>(entry.level);
        if (depth < open.size()) open.resize(depth);
        parents[i] = open.empty() ? -1 : open.back();
        children[static_cast<size_t>(parents[i] + 1)].push_back(static_cast<int32_t>(i));
        if (entry.opensBlock()) open.push_back(static_cast<int32_t>(i));
    }
}

template <typename Read>
std::string_view DocumentData::kept(int32_t entry, EntryField which, Read read) const {
    const int64_t key = int64_t{entry} * 8 + static_cast<int>(which);
    auto found = built.find(key);
    if (found != built.end()) return found->second;
    std::string buffer;
    const std::string_view field = read(buffer);
    // The store fills the buffer only for a field it has to build.
    if (buffer.empty()) return field;
    return built.emplace(key, std::string(field)).first->second;
}

std::string_view DocumentData::field(int32_t entry, EntryField which) const {
    const size_t at = static_cast<size_t>(entry);
    switch (which) {
    case EntryField::Value:
        return editedOr(edited_values, entry, [&] {
            return kept(entry, which, [&](std::string &buffer) { return store.value(at, buffer); });
        });
    case EntryField::Comment: return kept(entry, which, [&](std::string &buffer) { return store.comment(at, buffer); });
    default: return store.constraints(at);
    }
}

std::string_view DocumentData::nameOf(int32_t entry) const {
    // The key as the file holds it: the writer's rule reads it back from the
    // key path, which loses a name holding "[" such as "q[0]".
    const FileEntry &at = store.entryOf(static_cast<size_t>(entry));
    if (at.kind == EntryKind::Note || at.position >= 0) return {};
    return store.fileOf(static_cast<size_t>(entry)).key(at);
}

bool DocumentData::opensBlock(int32_t entry) const { return store.entryOf(static_cast<size_t>(entry)).opensBlock(); }

int32_t DocumentData::memberNamed(int32_t block, std::string_view name) const {
    std::string path = block < 0 ? std::string() : store.keyPath(static_cast<size_t>(block));
    appendNamedComponent(path, name);
    const int32_t found = store.find(path);
    if (found < 0 || parents[static_cast<size_t>(found)] == block) return found;
    // The key path names a member of a repeated block elsewhere: look in this one.
    const std::vector<int32_t> &members = childrenOf(block);
    for (auto it = members.rbegin(); it != members.rend(); ++it) {
        if (store.keyPath(static_cast<size_t>(*it)) == path) return *it;
    }
    return -1;
}

}  // namespace teskpf::detail
