#include "AtomicFile.h"

#include <cerrno>
#include <climits>
#include <cstdlib>
#include <cstring>
#include <fcntl.h>
#include <memory>
#include <sys/stat.h>
#include <unistd.h>

namespace teskpf {

namespace {

[[noreturn]] void fail(const std::string &path, int error) {
    throw "TeskPf::write: cannot write '" + path + "': " + std::strerror(error);
}

// The file a write to `path` lands in: the target of a symbolic link.
std::string resolveLinks(const std::string &path) {
    struct stat info;
    if (lstat(path.c_str(), &info) != 0 || !S_ISLNK(info.st_mode)) return path;
    std::unique_ptr<char, decltype(&std::free)> resolved(realpath(path.c_str(), nullptr), &std::free);
    return resolved ? std::string(resolved.get()) : path;
}

std::string directoryOf(const std::string &path) {
    size_t slash = path.rfind('/');
    if (slash == std::string::npos) return ".";
    if (slash == 0) return "/";
    return path.substr(0, slash);
}

mode_t modeFor(const std::string &path) {
    struct stat info;
    if (stat(path.c_str(), &info) == 0) return info.st_mode & 07777;
    mode_t mask = umask(0);
    umask(mask);
    return 0666 & ~mask;
}

bool writeAll(int fd, const std::string &content) {
    const char *data = content.data();
    size_t left = content.size();
    while (left > 0) {
        ssize_t written = ::write(fd, data, left);
        if (written < 0) {
            if (errno == EINTR) continue;
            return false;
        }
        data += written;
        left -= static_cast<size_t>(written);
    }
    return true;
}

}  // namespace

void replaceFileContent(const std::string &path, const std::string &content) {
    const std::string target = resolveLinks(path);
    struct stat info;
    if (stat(target.c_str(), &info) == 0 && S_ISDIR(info.st_mode)) fail(path, EISDIR);

    std::string temp = directoryOf(target) + "/.teskpf-XXXXXX";
    int fd = mkstemp(temp.data());
    if (fd < 0) fail(path, errno);

    int error = 0;
    if (fchmod(fd, modeFor(target)) != 0 || !writeAll(fd, content) || fsync(fd) != 0) error = errno;
    if (close(fd) != 0 && error == 0) error = errno;
    if (error == 0 && rename(temp.c_str(), target.c_str()) != 0) error = errno;
    if (error != 0) {
        unlink(temp.c_str());
        fail(path, error);
    }
}

}  // namespace teskpf
