// Differential fuzzing: random files on a random search path of up to three
// directories, read by the classic handle and the document and by the
// reference model of tests/support/; any answer that differs aborts.
#include <cstdlib>
#include <filesystem>
#include <string>
#include <vector>

#include "differential.h"
#include "pf_input_file.h"

namespace {

std::vector<std::filesystem::path> &searchDirs() {
    static std::vector<std::filesystem::path> dirs;
    return dirs;
}

}  // namespace

extern "C" int LLVMFuzzerInitialize(int *, char ***) {
    // The search path of this process: one directory per layer, in order.
    static const fuzz::ScratchDir scratch;
    std::string path;
    for (size_t i = 0; i < differential::kMaxLayers; ++i) {
        std::filesystem::path dir = scratch.path() / ("layer" + std::to_string(i));
        std::filesystem::create_directories(dir);
        searchDirs().push_back(dir);
        path += (i ? ":" : "") + dir.string();
    }
    setenv("PFPATH", path.c_str(), 1);
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
    std::vector<std::string> layers = differential::decodeLayers(data, size);
    if (layers.empty()) return 0;
    const std::vector<std::string> files = differential::writeLayers(searchDirs(), layers);
    std::string difference = differential::compare(differential::kFileName, files);
    if (!difference.empty()) {
        std::fprintf(stderr, "fuzz_differential: %s\n", difference.c_str());
        std::abort();
    }
    return 0;
}
