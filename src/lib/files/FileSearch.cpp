#include "files/FileSearch.h"

#include <sys/stat.h>
#include <unistd.h>
#include <cerrno>

#include <teskpf/error.h>
#include <teskpf/search.h>

#include "files/FileKind.h"

namespace teskpf {

std::vector<pf_open_file> openParameterFiles(const std::string &name, bool *itself) {
    std::vector<pf_open_file> files = pf_open_files(name.c_str());
    pf_open_file file;
    if (files.empty() && pf_open_readable(name, file)) {
        files.push_back(std::move(file));
        if (itself) *itself = true;
    }
    return files;
}

std::vector<std::string> findParameterFiles(const std::string &name, bool *itself) {
    std::vector<std::string> paths;
    for (pf_open_file &file : openParameterFiles(name, itself)) paths.push_back(std::move(file.path));
    return paths;
}

std::string notAParameterFile(const std::string &name, const std::string &shown, int &code) {
    struct stat info;
    if (name.empty() || lstat(name.c_str(), &info) != 0) return "";
    if (S_ISLNK(info.st_mode) && stat(name.c_str(), &info) != 0) {
        if (errno != ENOENT) return "";
        std::string target(static_cast<size_t>(info.st_size > 0 ? info.st_size : 255) + 1, '\0');
        const ssize_t got = readlink(name.c_str(), target.data(), target.size());
        target.resize(got > 0 ? static_cast<size_t>(got) : 0);
        code = ENOENT;
        return "'" + shown + "' is a symbolic link to '" + target + "', which does not exist";
    }
    if (S_ISREG(info.st_mode)) return "";
    code = S_ISDIR(info.st_mode) ? EISDIR : EINVAL;
    return "'" + shown + "' is " + fileKind(info.st_mode) + ", not a parameter file";
}

void throwNoParameterFile(std::string_view name, const std::string &missing) {
    int code = ENOENT;
    const std::string reason = notAParameterFile(homeExpanded(name), std::string(name), code);
    throw IoError(reason.empty() ? missing : reason, std::string(name), std::error_code(code, std::generic_category()));
}

}  // namespace teskpf
