// teskpf-peer-files LINES DIR: writes the same content of LINES lines in every
// format of the comparison, as DIR/LINES.pf, .ini, .cfg, .yaml, .toml, .info.
#include <cstdio>
#include <cstdlib>
#include <exception>

#include "peer_formats.h"

int main(int argc, char **argv) {
    char *end = nullptr;
    unsigned long long lines = argc == 3 ? std::strtoull(argv[1], &end, 10) : 0;
    if (argc != 3 || *end != '\0' || lines == 0) {
        std::fprintf(stderr, "usage: %s LINES DIR\n", argv[0]);
        return 2;
    }
    try {
        const teskpf_bench::Node root = teskpf_bench::generateDocument(lines);
        for (const teskpf_bench::Format &format : teskpf_bench::formats())
            teskpf_bench::writeTextFile(teskpf_bench::contentPath(argv[2], lines, format.extension),
                                        format.write(root));
    } catch (const std::exception &error) {
        std::fprintf(stderr, "%s: %s\n", argv[0], error.what());
        return 1;
    }
    return 0;
}
