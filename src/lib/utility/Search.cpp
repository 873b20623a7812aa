#include <teskpf/search.h>

#include <teskpf/error.h>

#include "detail/FileSearch.h"
#include "detail/HomeDirectory.h"
#include "internal/pf_search_path.h"

namespace teskpf {

std::string homeExpanded(std::string_view path) {
    std::string expanded(path);
    try {
        expandHome(expanded);
    } catch (const std::string &message) {
        throw Error(message);
    }
    return expanded;
}

std::vector<std::string> parameterFiles(std::string_view name) { return findParameterFiles(homeExpanded(name)); }

std::string notAParameterFile(std::string_view name) {
    int ignored = 0;
    return notAParameterFile(homeExpanded(name), std::string(name), ignored);
}

std::string searchPath() { return pf_search_path(); }

}  // namespace teskpf
