// Reading a file as lines.
#pragma once

#include <string>

#include "Table.h"

namespace teskpf {

// The lines of the file, split at each line feed (not included); a last line
// without a line feed counts too. A file that cannot be opened, or is not a
// regular file, gives no lines.
Table<std::string> readLines(const std::string &path);

}  // namespace teskpf
