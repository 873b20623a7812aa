// Reading a whole file for the modern API, with failures reported as
// teskpf::IoError.
#pragma once

#include <string>

#include "parsing/ParsedFile.h"

namespace teskpf {

// The text of the file at `path`. Throws IoError ("cannot read 'PATH': why")
// when it cannot be opened or read or is not a regular file. `identity`, when
// given, receives what the file was when reading began.
FileText readFileOrThrow(const std::string &path, FileIdentity *identity = nullptr);

}  // namespace teskpf
