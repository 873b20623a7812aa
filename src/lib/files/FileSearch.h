// Which files a parameter-file name stands for.
#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "internal/pf_search_path.h"

namespace teskpf {

// The files called `name` along the search path (PFPATH), in search-path
// order: the last one takes precedence. When the search path has none, the
// name itself when it is a readable regular file, and then `*itself` (when
// given) becomes true. Empty when there is none. `name` is used as given:
// expand "~" first (see expandHome). namedFiles (search.h) states the rule.
std::vector<std::string> findParameterFiles(const std::string &name, bool *itself = nullptr);

// The same files, opened for reading: each path is looked up once, by
// opening it, and the reader reads from the descriptor.
std::vector<pf_open_file> openParameterFiles(const std::string &name, bool *itself = nullptr);

// Why `name` (already expanded) stands for no parameter file although
// something of that name exists: "'SHOWN' is a directory, not a parameter
// file" (a FIFO, a character device, a block device, a socket), or "'SHOWN'
// is a symbolic link to 'TARGET', which does not exist"; `code` is then the
// errno value that fits (EISDIR, ENOENT or EINVAL). "" when nothing of that
// name exists or it is a regular file. Looks without opening anything, so a
// FIFO never blocks.
std::string notAParameterFile(const std::string &name, const std::string &shown, int &code);

// Throws IoError for `name`, for which no parameter file was found: why, when
// it names something that is not one, else `missing` (ENOENT).
[[noreturn]] void throwNoParameterFile(std::string_view name, const std::string &missing);

}  // namespace teskpf
