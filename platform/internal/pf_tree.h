// Private to the platform layer (kept out of the installed headers): the
// layout of associative blocks and the primitives pfcompile builds trees with.
#ifndef TESKPF_PF_TREE_H
#define TESKPF_PF_TREE_H

#include <string_view>
#include <unordered_map>
#include <vector>

#include "pf_compile.h"

struct PfArr {
    struct Member {
        char *key;  // malloc'd
        Pf *node;
    };
    std::vector<Member> members;                           // in file order
    std::unordered_map<std::string_view, long> positions;  // key -> index in members; views of the keys there
};

// A new scalar holding a copy of `value`; NULL when out of memory.
Pf *pf_new_scalar(const char *value);

// A new empty, not yet filled-out block of `type` (PF_ARR or PF_TBL); NULL
// when out of memory.
Pf *pf_new_block(int type);

// Adds `member` to the associative block `block` under `key`. A key already
// there keeps its position and takes the new member; the old one is freed.
// Takes `member` in every case (freed on failure). Returns 0 or PF_ERR_MEMORY.
int pf_arr_put(Pf *block, const char *key, Pf *member);

// Appends `member` to the list block `block`; otherwise as pf_arr_put.
int pf_tbl_append(Pf *block, Pf *member);

// The member of the associative block `block` named `key`, or NULL.
Pf *pf_arr_find(const Pf *block, std::string_view key);

#endif
