// saveFile: the one way the library and the tool replace a file's content.
#include <fcntl.h>
#include <unistd.h>

#include <cerrno>
#include <optional>

#include "files/UniqueFd.h"
#include "saving/FileAttributes.h"
#include "saving/SaveError.h"
#include "saving/SaveTarget.h"
#include "saving/TempFileRegistry.h"
#include "saving/TempFiles.h"
#include "teskpf/save.h"

namespace teskpf {

namespace {

constexpr int kMaxCreateAttempts = 100;

// The temporary file of one save, created exclusively in the target's
// directory, locked as a live writer's and listed for removal on a signal;
// removed again unless it was renamed over the target, and only then
// unlocked.
class TempFile {
public:
    TempFile(int dir, const std::string &target, mode_t mode, const std::string &path) : dir_(dir) {
        for (int attempt = 0; attempt < kMaxCreateAttempts; ++attempt) {
            name_ = tempNameFor(target);
            file_ = UniqueFd(openat(dir, name_.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC, mode));
            if (file_.valid()) {
                // The lock lives on a second descriptor, so that closing the
                // written one to see its errors keeps the file locked.
                lock_ = UniqueFd(fcntl(file_.get(), F_DUPFD_CLOEXEC, 0));
                if (!lock_.valid()) {
                    const int error = errno;
                    unlinkat(dir, name_.c_str(), 0);
                    throwSaveError(path, "cannot create a temporary file in its directory: " + errorText(error), error);
                }
                if (lockNewTempFile(dir, name_, lock_.get())) {
                    listed_.emplace(dir, name_);
                    return;
                }
                continue;  // taken for a leftover before it was locked: the name is no longer ours
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
    UniqueFd lock_;  // closed last: the file stays locked until it is renamed or removed
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

void saveFile(const std::string &path, std::string_view content) { saveFileChecked(path, content, nullptr, nullptr); }

void saveFileChecked(const std::string &path, std::string_view content, const FileIdentity *expected,
                     FileIdentity *written) {
    SaveTarget target = findSaveTarget(path);
    removeStaleTempFiles(target.dir.get(), target.name, target.exists ? target.info.st_uid : geteuid());
    // A new file is created the way open(path, 0666) creates one, so the
    // umask or the directory's default ACL apply. The copy of an existing
    // file stays private until it has the file's attributes.
    TempFile temp(target.dir.get(), target.name, target.exists ? 0600 : 0666, path);
    writeAll(temp.fd(), content, path);
    // After the writes: writing clears setuid and setgid bits.
    if (target.exists) copyFileAttributes(target.file.get(), target.info, temp.fd(), path);
    if (fsync(temp.fd()) != 0) throwSaveError(path, errno);
    struct stat info;
    if (written && fstat(temp.fd(), &info) == 0) *written = identityOf(info);
    temp.close(path);
    if (!stillNamesSameFile(target))
        throwSaveError(path, "another program replaced or created it meanwhile; not overwritten", EAGAIN);
    if (expected && !stillNamesFile(target, *expected))
        throwSaveError(path, "it changed since it was read; not overwritten", EAGAIN);
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
