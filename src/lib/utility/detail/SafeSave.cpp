// saveFile: the one way the library and the tool replace a file's content.
#include <fcntl.h>
#include <limits.h>
#include <sys/random.h>
#include <time.h>
#include <unistd.h>

#include <cerrno>
#include <cstdint>
#include <cstring>
#include <optional>

#include "FileAttributes.h"
#include "SaveError.h"
#include "SaveTarget.h"
#include "TempFileRegistry.h"
#include "UniqueFd.h"
#include "teskpf/save.h"

namespace teskpf {

namespace {

constexpr char kTempMarker[] = ".teskpf-";
constexpr size_t kRandomLetters = 12;
constexpr int kMaxCreateAttempts = 100;

// Letters for a temporary name from the kernel's random source, else from
// the clock and process id: O_EXCL keeps even a guessable name safe.
std::string randomLetters() {
    static const char kAlphabet[] = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789";
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

// ".NAME.teskpf-RANDOM", with NAME shortened so that the whole fits NAME_MAX.
std::string tempNameFor(const std::string &name) {
    const size_t room = NAME_MAX - 1 - (sizeof kTempMarker - 1) - kRandomLetters;
    return "." + name.substr(0, room) + kTempMarker + randomLetters();
}

// The temporary file of one save, created exclusively in the target's
// directory and listed for removal on a signal; removed again unless it was
// renamed over the target.
class TempFile {
public:
    TempFile(int dir, const std::string &target, mode_t mode, const std::string &path) : dir_(dir) {
        for (int attempt = 0; attempt < kMaxCreateAttempts; ++attempt) {
            name_ = tempNameFor(target);
            file_ = UniqueFd(openat(dir, name_.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC, mode));
            if (file_.valid()) {
                listed_.emplace(dir, name_);
                return;
            }
            if (errno != EEXIST)
                throwSaveError(path, "cannot create a temporary file in its directory: " + errorText(errno), errno);
        }
        throwSaveError(path, EEXIST);
    }
    ~TempFile() {
        if (!renamed_) unlinkat(dir_, name_.c_str(), 0);
    }
    TempFile(const TempFile &) = delete;
    TempFile &operator=(const TempFile &) = delete;

    int fd() const { return file_.get(); }

    void close(const std::string &path) {
        if (int error = file_.close()) throwSaveError(path, error);
    }

    void renameOver(const std::string &target, const std::string &path) {
        if (renameat(dir_, name_.c_str(), dir_, target.c_str()) != 0) throwSaveError(path, errno);
        renamed_ = true;
    }

private:
    int dir_;
    std::string name_;
    UniqueFd file_;
    std::optional<TempFileRegistration> listed_;
    bool renamed_ = false;
};

void writeAll(int fd, std::string_view content, const std::string &path) {
    while (!content.empty()) {
        ssize_t written = ::write(fd, content.data(), content.size());
        if (written < 0) {
            if (errno == EINTR) continue;
            throwSaveError(path, errno);
        }
        content.remove_prefix(static_cast<size_t>(written));
    }
}

}  // namespace

void saveFile(const std::string &path, std::string_view content) {
    SaveTarget target = findSaveTarget(path);
    // A new file is created the way open(path, 0666) creates one, so the
    // umask or the directory's default ACL apply. The copy of an existing
    // file stays private until it has the file's attributes.
    TempFile temp(target.dir.get(), target.name, target.exists ? 0600 : 0666, path);
    writeAll(temp.fd(), content, path);
    // After the writes: writing clears setuid and setgid bits.
    if (target.exists) copyFileAttributes(target.file.get(), target.info, temp.fd(), path);
    if (fsync(temp.fd()) != 0) throwSaveError(path, errno);
    temp.close(path);
    if (!stillNamesSameFile(target))
        throwSaveError(path, "another program replaced or created it meanwhile; not overwritten", EAGAIN);
    temp.renameOver(target.name, path);
    // The rename lasts a crash only once the directory is flushed. File
    // systems that cannot flush a directory answer EINVAL.
    if (fsync(target.dir.get()) != 0 && errno != EINVAL) {
        int error = errno;
        throwSaveError(
            path, "the new content is in place but its directory could not be flushed to disk: " + errorText(error),
            error);
    }
}

}  // namespace teskpf
