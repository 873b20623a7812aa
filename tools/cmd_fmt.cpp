// teskpf fmt NAME [-o FILE]: the regenerated parameter-file text.
#include <iostream>

#include "command.h"
#include "param_files.h"
#include "tool_error.h"

namespace teskpf_tool {

namespace {

int runFmt(const CommandLine &line) {
    TeskPf pf = loadParameterFile(line.positional[0]);
    if (line.has("-o"))
        writeToOutput(pf, line.value("-o"));
    else
        std::cout << pf.getPfString();
    return kExitOk;
}

}  // namespace

Command fmtCommand() {
    return {"fmt",
            "fmt NAME [-o FILE]",
            "print the merged entries as regenerated text",
            "Prints the text the library writes for the merged entries: one tab\n"
            "of indentation per level, key, tab, value, tab, comment, with the\n"
            "annotations put back in front of their comments and \"#\" in values\n"
            "escaped. A pf_revision_time line gets the current time. With -o the\n"
            "text is saved atomically to exactly FILE, which keeps its owner, group,\n"
            "mode and extended attributes.\n",
            {{{"-o", true, true}}, {"NAME"}, 1, false},
            runFmt,
            "teskpf fmt station.pf -o station-tidy.pf"};
}

}  // namespace teskpf_tool
