// teskpf: command-line access to parameter files. Dispatches to the
// subcommands and turns every error into a message and an exit code.
#include <cstdio>
#include <iostream>
#include <string>
#include <vector>

#include "command.h"
#include "help.h"
#include "tool_error.h"

using namespace teskpf_tool;

namespace {

int dispatch(const std::vector<std::string> &args) {
    if (args.empty()) throw UsageError("missing command");
    const std::string &first = args[0];
    if (first == "--help" || first == "-h") {
        printToolHelp();
        return kExitOk;
    }
    if (first == "--version") {
        std::cout << "teskpf " TESKPF_VERSION "\n";
        return kExitOk;
    }
    const Command *command = findCommand(first);
    if (!command) throw UsageError("unknown command '" + first + "'");
    const std::vector<std::string> rest(args.begin() + 1, args.end());
    if (wantsHelp(rest)) {
        printCommandHelp(*command);
        return kExitOk;
    }
    return command->run(parseCommandLine(rest, command->syntax, command->name));
}

}  // namespace

int main(int argc, char **argv) {
    const std::vector<std::string> args(argv + 1, argv + argc);
    int status = runReportingErrors([&] { return dispatch(args); });
    // Output that never arrived (a full disk, a closed pipe) is an error too.
    if (!std::cout.flush() || std::fflush(stdout) != 0) {
        printError("cannot write to standard output");
        return kExitError;
    }
    return status;
}
