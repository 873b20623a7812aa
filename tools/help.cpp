#include "help.h"

#include <iomanip>
#include <iostream>

namespace teskpf_tool {

void printToolHelp() {
    std::cout << "usage: teskpf COMMAND ARGS...\n"
                 "       teskpf COMMAND --help\n"
                 "       teskpf --help | --version\n"
                 "\n"
                 "Reads, checks, edits and writes parameter files.\n"
                 "\n"
                 "commands:\n";
    for (const Command &command : allCommands())
        std::cout << "  " << std::left << std::setw(30) << command.usage << command.summary << '\n';
    std::cout << "\n"
                 "NAME is resolved as the library resolves it: NAME.pf in every directory\n"
                 "of PFPATH (colon-separated, default \".\"), the last file winning each\n"
                 "top-level key; a NAME containing \"/\" is only looked for as itself\n"
                 "(\".pf\" added when missing); when nothing is found, NAME itself if it\n"
                 "is a readable file. A leading \"~\" is the home directory.\n"
                 "\n"
                 "KEY is a key path as 'teskpf keys' prints it, e.g.\n"
                 "'[\"digitizer\"][\"filters\"][0][\"cutoff\"]'; a KEY not starting with \"[\"\n"
                 "names a top-level key: station means [\"station\"].\n"
                 "\n"
                 "exit status: 0 success, 1 a check failed or a key is missing,\n"
                 "2 usage error, unreadable or malformed file, failed write.\n";
}

void printCommandHelp(const Command &command) {
    std::cout << "usage: teskpf " << command.usage << "\n\n"
              << command.summary << ".\n\n"
              << command.details << "\nNAME and KEY: see 'teskpf --help'.\n";
}

}  // namespace teskpf_tool
