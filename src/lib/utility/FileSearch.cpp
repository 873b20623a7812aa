#include "detail/FileSearch.h"

#include <sys/stat.h>
#include <unistd.h>
#include <memory>

#include "pf_files.h"
#include "pf_tbl.h"

namespace teskpf {

namespace {

bool isReadableFile(const std::string &path) {
    struct stat info;
    return stat(path.c_str(), &info) == 0 && S_ISREG(info.st_mode) && access(path.c_str(), R_OK) == 0;
}

}  // namespace

std::vector<std::string> findParameterFiles(const std::string &name) {
    std::unique_ptr<Tbl, void (*)(Tbl *)> list(pffiles(name.c_str(), 0), [](Tbl *found) { freetbl(found, nullptr); });
    std::vector<std::string> files;
    for (long i = 0; i < cnttbl(list.get()); ++i) files.emplace_back(static_cast<const char *>(gettbl(list.get(), i)));
    if (files.empty() && isReadableFile(name)) files.push_back(name);
    return files;
}

}  // namespace teskpf
