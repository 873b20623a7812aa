// What kind of file a status describes, in the words of messages.
#pragma once

#include <sys/stat.h>

namespace teskpf {

// "a directory", "a FIFO", "a character device", ..., "a regular file".
inline const char *fileKind(mode_t mode) {
    if (S_ISREG(mode)) return "a regular file";
    if (S_ISDIR(mode)) return "a directory";
    if (S_ISFIFO(mode)) return "a FIFO";
    if (S_ISCHR(mode)) return "a character device";
    if (S_ISBLK(mode)) return "a block device";
    if (S_ISSOCK(mode)) return "a socket";
    if (S_ISLNK(mode)) return "a symbolic link";
    return "a special file";
}

}  // namespace teskpf
