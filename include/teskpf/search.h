// Which files a parameter-file name stands for, as every reader resolves it.
#pragma once

#include <string>
#include <string_view>
#include <vector>

#include <teskpf/export.h>

namespace teskpf {

// The files read for `name`, lowest precedence first (the last one wins each
// top-level key): a leading "~" expanded, then the files of that name along
// PFPATH or, when there are none, the name itself if it is a readable regular
// file. Empty when nothing is found. Throws teskpf::Error when "~" cannot be
// expanded (no home directory).
TESKPF_API std::vector<std::string> parameterFiles(std::string_view name);

// `path` with a leading "~" replaced by the home directory, as every reader
// and writer of the library does it (only the "~" itself: "~bob/x" becomes
// HOME + "bob/x"). Throws teskpf::Error when there is no home directory.
TESKPF_API std::string homeExpanded(std::string_view path);

// Why `name` stands for no parameter file although something of that name
// exists (a leading "~" expanded): "'NAME' is a directory, not a parameter
// file", likewise "is a FIFO", "is a character device", "is a block device",
// "is a socket", or "'NAME' is a symbolic link to 'TARGET', which does not
// exist". "" when nothing of that name exists or it is a regular file.
// Nothing is opened, so a FIFO never blocks. Throws teskpf::Error when "~"
// cannot be expanded.
TESKPF_API std::string notAParameterFile(std::string_view name);

// The search path as the lookup uses it: PFPATH, or "." when unset or empty.
TESKPF_API std::string searchPath();

}  // namespace teskpf
