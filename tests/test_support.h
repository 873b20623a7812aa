// Helpers shared by the tests: throw-away directories; environment, working
// directory and clock put back when the test ends; file contents, thrown
// messages and entry records as text.
#pragma once

#include <pwd.h>
#include <stdlib.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <filesystem>
#include <fstream>
#include <functional>
#include <iterator>
#include <optional>
#include <sstream>
#include <stdexcept>
#include <string>
#include <vector>

#include "TeskPf.h"
#include "pf_clock.h"

namespace test_support {

namespace fs = std::filesystem;
using Rows = std::vector<std::string>;

// Limits this process's address space (meant for a forked child) to `bytes`;
// false when that fails. AddressSanitizer reserves terabytes of address
// space, so under it no limit can apply and none is set.
inline bool limitAddressSpace(rlim_t bytes) {
#if defined(__SANITIZE_ADDRESS__)
    (void)bytes;
    return true;
#elif defined(__has_feature)
#if __has_feature(address_sanitizer)
    (void)bytes;
    return true;
#endif
#endif
    const rlimit limit{bytes, bytes};
    return setrlimit(RLIMIT_AS, &limit) == 0;
}

// A fresh directory under the system's temp directory, removed with
// everything in it when the object goes away.
class TempDir {
public:
    TempDir() {
        std::string pattern = (fs::temp_directory_path() / "teskpf_test.XXXXXX").string();
        if (!mkdtemp(pattern.data())) throw std::runtime_error("mkdtemp failed for " + pattern);
        dir = pattern;
    }
    ~TempDir() { fs::remove_all(dir, ignored); }
    const std::string &path() const { return dir; }

    // Writes path()/name (subdirectories created as needed); returns its path.
    std::string write(const std::string &name, const std::string &content) const {
        fs::path file = fs::path(dir) / name;
        fs::create_directories(file.parent_path());
        std::ofstream(file, std::ios::binary) << content;
        return file.string();
    }

private:
    std::string dir;
    std::error_code ignored;  // a directory that cannot be removed is left behind
};

// Sets an environment variable (unsets it for nullptr) until the object goes
// away, then restores the previous value or unsets it.
struct ScopedEnv {
    ScopedEnv(std::string variable, const char *value) : name(std::move(variable)) {
        if (const char *old = getenv(name.c_str())) previous = old;
        value ? setenv(name.c_str(), value, 1) : unsetenv(name.c_str());
    }
    ScopedEnv(std::string variable, const std::string &value) : ScopedEnv(std::move(variable), value.c_str()) {}
    ~ScopedEnv() { previous ? setenv(name.c_str(), previous->c_str(), 1) : unsetenv(name.c_str()); }
    const std::string name;
    std::optional<std::string> previous;
};

// Makes `dir` the working directory until the object goes away.
struct ScopedCwd {
    explicit ScopedCwd(const std::string &dir) { fs::current_path(dir); }
    ~ScopedCwd() { fs::current_path(previous); }
    const fs::path previous = fs::current_path();
};

// Pins the platform clock to `seconds` (which may change meanwhile) until the
// object goes away.
struct PinnedClock {
    explicit PinnedClock(double at) {
        seconds = at;
        pf_set_clock_for_testing([] { return seconds; });
    }
    ~PinnedClock() { pf_set_clock_for_testing(nullptr); }
    static inline double seconds = 0;
};

inline std::string readText(const std::string &path) {
    std::ifstream in(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>()};
}

// Whether `check` holds for an unprivileged user: run as is, or, as root
// (whom permissions do not bind), in a child process that has become
// "nobody". False when root has no "nobody" to become.
inline bool holdsUnprivileged(const std::function<bool()> &check) {
    if (geteuid() != 0) return check();
    const passwd *nobody = getpwnam("nobody");
    if (!nobody) return false;
    const pid_t child = fork();
    if (child < 0) return false;
    if (child == 0) _exit(setgid(nobody->pw_gid) == 0 && setuid(nobody->pw_uid) == 0 && check() ? 0 : 1);
    int status = 0;
    return waitpid(child, &status, 0) == child && WIFEXITED(status) && WEXITSTATUS(status) == 0;
}

// The lines of `text`, without their line ends.
inline std::vector<std::string> lines(const std::string &text) {
    std::vector<std::string> out;
    std::istringstream in(text);
    for (std::string line; std::getline(in, line);) out.push_back(line);
    return out;
}

// The message `action` throws as a std::string; "" when it throws nothing.
inline std::string thrown(const std::function<void()> &action) {
    try {
        action();
    } catch (const std::string &message) {
        return message;
    }
    return "";
}

// An entry record as one text, its fields joined by "|"; `from` skips fields.
inline std::string row(const Table<std::string> &entry, size_t from = 0) {
    std::string out;
    for (size_t i = from; i < entry.size(); ++i) out += (i > from ? "|" : "") + entry[i];
    return out;
}

inline Rows rows(const Table<Table<std::string>> &list, size_t from = 0) {
    Rows out;
    for (const auto &entry : list) out.push_back(row(entry, from));
    return out;
}

}  // namespace test_support
