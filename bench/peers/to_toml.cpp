#include <utility>
#include <vector>

#include "peer_formats.h"

namespace teskpf_bench {
namespace {

// A block as a one-line inline value. Inline tables cannot hold comments, so
// the remarks and comment lines inside are collected into `comments`.
std::string inlineValue(const Node &node, std::vector<std::string> &comments) {
    if (!remark(node).empty()) comments.push_back(remark(node));
    if (node.kind == Node::Scalar) return typedLiteral(node);
    std::string out = node.kind == Node::Arr ? "{ " : "[";
    bool first = true;
    for (const Node &member : node.members) {
        if (member.kind == Node::Comment) comments.push_back(member.note);
        if (member.kind == Node::Comment || member.kind == Node::Blank) continue;
        if (!first) out += ", ";
        first = false;
        if (node.kind == Node::Arr) out += member.key + " = ";
        out += inlineValue(member, comments);
    }
    return out + (node.kind == Node::Arr ? " }" : "]");
}

// The elements of a multi-line array, one a line, each followed by ",".
void appendElements(const Node &list, int depth, std::string &out) {
    const std::string indent(static_cast<size_t>(depth) * 2, ' ');
    for (const Node &member : list.members) {
        if (appendNoteLine(member, indent, "#", out)) continue;
        if (member.kind == Node::Tbl) {
            out += indent + "[" + trailingComment(member, "#") + '\n';
            appendElements(member, depth + 1, out);
            out += indent + "],\n";
        } else if (member.kind == Node::Arr) {
            std::vector<std::string> comments;
            std::string value = inlineValue(member, comments);
            for (const std::string &comment : comments) out += indent + "# " + comment + '\n';
            out += indent + value + ",\n";
        } else {
            out += indent + typedLiteral(member) + "," + trailingComment(member, "#") + '\n';
        }
    }
}

// Writes a table's values, lists and comments under the header `path` (none
// for the root), then each nested block as a table of its own: a TOML table
// cannot take more values once a sub-table has started.
void appendTable(const Node &block, const std::string &path, std::string &out) {
    if (!path.empty()) out += "\n[" + path + "]" + trailingComment(block, "#") + '\n';
    std::vector<std::pair<std::string, const Node *>> nested;
    for (const Node &member : block.members) {
        if (appendNoteLine(member, "", "#", out)) continue;
        if (member.kind == Node::Arr) {
            nested.emplace_back(path.empty() ? member.key : path + "." + member.key, &member);
        } else if (member.kind == Node::Tbl) {
            out += member.key + " = [" + trailingComment(member, "#") + '\n';
            appendElements(member, 1, out);
            out += "]\n";
        } else {
            out += member.key + " = " + typedLiteral(member) + trailingComment(member, "#") + '\n';
        }
    }
    for (const auto &[table, member] : nested) appendTable(*member, table, out);
}

}  // namespace

std::string toToml(const Node &root) {
    std::string out;
    appendTable(root, "", out);
    return out;
}

}  // namespace teskpf_bench
