// teskpf explain NAME KEY: every layer's definition of a key, the one in
// effect and why, and the annotation its value is checked against.
#include <iostream>

#include <teskpf/explain.h>
#include <teskpf/search.h>

#include "command.h"
#include "entries.h"
#include "tool_error.h"

namespace teskpf_tool {

namespace {

int runExplain(const CommandLine &line) {
    const std::string &name = line.positional[0];
    const teskpf::KeyExplanation explanation = teskpf::explain(name, keyPathArgument(line.positional[1]));
    std::cout << explanation.key << " in '" << name << "' (PFPATH=" << teskpf::searchPath() << ")\n";
    std::cout << "files, lowest precedence first:";
    for (const std::string &file : explanation.files) std::cout << ' ' << file;
    std::cout << '\n';
    for (const teskpf::KeyDefinition &definition : explanation.definitions) {
        std::cout << (definition.in_effect ? "* " : "  ") << definition.file << ':' << definition.line << ": "
                  << definition.value;
        if (!definition.annotation.empty()) std::cout << "  #" << definition.annotation;
        std::cout << '\n';
    }
    std::cout << "in effect: " << explanation.reason << '\n';
    if (!explanation.annotation.empty())
        std::cout << "checked against: " << explanation.annotation << " (" << explanation.annotation_origin << ")\n";
    else if (!explanation.definitions.empty())
        std::cout << "checked against: nothing (no annotation applies)\n";
    return explanation.definitions.empty() ? kExitFailed : kExitOk;
}

}  // namespace

Command explainCommand() {
    return {"explain",
            "explain NAME KEY",
            "show every file's definition of KEY and which one is in effect",
            "Lists every definition of KEY in the files of NAME along PFPATH,\n"
            "lowest precedence first, as FILE:LINE: VALUE  #ANNOTATION (lines\n"
            "counted from 1); '*' marks the one a lookup finds. Then why that one\n"
            "is in effect (the last file on the path that defines the top-level\n"
            "key wins, and a block is taken whole from one file) and the\n"
            "annotation its value is checked against, with where it is written:\n"
            "its own, its block's, or that of the lower-layer definition it\n"
            "overrides. Exit status 1 when no file defines KEY.\n",
            {{}, {"NAME", "KEY"}, 2, false},
            runExplain,
            "teskpf explain station '[\"telemetry\"][\"port\"]'"};
}

}  // namespace teskpf_tool
