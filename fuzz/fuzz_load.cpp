// Loads arbitrary bytes as a parameter file and runs every query on every
// entry, by index and by key. Besides the sanitizers it checks the answers
// that must agree with one another.
#include <cstdio>
#include <cstdlib>

#include "pf_input_file.h"

namespace {

void check(bool ok, const char *what) {
    if (ok) return;
    std::fprintf(stderr, "fuzz_load: %s\n", what);
    std::abort();
}

void queryByIndex(const TeskPf &pf, int index) {
    Table<std::string> entry = pf.getEntry(index);
    check(entry.size() == 6, "an entry record does not have six fields");
    check(pf.getSource(index) == entry[FIELD_SOURCE], "getSource differs from the record");
    check(pf.getLevel(index) >= 0, "negative level");
    check(pf.getComment(index) == entry[FIELD_COMMENT], "getComment differs from the record");

    bool ok = false;
    Table<int> types;
    std::string value = pf.getValue(index, &ok, &types);
    check(value == entry[FIELD_VALUE], "getValue differs from the record");
    check(pf.checkValue(index, nullptr, nullptr) == ok, "getValue's verdict differs from checkValue");
    check(pf.checkValue(index, &value, &types) == ok, "checking the stored value explicitly differs");
    check(pf.getConstraints(index, &ok) == entry[FIELD_CONSTRAINTS], "getConstraints differs from the record");
    pf.display(index);

    check(TeskPf::unescapeValue(TeskPf::escapeValue(value)) == value, "unescape(escape(v)) != v");
}

void queryByKey(const TeskPf &pf, const std::string &key, int index) {
    int found = pf.getEntryIndex(key);
    check(found >= index, "getEntryIndex found an entry before one holding the key");
    check(pf.getEntry(key) == pf.getEntry(found), "getEntry by key differs from by index");
    check(pf.getSource(key) == pf.getSource(found), "getSource by key differs from by index");
    check(pf.getLevel(key) == pf.getLevel(found), "getLevel by key differs from by index");
    check(pf.getComment(key) == pf.getComment(found), "getComment by key differs from by index");
    bool ok = false;
    Table<int> types;
    check(pf.getValue(key, &ok, &types) == pf.getValue(found, nullptr, nullptr), "getValue by key differs");
    check(pf.checkValue(key, nullptr, &types) == ok, "checkValue by key differs from getValue's verdict");
    pf.getConstraints(key, &ok);
    pf.display(key);

    TeskPf::key2Perl(key);
    TeskPf::key2Table(key);
    TeskPf::key2Pfkey(key);
}

}  // namespace

extern "C" int LLVMFuzzerInitialize(int *, char ***) {
    // display() prints every entry; keep libFuzzer's output readable.
    if (!std::freopen("/dev/null", "w", stdout)) std::abort();
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
    std::optional<fuzz::LoadedPf> pf = fuzz::loadPf("load", data, size);
    if (!pf) return 0;

    check(pf->getList().size() == static_cast<size_t>(pf->size()), "getList and size disagree");
    for (int i = 0; i < pf->size(); ++i) {
        queryByIndex(*pf, i);
        std::string key = pf->getKey(i);
        if (!key.empty()) queryByKey(*pf, key, i);
    }
    check(pf->getEntry(pf->size()).empty() && pf->getLevel(-1) == -1, "an index out of range answered");
    pf->display();

    pf->getPfString();
    Pf *compiled = nullptr;
    try {
        pf->getPf(&compiled);
    } catch (const std::string &) {
        // Text the compiler rejects (e.g. a list member that reads as a closing line).
    }
    pffree(compiled);
    return 0;
}
