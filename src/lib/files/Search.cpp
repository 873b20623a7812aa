#include <teskpf/search.h>

#include <sys/stat.h>

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

namespace teskpf {

namespace {

bool sameFile(const struct stat &a, const struct stat &b) { return a.st_dev == b.st_dev && a.st_ino == b.st_ino; }

}  // namespace

LayerStack layerStack(const std::string &path, std::string_view search_path) {
    LayerStack alone{{path}, 0};
    const size_t slash = path.rfind('/');
    const std::string file = slash == std::string::npos ? path : path.substr(slash + 1);
    const std::string directory = slash == std::string::npos ? "." : slash == 0 ? "/" : path.substr(0, slash);
    struct stat own_directory;
    if (file.size() <= 3 || file.compare(file.size() - 3, 3, ".pf") != 0 ||
        stat(directory.c_str(), &own_directory) != 0)
        return alone;
    const std::vector<std::string> directories = pf_split_search_path(search_path);
    // The last place of its directory, where the lookup keeps a file it finds twice.
    size_t place = directories.size();
    for (size_t i = 0; i < directories.size(); ++i) {
        struct stat info;
        if (stat(directories[i].c_str(), &info) == 0 && sameFile(info, own_directory)) place = i;
    }
    if (place == directories.size()) return alone;

    struct stat own;
    const bool exists = stat(path.c_str(), &own) == 0;
    LayerStack stack;
    bool placed = false;
    for (pf_open_file &found : pf_open_files_along(search_path, file.c_str())) {
        const bool itself = exists && sameFile(found.info, own);
        if (!placed && (itself || found.directory > place)) {
            stack.index = stack.files.size();
            stack.files.push_back(path);
            placed = true;
        }
        if (!itself) stack.files.push_back(std::move(found.path));
    }
    if (!placed) {
        stack.index = stack.files.size();
        stack.files.push_back(path);
    }
    return stack;
}

}  // namespace teskpf
