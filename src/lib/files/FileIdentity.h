// Which file a name stood for, and in which state: what a save compares with
// the file an editor read, to notice a writer that took no lock.
#pragma once

#include <sys/stat.h>

#include <cstdint>

namespace teskpf {

struct FileIdentity {
    uint64_t device = 0;
    uint64_t inode = 0;
    int64_t size = 0;
    int64_t modified_seconds = 0;
    int64_t modified_nanoseconds = 0;

    bool operator==(const FileIdentity &o) const {
        return device == o.device && inode == o.inode && size == o.size && modified_seconds == o.modified_seconds &&
               modified_nanoseconds == o.modified_nanoseconds;
    }
    bool operator!=(const FileIdentity &o) const { return !(*this == o); }
};

inline FileIdentity identityOf(const struct stat &info) {
    return {static_cast<uint64_t>(info.st_dev), static_cast<uint64_t>(info.st_ino), static_cast<int64_t>(info.st_size),
            static_cast<int64_t>(info.st_mtim.tv_sec), static_cast<int64_t>(info.st_mtim.tv_nsec)};
}

}  // namespace teskpf
