// pfcompile: parameter-file text to a Pf tree, one line at a time.
#include <cstring>
#include <string>
#include <string_view>

#include "internal/pf_tree.h"
#include "syntax/BlockSyntax.h"
#include "syntax/LineLexer.h"

namespace {

// The node `value` stands for: a new block when it opens one (the rest is
// ignored), a scalar otherwise. NULL when out of memory.
Pf *node_for_value(const std::string &value) {
    switch (teskpf::blockOpenedBy(value)) {
    case teskpf::BlockKind::Arr: return pf_new_block(PF_ARR);
    case teskpf::BlockKind::Tbl: return pf_new_block(PF_TBL);
    case teskpf::BlockKind::None: break;
    }
    return pf_new_scalar(value.c_str());
}

// Compiles one line into *block, the innermost open block; a line that opens
// or closes a block moves *block. The line is split by the one line lexer
// that every reader uses (`fields` is its reusable buffer). Returns 0 or a
// PF_ERR_ code.
int compile_line(std::string_view line, Pf **block, teskpf::LineFields &fields) {
    const std::string_view text = teskpf::trimmed(line);
    if (teskpf::closesBlock(text)) {
        if (!(*block)->parent) return PF_ERR_STRAY_CLOSE;
        (*block)->filled_out = 1;
        *block = (*block)->parent;
        return 0;
    }
    const bool in_list = (*block)->type == PF_TBL;
    teskpf::lexLine(text, in_list, fields);
    if (fields.key.empty() && fields.value.empty()) return 0;  // a blank or comment-only line
    // The lexer gives a key to every line with text outside a list.
    if (!in_list && fields.key.empty()) return PF_ERR_NOKEY;
    Pf *member = node_for_value(std::string(fields.value));
    if (!member) return PF_ERR_MEMORY;
    int status = in_list ? pf_tbl_append(*block, member) : pf_arr_put(*block, std::string(fields.key).c_str(), member);
    if (status == 0 && member->type != PF_STRING) *block = member;
    return status;
}

}  // namespace

extern "C" int pfcompile(char *text, Pf **pf) {
    if (!text || !pf) return PF_ERR_ARGUMENT;
    // Lines are found with memchr over the known rest, never by scanning to
    // the end per line; the caller's text stays as it is.
    Pf *root = pf_new_block(PF_ARR);
    if (!root) return PF_ERR_MEMORY;
    const std::string_view all(text, strlen(text));
    Pf *block = root;
    int status = 0;
    teskpf::LineFields fields;
    for (size_t begin = 0; begin <= all.size() && status == 0;) {
        size_t end = all.find('\n', begin);
        if (end == std::string_view::npos) end = all.size();
        status = compile_line(all.substr(begin, end - begin), &block, fields);
        begin = end + 1;
    }
    if (status == 0 && block != root) status = PF_ERR_UNCLOSED;
    if (status != 0) {
        pffree(root);
        return status;
    }
    root->filled_out = 1;
    *pf = root;
    return 0;
}
