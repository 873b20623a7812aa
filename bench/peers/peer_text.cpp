#include "peer_formats.h"

namespace teskpf_bench {

std::string typedLiteral(const Node &node) { return node.type == Node::Text ? '"' + node.value + '"' : node.value; }

std::string trailingComment(const Node &node, const char *marker) {
    const std::string text = remark(node);
    return text.empty() ? "" : std::string("  ") + marker + " " + text;
}

}  // namespace teskpf_bench
