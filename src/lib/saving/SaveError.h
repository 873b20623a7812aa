// The errors of a save: "cannot write 'PATH': REASON" as a teskpf::IoError.
#pragma once

#include <string>

#include "files/ErrorText.h"
#include "teskpf/error.h"

namespace teskpf {

// Throws IoError "cannot write 'PATH': REASON" with the errno value `code`.
[[noreturn]] inline void throwSaveError(const std::string &path, const std::string &reason, int code) {
    throw IoError("cannot write '" + path + "': " + reason, path, std::error_code(code, std::generic_category()));
}

// Throws IoError "cannot write 'PATH': <errorText(code)>".
[[noreturn]] inline void throwSaveError(const std::string &path, int code) {
    throwSaveError(path, errorText(code), code);
}

}  // namespace teskpf
