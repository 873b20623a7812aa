#include "watching/WatchedFiles.h"

#include <sys/stat.h>

#include <climits>
#include <cstdlib>
#include <memory>

#include "internal/pf_search_path.h"

namespace teskpf {

namespace {

// The directory part of `path`: "." for a bare name, "/" for a file at the root.
std::string directoryOf(const std::string &path) {
    const size_t slash = path.find_last_of('/');
    if (slash == std::string::npos) return ".";
    if (slash == 0) return "/";
    return path.substr(0, slash);
}

bool isDirectory(const std::string &path) {
    struct stat info;
    return stat(path.c_str(), &info) == 0 && S_ISDIR(info.st_mode);
}

// `directory`, or the nearest of its ancestors that exists ("." or "/" at
// the end); "" when not even that exists.
std::string nearestExisting(std::string directory) {
    for (;;) {
        if (isDirectory(directory)) return directory;
        if (directory == "/" || directory == ".") return "";
        directory = directoryOf(directory);
    }
}

}  // namespace

WatchedFiles::WatchedFiles(const std::string &name) {
    candidates_ = pf_candidate_files(name.c_str());
    bool listed = false;
    for (const std::string &candidate : candidates_) listed = listed || candidate == name;
    if (!listed && !name.empty()) candidates_.push_back(name);
    for (const std::string &candidate : candidates_) names_.insert(candidate.substr(candidate.find_last_of('/') + 1));
}

std::vector<std::optional<FileIdentity>> WatchedFiles::identities() const {
    std::vector<std::optional<FileIdentity>> out;
    out.reserve(candidates_.size());
    for (const std::string &candidate : candidates_) {
        struct stat info;
        if (stat(candidate.c_str(), &info) == 0 && S_ISREG(info.st_mode))
            out.emplace_back(identityOf(info));
        else
            out.emplace_back();
    }
    return out;
}

std::vector<std::string> WatchedFiles::directories() const {
    std::vector<std::string> out;
    std::unordered_set<std::string> seen;
    auto add = [&](std::string directory) {
        if (!directory.empty() && seen.insert(directory).second) out.push_back(std::move(directory));
    };
    for (const std::string &candidate : candidates_) {
        add(nearestExisting(directoryOf(candidate)));
        std::unique_ptr<char, void (*)(void *)> real(realpath(candidate.c_str(), nullptr), std::free);
        if (real) add(directoryOf(real.get()));
    }
    return out;
}

}  // namespace teskpf
