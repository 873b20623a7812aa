// The tool's --help texts.
#pragma once

#include "command.h"

namespace teskpf_tool {

void printToolHelp();
void printCommandHelp(const Command &command);

}  // namespace teskpf_tool
