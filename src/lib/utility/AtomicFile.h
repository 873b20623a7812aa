// Replacing a file's content without ever leaving it half written.
#pragma once

#include <string>

namespace teskpf {

// Writes `content` to a new temporary file in the directory of `path`, flushes
// it to disk and renames it over `path` (a symbolic link is followed, so the
// file it points to is replaced). An existing file keeps its permission bits;
// a new one gets 0666 less the umask. On any failure the temporary file is
// removed, `path` keeps its old content, and a std::string
// "TeskPf::write: cannot write '<path>': <reason>" is thrown.
void replaceFileContent(const std::string &path, const std::string &content);

}  // namespace teskpf
