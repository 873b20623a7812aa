#include "entries.h"

#include "KeyPath.h"
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

std::string effectiveConstraints(const TeskPf &pf, int index) {
    std::string own = pf.getConstraints(index, nullptr);
    if (!own.empty()) return own;
    // A top-level key (["k"]) has no enclosing block to fall back to.
    std::string parent = std::string(teskpf::enclosingKey(pf.getKey(index)));
    return parent.empty() ? "" : pf.getConstraints(parent, nullptr);
}

std::string violationText(const TeskPf &pf, int index) {
    return pf.getKey(index) + ": " + pf.getValue(index, nullptr, nullptr) + " does not satisfy " +
           effectiveConstraints(pf, index);
}

}  // namespace teskpf_tool
