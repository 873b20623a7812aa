#include "parsing/ReadFile.h"

#include <system_error>

#include <teskpf/error.h>

#include "files/ErrorText.h"

namespace teskpf {

FileText readFileOrThrow(const std::string &path, FileIdentity *identity) {
    FileText text;
    int error = 0;
    if (!readFileText(path, text, error, identity)) {
        std::error_code code(error, std::generic_category());
        throw IoError("cannot read '" + path + "': " + errorText(error), path, code);
    }
    return text;
}

}  // namespace teskpf
