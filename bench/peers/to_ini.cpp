#include <utility>
#include <vector>

#include "peer_formats.h"

namespace teskpf_bench {
namespace {

// Writes a block's values and comments under the header `section` (none for
// the root), then each nested block as a section of its own: INI cannot nest.
void appendSection(const Node &block, const std::string &section, std::string &out) {
    if (!section.empty()) {
        out += "\n[" + section + "]" + trailingComment(block, ";") + '\n';
    }
    std::vector<std::pair<std::string, const Node *>> nested;
    size_t position = 0;
    for (const Node &member : block.members) {
        if (appendNoteLine(member, "", ";", out)) continue;
        std::string name = block.kind == Node::Tbl ? std::to_string(position++) : member.key;
        if (member.kind != Node::Scalar) {
            nested.emplace_back(section.empty() ? name : section + "." + name, &member);
            continue;
        }
        out += name + " = " + member.value + trailingComment(member, ";") + '\n';
    }
    for (const auto &[path, member] : nested) appendSection(*member, path, out);
}

}  // namespace

std::string toIni(const Node &root) {
    std::string out;
    appendSection(root, "", out);
    return out;
}

}  // namespace teskpf_bench
