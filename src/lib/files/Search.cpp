#include <teskpf/search.h>

#include <system_error>

#include <teskpf/error.h>

#include "files/FileSearch.h"
#include "files/HomeDirectory.h"
#include "internal/pf_search_path.h"

namespace teskpf {

std::string homeExpanded(std::string_view path) {
    std::string expanded(path);
    expandHome(expanded);
    return expanded;
}

NamedFiles namedFiles(std::string_view argument) {
    const std::string name = homeExpanded(argument);
    const std::string shown = "'" + std::string(argument) + "'";
    NamedFiles named;
    named.form = name.find('/') == std::string::npos ? NamedFiles::Form::Name : NamedFiles::Form::Path;
    named.files = findParameterFiles(name, &named.itself);
    const bool along_path = named.form == NamedFiles::Form::Name;
    const std::string where = along_path ? "along PFPATH=" + searchPath() : "at that path";
    if (named.itself) {
        named.why = shown + " finds no parameter file " + where + ": the readable file itself, alone";
    } else if (!named.files.empty()) {
        named.why = along_path ? shown + " is a name (no \"/\"): every file of that name along PFPATH=" + searchPath() +
                                     ", lowest precedence first"
                               : shown + " is a path (it has a \"/\"): that file alone";
    } else {
        int ignored = 0;
        named.why = notAParameterFile(name, std::string(argument), ignored);
        if (named.why.empty()) named.why = "no parameter file named " + shown + " " + where;
    }
    return named;
}

std::string namedFile(std::string_view argument) {
    NamedFiles named = namedFiles(argument);
    if (named.files.empty()) throwNoParameterFile(argument, named.why);
    if (named.files.size() > 1) {
        std::string list;
        for (const std::string &file : named.files) list += (list.empty() ? "" : ", ") + file;
        throw IoError("'" + std::string(argument) + "' names " + std::to_string(named.files.size()) +
                          " files along PFPATH=" + searchPath() + " (" + list + "); name one of them as a path",
                      std::string(argument), std::make_error_code(std::errc::invalid_argument));
    }
    return std::move(named.files.front());
}

std::vector<std::string> parameterFiles(std::string_view name) { return namedFiles(name).files; }

std::string notAParameterFile(std::string_view name) {
    int ignored = 0;
    return notAParameterFile(homeExpanded(name), std::string(name), ignored);
}

std::string searchPath() { return pf_search_path(); }

}  // namespace teskpf
