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

// Every path where a file of `name` may be found, in search-path order:
// DIR/NAME for each directory, ".pf" appended unless NAME ends in it; for a
// name with "/", that path alone. Whether each exists is not looked at.
std::vector<std::string> pf_candidate_files(const char *name);

#endif
