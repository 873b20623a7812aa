#include "saving/TempFiles.h"

#include <dirent.h>
#include <fcntl.h>
#include <limits.h>
#include <sys/file.h>
#include <sys/random.h>
#include <sys/stat.h>
#include <time.h>
#include <unistd.h>

#include <cerrno>
#include <cstdint>
#include <cstring>
#include <string_view>

#include "files/UniqueFd.h"

namespace teskpf {

namespace {

constexpr char kTempMarker[] = ".teskpf-";
constexpr size_t kRandomLetters = 12;
constexpr char kAlphabet[] = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789";

// Letters for a temporary name from the kernel's random source, else from
// the clock and process id: O_EXCL keeps even a guessable name safe.
std::string randomLetters() {
    unsigned char bytes[kRandomLetters];
    if (getrandom(bytes, sizeof bytes, GRND_NONBLOCK) != static_cast<ssize_t>(sizeof bytes)) {
        timespec now{};
        clock_gettime(CLOCK_MONOTONIC, &now);
        uint64_t state = static_cast<uint64_t>(now.tv_nsec) ^ (static_cast<uint64_t>(now.tv_sec) << 30) ^
                         (static_cast<uint64_t>(getpid()) << 48);
        for (unsigned char &byte : bytes) {
            state = state * 6364136223846793005u + 1442695040888963407u;
            byte = static_cast<unsigned char>(state >> 56);
        }
    }
    std::string letters;
    for (unsigned char byte : bytes) letters += kAlphabet[byte % (sizeof kAlphabet - 1)];
    return letters;
}

// ".TARGET.teskpf-": what every temporary name of `target` starts with.
std::string tempPrefixOf(const std::string &target) {
    const size_t room = NAME_MAX - 1 - (sizeof kTempMarker - 1) - kRandomLetters;
    return "." + target.substr(0, room) + kTempMarker;
}

bool isTempNameWith(std::string_view name, const std::string &prefix) {
    if (name.size() != prefix.size() + kRandomLetters || name.compare(0, prefix.size(), prefix) != 0) return false;
    return name.find_first_not_of(std::string_view(kAlphabet, sizeof kAlphabet - 1), prefix.size()) ==
           std::string_view::npos;
}

bool sameFile(const struct stat &a, const struct stat &b) { return a.st_dev == b.st_dev && a.st_ino == b.st_ino; }

// Removes `name` from `dir` if it is a leftover (see removeStaleTempFiles).
void removeIfStale(int dir, const char *name, uid_t owner) {
    // O_NONBLOCK and O_NOFOLLOW: a FIFO or a link planted under the name
    // neither makes this wait nor leads elsewhere.
    UniqueFd file(openat(dir, name, O_RDONLY | O_NONBLOCK | O_NOFOLLOW | O_NOCTTY | O_CLOEXEC));
    struct stat locked;
    if (!file.valid() || fstat(file.get(), &locked) != 0) return;
    if (!S_ISREG(locked.st_mode) || locked.st_nlink != 1) return;
    if (locked.st_uid != geteuid() && locked.st_uid != owner) return;
    if (flock(file.get(), LOCK_EX | LOCK_NB) != 0) return;  // its writer is alive
    struct stat named;
    if (fstatat(dir, name, &named, AT_SYMLINK_NOFOLLOW) == 0 && sameFile(named, locked)) unlinkat(dir, name, 0);
}

}  // namespace

std::string tempNameFor(const std::string &target) { return tempPrefixOf(target) + randomLetters(); }

void removeStaleTempFiles(int dir, const std::string &target, uid_t owner) {
    const std::string prefix = tempPrefixOf(target);
    // A descriptor of its own: closedir closes it, and reading moves its offset.
    UniqueFd listed(openat(dir, ".", O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    if (!listed.valid()) return;
    DIR *entries = fdopendir(listed.get());
    if (!entries) return;
    listed.release();
    // readdir on a stream no other thread uses is safe alongside them.
    while (const struct dirent *entry = readdir(entries))
        if (isTempNameWith(entry->d_name, prefix)) removeIfStale(dir, entry->d_name, owner);
    closedir(entries);
}

bool lockNewTempFile(int dir, const std::string &name, int file) {
    // A removal of leftovers holds the lock only while it checks and
    // removes: wait for it, then see whether the name is still this file.
    // Where files cannot be locked, no removal can lock this one either.
    while (flock(file, LOCK_EX) != 0)
        if (errno != EINTR) return true;
    struct stat own, named;
    return fstat(file, &own) == 0 && fstatat(dir, name.c_str(), &named, AT_SYMLINK_NOFOLLOW) == 0 &&
           sameFile(own, named);
}

}  // namespace teskpf
