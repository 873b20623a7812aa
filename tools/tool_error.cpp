#include "tool_error.h"

#include <iostream>

namespace teskpf_tool {

namespace {

// Names and keys typed on the command line may hold line ends, and messages
// quote them: keep every report on one line.
std::string oneLine(std::string message) {
    for (char &c : message)
        if (c == '\n' || c == '\r') c = ' ';
    return message;
}

}  // namespace

void printError(const std::string &message) {
    std::cout.flush();  // keep the order of what was already printed
    std::cerr << "teskpf: " << oneLine(message) << '\n';
}

int runReportingErrors(const std::function<int()> &body) {
    try {
        return body();
    } catch (const UsageError &error) {
        std::string help = error.command.empty() ? "teskpf --help" : "teskpf " + error.command + " --help";
        printError(std::string(error.what()) + " (see '" + help + "')");
        return error.exit_code;
    } catch (const ToolError &error) {
        printError(error.what());
        return error.exit_code;
    } catch (const std::string &message) {
        printError(message);
        return kExitError;
    } catch (const std::exception &error) {
        printError(error.what());
        return kExitError;
    }
}

}  // namespace teskpf_tool
