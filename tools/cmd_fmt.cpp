// teskpf fmt NAME [-o FILE]: the regenerated parameter-file text.

#include <teskpf/document.h>
#include <teskpf/flatten.h>
#include <teskpf/search.h>

#include "command.h"
#include "param_files.h"
#include "tool_error.h"

namespace teskpf_tool {

namespace {

int runFmt(const CommandLine &line) {
    const std::string &name = line.positional[0];
    if (name == kStandardInput) {
        // Text read alone: no layers, so nothing to take from lower files.
        printOrWriteText(teskpf::Document::parse(readStandardInput(), "<stdin>").toString(), line);
        return kExitOk;
    }
    if (teskpf::parameterFiles(name).empty()) throwNoParameterFile(name);
    printOrWriteText(teskpf::flattenedText(name), line);
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
            "escaped. A value that takes the annotation in effect from a lower\n"
            "file's definition it overrides gets that annotation on its line, so\n"
            "that the text alone checks as the layers do. A pf_revision_time line\n"
            "gets the current time. With -o the text is saved atomically to\n"
            "exactly FILE, which keeps its owner, group, mode and extended\n"
            "attributes. NAME \"-\" reads the text of one file from standard input.\n",
            {{{"-o", true, true}}, {"NAME"}, 1, false},
            runFmt,
            "teskpf fmt station.pf -o station-tidy.pf"};
}

}  // namespace teskpf_tool
