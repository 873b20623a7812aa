// Tbl: a growable array of pointers with malloc'd storage (usable from C).
#include "pf_tbl.h"

#include <climits>
#include <cstdlib>

namespace {

// Largest element count whose byte size still fits in a long.
constexpr long max_elements = LONG_MAX / static_cast<long>(sizeof(void *));

// Makes room for `needed` elements, at least doubling the capacity so that
// appending is amortised O(1). Returns 0, or -1 when too big or out of memory.
int reserve(Tbl *list, long needed) {
    if (needed <= list->capacity) return 0;
    if (needed > max_elements) return -1;
    long capacity = list->capacity > max_elements / 2 ? max_elements : list->capacity * 2;
    if (capacity < needed) capacity = needed;
    void *grown = realloc(list->elements, static_cast<size_t>(capacity) * sizeof(void *));
    if (!grown) return -1;
    list->elements = static_cast<void **>(grown);
    list->capacity = capacity;
    return 0;
}

}  // namespace

extern "C" Tbl *newtbl(long initial_size) {
    Tbl *list = static_cast<Tbl *>(calloc(1, sizeof(Tbl)));
    if (!list) return nullptr;
    if (reserve(list, initial_size < 1 ? 1 : initial_size) != 0) {
        free(list);
        return nullptr;
    }
    return list;
}

extern "C" long settbl(Tbl *list, long index, void *element) {
    if (!list) return -1;
    if (index < 0) index = list->active_right;
    if (index >= list->active_right) {
        if (index >= max_elements || reserve(list, index + 1) != 0) return -1;
        for (long i = list->active_right; i < index; ++i) list->elements[i] = nullptr;
        list->active_right = index + 1;
    }
    list->elements[index] = element;
    return index;
}

extern "C" void *gettbl(const Tbl *list, long index) {
    if (!list || index < 0 || index >= list->active_right) return nullptr;
    return list->elements[index];
}

extern "C" long cnttbl(const Tbl *list) { return list ? list->active_right : 0; }

extern "C" void freetbl(Tbl *list, void (*free_element)(void *)) {
    if (!list) return;
    if (free_element)
        for (long i = 0; i < list->active_right; ++i)
            if (list->elements[i]) free_element(list->elements[i]);
    free(list->owned);
    free(list->elements);
    free(list);
}
