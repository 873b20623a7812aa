// The entries of a list that are still there, in order, with removals in
// near-constant time: `next` points past removed runs (union-find with path
// halving), so walking over what is left never re-walks what was removed.
#pragma once

#include <cstddef>
#include <vector>

namespace teskpf::detail {

class AliveEntries {
public:
    explicit AliveEntries(size_t count) : next(count + 1), removed(count, false) {
        for (size_t i = 0; i <= count; ++i) next[i] = static_cast<int>(i);
    }

    // The first entry at or after `index` that is still there (count when none).
    int from(int index) {
        while (next[static_cast<size_t>(index)] != index) {
            int &link = next[static_cast<size_t>(index)];
            link = next[static_cast<size_t>(link)];
            index = link;
        }
        return index;
    }

    void remove(int index) {
        removed[static_cast<size_t>(index)] = true;
        next[static_cast<size_t>(index)] = index + 1;
    }

    bool isRemoved(int index) const { return removed[static_cast<size_t>(index)]; }

private:
    std::vector<int> next;
    std::vector<bool> removed;
};

}  // namespace teskpf::detail
