#include "saving/FileAttributes.h"

#include <sys/xattr.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <set>
#include <vector>

#include "saving/SaveError.h"

namespace teskpf {

namespace {

// Runs `read(buffer, size)` (an flistxattr or fgetxattr call) into `out`,
// growing the buffer while the value grows under us; answers the errno
// value, 0 on success.
template <typename Read>
int readGrowing(std::string &out, Read read) {
    for (;;) {
        ssize_t size = read(nullptr, 0);
        if (size < 0) return errno;
        out.resize(static_cast<size_t>(size));
        if (size == 0) return 0;
        ssize_t got = read(out.data(), out.size());
        if (got >= 0) {
            out.resize(static_cast<size_t>(got));
            return 0;
        }
        if (errno != ERANGE) return errno;
    }
}

// The names of the extended attributes of `fd`; none on a file system
// without them.
std::vector<std::string> attributeNames(int fd, const std::string &path) {
    std::string list;
    int error = readGrowing(list, [fd](char *buffer, size_t size) { return flistxattr(fd, buffer, size); });
    if (error == ENOTSUP) return {};
    if (error != 0) throwSaveError(path, "cannot list its extended attributes: " + errorText(error), error);
    std::vector<std::string> names;
    for (size_t begin = 0; begin < list.size();) {
        size_t end = list.find('\0', begin);
        if (end == std::string::npos) end = list.size();
        names.push_back(list.substr(begin, end - begin));
        begin = end + 1;
    }
    return names;
}

// The value of attribute `name` of `fd`; answers the errno value, 0 on success.
int attributeValue(int fd, const std::string &name, std::string &value) {
    return readGrowing(value,
                       [fd, &name](char *buffer, size_t size) { return fgetxattr(fd, name.c_str(), buffer, size); });
}

[[noreturn]] void failAttribute(const std::string &path, const std::string &name, int error) {
    throwSaveError(path, "cannot keep its extended attribute '" + name + "': " + errorText(error), error);
}

// Makes the extended attributes of `to` those of `from`. A new file may
// start with some of its own (an ACL inherited from the directory's default
// ACL, a security label): equal ones are left alone, others removed.
void copyAttributes(int from, int to, const std::string &path) {
    const std::vector<std::string> names = attributeNames(from, path);
    std::string value, present;
    for (const std::string &name : names) {
        int error = attributeValue(from, name, value);
        if (error == ENODATA) continue;  // removed since it was listed
        if (error != 0) failAttribute(path, name, error);
        if (attributeValue(to, name, present) == 0 && present == value) continue;
        if (fsetxattr(to, name.c_str(), value.data(), value.size(), 0) != 0) failAttribute(path, name, errno);
    }
    const std::set<std::string> wanted(names.begin(), names.end());
    for (const std::string &name : attributeNames(to, path))
        if (!wanted.count(name) && fremovexattr(to, name.c_str()) != 0 && errno != ENODATA)
            failAttribute(path, name, errno);
}

}  // namespace

void copyFileAttributes(int from, const struct stat &info, int to, const std::string &path) {
    // The owner first: changing it clears the setuid and setgid bits and
    // file capabilities, which the attributes and the mode then put back.
    struct stat current;
    if (fstat(to, &current) != 0) throwSaveError(path, errno);
    if ((current.st_uid != info.st_uid || current.st_gid != info.st_gid) && fchown(to, info.st_uid, info.st_gid) != 0) {
        int error = errno;
        throwSaveError(path,
                       "its owner and group (" + std::to_string(info.st_uid) + ":" + std::to_string(info.st_gid) +
                           ") cannot be kept: " + errorText(error),
                       error);
    }
    copyAttributes(from, to, path);
    if (fchmod(to, info.st_mode & 07777) != 0) throwSaveError(path, errno);
}

}  // namespace teskpf
