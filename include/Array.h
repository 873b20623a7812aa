// Array<K,V>: the keyed map. It is a std::unordered_map<K,V> (publicly derived,
// so lookup, subscripting and iteration are used directly) with an
// insert-or-replace `set`, `contains`, and a `null` value answered for keys
// that are not there.
#pragma once

#include <functional>
#include <iostream>
#include <type_traits>
#include <unordered_map>
#include <utility>

#include "Table.h"

template <class K, class V>
class Array : public std::unordered_map<K, V> {
public:
    // Release hook: called by the destructor for each entry when set. Pointer
    // keys and values are passed as the pointer itself, anything else by address.
    using ReleaseHook = std::function<void(void *)>;

    Array() = default;
    explicit Array(V null_value) : null(std::move(null_value)) {}
    // The value hook comes first, as in the member order.
    Array(ReleaseHook release_value, ReleaseHook release_key)
        : freeElementV(std::move(release_value)), freeElementK(std::move(release_key)) {}
    Array(V null_value, ReleaseHook release_value, ReleaseHook release_key)
        : freeElementV(std::move(release_value)), freeElementK(std::move(release_key)), null(std::move(null_value)) {}

    Array(const Array &) = default;
    Array(Array &&) = default;
    Array &operator=(const Array &) = default;
    Array &operator=(Array &&) = default;

    ~Array() {
        if (!freeElementV && !freeElementK) return;
        for (auto &entry : *this) {
            if (freeElementV) freeElementV(untyped(entry.second));
            if (freeElementK) freeElementK(untyped(entry.first));
        }
    }

    // True when an entry with an equal key exists.
    bool contains(const K &key) const { return this->find(key) != this->end(); }

    // Inserts the key or replaces its value. Returns the previous value, or
    // `null` for a new key.
    V set(K key, V value) {
        V previous = null;
        auto found = this->find(key);
        if (found != this->end()) {
            previous = found->second;
            found->second = std::move(value);
        } else {
            this->emplace(std::move(key), std::move(value));
        }
        return previous;
    }

    // Number of entries.
    long cnt() const { return static_cast<long>(this->size()); }

    // A copy of the value stored under `key`, or `null`.
    V get(const K &key) const {
        auto found = this->find(key);
        return found == this->end() ? null : found->second;
    }

    // Removes the entry and returns its value; `null` when the key is absent.
    // The release hooks are not called.
    V del(const K &key) {
        auto found = this->find(key);
        if (found == this->end()) return null;
        V removed = std::move(found->second);
        this->erase(found);
        return removed;
    }

    // Calls `visit` on each entry in iteration order; returns the number of
    // entries visited.
    int apply(std::function<void(const K &, const V &, void *)> visit, void *context) const {
        int visited = 0;
        for (const auto &entry : *this) {
            visit(entry.first, entry.second, context);
            ++visited;
        }
        return visited;
    }

    // Keys and values, each in iteration order (unspecified, but the same
    // order for both while the map is unchanged).
    Table<K> keys() const {
        Table<K> out;
        out.reserve(this->size());
        for (const auto &entry : *this) out.push_back(entry.first);
        return out;
    }
    Table<V> vals() const {
        Table<V> out;
        out.reserve(this->size());
        for (const auto &entry : *this) out.push_back(entry.second);
        return out;
    }

    // Writes one line "key: value" per entry to standard output, in iteration
    // order. Needs operator<< for K and V.
    void print() const {
        for (const auto &entry : *this) std::cout << entry.first << ": " << entry.second << '\n';
    }

private:
    template <class E>
    static void *untyped(E &element) {
        if constexpr (std::is_pointer_v<std::remove_cv_t<E>>)
            return const_cast<void *>(static_cast<const void *>(element));
        else
            return const_cast<void *>(static_cast<const void *>(&element));
    }

    ReleaseHook freeElementV;
    ReleaseHook freeElementK;
    V null{};
};
