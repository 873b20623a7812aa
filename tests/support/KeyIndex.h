// KeyIndex: finds the last entry of an entry list whose key field equals a
// key, in constant expected time. It stores entry indices only; the keys are
// compared against the list itself, so the list must not change its keys or
// order while the index is in use.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "support/EntryList.h"

class KeyIndex {
public:
    // Indexes every entry of `list`; a later entry with an equal key replaces
    // an earlier one. When `previous_same_key` is given it receives, for each
    // entry, the index of the nearest earlier entry with the same key, or -1.
    void build(const EntryList &list, std::vector<int> *previous_same_key = nullptr);

    // Index of the last entry whose key equals `key`, or -1.
    int find(const EntryList &list, std::string_view key) const;

    // Makes `key`, which must already be indexed, answer `index` from now on.
    void update(const EntryList &list, std::string_view key, int index);

private:
    struct Slot {
        uint32_t hash;
        int32_t index;  // -1 for an empty slot
    };

    static uint32_t hashOf(std::string_view key);
    size_t slotOf(const EntryList &list, std::string_view key, uint32_t hash) const;

    std::vector<Slot> slots;  // open addressing, linear probing, power-of-two size
};
