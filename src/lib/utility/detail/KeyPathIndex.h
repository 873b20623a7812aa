// A hash index from key paths to entries that stores no key text: slots hold
// a hash of the path text and an entry number, and the caller confirms a
// candidate against the real path. The hash is fed piece by piece, so a path
// can be hashed from its block's hash and its own component without ever
// being built as one string.
#pragma once

#include <algorithm>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "KeyPath.h"

namespace teskpf::detail {

// 64-bit FNV-1a over the bytes of a key path text.
class PathHash {
public:
    void feed(std::string_view bytes) {
        for (unsigned char c : bytes) state = (state ^ c) * 1099511628211ULL;
    }
    // Feeds the component ["name"] or [position], as KeyPath.h writes them.
    void feedNamed(std::string_view name) {
        feed("[\"");
        feed(name);
        feed("\"]");
    }
    void feedListPosition(long position) {
        std::string component;
        appendListComponent(component, position);
        feed(component);
    }
    // The state with its bits mixed, so that both halves depend on every byte.
    uint64_t value() const {
        uint64_t h = state;
        h ^= h >> 32;
        h *= 0xd6e8feb86659fd93ULL;
        return h ^ (h >> 32);
    }

private:
    uint64_t state = 14695981039346656037ULL;
};

// Open addressing with linear probing. A slot stores the high half of the
// hash, and the home slot comes from that half too (multiply-shift onto any
// table size), so growing needs no key.
class KeyPathIndex {
public:
    // Makes room for `count` entries in all without growing.
    void reserve(size_t count) {
        if (count * 4 > slots.size() * 3) rehash(count + count / 2 + 8);
    }

    // Records `entry` under `hash`; it replaces an entry with the same path
    // (`samePath(stored, entry)` confirms one). Returns the replaced entry, or -1.
    template <typename SamePath>
    int32_t insert(uint64_t hash, int32_t entry, SamePath samePath) {
        if ((count + 1) * 4 > slots.size() * 3) rehash(std::max<size_t>(16, slots.size() * 2));
        const uint32_t tag = tagOf(hash);
        for (size_t i = home(hash);; i = next(i)) {
            Slot &slot = slots[i];
            if (slot.entry < 0) {
                slot = Slot{tag, entry};
                ++count;
                return -1;
            }
            if (slot.tag == tag && samePath(slot.entry, entry)) {
                int32_t replaced = slot.entry;
                slot.entry = entry;
                return replaced;
            }
        }
    }

    // The entry recorded under `hash` for which `matches(entry)` holds, or -1.
    template <typename Matches>
    int32_t find(uint64_t hash, Matches matches) const {
        if (slots.empty()) return -1;
        const uint32_t tag = tagOf(hash);
        for (size_t i = home(hash);; i = next(i)) {
            const Slot &slot = slots[i];
            if (slot.entry < 0) return -1;
            if (slot.tag == tag && matches(slot.entry)) return slot.entry;
        }
    }

    // Brings the slot of `hash` into the cache ahead of an insert.
    void prefetch(uint64_t hash) const {
        if (!slots.empty()) __builtin_prefetch(&slots[home(hash)]);
    }

    size_t memoryBytes() const { return slots.capacity() * sizeof(Slot); }

private:
    struct Slot {
        uint32_t tag;
        int32_t entry;  // -1 for an empty slot
    };

    static uint32_t tagOf(uint64_t hash) { return static_cast<uint32_t>(hash >> 32); }
    size_t homeOfTag(uint32_t tag) const { return static_cast<size_t>((uint64_t{tag} * slots.size()) >> 32); }
    size_t home(uint64_t hash) const { return homeOfTag(tagOf(hash)); }
    size_t next(size_t i) const { return i + 1 == slots.size() ? 0 : i + 1; }

    void rehash(size_t size) {
        std::vector<Slot> old = std::move(slots);
        slots.assign(size, Slot{0, -1});
        for (const Slot &slot : old) {
            if (slot.entry < 0) continue;
            size_t i = homeOfTag(slot.tag);
            while (slots[i].entry >= 0) i = next(i);
            slots[i] = slot;
        }
    }

    std::vector<Slot> slots;
    size_t count = 0;
};

}  // namespace teskpf::detail
