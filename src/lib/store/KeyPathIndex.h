// A hash index from key paths to entries that stores no key text: slots hold
// a hash of the path text and an entry number, and the caller confirms a
// candidate against the real path. The hash is fed piece by piece, so a path
// can be hashed from its block's hash and its own component without ever
// being built as one string.
#pragma once

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <string>
#include <string_view>
#include <vector>

#include "syntax/KeyPath.h"

namespace teskpf::detail {

// A 64-bit hash of a key path text, fed in pieces: the text is read in
// 8-byte words counted from its start, whatever the pieces, so hashing a path
// from its block's state and its own component gives the hash of the whole
// text at once.
class PathHash {
public:
    void feed(std::string_view bytes) {
        size_t i = 0;
        length += bytes.size();
        if (pending_bytes != 0) {
            i = std::min<size_t>(8 - pending_bytes, bytes.size());
            take(bytes.data(), i);
            if (pending_bytes < 8) return;
            mixWord(pending);
        }
        for (; i + 8 <= bytes.size(); i += 8) mixWord(loadWord(bytes.data() + i));
        take(bytes.data() + i, bytes.size() - i);
    }
    // Feeds `size` bytes at `at`, where at least 7 more bytes can be read
    // past the end (see FileText): the same hash as feed(), in word-sized loads.
    void feedPadded(const char *at, size_t size) {
        length += size;
        for (; size >= 8; at += 8, size -= 8) put(loadWord(at), 8);
        if (size > 0) put(loadWord(at) & ((uint64_t{1} << (8 * size)) - 1), static_cast<unsigned>(size));
    }
    // Feeds the component ["name"], as KeyPath.h writes it, for a name that
    // can be read past its end as feedPadded() needs.
    void feedNamedPadded(std::string_view name) {
        length += 4;
        put(uint64_t{'['} | uint64_t{'"'} << 8, 2);
        feedPadded(name.data(), name.size());
        put(uint64_t{'"'} | uint64_t{']'} << 8, 2);
    }
    // The hash, its bits mixed so that both halves depend on every byte.
    uint64_t value() const {
        uint64_t h = state ^ (pending * 0x9E3779B97F4A7C15ULL) ^ (length * 0xC2B2AE3D27D4EB4FULL);
        h ^= h >> 33;
        h *= 0xff51afd7ed558ccdULL;
        h ^= h >> 33;
        h *= 0xc4ceb9fe1a85ec53ULL;
        return h ^ (h >> 33);
    }

private:
    // Appends `count` (below 8 - pending_bytes) bytes to the pending word.
    void take(const char *at, size_t count) {
        // Byte by byte: a call to memcpy for a few bytes costs more.
        for (size_t i = 0; i < count; ++i)
            pending |= uint64_t{static_cast<unsigned char>(at[i])} << (8 * (pending_bytes + i));
        pending_bytes += static_cast<unsigned>(count);
    }
    // Appends the `count` (1 to 8) low bytes of `word`, whose other bytes
    // are zero, mixing the pending word once it is full.
    void put(uint64_t word, unsigned count) {
        const unsigned had = pending_bytes;
        pending |= word << (8 * had);
        if (had + count < 8) {
            pending_bytes = had + count;
            return;
        }
        mixWord(pending);
        pending = had == 0 ? 0 : word >> (8 * (8 - had));
        pending_bytes = had + count - 8;
    }
    void mixWord(uint64_t word) {
        state = ((state ^ (word * 0x9E3779B97F4A7C15ULL)) << 31 | (state ^ (word * 0x9E3779B97F4A7C15ULL)) >> 33) *
                0xBF58476D1CE4E5B9ULL;
        pending = 0;
        pending_bytes = 0;
    }
    // Eight bytes, the first in the lowest bits, as take() assembles them.
    static uint64_t loadWord(const char *at) {
        uint64_t word;
        std::memcpy(&word, at, sizeof word);
#if defined(__BYTE_ORDER__) && __BYTE_ORDER__ == __ORDER_BIG_ENDIAN__
        word = __builtin_bswap64(word);
#endif
        return word;
    }

    uint64_t state = 0x243F6A8885A308D3ULL;
    uint64_t pending = 0;  // the bytes not yet mixed, the first in the lowest bits
    uint64_t length = 0;
    unsigned pending_bytes = 0;
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
        if ((used + 1) * 4 > slots.size() * 3) rehash(std::max<size_t>(16, slots.size() * 2));
        const uint32_t tag = tagOf(hash);
        for (size_t i = home(hash);; i = next(i)) {
            Slot &slot = slots[i];
            if (slot.entry < 0) {
                slot = Slot{tag, entry};
                ++used;
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
    size_t used = 0;
};

}  // namespace teskpf::detail
