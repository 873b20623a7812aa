// The library reads parameter files, not memory: each fuzz input is written to
// a file in a private scratch directory and loaded from there.
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <optional>
#include <string>

#include "TeskPf.h"

namespace fuzz {

// A directory in memory (/dev/shm) where there is one, else under the temp
// directory, removed when the process exits. Rewriting a file on disk for every
// input would make the file system, not the library, set the pace.
class ScratchDir {
public:
    ScratchDir() {
        std::error_code no_shm;
        std::filesystem::path parent = std::filesystem::is_directory("/dev/shm", no_shm)
                                           ? std::filesystem::path("/dev/shm")
                                           : std::filesystem::temp_directory_path();
        std::string pattern = (parent / "teskpf-fuzz.XXXXXX").string();
        if (!mkdtemp(pattern.data())) std::abort();
        dir = pattern;
    }
    ~ScratchDir() {
        std::error_code ignored;
        std::filesystem::remove_all(dir, ignored);
    }
    const std::filesystem::path &path() const { return dir; }

private:
    std::filesystem::path dir;
};

// Writes `size` bytes to SCRATCH/NAME.pf and returns that path.
inline std::string writePfFile(const char *name, const uint8_t *data, size_t size) {
    static const ScratchDir scratch;
    std::string path = (scratch.path() / (std::string(name) + ".pf")).string();
    std::ofstream(path, std::ios::binary | std::ios::trunc)
        .write(reinterpret_cast<const char *>(data), static_cast<std::streamsize>(size));
    return path;
}

// TeskPf's destructor is not virtual; a final class tells the compiler that no
// further-derived object is destroyed through it.
struct LoadedPf final : TeskPf {
    using TeskPf::TeskPf;
};

// Whether `message` is one of the errors a file's content may cause: a line
// without a key, or key paths beyond their budget.
inline bool documentedLoadError(const std::string &message) {
    auto endsWith = [&](const std::string &tail) {
        return message.size() >= tail.size() && message.compare(message.size() - tail.size(), tail.size(), tail) == 0;
    };
    return (message.rfind("Cannot parse line '", 0) == 0 && endsWith("' in pf string - Arr must have a key")) ||
           (message.find(": key paths exceed ") != std::string::npos &&
            endsWith(" bytes; blocks are nested too deeply"));
}

// A handle on the bytes, or nothing when loading throws. A rejected file is a
// valid outcome, as long as the error is a documented one.
inline std::optional<LoadedPf> loadPf(const char *name, const uint8_t *data, size_t size) {
    std::string path = writePfFile(name, data, size);
    try {
        return std::optional<LoadedPf>(std::in_place, path, 0);
    } catch (const std::string &message) {
        if (!documentedLoadError(message)) {
            std::fprintf(stderr, "undocumented load error: %s\n", message.c_str());
            std::abort();
        }
        return std::nullopt;
    }
}

}  // namespace fuzz
