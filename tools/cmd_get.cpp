// teskpf get NAME KEY [--check]: one value, optionally checked.
#include <iostream>

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
    bool ok = true;
    std::cout << pf.getValue(index, &ok, nullptr) << '\n';
    if (ok || !line.has("--check")) return kExitOk;
    printError(violationText(pf, index));
    return kExitFailed;
}

}  // namespace

Command getCommand() {
    return {"get",
            "get NAME KEY [--check]",
            "print the value of KEY",
            "Prints the value (escapes removed) and a line end. With --check the\n"
            "value is also checked against its constraints (its own annotation,\n"
            "else its block's): when it fails, a line on stderr names them and\n"
            "the exit status is 1. A missing KEY gives exit status 1.\n",
            {{{"--check", false}}, {"NAME", "KEY"}, 2, false},
            runGet,
            "teskpf get station.pf '[\"digitizer\"][\"sample_rate\"]' --check"};
}

}  // namespace teskpf_tool
