// Reads a value with its verdict and constraint types, changes it and writes
// the result to another file.  Usage: example-read-edit-write station.pf OUT
#include <cstdio>
#include <string>

#include "TeskPf.h"

int main(int argc, char **argv) {
    if (argc != 3) {
        std::fprintf(stderr, "usage: %s station.pf OUT\n", argv[0]);
        return 2;
    }
    try {
        TeskPf pf(argv[1], 0);
        const std::string key = "[\"digitizer\"][\"sample_rate\"]";
        bool ok = false;
        Table<int> types;  // one code per annotation: CONSTRAINT_FLOAT here
        std::string rate = pf.getValue(key, &ok, &types);
        std::printf("%s = %s (%s, %zu annotation(s), first type code %d)\n", key.c_str(), rate.c_str(),
                    ok ? "valid" : "invalid", types.size(), types.get(0));

        std::string proposal = "fast";  // checked without being stored
        if (pf.checkValue(key, &proposal, nullptr)) return 1;
        pf.setValue(key, "200", 0);

        std::string out = argv[2];
        pf.write(out);  // atomic; ".pf" is appended when missing
        TeskPf back(out, 0);
        std::printf("wrote %s: %s = %s\n", out.c_str(), key.c_str(), back.getValue(key, nullptr, nullptr).c_str());
        return back.getValue(key, nullptr, nullptr) == "200" ? 0 : 1;
    } catch (const std::string &error) {  // the library reports errors as text
        std::fprintf(stderr, "%s\n", error.c_str());
        return 2;
    }
}
