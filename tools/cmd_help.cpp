// teskpf help [COMMAND | --man | --markdown | --bash-completion]: the help
// pages, and the man page, tool reference and bash completion, all from the
// command table.
#include "bash_completion.h"
#include "command.h"
#include "help.h"
#include "man_page.h"
#include "markdown_page.h"
#include "tool_error.h"

namespace teskpf_tool {

namespace {

int runHelp(const CommandLine &line) {
    const bool man = line.has("--man"), markdown = line.has("--markdown"), completion = line.has("--bash-completion");
    if (man + markdown + completion + !line.positional.empty() > 1)
        throw UsageError("help: choose one of COMMAND, --man, --markdown and --bash-completion", "help");
    if (man) {
        printManPage();
    } else if (markdown) {
        printMarkdownPage();
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
            "  --markdown         the reference part of docs/tool.md, in Markdown\n"
            "  --bash-completion  a bash script completing commands and options\n",
            {{{"--man", false}, {"--markdown", false}, {"--bash-completion", false}}, {"COMMAND"}, 0, false},
            runHelp,
            "teskpf help get"};
}

}  // namespace teskpf_tool
