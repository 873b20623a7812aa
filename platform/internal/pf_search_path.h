// Private to the library (kept out of the installed headers): the one reader
// of the search-path variable and its splitting into directories.
#ifndef TESKPF_PF_SEARCH_PATH_H
#define TESKPF_PF_SEARCH_PATH_H

#include <string>
#include <vector>

// The search path as set: the variable PFPATH, or "." when it is unset or
// empty.
std::string pf_search_path();

// The directories of the search path in order: its ":"-separated parts,
// empty ones skipped; "." when there is none.
std::vector<std::string> pf_search_directories();

// `path` split into directories as the search path is.
std::vector<std::string> pf_split_search_path(const std::string &path);

// A file found along a list of directories, and the index of its directory.
struct pf_found_file {
    std::string path;
    size_t directory;
};

// The readable regular files DIRECTORY/FILE of `directories`, in their
// order, each file once: a file that a later directory names again (a
// repeated directory, another spelling of it, a link to it) is kept at its
// last place only, where it takes precedence.
std::vector<pf_found_file> pf_find_files(const std::vector<std::string> &directories, const std::string &file);

#endif
