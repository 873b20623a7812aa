#include "peer_formats.h"

namespace teskpf_bench {

std::string typedLiteral(const Node &node) { return node.type == Node::Text ? '"' + node.value + '"' : node.value; }

std::string trailingComment(const Node &node, const char *marker) {
    const std::string text = remark(node);
    return text.empty() ? "" : std::string("  ") + marker + " " + text;
}

bool appendNoteLine(const Node &node, const std::string &indent, const char *marker, std::string &out) {
    if (node.kind == Node::Blank) {
        out += '\n';
        return true;
    }
    if (node.kind != Node::Comment) return false;
    out += indent + marker + " " + node.note + '\n';
    return true;
}

}  // namespace teskpf_bench
