// pfcompile: parameter-file text to a Pf tree, one line at a time.
#include <cstdlib>
#include <cstring>

#include "detail/BlockSyntax.h"
#include "internal/pf_tree.h"
#include "pf_strtrim.h"

namespace {

// Ends `line` where its comment starts: at the first "#" not directly after a
// backslash.
void cut_comment(char *line) {
    for (char *c = line; *c; ++c)
        if (*c == '#' && (c == line || c[-1] != '\\')) {
            *c = '\0';
            return;
        }
}

void tabs_to_blanks(char *line) {
    for (; *line; ++line)
        if (*line == '\t') *line = ' ';
}

// Drops each backslash directly followed by "#", the only escape.
void unescape(char *value) {
    char *out = value;
    for (const char *in = value; *in; ++in)
        if (!(in[0] == '\\' && in[1] == '#')) *out++ = *in;
    *out = '\0';
}

// The node `value` stands for: a new block when it opens one (the rest is
// ignored), a scalar otherwise. NULL when out of memory.
Pf *node_for_value(const char *value) {
    switch (teskpf::blockOpenedBy(value)) {
    case teskpf::BlockKind::Arr: return pf_new_block(PF_ARR);
    case teskpf::BlockKind::Tbl: return pf_new_block(PF_TBL);
    case teskpf::BlockKind::None: break;
    }
    return pf_new_scalar(value);
}

// Compiles one line (modified in place) into *block, the innermost open
// block; a line that opens or closes a block moves *block. Returns 0 or a
// PF_ERR_ code.
int compile_line(char *line, Pf **block) {
    strtrim(line);
    if (teskpf::closesBlock(line)) {
        if (!(*block)->parent) return PF_ERR_STRAY_CLOSE;
        (*block)->filled_out = 1;
        *block = (*block)->parent;
        return 0;
    }
    cut_comment(line);
    tabs_to_blanks(line);
    strtrim(line);
    if (!*line) return 0;

    const char *key = nullptr;
    char *value = line;
    if ((*block)->type == PF_ARR) {
        key = line;
        char *blank = strchr(line, ' ');
        if (blank) {
            *blank = '\0';
            value = strtrim(blank + 1);
        } else {
            value = line + strlen(line);
        }
        // Trimming leaves no leading blank, so this only guards the invariant.
        if (!*key && *value) return PF_ERR_NOKEY;
    }
    unescape(value);
    Pf *member = node_for_value(value);
    if (!member) return PF_ERR_MEMORY;
    int status = key ? pf_arr_put(*block, key, member) : pf_tbl_append(*block, member);
    if (status == 0 && member->type != PF_STRING) *block = member;
    return status;
}

}  // namespace

extern "C" int pfcompile(char *text, Pf **pf) {
    if (!text || !pf) return PF_ERR_ARGUMENT;
    // Worked on in place; the caller's text stays as it is. Lines are found
    // with memchr over the known rest, never by scanning to the end per line.
    size_t length = strlen(text);
    char *copy = strdup(text);
    Pf *root = copy ? pf_new_block(PF_ARR) : nullptr;
    if (!root) {
        free(copy);
        return PF_ERR_MEMORY;
    }
    Pf *block = root;
    int status = 0;
    for (char *line = copy; line && status == 0;) {
        char *end = static_cast<char *>(memchr(line, '\n', static_cast<size_t>(copy + length - line)));
        if (end) *end = '\0';
        status = compile_line(line, &block);
        line = end ? end + 1 : nullptr;
    }
    free(copy);
    if (status == 0 && block != root) status = PF_ERR_UNCLOSED;
    if (status != 0) {
        pffree(root);
        return status;
    }
    root->filled_out = 1;
    *pf = root;
    return 0;
}
