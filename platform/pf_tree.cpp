// Pf tree nodes: creation, membership, traversal and release.
#include <cstdlib>
#include <cstring>
#include <new>

#include "internal/pf_tree.h"

namespace {

Pf *new_node(int type) {
    Pf *node = static_cast<Pf *>(calloc(1, sizeof(Pf)));
    if (node) node->type = type;
    return node;
}

// Removes the last member of `node` and returns it; NULL for a scalar or an
// empty block. Only used while releasing, so the key index of an associative
// block is left stale: it goes with the block right after.
Pf *detach_last_member(Pf *node) {
    if (node->type == PF_ARR) {
        std::vector<PfArr::Member> &members = node->value.arr->members;
        if (members.empty()) return nullptr;
        PfArr::Member last = members.back();
        members.pop_back();
        free(last.key);
        return last.node;
    }
    if (node->type == PF_TBL) {
        Tbl *list = node->value.tbl;
        return list->active_right > 0 ? static_cast<Pf *>(list->elements[--list->active_right]) : nullptr;
    }
    return nullptr;
}

// Appends a new key to `arr`; false, with `arr` unchanged, when out of memory.
bool add_member(PfArr &arr, char *key, Pf *node) {
    try {
        arr.members.push_back({key, node});
    } catch (const std::bad_alloc &) {
        return false;
    }
    try {
        arr.positions.emplace(key, static_cast<long>(arr.members.size()) - 1);
    } catch (const std::bad_alloc &) {
        arr.members.pop_back();
        return false;
    }
    return true;
}

// Frees `node` itself, whose members are gone already.
void release_node(Pf *node) {
    if (node->type == PF_STRING) free(node->value.s);
    if (node->type == PF_ARR) delete node->value.arr;
    if (node->type == PF_TBL) freetbl(node->value.tbl, nullptr);
    free(node->filename);
    free(node);
}

}  // namespace

Pf *pf_new_scalar(const char *value) {
    char *copy = strdup(value);
    Pf *node = copy ? new_node(PF_STRING) : nullptr;
    if (!node) {
        free(copy);
        return nullptr;
    }
    node->value.s = copy;
    node->filled_out = 1;
    return node;
}

Pf *pf_new_block(int type) {
    Pf *node = new_node(type);
    if (!node) return nullptr;
    bool made = type == PF_ARR ? (node->value.arr = new (std::nothrow) PfArr) != nullptr
                               : (node->value.tbl = newtbl(1)) != nullptr;
    if (made) return node;
    free(node);
    return nullptr;
}

int pf_arr_put(Pf *block, const char *key, Pf *member) {
    PfArr *arr = block->value.arr;
    member->parent = block;
    auto existing = arr->positions.find(key);
    if (existing != arr->positions.end()) {
        PfArr::Member &slot = arr->members[static_cast<size_t>(existing->second)];
        pffree(slot.node);
        slot.node = member;
        return 0;
    }
    char *own_key = strdup(key);
    if (own_key && add_member(*arr, own_key, member)) return 0;
    free(own_key);
    pffree(member);
    return PF_ERR_MEMORY;
}

int pf_tbl_append(Pf *block, Pf *member) {
    member->parent = block;
    if (settbl(block->value.tbl, -1, member) >= 0) return 0;
    pffree(member);
    return PF_ERR_MEMORY;
}

Pf *pf_arr_find(const Pf *block, std::string_view key) {
    const PfArr *arr = block->value.arr;
    auto found = arr->positions.find(key);
    return found == arr->positions.end() ? nullptr : arr->members[static_cast<size_t>(found->second)].node;
}

// Post-order walk along parent pointers, taking members off from the end:
// no recursion and no extra memory, whatever the depth.
extern "C" void pffree(Pf *pf) {
    for (Pf *node = pf; node;) {
        if (Pf *member = detach_last_member(node)) {
            node = member;
            continue;
        }
        Pf *up = node == pf ? nullptr : node->parent;
        release_node(node);
        node = up;
    }
}

extern "C" long pfcount(const Pf *pf) {
    if (!pf) return 0;
    if (pf->type == PF_ARR) return static_cast<long>(pf->value.arr->members.size());
    if (pf->type == PF_TBL) return cnttbl(pf->value.tbl);
    return 0;
}

extern "C" Pf *pfchild(const Pf *pf, long i) {
    if (i < 0 || i >= pfcount(pf)) return nullptr;
    if (pf->type == PF_ARR) return pf->value.arr->members[static_cast<size_t>(i)].node;
    return static_cast<Pf *>(gettbl(pf->value.tbl, i));
}

extern "C" const char *pfkey(const Pf *pf, long i) {
    if (!pf || pf->type != PF_ARR || i < 0 || i >= pfcount(pf)) return nullptr;
    return pf->value.arr->members[static_cast<size_t>(i)].key;
}
