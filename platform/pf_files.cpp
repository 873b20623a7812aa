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

// `paths` with every file that a later path names again (the same device
// and inode: a repeated directory, another spelling of it or a link to it)
// left out. Keeping the last one keeps each file where it takes precedence.
std::vector<std::string> last_of_each_file(std::vector<std::pair<std::string, struct stat>> &paths) {
    std::set<std::pair<dev_t, ino_t>> seen;
    std::vector<std::string> kept;
    for (size_t i = paths.size(); i-- > 0;)
        if (seen.insert({paths[i].second.st_dev, paths[i].second.st_ino}).second)
            kept.push_back(std::move(paths[i].first));
    return std::vector<std::string>(std::make_move_iterator(kept.rbegin()), std::make_move_iterator(kept.rend()));
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

std::vector<std::string> pf_search_directories() {
    const std::string path = pf_search_path();
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

std::vector<std::string> pf_candidate_files(const char *name) {
    std::string file = with_suffix(name);
    std::vector<std::string> candidates;
    if (strchr(name, '/'))
        candidates.push_back(file);
    else
        for (const std::string &directory : pf_search_directories()) candidates.push_back(join(directory, file));
    return candidates;
}

extern "C" Tbl *pffiles(const char *name, int flags) {
    if (!name || !*name || flags != 0) return nullptr;
    try {
        std::vector<std::string> candidates = pf_candidate_files(name);
        std::vector<std::pair<std::string, struct stat>> found;
        for (std::string &candidate : candidates) {
            struct stat info;
            if (is_readable_file(candidate, info)) found.emplace_back(std::move(candidate), info);
        }
        return found.empty() ? nullptr : path_list(last_of_each_file(found));
    } catch (const std::bad_alloc &) {
        return nullptr;
    }
}
