// Saving a file safely, and locking it for a read-modify-write.
#pragma once

#include <chrono>
#include <functional>
#include <optional>
#include <string>
#include <string_view>

#include <teskpf/export.h>

namespace teskpf {

// Replaces the content of `path` atomically: writes a hidden temporary file
// next to the target, gives it the target's owner, group, extended attributes
// (ACLs included) and mode, flushes it to disk, renames it over the target and
// flushes the directory. A symbolic link is followed (except one another user
// could have planted in a sticky world-writable directory); a new file gets
// what open(path, 0666) would give it. Refuses a target that is read-only, not
// a regular file, has several hard links, is a dangling link, or whose owner
// and group the new file cannot keep. On any failure nothing changes and no
// temporary file is left; throws IoError "cannot write 'PATH': REASON".
TESKPF_API void saveFile(const std::string &path, std::string_view content);

// Removes the temporary files that saves are writing at this moment. Async-
// signal-safe: meant for a SIGINT/SIGTERM/SIGHUP handler of the application
// (the library installs none). A save interrupted this way fails afterwards
// if it goes on. Never fails.
TESKPF_API void removeTempFilesOnSignal() noexcept;

// How FileLock waits while another holder has the lock.
struct LockWait {
    // The longest wait, in seconds (any std::chrono duration converts); none
    // waits until the lock is held, zero (or less) tries once. When it
    // passes, FileLock throws IoError "cannot lock 'PATH': timed out after
    // N s" (errno ETIMEDOUT).
    std::optional<std::chrono::duration<double>> timeout;
    // Asked between attempts, at most 50 ms apart, on the waiting thread;
    // false ends the wait with IoError "cannot lock 'PATH': interrupted"
    // (errno EINTR), and what it throws passes through. This lets a caller
    // end a wait on a signal or a request to stop without the library
    // installing signal handlers.
    std::function<bool()> keep_waiting;
};

// An advisory exclusive lock (flock) on one file, for read-modify-write: hold
// it from before reading until after saveFile. Every process that edits the
// file must take it. Because a save replaces the file, the lock re-checks
// after acquiring that `path` still names the locked file and, if not, locks
// the new one instead. Released when the object goes away.
class TESKPF_API FileLock {
public:
    // Blocks until the lock is held; throws IoError when `path` cannot be
    // opened for reading or is not a regular file.
    explicit FileLock(const std::string &path);
    // Waits as `wait` says: with a timeout or a keep_waiting check the lock
    // is polled (a non-blocking attempt, then a pause growing from 1 ms to
    // 50 ms), else this blocks as above.
    FileLock(const std::string &path, const LockWait &wait);
    ~FileLock();
    FileLock(FileLock &&other) noexcept;
    // Releases the lock held, then takes over `other`'s.
    FileLock &operator=(FileLock &&other) noexcept;
    FileLock(const FileLock &) = delete;
    FileLock &operator=(const FileLock &) = delete;

private:
    int fd_;  // the locked open file; -1 once moved from
};

}  // namespace teskpf
