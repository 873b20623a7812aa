// Load -> text -> load -> text. The written text must read back into the same
// entries (all fields but the source line) and be written again unchanged, and
// it must compile; except for the entry shapes that the text format cannot
// carry (lossy_entries.h).
#include <cstdio>
#include <cstdlib>
#include <unordered_set>
#include <vector>

#include "lossy_entries.h"
#include "pf_clock.h"
#include "pf_input_file.h"

namespace {

// The revision line carries the current time; pin it so both texts agree.
double fixedClock() { return 1700000000.0; }

// Every entry without its source field, one text each. The top-level revision
// entry is left out: writing always replaces it by a fresh revision line.
std::vector<std::string> contentOf(const TeskPf &pf) {
    std::vector<std::string> out;
    for (const Table<std::string> &e : pf.getList()) {
        if (e[FIELD_KEY] == fuzz::revision_key) continue;
        out.push_back(e[FIELD_LEVEL] + "|" + e[FIELD_KEY] + "|" + e[FIELD_VALUE] + "|" + e[FIELD_COMMENT] + "|" +
                      e[FIELD_CONSTRAINTS]);
    }
    return out;
}

// Number of components pfget reads in `key`: a name runs from "[\"" to the
// first "\"]", an index to the first "]". -1 when the text does not parse.
int componentCount(const std::string &key) {
    int count = 0;
    for (size_t p = 0; p < key.size(); ++count) {
        if (key[p] != '[') return -1;
        size_t end = key.compare(p, 2, "[\"") == 0 ? key.find("\"]", p + 2) : key.find(']', p);
        if (end == std::string::npos) return -1;
        p = end + (key[end] == '"' ? 2 : 1);
    }
    return count;
}

// Whether every entry is in the compiled tree under its key path: a scalar of
// the same value, or a block of its kind. Holds trivially when a key path is
// repeated (the tree keeps one definition) or does not read back as the
// components it was built from (a name holding "\"]").
bool compiledAgrees(const TeskPf &pf, Pf *compiled) {
    std::unordered_set<std::string> seen;
    for (const Table<std::string> &e : pf.getList()) {
        const std::string &key = e[FIELD_KEY];
        if (key.empty() || key == fuzz::revision_key) continue;
        if (!seen.insert(key).second || componentCount(key) != std::stoi(e[FIELD_LEVEL]) + 1) return true;
    }
    for (const Table<std::string> &e : pf.getList()) {
        const std::string &key = e[FIELD_KEY];
        if (key.empty() || key == fuzz::revision_key) continue;
        const Pf *node = pfget(compiled, key.c_str());
        if (!node) return false;
        const std::string &value = e[FIELD_VALUE];
        if (value == "&Arr" || value == "&Tbl") {
            if (node->type != (value == "&Arr" ? PF_ARR : PF_TBL)) return false;
        } else if (node->type != PF_STRING || value != node->value.s) {
            return false;
        }
    }
    return true;
}

[[noreturn]] void fail(const char *what, const std::string &text) {
    std::fprintf(stderr, "fuzz_roundtrip: %s; the written text:\n%s", what, text.c_str());
    std::abort();
}

}  // namespace

extern "C" int LLVMFuzzerInitialize(int *, char ***) {
    pf_set_clock_for_testing(fixedClock);
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
    std::optional<fuzz::LoadedPf> first = fuzz::loadPf("first", data, size);
    if (!first || fuzz::hasLossyEntry(first->getList())) return 0;
    const std::string text = first->getPfString();

    std::optional<fuzz::LoadedPf> second =
        fuzz::loadPf("second", reinterpret_cast<const uint8_t *>(text.data()), text.size());
    if (!second) fail("it does not load", text);
    if (contentOf(*second) != contentOf(*first)) fail("it reads back into other entries", text);
    if (second->getPfString() != text) fail("it is written differently the second time", text);

    Pf *compiled = nullptr;
    try {
        second->getPf(&compiled);
    } catch (const std::string &message) {
        fail(message.c_str(), text);
    }
    const bool agrees = compiledAgrees(*second, compiled);
    pffree(compiled);
    if (!agrees) fail("its compiled tree differs from the entries", text);
    return 0;
}
