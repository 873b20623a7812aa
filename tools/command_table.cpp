#include "command.h"

namespace teskpf_tool {

const std::vector<Command> &allCommands() {
    static const std::vector<Command> commands = {
        showCommand(), getCommand(),    checkCommand(),  explainCommand(), setCommand(), unsetCommand(), fmtCommand(),
        keysCommand(), exportCommand(), importCommand(), filesCommand(),   lspCommand(), watchCommand(), helpCommand()};
    return commands;
}

const Command *findCommand(const std::string &name) {
    for (const Command &command : allCommands())
        if (command.name == name) return &command;
    return nullptr;
}

}  // namespace teskpf_tool
