#include "peer_formats.h"

namespace teskpf_bench {
namespace {

// Writes the members of a group (`block` an Arr) or a list (a Tbl). Group
// settings end in ";", list elements are separated by ",".
void appendMembers(const Node &block, int depth, std::string &out) {
    const bool list = block.kind == Node::Tbl;
    const std::string indent(static_cast<size_t>(depth) * 2, ' ');
    const Node *last = nullptr;
    for (const Node &member : block.members)
        if (member.kind != Node::Comment && member.kind != Node::Blank) last = &member;
    for (const Node &member : block.members) {
        const std::string end = !list ? ";" : &member == last ? "" : ",";
        switch (member.kind) {
        case Node::Blank:
        case Node::Comment: appendNoteLine(member, indent, "#", out); break;
        case Node::Scalar:
            out += indent + (list ? "" : member.key + " = ") + typedLiteral(member) + end +
                   trailingComment(member, "#") + '\n';
            break;
        case Node::Arr:
        case Node::Tbl:
            out += indent + (list ? "" : member.key + " = ") + (member.kind == Node::Arr ? "{" : "(") +
                   trailingComment(member, "#") + '\n';
            appendMembers(member, depth + 1, out);
            out += indent + (member.kind == Node::Arr ? "}" : ")") + end + '\n';
            break;
        }
    }
}

}  // namespace

std::string toLibconfig(const Node &root) {
    std::string out;
    appendMembers(root, 0, out);
    return out;
}

}  // namespace teskpf_bench
