// The tool reference docs/tool.md, written from the command table and the
// help sections, so that it says what --help says.
#pragma once

namespace teskpf_tool {

// Prints the reference in Markdown on standard output.
void printMarkdownPage();

}  // namespace teskpf_tool
