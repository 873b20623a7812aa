#include "param_files.h"

#include <cstdlib>

#include "FileSearch.h"
#include "HomeDirectory.h"
#include "teskpf/save.h"
#include "tool_error.h"

namespace teskpf_tool {

std::vector<std::string> resolveFiles(const std::string &name) {
    std::string expanded = name;
    teskpf::expandHome(expanded);
    return teskpf::findParameterFiles(expanded);
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

namespace {

// The library writes nothing for a handle without entries; say so instead.
void requireEntries(const TeskPf &pf, const std::string &file) {
    if (pf.size() == 0) throw ToolError("nothing to write to '" + file + "': there are no entries", kExitError);
}

}  // namespace

std::string writeParameterFile(const TeskPf &pf, const std::string &file) {
    requireEntries(pf, file);
    std::string written = file;
    pf.write(written);
    return written;
}

void writeToOutput(const TeskPf &pf, const std::string &file) {
    requireEntries(pf, file);
    std::string name = file;
    teskpf::expandHome(name);
    teskpf::saveFile(name, pf.getPfString());
}

}  // namespace teskpf_tool
