#include "peer_formats.h"

namespace teskpf_bench {
namespace {

std::string quoted(const std::string &text) { return text.find(' ') == std::string::npos ? text : '"' + text + '"'; }

// Writes one member; list members get the empty key, as property trees hold
// arrays.
void appendMember(const Node &node, int depth, bool in_list, std::string &out) {
    const std::string indent(static_cast<size_t>(depth) * 2, ' ');
    if (appendNoteLine(node, indent, ";", out)) return;
    out += indent + (in_list ? "\"\"" : node.key);
    if (node.kind == Node::Scalar) out += " " + quoted(node.value);
    out += trailingComment(node, ";") + '\n';
    if (node.kind == Node::Scalar) return;
    out += indent + "{\n";
    for (const Node &member : node.members) appendMember(member, depth + 1, node.kind == Node::Tbl, out);
    out += indent + "}\n";
}

}  // namespace

std::string toInfo(const Node &root) {
    std::string out;
    for (const Node &member : root.members) appendMember(member, 0, false, out);
    return out;
}

}  // namespace teskpf_bench
