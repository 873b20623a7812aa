// Compiles arbitrary text with pfcompile. On success every node of the tree
// must be reachable through pfget by its own key path, with a consistent
// parent link, and pfvalue must answer the scalars' values.
#include <cstdio>
#include <cstdlib>
#include <string>
#include <vector>

#include "pf_compile.h"

namespace {

void check(bool ok, const char *what, const std::string &path) {
    if (ok) return;
    std::fprintf(stderr, "fuzz_compile: %s at %s\n", what, path.c_str());
    std::abort();
}

// The path component of member `i` of `block`; empty when the member's name
// cannot be written as a path (it holds the component terminator "\"]").
std::string component(const Pf *block, long i) {
    if (block->type == PF_TBL) return "[" + std::to_string(i) + "]";
    std::string name = pfkey(block, i);
    if (name.find("\"]") != std::string::npos) return "";
    return "[\"" + name + "\"]";
}

// Walks the tree without recursion (nesting depth is up to the input).
void checkTree(Pf *root) {
    std::vector<std::pair<const Pf *, std::string>> pending{{root, ""}};
    while (!pending.empty()) {
        auto [block, path] = pending.back();
        pending.pop_back();
        for (long i = 0; i < pfcount(block); ++i) {
            Pf *child = pfchild(block, i);
            check(child && child->parent == block, "member without the right parent", path);
            std::string step = component(block, i);
            if (step.empty()) continue;
            std::string child_path = path + step;
            check(pfget(root, child_path.c_str()) == child, "pfget misses a member", child_path);
            const char *value = pfvalue(root, child_path.c_str());
            check((value != nullptr) == (child->type == PF_STRING), "pfvalue and the node type disagree", child_path);
            if (child->type != PF_STRING) pending.emplace_back(child, child_path);
        }
    }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
    std::string text(reinterpret_cast<const char *>(data), size);
    Pf *pf = nullptr;
    if (pfcompile(text.data(), &pf) < 0) {
        check(pf == nullptr, "a failed compile stored a tree", "");
        return 0;
    }
    check(pf && pf->type == PF_ARR && pf->parent == nullptr, "the root is not an associative block", "");
    checkTree(pf);
    // Paths that do not fit the tree answer NULL instead of crashing.
    for (const char *path : {"[0]", "[\"\"]", "[\"a\"][0]", "[99999999999999999999]", "[", "[\"a", "x"})
        pfget(pf, path);
    check(pfget(pf, "") == pf, "the empty path is not the root", "");
    pffree(pf);
    return 0;
}
