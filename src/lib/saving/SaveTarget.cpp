#include "saving/SaveTarget.h"

#include <fcntl.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <utility>
#include <vector>

#include "files/FileKind.h"
#include "saving/SaveError.h"

namespace teskpf {

namespace {

// As many links as the kernel follows in one path.
constexpr int kMaxLinkHops = 40;

// A name still to walk through; `link` names the symbolic link whose text
// ended with it ("" for the names of the path itself).
struct PendingName {
    std::string name;
    std::string link;
};

// Pushes the names of `path` on `pending` so that the first one is popped
// first. A trailing "/" asks for a directory, so "." stands for it.
void pushNames(const std::string &path, const std::string &link, std::vector<PendingName> &pending) {
    std::string endsLink = link;  // given to the last name only
    if (!path.empty() && path.back() == '/') pending.push_back({".", std::move(endsLink)});
    for (size_t end = path.size(); end > 0;) {
        size_t slash = path.rfind('/', end - 1);
        size_t begin = slash == std::string::npos ? 0 : slash + 1;
        if (begin < end) pending.push_back({path.substr(begin, end - begin), std::exchange(endsLink, {})});
        if (slash == std::string::npos) break;
        end = slash;
    }
}

UniqueFd openDirectory(int dir, const char *name, const std::string &path) {
    UniqueFd opened(openat(dir, name, O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC));
    if (!opened.valid()) throwSaveError(path, errno);
    return opened;
}

// The rule of the kernel's protected_symlinks: in a sticky world-writable
// directory, where anyone may plant a link, follow only links owned by the
// directory's owner or by the one saving.
bool mayFollow(int dir, const struct stat &link) {
    struct stat info;
    if (fstat(dir, &info) != 0) return false;
    bool shared = (info.st_mode & S_ISVTX) && (info.st_mode & S_IWOTH);
    return !shared || link.st_uid == info.st_uid || link.st_uid == geteuid();
}

std::string readLink(int dir, const std::string &name, const struct stat &link, const std::string &path) {
    std::string text(static_cast<size_t>(link.st_size > 0 ? link.st_size : 255) + 1, '\0');
    for (;;) {
        ssize_t got = readlinkat(dir, name.c_str(), text.data(), text.size());
        if (got < 0) throwSaveError(path, errno);
        if (static_cast<size_t>(got) < text.size()) {
            text.resize(static_cast<size_t>(got));
            return text;
        }
        text.resize(text.size() * 2);  // the link changed since lstat
    }
}

// Refuses a file whose replacement would lose something or that the user
// should not write: not regular, read-only, or with other names.
void checkReplaceable(const SaveTarget &target, const std::string &shown, const std::string &path) {
    const std::string it = shown == path ? "it" : "'" + shown + "'";
    const mode_t mode = target.info.st_mode;
    if (S_ISDIR(mode)) throwSaveError(path, it + " is a directory", EISDIR);
    if (!S_ISREG(mode)) throwSaveError(path, it + " is " + fileKind(mode) + ", not a regular file", EINVAL);
    // Root may write anything, so a file without any write bit counts as
    // read-only for root too.
    bool writable = (mode & 0222) != 0;
    if (writable && faccessat(target.dir.get(), target.name.c_str(), W_OK, AT_EACCESS | AT_SYMLINK_NOFOLLOW) != 0) {
        if (errno != EACCES) throwSaveError(path, errno);
        writable = false;
    }
    if (!writable) {
        char octal[8];
        std::snprintf(octal, sizeof octal, "%04o", static_cast<unsigned>(mode & 07777));
        throwSaveError(path, it + " is read-only (mode " + octal + ")", EACCES);
    }
    if (target.info.st_nlink > 1)
        throwSaveError(path,
                       it + " has " + std::to_string(target.info.st_nlink) +
                           " hard links; saving would give this name a new file and split it from the others",
                       EMLINK);
}

// Opens the regular file found at the end of the walk and checks it.
void openExisting(SaveTarget &target, const std::string &shown, const std::string &path) {
    struct stat info;
    if (fstatat(target.dir.get(), target.name.c_str(), &info, AT_SYMLINK_NOFOLLOW) != 0) throwSaveError(path, errno);
    target.info = info;
    if (S_ISREG(info.st_mode)) {
        // O_NONBLOCK and O_NOFOLLOW: should the name change into a FIFO or a
        // link meanwhile, this neither waits nor follows; fstat tells.
        target.file = UniqueFd(
            openat(target.dir.get(), target.name.c_str(), O_RDONLY | O_NONBLOCK | O_NOFOLLOW | O_NOCTTY | O_CLOEXEC));
        if (!target.file.valid() || fstat(target.file.get(), &target.info) != 0) throwSaveError(path, errno);
    }
    target.exists = true;
    checkReplaceable(target, shown, path);
}

}  // namespace

SaveTarget findSaveTarget(const std::string &path) {
    if (path.empty()) throwSaveError(path, ENOENT);
    SaveTarget target;
    target.dir = openDirectory(AT_FDCWD, path[0] == '/' ? "/" : ".", path);
    std::string walked = path[0] == '/' ? "/" : "";  // the path as followed so far, for messages
    std::vector<PendingName> pending;
    pushNames(path, "", pending);
    int hops = 0;
    while (!pending.empty()) {
        PendingName next = std::move(pending.back());
        pending.pop_back();
        const bool last = pending.empty();
        // The name as the user would write it, for messages.
        const std::string shown = next.name != "." ? walked + next.name : walked.empty() ? "." : walked;
        struct stat info;
        if (fstatat(target.dir.get(), next.name.c_str(), &info, AT_SYMLINK_NOFOLLOW) != 0) {
            if (errno != ENOENT || !last) throwSaveError(path, errno);
            if (!next.link.empty())
                throwSaveError(path,
                               "the symbolic link '" + next.link + "' points to '" + shown + "', which does not exist",
                               ENOENT);
            target.name = next.name;  // a new file
            return target;
        }
        if (S_ISLNK(info.st_mode)) {
            if (++hops > kMaxLinkHops) throwSaveError(path, ELOOP);
            if (!mayFollow(target.dir.get(), info))
                throwSaveError(path,
                               "not following the symbolic link '" + shown +
                                   "': it is in a sticky world-writable directory and belongs to "
                                   "neither the directory's owner nor you",
                               EACCES);
            const std::string text = readLink(target.dir.get(), next.name, info, path);
            if (text.empty()) throwSaveError(path, ENOENT);
            if (text[0] == '/') {
                target.dir = openDirectory(AT_FDCWD, "/", path);
                walked = "/";
            }
            pushNames(text, shown, pending);
        } else if (!last) {
            target.dir = openDirectory(target.dir.get(), next.name.c_str(), path);
            walked = shown + "/";
        } else {
            target.name = next.name;
            openExisting(target, shown, path);
        }
    }
    return target;
}

bool stillNamesSameFile(const SaveTarget &target) {
    struct stat now;
    if (fstatat(target.dir.get(), target.name.c_str(), &now, AT_SYMLINK_NOFOLLOW) != 0)
        return !target.exists && errno == ENOENT;
    return target.exists && now.st_dev == target.info.st_dev && now.st_ino == target.info.st_ino;
}

bool stillNamesFile(const SaveTarget &target, const FileIdentity &expected) {
    struct stat now;
    return fstatat(target.dir.get(), target.name.c_str(), &now, AT_SYMLINK_NOFOLLOW) == 0 &&
           identityOf(now) == expected;
}

}  // namespace teskpf
