#include "support/Merge.h"

#include <vector>

#include "TeskPf.h"
#include "detail/AliveEntries.h"
#include "support/KeyIndex.h"
#include "support/LevelText.h"

namespace teskpf {

namespace {

bool startsWith(const std::string &text, const std::string &prefix) {
    return text.compare(0, prefix.size(), prefix) == 0;
}

}  // namespace

EntryList mergeEntryLists(const EntryList &winner, EntryList &loser) {
    if (loser.empty()) return winner;
    if (winner.empty()) return loser;

    KeyIndex index;
    std::vector<int> previous_same_key;
    index.build(loser, &previous_same_key);
    detail::AliveEntries alive(loser.size());
    const int loser_count = static_cast<int>(loser.size());

    EntryList result;
    result.reserve(winner.size() + loser.size());
    for (const Entry &entry : winner) {
        result.push_back(entry);
        if (parseLevel(entry[FIELD_LEVEL]) > 0) continue;

        const std::string &key = entry[FIELD_KEY];
        int found = index.find(loser, key);
        int last_removed = -1;
        while (found >= 0 && alive.isRemoved(found)) {
            last_removed = found;
            found = previous_same_key[static_cast<size_t>(found)];
        }
        // Point the index past the removed ones so that later lookups of this key
        // do not walk them again.
        if (last_removed >= 0) index.update(loser, key, found >= 0 ? found : last_removed);
        if (found < 0) continue;

        for (int at = found; at < loser_count && startsWith(loser[static_cast<size_t>(at)][FIELD_KEY], key);
             at = alive.from(at)) {
            alive.remove(at);
        }
    }

    EntryList kept;
    kept.reserve(loser.size());
    for (int i = 0; i < loser_count; ++i) {
        if (alive.isRemoved(i)) continue;
        result.push_back(loser[static_cast<size_t>(i)]);
        kept.push_back(std::move(loser[static_cast<size_t>(i)]));
    }
    loser = std::move(kept);
    return result;
}

}  // namespace teskpf
