// Which files a parameter-file name stands for.
#pragma once

#include <string>
#include <vector>

namespace teskpf {

// The files called `name` along the search path (PFPATH), in search-path
// order: the last one takes precedence. When the search path has none, the
// name itself when it is a readable regular file. Empty when there is none.
// `name` is used as given: expand "~" first (see expandHome).
std::vector<std::string> findParameterFiles(const std::string &name);

}  // namespace teskpf
