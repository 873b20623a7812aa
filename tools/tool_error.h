// Errors of the tool and how they reach the user.
#pragma once

#include <functional>
#include <stdexcept>
#include <string>

namespace teskpf_tool {

// Exit codes of every subcommand.
enum ExitCode {
    kExitOk = 0,      // success
    kExitFailed = 1,  // a check failed or a key is missing
    kExitError = 2    // usage error, unreadable or malformed file, failed write
};

// Ends a subcommand: printed as "teskpf: MESSAGE", exits with `exit_code`.
class ToolError : public std::runtime_error {
public:
    ToolError(const std::string &message, int code) : std::runtime_error(message), exit_code(code) {}
    int exit_code;
};

// A command line that cannot run. `command` names the subcommand whose
// --help the message points to ("" for the top-level help).
class UsageError : public ToolError {
public:
    UsageError(const std::string &message, const std::string &for_command = "")
        : ToolError(message, kExitError), command(for_command) {}
    std::string command;
};

// Prints "teskpf: MESSAGE" as one line on standard error.
void printError(const std::string &message);

// Runs `body` and returns its exit code. Whatever it throws (ToolError, the
// library's std::string messages, any std::exception) is printed with
// printError and turned into an exit code, so that bad input never crashes.
int runReportingErrors(const std::function<int()> &body);

}  // namespace teskpf_tool
