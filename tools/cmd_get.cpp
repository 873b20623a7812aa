// teskpf get NAME KEY [--check]: one value, optionally checked.
#include <iostream>

#include <teskpf/classic.h>

#include "command.h"
#include "entries.h"
#include "param_files.h"
#include "tool_error.h"

namespace teskpf_tool {

namespace {

int runGet(const CommandLine &line) {
    const std::string &name = line.positional[0];
    TeskPf pf = loadParameterFile(name);
    int index = requireEntry(pf, keyPathArgument(line.positional[1]), name);
    std::cout << pf.getValue(index, nullptr, nullptr) << '\n';
    if (!line.has("--check")) return kExitOk;
    const teskpf::Verdict verdict = teskpf::checkInEffect(pf, index);
    if (verdict.ok) return kExitOk;
    printError(verdict.message);
    return kExitFailed;
}

}  // namespace

Command getCommand() {
    return {"get",
            "get NAME KEY [--check]",
            "print the value of KEY",
            "Prints the value (escapes removed) and a line end. With --check the\n"
            "value is also checked against the annotation in effect (its own,\n"
            "else its block's, else the one the same key has in the nearest lower\n"
            "file on PFPATH), as 'teskpf check' does: when it fails, a line on\n"
            "stderr names it and the exit status is 1. A KEY that opens a block\n"
            "passes: an annotation there is for its members, which 'teskpf check'\n"
            "checks. A missing KEY gives exit status 1.\n",
            {{{"--check", false}}, {"NAME", "KEY"}, 2, false},
            runGet,
            "teskpf get station.pf '[\"digitizer\"][\"sample_rate\"]' --check"};
}

}  // namespace teskpf_tool
