// teskpf get NAME KEY [--check] [--json]: one value, optionally checked.
#include <iostream>

#include <teskpf/classic.h>

#include "command.h"
#include "entries.h"
#include "json_output.h"
#include "param_files.h"
#include "tool_error.h"

namespace teskpf_tool {

namespace {

// KEY's value, block or list as JSON, checked as without --json.
int printJsonValue(const CommandLine &line) {
    const std::string &name = line.positional[0];
    const teskpf::Document document = loadDocument(name);
    const std::string key = keyPathArgument(line.positional[1]);
    const teskpf::Node node = document.find(key);
    if (!node) requireEntry(loadParameterFile(name), key, name);  // throws, naming the nearest keys
    printJson(nodeJson(node, jsonOptions(line)), std::cout);
    if (!line.has("--check")) return kExitOk;
    const teskpf::Verdict verdict = node.check();
    if (verdict.ok) return kExitOk;
    printError(verdict.message);
    return kExitFailed;
}

int runGet(const CommandLine &line) {
    const std::string &name = line.positional[0];
    if (line.has("--json")) return printJsonValue(line);
    if (line.has("--typed") || line.has("--with-origin"))
        throw UsageError("get: --typed and --with-origin go with --json", "get");
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
            "get NAME KEY [--check] [--json [--typed] [--with-origin]]",
            "print the value of KEY",
            "Prints the value (escapes removed) and a line end. With --check the\n"
            "value is also checked against the annotation in effect (its own,\n"
            "else its block's, else the one the same key has in the nearest lower\n"
            "file on PFPATH), as 'teskpf check' does: when it fails, a line on\n"
            "stderr names it and the exit status is 1. A KEY that opens a block\n"
            "passes: an annotation there is for its members, which 'teskpf check'\n"
            "checks. A missing KEY gives exit status 1.\n"
            "  --json         print JSON instead: a value as a string, a block as an\n"
            "                 object, a list as an array (see 'teskpf export', whose\n"
            "                 --typed and --with-origin it takes too)\n",
            {{{"--check", false}, {"--json", false}, {"--typed", false}, {"--with-origin", false}},
             {"NAME", "KEY"},
             2,
             false},
            runGet,
            "teskpf get station.pf '[\"digitizer\"][\"sample_rate\"]' --check"};
}

}  // namespace teskpf_tool
