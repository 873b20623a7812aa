#include "support/KeyIndex.h"

#include <functional>

#include "TeskPf.h"

namespace {

std::string_view keyOf(const EntryList &list, int index) { return list[static_cast<size_t>(index)][FIELD_KEY]; }

}  // namespace

uint32_t KeyIndex::hashOf(std::string_view key) {
    uint64_t h = std::hash<std::string_view>{}(key);
    return static_cast<uint32_t>(h ^ (h >> 32));
}

// The slot holding `key`, or the empty slot where it would go.
size_t KeyIndex::slotOf(const EntryList &list, std::string_view key, uint32_t hash) const {
    const size_t mask = slots.size() - 1;
    for (size_t i = hash & mask;; i = (i + 1) & mask) {
        const Slot &slot = slots[i];
        if (slot.index < 0) return i;
        if (slot.hash == hash && keyOf(list, slot.index) == key) return i;
    }
}

void KeyIndex::build(const EntryList &list, std::vector<int> *previous_same_key) {
    size_t capacity = 16;
    while (capacity < list.size() * 2) capacity *= 2;
    slots.assign(capacity, Slot{0, -1});
    if (previous_same_key) previous_same_key->assign(list.size(), -1);

    for (size_t i = 0; i < list.size(); ++i) {
        std::string_view key = keyOf(list, static_cast<int>(i));
        uint32_t hash = hashOf(key);
        Slot &slot = slots[slotOf(list, key, hash)];
        if (previous_same_key) (*previous_same_key)[i] = slot.index;
        slot = Slot{hash, static_cast<int32_t>(i)};
    }
}

int KeyIndex::find(const EntryList &list, std::string_view key) const {
    if (slots.empty()) return -1;
    return slots[slotOf(list, key, hashOf(key))].index;
}

void KeyIndex::update(const EntryList &list, std::string_view key, int index) {
    if (slots.empty()) return;
    Slot &slot = slots[slotOf(list, key, hashOf(key))];
    if (slot.index >= 0) slot.index = index;
}
