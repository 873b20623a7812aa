// pffiles: the parameter files of a name along PFPATH.
#include "pf_files.h"

#include "internal/pf_search_path.h"

#include <sys/stat.h>
#include <unistd.h>

#include <cstdlib>
#include <cstring>
#include <new>
#include <set>
#include <string>
#include <utility>
#include <vector>

namespace {

// `name` with ".pf" appended unless it already ends in ".pf".
std::string with_suffix(const char *name) {
    std::string file(name);
    if (file.size() < 3 || file.compare(file.size() - 3, 3, ".pf") != 0) file += ".pf";
    return file;
}

// `directory` and `file` joined by exactly one "/".
std::string join(std::string directory, const std::string &file) {
    while (!directory.empty() && directory.back() == '/') directory.pop_back();
    return directory + "/" + file;
}

bool is_readable_file(const std::string &path, struct stat &info) {
    return stat(path.c_str(), &info) == 0 && S_ISREG(info.st_mode) && access(path.c_str(), R_OK) == 0;
}

// A Tbl of copies of `paths`, the copies packed in one block the Tbl owns.
Tbl *path_list(const std::vector<std::string> &paths) {
    size_t bytes = 0;
    for (const std::string &path : paths) bytes += path.size() + 1;
    char *storage = static_cast<char *>(malloc(bytes));
    Tbl *list = storage ? newtbl(static_cast<long>(paths.size())) : nullptr;
    if (!list) {
        free(storage);
        return nullptr;
    }
    list->owned = storage;
    for (const std::string &path : paths) {
        memcpy(storage, path.c_str(), path.size() + 1);
        settbl(list, -1, storage);  // cannot fail: newtbl reserved every slot
        storage += path.size() + 1;
    }
    return list;
}

}  // namespace

std::string pf_search_path() {
    const char *path = getenv("PFPATH");
    return path && *path ? path : ".";
}

std::vector<std::string> pf_search_directories() { return pf_split_search_path(pf_search_path()); }

std::vector<std::string> pf_split_search_path(const std::string &path) {
    std::vector<std::string> directories;
    for (size_t start = 0; start <= path.size();) {
        size_t end = path.find(':', start);
        if (end == std::string::npos) end = path.size();
        if (end > start) directories.push_back(path.substr(start, end - start));
        start = end + 1;
    }
    if (directories.empty()) directories.emplace_back(".");
    return directories;
}

std::vector<pf_found_file> pf_find_files(const std::vector<std::string> &directories, const std::string &file) {
    std::vector<std::pair<pf_found_file, struct stat>> found;
    for (size_t i = 0; i < directories.size(); ++i) {
        std::string candidate = join(directories[i], file);
        struct stat info;
        if (is_readable_file(candidate, info)) found.push_back({{std::move(candidate), i}, info});
    }
    std::set<std::pair<dev_t, ino_t>> seen;
    std::vector<pf_found_file> kept;
    for (size_t i = found.size(); i-- > 0;)
        if (seen.insert({found[i].second.st_dev, found[i].second.st_ino}).second)
            kept.push_back(std::move(found[i].first));
    return std::vector<pf_found_file>(std::make_move_iterator(kept.rbegin()), std::make_move_iterator(kept.rend()));
}

extern "C" Tbl *pffiles(const char *name, int flags) {
    if (!name || !*name || flags != 0) return nullptr;
    try {
        const std::string file = with_suffix(name);
        std::vector<std::string> paths;
        if (strchr(name, '/')) {
            struct stat info;
            if (is_readable_file(file, info)) paths.push_back(file);
        } else {
            for (pf_found_file &found : pf_find_files(pf_search_directories(), file))
                paths.push_back(std::move(found.path));
        }
        return paths.empty() ? nullptr : path_list(paths);
    } catch (const std::bad_alloc &) {
        return nullptr;
    }
}
