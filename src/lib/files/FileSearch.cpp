#include "files/FileSearch.h"

#include <sys/stat.h>
#include <unistd.h>
#include <cerrno>
#include <memory>

#include <teskpf/error.h>
#include <teskpf/search.h>

#include "files/FileKind.h"
#include "pf_files.h"
#include "pf_tbl.h"

namespace teskpf {

namespace {

bool isReadableFile(const std::string &path) {
    struct stat info;
    return stat(path.c_str(), &info) == 0 && S_ISREG(info.st_mode) && access(path.c_str(), R_OK) == 0;
}

}  // namespace

std::vector<std::string> findParameterFiles(const std::string &name, bool *itself) {
    std::unique_ptr<Tbl, void (*)(Tbl *)> list(pffiles(name.c_str(), 0), [](Tbl *found) { freetbl(found, nullptr); });
    std::vector<std::string> files;
    for (long i = 0; i < cnttbl(list.get()); ++i) files.emplace_back(static_cast<const char *>(gettbl(list.get(), i)));
    if (files.empty() && isReadableFile(name)) {
        files.push_back(name);
        if (itself) *itself = true;
    }
    return files;
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
