// The tool's help texts. The command table (command.h) and the sections
// below are the one source of the --help pages, the man page and the bash
// completion.
#pragma once

#include <vector>

#include "command.h"

namespace teskpf_tool {

// What the tool is for, one sentence.
extern const char kToolPurpose[];

// The ways to call the tool, one per line, without the leading "teskpf ".
extern const char *const kToolSynopsis[4];

// A part of the top-level help that every command refers to.
struct HelpSection {
    const char *title;  // e.g. "exit status"
    const char *text;   // lines ending in "\n"; an empty line separates paragraphs
};
const std::vector<HelpSection> &toolHelpSections();

// `teskpf --help`, `teskpf help`, on standard output.
void printToolHelp();
// `teskpf COMMAND --help`, `teskpf help COMMAND`, on standard output.
void printCommandHelp(const Command &command);

}  // namespace teskpf_tool
