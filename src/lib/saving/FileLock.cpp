#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <locale>
#include <sstream>
#include <thread>
#include <utility>

#include "files/ErrorText.h"
#include "files/UniqueFd.h"
#include "teskpf/error.h"
#include "teskpf/save.h"

namespace teskpf {

namespace {

[[noreturn]] void failLock(const std::string &path, const std::string &reason, int error) {
    throw IoError("cannot lock '" + path + "': " + reason, path, std::error_code(error, std::generic_category()));
}

[[noreturn]] void failLock(const std::string &path, int error) { failLock(path, errorText(error), error); }

bool sameFile(const struct stat &a, const struct stat &b) { return a.st_dev == b.st_dev && a.st_ino == b.st_ino; }

// "2", "0.25": seconds as messages show them.
std::string inSeconds(std::chrono::duration<double> duration) {
    std::ostringstream text;
    text.imbue(std::locale::classic());
    text << duration.count();
    return text.str();
}

// Takes the lock on `fd` by non-blocking attempts with pauses in between,
// until it is held, `wait.timeout` has passed since `start` or
// `wait.keep_waiting` says to stop.
void pollForLock(int fd, const std::string &path, const LockWait &wait, std::chrono::steady_clock::time_point start) {
    using namespace std::chrono;
    using Clock = steady_clock;
    constexpr milliseconds kLongestPause(50);
    // Beyond a year the deadline is never reached (and would overflow the clock).
    const bool bounded = wait.timeout && !(wait.timeout->count() > 365.0 * 24 * 3600);
    const Clock::time_point deadline =
        bounded ? start + duration_cast<Clock::duration>(std::max(duration<double>(0), *wait.timeout)) : start;
    Clock::duration pause = milliseconds(1);
    for (;;) {
        if (flock(fd, LOCK_EX | LOCK_NB) == 0) return;
        if (errno != EWOULDBLOCK && errno != EINTR) failLock(path, errno);
        if (wait.keep_waiting && !wait.keep_waiting()) failLock(path, "interrupted", EINTR);
        if (bounded) {
            const Clock::time_point now = Clock::now();
            if (now >= deadline) failLock(path, "timed out after " + inSeconds(*wait.timeout) + " s", ETIMEDOUT);
            pause = std::min(pause, deadline - now);
        }
        std::this_thread::sleep_for(pause);
        pause = std::min<Clock::duration>(pause * 2, kLongestPause);
    }
}

}  // namespace

FileLock::FileLock(const std::string &path) : FileLock(path, LockWait{}) {}

FileLock::FileLock(const std::string &path, const LockWait &wait) : fd_(-1) {
    const bool polls = wait.timeout || wait.keep_waiting;
    const auto start = std::chrono::steady_clock::now();
    for (;;) {
        // O_NONBLOCK: a FIFO must not make this wait for a writer.
        UniqueFd file(::open(path.c_str(), O_RDONLY | O_NONBLOCK | O_NOCTTY | O_CLOEXEC));
        struct stat locked, named;
        if (!file.valid() || fstat(file.get(), &locked) != 0) failLock(path, errno);
        if (!S_ISREG(locked.st_mode)) failLock(path, "not a regular file", S_ISDIR(locked.st_mode) ? EISDIR : EINVAL);
        if (polls)
            pollForLock(file.get(), path, wait, start);
        else
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
