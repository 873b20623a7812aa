// pffiles: the parameter files of a name along PFPATH.
#include "pf_files.h"

#include "internal/pf_search_path.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <new>
#include <set>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace {

// The text of the search path: PFPATH, or "." when it is unset or empty.
std::string_view search_path_text() {
    const char *path = getenv("PFPATH");
    return path && *path ? path : ".";
}

// The directories of the search path `path`, in order: its ":"-separated
// parts, empty ones skipped, "." when there is none; each passed to `visit`
// as a view of `path`.
template <typename Visit>
void for_each_search_directory(std::string_view path, Visit visit) {
    bool any = false;
    for (size_t start = 0; start <= path.size();) {
        size_t end = path.find(':', start);
        if (end == std::string_view::npos) end = path.size();
        if (end > start) {
            any = true;
            visit(path.substr(start, end - start));
        }
        start = end + 1;
    }
    if (!any) visit(std::string_view("."));
}

// Every path where a file of `name` may be found along `search_path`, in
// order, passed to `visit` with the index of its directory: DIR/NAME, ".pf"
// appended unless NAME ends in it, for each directory; for a name with "/",
// that path alone (index 0). The path is a buffer reused between calls.
template <typename Visit>
void for_each_candidate(std::string_view search_path, const char *name, Visit visit) {
    const std::string_view given(name);
    const bool has_suffix = given.size() >= 3 && given.compare(given.size() - 3, 3, ".pf") == 0;
    const std::string_view suffix = has_suffix ? "" : ".pf";
    std::string candidate;
    if (strchr(name, '/')) {
        candidate.append(given).append(suffix);
        visit(candidate, size_t{0});
        return;
    }
    size_t index = 0;
    for_each_search_directory(search_path, [&](std::string_view directory) {
        // `directory` and the file name joined by exactly one "/".
        while (!directory.empty() && directory.back() == '/') directory.remove_suffix(1);
        candidate.assign(directory).append(1, '/').append(given).append(suffix);
        visit(candidate, index++);
    });
}

// How many files of one search a search holds open; most search lists are
// shorter.
constexpr size_t kFilesHeldOpen = 8;

// Whether the real user and group ids are the effective ones: then opening a
// file judges read permission as access(2) does.
bool real_ids_are_effective() {
    uid_t real_uid, effective_uid, saved_uid;
    gid_t real_gid, effective_gid, saved_gid;
    if (getresuid(&real_uid, &effective_uid, &saved_uid) != 0 || getresgid(&real_gid, &effective_gid, &saved_gid) != 0)
        return false;
    return real_uid == effective_uid && real_gid == effective_gid;
}

// `paths` with every file that a later path names again (the same device
// and inode: a repeated directory, another spelling of it or a link to it)
// left out. Keeping the last one keeps each file where it takes precedence.
std::vector<pf_open_file> last_of_each_file(std::vector<pf_open_file> &files) {
    if (files.size() < 2) return std::move(files);
    std::set<std::pair<dev_t, ino_t>> seen;
    std::vector<pf_open_file> kept;
    for (size_t i = files.size(); i-- > 0;)
        if (seen.insert({files[i].info.st_dev, files[i].info.st_ino}).second) kept.push_back(std::move(files[i]));
    return std::vector<pf_open_file>(std::make_move_iterator(kept.rbegin()), std::make_move_iterator(kept.rend()));
}

// A Tbl of copies of the paths of `files`, the copies packed in one block the
// Tbl owns.
Tbl *path_list(const std::vector<pf_open_file> &files) {
    size_t bytes = 0;
    for (const pf_open_file &file : files) bytes += file.path.size() + 1;
    char *storage = static_cast<char *>(malloc(bytes));
    Tbl *list = storage ? newtbl(static_cast<long>(files.size())) : nullptr;
    if (!list) {
        free(storage);
        return nullptr;
    }
    list->owned = storage;
    for (const pf_open_file &file : files) {
        memcpy(storage, file.path.c_str(), file.path.size() + 1);
        settbl(list, -1, storage);  // cannot fail: newtbl reserved every slot
        storage += file.path.size() + 1;
    }
    return list;
}

}  // namespace

pf_open_file::pf_open_file(pf_open_file &&other) noexcept
    : path(std::move(other.path)), fd(std::exchange(other.fd, -1)), info(other.info), directory(other.directory) {}

pf_open_file &pf_open_file::operator=(pf_open_file &&other) noexcept {
    if (this != &other) {
        close();
        path = std::move(other.path);
        fd = std::exchange(other.fd, -1);
        info = other.info;
        directory = other.directory;
    }
    return *this;
}

pf_open_file::~pf_open_file() { close(); }

void pf_open_file::close() {
    if (fd >= 0) ::close(std::exchange(fd, -1));
}

bool pf_open_readable(const std::string &path, pf_open_file &file) {
    file.close();
    // O_NONBLOCK: a FIFO met here must not wait for a writer; O_NOCTTY: a
    // terminal must not become the process's.
    int fd;
    do {
        fd = ::open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK | O_NOCTTY);
    } while (fd < 0 && errno == EINTR);
    if (fd < 0) {
        // Out of descriptors, or refused to an effective user other than the
        // real one: judge by the path alone; reading it later by path decides
        // what it holds.
        const int error = errno;
        if (error != EMFILE && error != ENFILE && (error != EACCES || real_ids_are_effective())) return false;
        if (stat(path.c_str(), &file.info) != 0 || !S_ISREG(file.info.st_mode) || access(path.c_str(), R_OK) != 0)
            return false;
        file.path = path;
        return true;
    }
    file.fd = fd;
    if (fstat(fd, &file.info) != 0 || !S_ISREG(file.info.st_mode) ||
        (!real_ids_are_effective() && access(path.c_str(), R_OK) != 0)) {
        file.close();
        return false;
    }
    file.path = path;
    return true;
}

std::vector<pf_open_file> pf_open_files(const char *name) { return pf_open_files_along(search_path_text(), name); }

std::vector<pf_open_file> pf_open_files_along(std::string_view search_path, const char *name) {
    std::vector<pf_open_file> found;
    if (!name || !*name) return found;
    pf_open_file file;
    for_each_candidate(search_path, name, [&](const std::string &candidate, size_t index) {
        file.directory = index;
        if (!pf_open_readable(candidate, file)) return;
        // A long search list keeps few descriptors: the rest are read by path.
        if (found.size() >= kFilesHeldOpen) file.close();
        found.push_back(std::move(file));
    });
    return strchr(name, '/') ? std::move(found) : last_of_each_file(found);
}

std::vector<std::string> pf_candidate_files(const char *name) {
    std::vector<std::string> candidates;
    if (!name || !*name) return candidates;
    for_each_candidate(search_path_text(), name,
                       [&](const std::string &candidate, size_t) { candidates.push_back(candidate); });
    return candidates;
}

std::string pf_search_path() { return std::string(search_path_text()); }

std::vector<std::string> pf_search_directories() { return pf_split_search_path(search_path_text()); }

std::vector<std::string> pf_split_search_path(std::string_view search_path) {
    std::vector<std::string> directories;
    for_each_search_directory(search_path, [&](std::string_view directory) { directories.emplace_back(directory); });
    return directories;
}

extern "C" Tbl *pffiles(const char *name, int flags) {
    if (!name || !*name || flags != 0) return nullptr;
    try {
        const std::vector<pf_open_file> found = pf_open_files(name);
        return found.empty() ? nullptr : path_list(found);
    } catch (const std::bad_alloc &) {
        return nullptr;
    }
}
