// teskpf help [COMMAND | --man | --bash-completion]: the help pages, and the
// man page and bash completion the build installs, all from the command table.
#include "bash_completion.h"
#include "command.h"
#include "help.h"
#include "man_page.h"
#include "tool_error.h"

namespace teskpf_tool {

namespace {

int runHelp(const CommandLine &line) {
    const bool man = line.has("--man"), completion = line.has("--bash-completion");
    if (man + completion + !line.positional.empty() > 1)
        throw UsageError("help: choose one of COMMAND, --man and --bash-completion", "help");
    if (man) {
        printManPage();
    } else if (completion) {
        printBashCompletion();
    } else if (line.positional.empty()) {
        printToolHelp();
    } else {
        const Command *command = findCommand(line.positional[0]);
        if (!command) throw UsageError("help: unknown command '" + line.positional[0] + "'", "help");
        printCommandHelp(*command);
    }
    return kExitOk;
}

}  // namespace

Command helpCommand() {
    return {"help",
            "help [COMMAND]",
            "show the help of the tool or of COMMAND",
            "Without COMMAND, the same text as 'teskpf --help'; with it, the same\n"
            "as 'teskpf COMMAND --help'.\n"
            "  --man              the manual page teskpf(1), in roff\n"
            "  --bash-completion  a bash script completing commands and options\n",
            {{{"--man", false}, {"--bash-completion", false}}, {"COMMAND"}, 0, false},
            runHelp,
            "teskpf help get"};
}

}  // namespace teskpf_tool
