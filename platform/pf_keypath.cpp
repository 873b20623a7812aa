// Lookup of a node by key path, read by the key-path syntax's parser.
#include "internal/pf_tree.h"
#include "syntax/KeyPathSyntax.h"

extern "C" Pf *pfget(Pf *pf, const char *keypath) {
    if (!keypath) return nullptr;
    const teskpf::syntax::ParsedPath path = teskpf::syntax::parse(keypath);
    if (!path.ok()) return nullptr;
    Pf *node = pf;
    for (const teskpf::syntax::Component &component : path.components) {
        if (!node) break;
        if (component.isPosition())
            node = node->type == PF_TBL ? pfchild(node, component.position) : nullptr;
        else
            node = node->type == PF_ARR ? pf_arr_find(node, component.name) : nullptr;
    }
    return node;
}

extern "C" const char *pfvalue(Pf *pf, const char *keypath) {
    Pf *node = pfget(pf, keypath);
    return node && node->type == PF_STRING ? node->value.s : nullptr;
}
