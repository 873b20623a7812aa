#include "bash_completion.h"

#include <iostream>

#include "command.h"

namespace teskpf_tool {

namespace {

std::string commandNames() {
    std::string names;
    for (const Command &command : allCommands()) names += (names.empty() ? "" : " ") + command.name;
    return names;
}

}  // namespace

void printBashCompletion() {
    const std::string names = commandNames();
    std::cout << "# bash completion for teskpf, written by 'teskpf help --bash-completion'.\n"
                 "_teskpf() {\n"
                 "    local cur=${COMP_WORDS[COMP_CWORD]} words=\n"
                 "    if ((COMP_CWORD == 1)); then\n"
                 "        words=\""
              << names
              << " --help --version\"\n"
                 "    elif [[ $cur == -* ]]; then\n"
                 "        case ${COMP_WORDS[1]} in\n";
    for (const Command &command : allCommands()) {
        std::cout << "        " << command.name << ") words=\"";
        for (const OptionSyntax &option : command.syntax.options) std::cout << option.name << ' ';
        std::cout << "--help\" ;;\n";
    }
    std::cout << "        esac\n"
                 "    elif [[ ${COMP_WORDS[1]} == help ]] && ((COMP_CWORD == 2)); then\n"
                 "        words=\""
              << names
              << "\"\n"
                 "    fi\n"
                 "    COMPREPLY=($(compgen -W \"$words\" -- \"$cur\"))\n"
                 "}\n"
                 "complete -o default -F _teskpf teskpf\n";
}

}  // namespace teskpf_tool
