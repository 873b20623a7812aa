// Carrying a file's owner, group, extended attributes and mode over to the
// file that replaces it.
#pragma once

#include <sys/stat.h>

#include <string>

namespace teskpf {

// Gives the open file `to` the owner and group of `info`, the extended
// attributes (POSIX ACLs included) of the open file `from` and no others,
// then the mode of `info`, setuid and setgid bits included. Throws IoError
// "cannot write 'PATH': REASON" when any of them cannot be kept.
void copyFileAttributes(int from, const struct stat &info, int to, const std::string &path);

}  // namespace teskpf
