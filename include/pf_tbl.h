/* Tbl: a growable list of untyped pointers, usable from C and C++. */
#ifndef TESKPF_PF_TBL_H
#define TESKPF_PF_TBL_H

#include <teskpf/export.h>

#ifdef __cplusplus
extern "C" {
#endif

typedef struct Tbl {
    long active_right; /* number of elements held */
    long capacity;     /* slots allocated */
    void **elements;   /* the elements, active_right of them */
    void *owned;       /* storage the list owns (e.g. the names of pffiles), released with it */
} Tbl;

/* A new empty list with room for `initial_size` elements (at least 1).
   NULL when out of memory. */
TESKPF_API Tbl *newtbl(long initial_size);

/* Stores `element` at `index`; a negative index appends, an index past the end
   grows the list with NULL slots. Returns the index used, or -1 when out of memory. */
TESKPF_API long settbl(Tbl *list, long index, void *element);

/* The element at `index`, or NULL for an index outside the list or a NULL list. */
TESKPF_API void *gettbl(const Tbl *list, long index);

/* Number of elements; 0 for a NULL list. */
TESKPF_API long cnttbl(const Tbl *list);

/* Releases the list and its `owned` storage. When `free_element` is not NULL
   it is called for each element first, in index order; NULL slots are
   skipped. Accepts NULL. */
TESKPF_API void freetbl(Tbl *list, void (*free_element)(void *));

#ifdef __cplusplus
}
#endif

#endif
