// teskpf-generate LINES FILE: writes a benchmark parameter file of LINES lines.
#include <cstdio>
#include <cstdlib>
#include <exception>

#include "generate_pf.h"

int main(int argc, char **argv) {
    char *end = nullptr;
    unsigned long long lines = argc == 3 ? std::strtoull(argv[1], &end, 10) : 0;
    if (argc != 3 || *end != '\0' || lines == 0) {
        std::fprintf(stderr, "usage: %s LINES FILE\n", argv[0]);
        return 2;
    }
    try {
        teskpf_bench::writeTextFile(argv[2], teskpf_bench::toPfText(teskpf_bench::generateDocument(lines)));
    } catch (const std::exception &error) {
        std::fprintf(stderr, "%s: %s\n", argv[0], error.what());
        return 1;
    }
    return 0;
}
