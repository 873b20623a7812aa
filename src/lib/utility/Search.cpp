#include <teskpf/search.h>

#include <cstdlib>

#include <teskpf/error.h>

#include "FileSearch.h"
#include "HomeDirectory.h"

namespace teskpf {

std::vector<std::string> parameterFiles(std::string_view name) {
    std::string expanded(name);
    try {
        expandHome(expanded);
    } catch (const std::string &message) {
        throw Error(message);
    }
    return findParameterFiles(expanded);
}

std::string searchPath() {
    const char *path = std::getenv("PFPATH");
    return path && *path ? path : ".";
}

}  // namespace teskpf
