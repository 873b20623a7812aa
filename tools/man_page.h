// The manual page teskpf(1), written from the command table and the help
// sections, so that it says what --help says.
#pragma once

namespace teskpf_tool {

// Prints the page in roff (man(7) macros) on standard output.
void printManPage();

}  // namespace teskpf_tool
