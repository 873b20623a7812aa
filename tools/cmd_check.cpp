// teskpf check NAME...: every value against its constraints (the linter).
#include <algorithm>
#include <iostream>

#include "command.h"
#include "entries.h"
#include "param_files.h"
#include "tool_error.h"

namespace teskpf_tool {

namespace {

// Prints one line per problem of the loaded entries; true when there is none.
bool reportProblems(const TeskPf &pf) {
    bool clean = true;
    for (int i = 0; i < pf.size(); ++i) {
        if (isCommentEntry(pf, i)) continue;
        const std::string source = pf.getSource(i);
        bool parsed = true;
        const std::string constraints = pf.getConstraints(i, &parsed);
        if (!parsed) {
            std::cout << source << ": " << pf.getKey(i) << ": cannot parse constraints '" << constraints << "'\n";
            clean = false;
        }
        // A block opening's annotation applies to its members, not to "&Arr".
        if (!isBlockOpening(pf, i) && !pf.checkValue(i, nullptr, nullptr)) {
            std::cout << source << ": " << violationText(pf, i) << '\n';
            clean = false;
        }
    }
    return clean;
}

int runCheck(const CommandLine &line) {
    // Every name is checked even after one fails to read: the worst status wins.
    int status = kExitOk;
    for (const std::string &name : line.positional) {
        int result = runReportingErrors(
            [&] { return reportProblems(loadParameterFile(name)) ? kExitOk : kExitFailed; });
        status = std::max(status, result);
    }
    return status;
}

}  // namespace

Command checkCommand() {
    return {"check",
            "check NAME...",
            "check every value against its constraints",
            "Checks each entry that holds a value (not block openings, comments or\n"
            "blank lines) against its constraints: its own annotation, else its\n"
            "block's. Prints one line per problem to stdout:\n"
            "  SOURCE: KEY: VALUE does not satisfy CONSTRAINTS\n"
            "  SOURCE: KEY: cannot parse constraints 'TEXT'\n"
            "SOURCE is file:line, lines counted from 0. Exit status 1 when any\n"
            "problem was found, 2 when a file could not be read, else 0.\n",
            {{}, {"NAME"}, 1, true},
            runCheck};
}

}  // namespace teskpf_tool
