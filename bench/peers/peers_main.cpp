// teskpf-peers DIR [LINES...]: loads the files written by teskpf-peer-files
// with every library, round-robin over the libraries for several rounds, and
// prints a Markdown table per size: median CPU time of a load, MB/s of each
// library's own file, MB/s relative to TeskPf and the heap a loaded document
// holds, in all and per line of content.
#include <malloc.h>
#include <time.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <exception>
#include <filesystem>
#include <string>
#include <vector>

#include "generate_pf.h"
#include "libraries.h"
#include "peer_formats.h"

namespace {

using teskpf_bench::libraries;
using teskpf_bench::Library;

// A library slower than this per load at some size is loaded once there.
constexpr double kSlowLoadSeconds = 10;

struct Result {
    double file_bytes = 0;
    double seconds = 0;     // median CPU time of one load
    double heap_bytes = 0;  // heap held by the loaded document
    size_t rounds = 0;
};

// Process CPU time. The machine may be shared and a load is single-threaded
// work on a file in the page cache, so CPU time is what a load costs, free of
// the time other processes hold the cores.
double cpuSeconds() {
    timespec now{};
    clock_gettime(CLOCK_PROCESS_CPUTIME_ID, &now);
    return static_cast<double>(now.tv_sec) + static_cast<double>(now.tv_nsec) * 1e-9;
}

size_t heapInUse() {
    struct mallinfo2 info = mallinfo2();
    return info.uordblks + info.hblkhd;  // small chunks plus mmap()ed large ones
}

// Loads the file `repeats` times; gives the average time of a load, and in
// `heap_bytes` the heap a loaded document holds. Neither the heap readings
// nor the destruction of the document is timed.
double timeLoads(const Library &library, const std::string &path, size_t repeats, double &heap_bytes) {
    teskpf_bench::readTextFile(path);
    double total = 0;
    for (size_t i = 0; i < repeats; ++i) {
        const size_t heap_before = heapInUse();
        const double start = cpuSeconds();
        auto document = library.load(path);
        total += cpuSeconds() - start;
        heap_bytes = static_cast<double>(heapInUse()) - static_cast<double>(heap_before);
    }
    return total / static_cast<double>(repeats);
}

double median(std::vector<double> values) {
    std::sort(values.begin(), values.end());
    size_t middle = values.size() / 2;
    return values.size() % 2 ? values[middle] : (values[middle - 1] + values[middle]) / 2;
}

std::vector<Result> measure(const std::string &dir, size_t lines) {
    const std::vector<Library> &all = libraries();
    std::vector<Result> results(all.size());
    std::vector<std::string> paths;
    for (size_t i = 0; i < all.size(); ++i) {
        paths.push_back(teskpf_bench::contentPath(dir, lines, all[i].extension));
        results[i].file_bytes = static_cast<double>(std::filesystem::file_size(paths[i]));
    }
    // Small files are loaded several times per measurement to rise above the
    // clock's resolution; the largest get fewer rounds to keep the run short.
    const size_t repeats = std::max<size_t>(1, 200000 / lines);
    const size_t rounds = lines >= 1000000 ? 3 : 5;
    std::vector<std::vector<double>> times(all.size());
    for (size_t round = 0; round < rounds; ++round) {
        for (size_t turn = 0; turn < all.size(); ++turn) {
            const size_t i = (turn + round) % all.size();  // rotate who goes first
            if (round > 0 && times[i].front() > kSlowLoadSeconds) continue;
            times[i].push_back(timeLoads(all[i], paths[i], repeats, results[i].heap_bytes));
        }
    }
    for (size_t i = 0; i < all.size(); ++i) {
        results[i].seconds = median(times[i]);
        results[i].rounds = times[i].size();
    }
    return results;
}

void printTable(size_t lines, const std::vector<Result> &results) {
    const std::vector<Library> &all = libraries();
    size_t reference = 0;
    while (all[reference].name != "TeskPf") ++reference;
    const double reference_rate = results[reference].file_bytes / results[reference].seconds;
    std::printf("\n#### %zu lines\n\n", lines);
    std::printf("| Library | File (MB) | Load (ms CPU) | MB/s | MB/s vs TeskPf | Heap (MiB) | Heap per line (B) |\n");
    std::printf("|---|---:|---:|---:|---:|---:|---:|\n");
    for (size_t i = 0; i < all.size(); ++i) {
        const Result &result = results[i];
        const double rate = result.file_bytes / result.seconds;
        const std::string note = result.rounds == 1 ? " (loaded once: slow)" : "";
        std::printf("| %s%s | %.3f | %.3f | %.1f | %.2f× | %.3f | %.0f |\n", all[i].name.c_str(), note.c_str(),
                    result.file_bytes / 1e6, result.seconds * 1e3, rate / 1e6, rate / reference_rate,
                    result.heap_bytes / (1024.0 * 1024.0), result.heap_bytes / static_cast<double>(lines));
    }
    std::fflush(stdout);
}

}  // namespace

int main(int argc, char **argv) {
    if (argc < 2) {
        std::fprintf(stderr, "usage: %s DIR [LINES...]\n", argv[0]);
        return 2;
    }
    std::vector<size_t> sizes;
    for (int i = 2; i < argc; ++i) sizes.push_back(std::strtoull(argv[i], nullptr, 10));
    if (sizes.empty()) sizes = {50, 500, 100000};
    try {
        for (size_t lines : sizes) printTable(lines, measure(argv[1], lines));
    } catch (const std::exception &error) {
        std::fprintf(stderr, "%s: %s\n", argv[0], error.what());
        return 1;
    }
    return 0;
}
