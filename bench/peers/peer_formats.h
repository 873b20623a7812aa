// The benchmark content written in the formats of the libraries TeskPf is
// compared with. Every format keeps every value and comment; where a format
// cannot nest a thing in place (INI sections, TOML tables and inline tables),
// comments and values move next to it but none is dropped.
#pragma once

#include <cstddef>
#include <string>
#include <vector>

#include "generate_pf.h"

namespace teskpf_bench {

// INI for inih: one section per block named by its dotted path, list members
// keyed by position.
std::string toIni(const Node &root);
// libconfig: blocks as groups, lists as lists.
std::string toLibconfig(const Node &root);
// YAML, block style: blocks as mappings, lists as sequences.
std::string toYaml(const Node &root);
// TOML: top-level and nested blocks as tables, lists as arrays whose block
// members are inline tables.
std::string toToml(const Node &root);
// Boost.PropertyTree INFO: blocks as children, list members under empty keys.
std::string toInfo(const Node &root);

// A format of the comparison: its file-name extension and its writer.
struct Format {
    const char *extension;
    std::string (*write)(const Node &root);
};

// Every format of the comparison, parameter-file text ("pf") first.
const std::vector<Format> &formats();

// DIR/LINES.EXTENSION: where the content of `lines` lines is kept in a format.
std::string contentPath(const std::string &dir, size_t lines, const std::string &extension);

// A scalar as a typed literal, for the writers: numbers bare, text in double
// quotes.
std::string typedLiteral(const Node &node);
// The node's remark as a comment at the end of its line, for the writers:
// two blanks, `marker` ("#" or ";"), a blank, the remark; empty without one.
std::string trailingComment(const Node &node, const char *marker);

// Writes a blank or comment node as a line of its own (`indent`, `marker`, a
// blank, the note) and answers true; answers false for any other node, which
// the caller writes in its format.
bool appendNoteLine(const Node &node, const std::string &indent, const char *marker, std::string &out);

}  // namespace teskpf_bench
