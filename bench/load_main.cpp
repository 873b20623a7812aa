// teskpf-load FILE: loads FILE into a handle once and prints its entry count.
// A small driver for profilers: the load is all it runs.
#include <cstdio>
#include <string>

#include "TeskPf.h"

int main(int argc, char **argv) {
    if (argc != 2) {
        std::fprintf(stderr, "usage: %s FILE\n", argv[0]);
        return 2;
    }
    try {
        TeskPf pf(argv[1], 0);
        std::printf("%d entries\n", pf.size());
    } catch (const std::string &error) {
        std::fprintf(stderr, "%s: %s\n", argv[0], error.c_str());
        return 1;
    }
    return 0;
}
