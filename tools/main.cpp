// teskpf: command-line access to parameter files. Dispatches to the
// subcommands and turns every error into a message and an exit code.
#include <csignal>
#include <cstdio>
#include <iostream>
#include <string>
#include <vector>

#include "command.h"
#include "help.h"
#include "teskpf/save.h"
#include "tool_error.h"

using namespace teskpf_tool;

namespace {

constexpr int kEndingSignals[] = {SIGINT, SIGTERM, SIGHUP};

// Removes the temporary file of a save in progress, then lets the signal end
// the tool as it would have: SA_RESETHAND has restored the default action,
// and the raised signal arrives as soon as the handler returns.
void removeTempFilesAndEnd(int signal) {
    teskpf::removeTempFilesOnSignal();
    std::raise(signal);
}

void removeTempFilesOnEndingSignals() {
    struct sigaction action {};
    action.sa_handler = removeTempFilesAndEnd;
    action.sa_flags = static_cast<int>(SA_RESETHAND);
    sigemptyset(&action.sa_mask);
    for (int signal : kEndingSignals) sigaddset(&action.sa_mask, signal);
    for (int signal : kEndingSignals) {
        struct sigaction current {};
        // A signal ignored by whoever started the tool (nohup) stays ignored.
        if (sigaction(signal, nullptr, &current) == 0 && current.sa_handler != SIG_IGN)
            sigaction(signal, &action, nullptr);
    }
}

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
    removeTempFilesOnEndingSignals();
    const std::vector<std::string> args(argv + 1, argv + argc);
    int status = runReportingErrors([&] { return dispatch(args); });
    // Output that never arrived (a full disk, a closed pipe) is an error too.
    if (!std::cout.flush() || std::fflush(stdout) != 0) {
        printError("cannot write to standard output");
        return kExitError;
    }
    return status;
}
