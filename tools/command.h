// The subcommands of the tool: what each accepts, its help and its body.
#pragma once

#include <string>
#include <vector>

#include "cli_args.h"

namespace teskpf_tool {

struct Command {
    std::string name;     // e.g. "get"
    std::string usage;    // e.g. "get NAME KEY [--check]"
    std::string summary;  // one line for the top-level help
    std::string details;  // the rest of the subcommand's --help
    CommandSyntax syntax;
    int (*run)(const CommandLine &line);  // returns the exit code
    std::string example = {};             // one command line showing it at work; ends its help
};

// One description per subcommand, each defined in its cmd_*.cpp.
Command showCommand();
Command getCommand();
Command checkCommand();
Command explainCommand();
Command setCommand();
Command unsetCommand();
Command fmtCommand();
Command keysCommand();
Command exportCommand();
Command importCommand();
Command filesCommand();
Command lspCommand();
Command watchCommand();
Command helpCommand();

// Every subcommand, in the order the top-level help lists them.
const std::vector<Command> &allCommands();

// The subcommand called `name`, or null.
const Command *findCommand(const std::string &name);

}  // namespace teskpf_tool
