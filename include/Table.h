// Table<T>: a growable sequence that answers a missing element with its `null`
// element instead of failing. It is a std::vector<T> (publicly derived, so the
// whole vector interface is available) with index operations on top.
#pragma once

#include <algorithm>
#include <functional>
#include <type_traits>
#include <utility>
#include <vector>

template <class T>
class Table : public std::vector<T> {
public:
    // Release hook: called once per element, in index order, when the table is
    // destroyed. A table of pointers passes each pointer; any other element type
    // passes the element's address.
    using ReleaseHook = std::function<void(void *)>;

    Table() = default;
    explicit Table(T null_element) : null(std::move(null_element)) {}
    explicit Table(ReleaseHook release) : freeElement(std::move(release)) {}
    Table(T null_element, ReleaseHook release) : freeElement(std::move(release)), null(std::move(null_element)) {}

    // Copies elements, release hook and `null`.
    Table(const Table &) = default;
    Table(Table &&) = default;

    ~Table() {
        if (!freeElement) return;
        for (T &element : *this) freeElement(untyped(element));
    }

    // Assignment replaces the elements only: the target keeps its own `null`
    // and release hook, and no hook is called for the elements it drops.
    // Assigning a table to itself leaves it unchanged.
    Table &operator=(const Table &value) {
        if (this != &value) std::vector<T>::operator=(value);
        return *this;
    }
    Table &operator=(Table &&value) noexcept {
        if (this != &value) std::vector<T>::operator=(std::move(value));
        return *this;
    }

    // Highest valid index: count - 1, or -1 for an empty table.
    long max() const { return count() - 1; }

    // Stores `value` at `index` and returns the index used. A negative index
    // appends; an index past the end first grows the table with copies of `null`.
    long set(long index, T value) {
        if (index < 0) {
            this->push_back(std::move(value));
            return count() - 1;
        }
        if (index > count() - 1) this->resize(static_cast<size_t>(index) + 1, null);
        (*this)[static_cast<size_t>(index)] = std::move(value);
        return index;
    }
    // Stores a copy of `null` at `index` (same index rules as above).
    long set(long index) { return set(index, null); }

    // Appends `value`; returns its index.
    long push(T value) { return set(-1, std::move(value)); }

    // Inserts `value` in front of element 0; returns 0.
    long unshift(T value) {
        this->insert(this->begin(), std::move(value));
        return 0;
    }

    // Inserts `value` before element `index`; an index below 0 or past the end
    // appends. Returns the index of the new element.
    long ins(long index, T value) {
        if (index < 0 || index >= count()) return push(std::move(value));
        this->insert(this->begin() + index, std::move(value));
        return index;
    }

    // A copy of element `index`, or `null` when the index is outside the table.
    T get(long index) const {
        if (index < 0 || index > count() - 1) return null;
        return (*this)[static_cast<size_t>(index)];
    }

    // Removes element `index` and returns it; `null` (table unchanged) when the
    // index is outside the table. The release hook is not called.
    T del(long index) {
        if (index < 0 || index > count() - 1) return null;
        T removed = std::move((*this)[static_cast<size_t>(index)]);
        this->erase(this->begin() + index);
        return removed;
    }

    // Removes and returns the first element; `null` when empty.
    T shift() { return del(0); }

    // Removes and returns the last element; `null` when empty.
    T pop() { return del(count() - 1); }

    // Appends copies of `other`'s elements; returns the new count.
    long cat(const Table &other) {
        if (this == &other) {
            Table copy(other);
            return cat(copy);
        }
        this->insert(this->end(), other.begin(), other.end());
        return count();
    }

    // Stable sort; `compare` answers below 0 when its first argument goes first.
    void sort(std::function<int(const T &, const T &, void *)> compare, void *context) {
        std::stable_sort(this->begin(), this->end(),
                         [&](const T &a, const T &b) { return compare(a, b, context) < 0; });
    }
    // Stable sort by a "goes before" predicate.
    void sortb(std::function<bool(const T &, const T &, void *)> before, void *context) {
        std::stable_sort(this->begin(), this->end(), [&](const T &a, const T &b) { return before(a, b, context); });
    }
    void sortb(std::function<bool(const T &, const T &)> before) {
        std::stable_sort(this->begin(), this->end(), before);
    }

    // Calls `visit` on each element in order; stops at the first non-zero answer
    // and returns it. Returns 0 when every call answered 0.
    int apply(std::function<int(const T &, void *)> visit, void *context) const {
        for (const T &element : *this) {
            if (int answer = visit(element, context)) return answer;
        }
        return 0;
    }

    // Indices of the elements equal to `value` (operator==), ascending.
    Table<long> search(const T &value) const {
        Table<long> found;
        for (long i = 0; i < count(); ++i) {
            if ((*this)[static_cast<size_t>(i)] == value) found.push_back(i);
        }
        return found;
    }
    // Indices of the elements for which `compare(element, value, context)` is 0.
    Table<long> search(const T &value, std::function<int(const T &, const T &, void *)> compare, void *context) const {
        Table<long> found;
        for (long i = 0; i < count(); ++i) {
            if (compare((*this)[static_cast<size_t>(i)], value, context) == 0) found.push_back(i);
        }
        return found;
    }

private:
    long count() const { return static_cast<long>(this->size()); }

    static void *untyped(T &element) {
        if constexpr (std::is_pointer_v<T>)
            return const_cast<void *>(static_cast<const void *>(element));
        else
            return static_cast<void *>(&element);
    }

    ReleaseHook freeElement;
    T null{};
};
