// teskpf show NAME [KEY]: the library's listing of the merged entries.
#include "command.h"
#include "entries.h"
#include "param_files.h"
#include "tool_error.h"

namespace teskpf_tool {

namespace {

int runShow(const CommandLine &line) {
    const std::string &name = line.positional[0];
    TeskPf pf = loadParameterFile(name);
    if (line.positional.size() == 1)
        pf.display();
    else
        pf.display(requireEntry(pf, keyPathArgument(line.positional[1]), name));
    return kExitOk;
}

}  // namespace

Command showCommand() {
    return {"show",
            "show NAME [KEY]",
            "list the merged entries, or the entry KEY",
            "One line per entry, in merged order, fields separated by \"; \":\n"
            "source (file:line, lines counted from 0); level; key path; value;\n"
            "comment; constraints. Comment and blank lines are entries too (with\n"
            "an empty key). A missing KEY is reported on stderr (exit 1).\n",
            {{}, {"NAME", "KEY"}, 1, false},
            runShow,
            "teskpf show station.pf '[\"digitizer\"][\"sample_rate\"]'"};
}

}  // namespace teskpf_tool
