// Helpers shared by the tests: throw-away directories and environment
// variables that are put back when the test ends.
#pragma once

#include <stdlib.h>

#include <filesystem>
#include <fstream>
#include <optional>
#include <stdexcept>
#include <string>

namespace test_support {

// A fresh directory under the system's temp directory, removed with
// everything in it when the object goes away.
class TempDir {
public:
    TempDir() {
        std::string pattern = (std::filesystem::temp_directory_path() / "teskpf_test.XXXXXX").string();
        if (!mkdtemp(pattern.data())) throw std::runtime_error("mkdtemp failed for " + pattern);
        dir = pattern;
    }
    ~TempDir() {
        std::error_code ignored;
        std::filesystem::remove_all(dir, ignored);
    }
    TempDir(const TempDir &) = delete;
    TempDir &operator=(const TempDir &) = delete;

    const std::string &path() const { return dir; }

    // Writes path()/name (subdirectories created as needed); returns its path.
    std::string write(const std::string &name, const std::string &content) const {
        std::filesystem::path file = std::filesystem::path(dir) / name;
        std::filesystem::create_directories(file.parent_path());
        std::ofstream(file, std::ios::binary) << content;
        return file.string();
    }

private:
    std::string dir;
};

// Sets an environment variable until the object goes away, then restores
// the previous value or unsets it.
class ScopedEnv {
public:
    ScopedEnv(std::string name, const std::string &value) : name(std::move(name)) {
        if (const char *old = getenv(this->name.c_str())) previous = old;
        setenv(this->name.c_str(), value.c_str(), 1);
    }
    ~ScopedEnv() { previous ? setenv(name.c_str(), previous->c_str(), 1) : unsetenv(name.c_str()); }
    ScopedEnv(const ScopedEnv &) = delete;
    ScopedEnv &operator=(const ScopedEnv &) = delete;

private:
    std::string name;
    std::optional<std::string> previous;
};

}  // namespace test_support
