// Lookup of a node by key path: ["name"] and [n] components, chained.
#include <climits>

#include "internal/pf_tree.h"

namespace {

// Reads the decimal index of a "[n]" component starting after the "[".
// Returns the position after the "]", or NULL when malformed or too large.
const char *read_index(const char *digits, long *index) {
    const char *p = digits;
    *index = 0;
    for (; *p >= '0' && *p <= '9'; ++p) {
        int digit = *p - '0';
        if (*index > (LONG_MAX - digit) / 10) return nullptr;
        *index = *index * 10 + digit;
    }
    return p > digits && *p == ']' ? p + 1 : nullptr;
}

// The end of the name starting at `name`: its closing "\"]", or NULL.
const char *name_end(const char *name) {
    for (const char *c = name; *c; ++c)
        if (c[0] == '"' && c[1] == ']') return c;
    return nullptr;
}

// The member of `node` named by the component at *path, advancing *path past
// it; NULL when the component is malformed or names nothing.
Pf *step(const Pf *node, const char **path) {
    const char *p = *path;
    if (p[0] != '[') return nullptr;
    if (p[1] == '"') {
        const char *name = p + 2;
        const char *end = name_end(name);
        if (!end || node->type != PF_ARR) return nullptr;
        *path = end + 2;
        return pf_arr_find(node, std::string_view(name, static_cast<size_t>(end - name)));
    }
    long index;
    const char *next = read_index(p + 1, &index);
    if (!next || node->type != PF_TBL) return nullptr;
    *path = next;
    return pfchild(node, index);
}

}  // namespace

extern "C" Pf *pfget(Pf *pf, const char *keypath) {
    if (!keypath) return nullptr;
    Pf *node = pf;
    for (const char *p = keypath; node && *p;) node = step(node, &p);
    return node;
}

extern "C" const char *pfvalue(Pf *pf, const char *keypath) {
    Pf *node = pfget(pf, keypath);
    return node && node->type == PF_STRING ? node->value.s : nullptr;
}
