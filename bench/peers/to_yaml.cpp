#include "peer_formats.h"

namespace teskpf_bench {
namespace {

// Writes one member of a mapping, or of a sequence when `in_list` is set.
// A block member's content starts on the next line, indented one step more.
void appendMember(const Node &node, int depth, bool in_list, std::string &out) {
    const std::string indent(static_cast<size_t>(depth) * 2, ' ');
    if (appendNoteLine(node, indent, "#", out)) return;
    out += indent + (in_list ? "-" : node.key + ":");
    if (node.kind == Node::Scalar) out += " " + node.value;
    out += trailingComment(node, "#") + '\n';
    for (const Node &member : node.members) appendMember(member, depth + 1, node.kind == Node::Tbl, out);
}

}  // namespace

std::string toYaml(const Node &root) {
    std::string out;
    for (const Node &member : root.members) appendMember(member, 0, false, out);
    return out;
}

}  // namespace teskpf_bench
