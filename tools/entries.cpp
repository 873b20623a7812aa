#include "entries.h"

#include <teskpf/classic.h>

#include "tool_error.h"

namespace teskpf_tool {

int requireEntry(const TeskPf &pf, const std::string &key, const std::string &name) {
    int index = pf.getEntryIndex(key);
    if (index < 0) throw ToolError("no key " + key + " in '" + name + "'", kExitFailed);
    return index;
}

bool isCommentEntry(const TeskPf &pf, int index) { return pf.getKey(index).empty(); }

bool isBlockOpening(const TeskPf &pf, int index) { return teskpf::opensBlock(pf, index); }

}  // namespace teskpf_tool
