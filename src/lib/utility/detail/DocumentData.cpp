#include "detail/DocumentData.h"

#include "detail/KeyPath.h"
#include "detail/LevelText.h"
#include "TeskPf.h"
#include "detail/BlockSyntax.h"

namespace teskpf::detail {

void DocumentData::buildTree() {
    index.build(entries);
    const size_t count = entries.size();
    parents.assign(count, -1);
    children.assign(count + 1, {});
    std::vector<int32_t> open;  // open[l]: the block opened at level l
    for (size_t i = 0; i < count; ++i) {
        const int32_t at = static_cast<int32_t>(i);
        if (entries[i][FIELD_KEY].empty()) continue;  // a blank or comment line
        int level = parseLevel(entries[i][FIELD_LEVEL]);
        size_t depth = level < 0 ? 0 : static_cast<size_t>(level);
        if (depth < open.size()) open.resize(depth);
        parents[i] = open.empty() ? -1 : open.back();
        children[static_cast<size_t>(parents[i] + 1)].push_back(at);
        if (opensBlock(at)) open.push_back(at);
    }
}

bool DocumentData::opensBlock(int32_t at) const {
    const std::string &value = entry(at)[FIELD_VALUE];
    return value == kArrMarker || value == kTblMarker;
}

std::string_view DocumentData::nameOf(int32_t at) const { return writtenKey(entry(at)[FIELD_KEY]); }

int32_t DocumentData::memberNamed(int32_t block, std::string_view name) const {
    std::string path = block < 0 ? std::string() : entry(block)[FIELD_KEY];
    appendNamedComponent(path, name);
    int32_t found = index.find(entries, path);
    if (found < 0 || parents[static_cast<size_t>(found)] == block) return found;
    // The key path names a member of a repeated block elsewhere: look in this one.
    const std::vector<int32_t> &members = childrenOf(block);
    for (auto it = members.rbegin(); it != members.rend(); ++it) {
        if (entry(*it)[FIELD_KEY] == path) return *it;
    }
    return -1;
}

}  // namespace teskpf::detail
