#include "entries.h"

#include "tool_error.h"

namespace teskpf_tool {

std::string keyPathArgument(const std::string &arg) {
    if (!arg.empty() && arg[0] == '[') return arg;
    return "[\"" + arg + "\"]";
}

int requireEntry(const TeskPf &pf, const std::string &key, const std::string &name) {
    int index = pf.getEntryIndex(key);
    if (index < 0) throw ToolError("no key " + key + " in '" + name + "'", kExitFailed);
    return index;
}

bool isCommentEntry(const TeskPf &pf, int index) { return pf.getKey(index).empty(); }

bool isBlockOpening(const TeskPf &pf, int index) {
    std::string value = pf.getEntry(index).get(FIELD_VALUE);
    return value == "&Arr" || value == "&Tbl";
}

}  // namespace teskpf_tool
