// Private to the library (kept out of the installed headers): the one reader
// of the search-path variable, its splitting into directories, and the search
// itself, which opens the files it finds so that reading them needs no second
// lookup of their paths.
#ifndef TESKPF_PF_SEARCH_PATH_H
#define TESKPF_PF_SEARCH_PATH_H

#include <sys/stat.h>

#include <string>
#include <string_view>
#include <vector>

// The search path as set: the variable PFPATH, or "." when it is unset or
// empty.
std::string pf_search_path();

// The directories of the search path in order: its ":"-separated parts,
// empty ones skipped; "." when there is none.
std::vector<std::string> pf_search_directories();

// A file found for reading: its path, an open descriptor (closed when the
// object goes away) and its status read from that descriptor; or, when no
// descriptor could be spared, fd -1 and the status of the path.
struct pf_open_file {
    std::string path;
    int fd = -1;
    struct stat info {};
    size_t directory = 0;  // the index of its directory in the search path

    pf_open_file() = default;
    pf_open_file(pf_open_file &&other) noexcept;
    pf_open_file &operator=(pf_open_file &&other) noexcept;
    pf_open_file(const pf_open_file &) = delete;
    pf_open_file &operator=(const pf_open_file &) = delete;
    ~pf_open_file();
    void close();
};

// Opens `path` when it names a regular file the user may read, as access(2)
// judges by the real user and group ids: true with `file` holding it, else
// false with `file` closed. One lookup of the path: the file is opened
// (read-only, non-blocking, without becoming a controlling terminal) and its
// type read from the descriptor; anything else is closed at once. Only when
// the real ids differ from the effective ones is access(2) asked as well.
// When the process is out of descriptors, or the open is refused while the
// real ids differ from the effective ones, the path is judged by stat(2) and
// access(2) and `file` has no descriptor.
bool pf_open_readable(const std::string &path, pf_open_file &file);

// The files pffiles lists for `name`, in the same order, the first few
// opened (the others, of long search lists, with fd -1). Empty for a null or
// empty name.
std::vector<pf_open_file> pf_open_files(const char *name);

// The same for the search path `search_path` instead of PFPATH's.
std::vector<pf_open_file> pf_open_files_along(std::string_view search_path, const char *name);

// Every path where a file of `name` may be found along PFPATH, in order:
// the paths pf_open_files tries, whether each exists or not. Empty for a
// null or empty name.
std::vector<std::string> pf_candidate_files(const char *name);

// `search_path` split into directories as PFPATH is.
std::vector<std::string> pf_split_search_path(std::string_view search_path);

#endif
