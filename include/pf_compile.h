/* Pf: parameter-file text compiled into a tree. */
#ifndef TESKPF_PF_COMPILE_H
#define TESKPF_PF_COMPILE_H

#include <teskpf/export.h>

#include "pf_tbl.h"

#ifdef __cplusplus
extern "C" {
#endif

enum PfType {
    PF_STRING = 1, /* a scalar value */
    PF_ARR = 2,    /* an associative block: named members in file order */
    PF_TBL = 3     /* a list block: unnamed members in file order */
};

typedef struct PfArr PfArr; /* members of an associative block; use pfcount/pfkey/pfchild */

typedef struct Pf {
    int type; /* enum PfType */
    union {
        char *s;    /* PF_STRING: the value, escapes removed */
        PfArr *arr; /* PF_ARR */
        Tbl *tbl;   /* PF_TBL: the members, Pf * each */
    } value;
    struct Pf *parent; /* enclosing block; NULL for the root */
    char *filename;    /* where the text came from; NULL for text compiled by pfcompile;
                          malloc'd when set: pffree releases it */
    int filled_out;    /* 1 once the node and everything below it are complete */
} Pf;

/* Error codes of pfcompile (all negative). */
enum {
    PF_ERR_NOKEY = -1,       /* a line without a key inside an associative block */
    PF_ERR_STRAY_CLOSE = -2, /* a closing line with no block open */
    PF_ERR_UNCLOSED = -3,    /* a block still open at the end of the text */
    PF_ERR_MEMORY = -4,      /* out of memory */
    PF_ERR_ARGUMENT = -5     /* text or pf is NULL */
};

/* Compiles `text` (parameter-file syntax) into a tree whose root is an
   associative block, stored in *pf. A key defined twice in one block keeps
   the position of its first definition and the value of its last. Returns 0 on success, a negative PF_ERR_
   code otherwise; *pf is left untouched on failure. `text` is not kept.
   The tree belongs to the caller: release it with pffree. */
TESKPF_API int pfcompile(char *text, Pf **pf);

/* Releases a tree made by pfcompile. Accepts NULL. */
TESKPF_API void pffree(Pf *pf);

/* The node at `keypath` below `pf`, written as the library writes key paths:
   ["name"] for a named member, [n] (from 0) for a list member, chained, e.g.
   ["chan"]["list"][1]["x"]. The empty path is `pf` itself. NULL when absent,
   when the path is malformed or NULL, or when a component does not fit the
   block it applies to ([n] on an associative block, ["name"] on a list). */
TESKPF_API Pf *pfget(Pf *pf, const char *keypath);

/* The scalar value at `keypath`, or NULL when absent or not a scalar. */
TESKPF_API const char *pfvalue(Pf *pf, const char *keypath);

/* Number of members of a block; 0 for a scalar or NULL. */
TESKPF_API long pfcount(const Pf *pf);

/* Member `i` of a block, or NULL. */
TESKPF_API Pf *pfchild(const Pf *pf, long i);

/* Name of member `i` of an associative block; NULL for a list or out of range. */
TESKPF_API const char *pfkey(const Pf *pf, long i);

#ifdef __cplusplus
}
#endif

#endif
