// The bash completion of teskpf, written from the command table.
#pragma once

namespace teskpf_tool {

// Prints a bash script defining the completion on standard output:
// subcommand names after "teskpf" and "teskpf help", each subcommand's
// options after "-", file names otherwise.
void printBashCompletion();

}  // namespace teskpf_tool
