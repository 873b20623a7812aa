#include "param_files.h"

#include <cstdlib>
#include <memory>
#include <sys/stat.h>
#include <unistd.h>

#include "HomeDirectory.h"
#include "pf_files.h"
#include "tool_error.h"

namespace teskpf_tool {

namespace {

bool isReadableRegularFile(const std::string &path) {
    struct stat info;
    return stat(path.c_str(), &info) == 0 && S_ISREG(info.st_mode) && access(path.c_str(), R_OK) == 0;
}

}  // namespace

std::vector<std::string> resolveFiles(const std::string &name) {
    std::string expanded = name;
    teskpf::expandHome(expanded);
    std::unique_ptr<Tbl, void (*)(Tbl *)> list(pffiles(expanded.c_str(), 0),
                                               [](Tbl *files) { freetbl(files, nullptr); });
    std::vector<std::string> files;
    for (long i = 0; i < cnttbl(list.get()); ++i) files.emplace_back(static_cast<const char *>(gettbl(list.get(), i)));
    if (files.empty() && isReadableRegularFile(expanded)) files.push_back(expanded);
    return files;
}

std::string searchPath() {
    const char *path = std::getenv("PFPATH");
    return path && *path ? path : ".";
}

TeskPf loadParameterFile(const std::string &name) {
    if (resolveFiles(name).empty())
        throw ToolError("no parameter file named '" + name + "' (searched PFPATH=" + searchPath() + ")", kExitError);
    return TeskPf(name, 0);
}

std::string sourceFile(const std::string &source) { return source.substr(0, source.rfind(':')); }

std::string writeParameterFile(const TeskPf &pf, const std::string &file) {
    if (pf.size() == 0) throw ToolError("nothing to write to '" + file + "': there are no entries", kExitError);
    std::string written = file;
    pf.write(written);
    return written;
}

void writeToOutput(const TeskPf &pf, const std::string &file) {
    std::string written = writeParameterFile(pf, file);
    if (written != file) printError("note: wrote '" + written + "'");
}

}  // namespace teskpf_tool
