#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <utility>

#include "ErrorText.h"
#include "UniqueFd.h"
#include "teskpf/error.h"
#include "teskpf/save.h"

namespace teskpf {

namespace {

[[noreturn]] void failLock(const std::string &path, const std::string &reason, int error) {
    throw IoError("cannot lock '" + path + "': " + reason, path, std::error_code(error, std::generic_category()));
}

[[noreturn]] void failLock(const std::string &path, int error) { failLock(path, errorText(error), error); }

bool sameFile(const struct stat &a, const struct stat &b) { return a.st_dev == b.st_dev && a.st_ino == b.st_ino; }

}  // namespace

FileLock::FileLock(const std::string &path) : fd_(-1) {
    for (;;) {
        // O_NONBLOCK: a FIFO must not make this wait for a writer.
        UniqueFd file(::open(path.c_str(), O_RDONLY | O_NONBLOCK | O_NOCTTY | O_CLOEXEC));
        struct stat locked, named;
        if (!file.valid() || fstat(file.get(), &locked) != 0) failLock(path, errno);
        if (!S_ISREG(locked.st_mode)) failLock(path, "not a regular file", S_ISDIR(locked.st_mode) ? EISDIR : EINVAL);
        while (flock(file.get(), LOCK_EX) != 0)
            if (errno != EINTR) failLock(path, errno);
        // A save may have replaced the file while this waited: the lock then
        // guards the old file, so the new one is locked instead.
        if (stat(path.c_str(), &named) == 0 && sameFile(named, locked)) {
            fd_ = file.release();
            return;
        }
    }
}

FileLock::~FileLock() { UniqueFd closed(fd_); }

FileLock::FileLock(FileLock &&other) noexcept : fd_(std::exchange(other.fd_, -1)) {}

FileLock &FileLock::operator=(FileLock &&other) noexcept {
    if (this != &other) {
        UniqueFd released(fd_);
        fd_ = std::exchange(other.fd_, -1);
    }
    return *this;
}

}  // namespace teskpf
