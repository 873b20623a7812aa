// The tool reference docs/tool.md, written from the command table and the
// help sections, so that it says what --help says.
#pragma once

namespace teskpf_tool {

// The line that ends the generated reference; docs/tool.md goes on after it
// with shell sessions written by hand.
extern const char *const kEndOfGeneratedReference;

// Prints the reference in Markdown on standard output, ending with
// kEndOfGeneratedReference.
void printMarkdownPage();

}  // namespace teskpf_tool
