#include "help.h"

#include <iostream>
#include <string>

namespace teskpf_tool {

const char kToolPurpose[] = "Reads, checks, edits and writes parameter files.";

const char *const kToolSynopsis[4] = {"COMMAND ARGS...", "COMMAND --help", "help [COMMAND]", "--help | --version"};

const std::vector<HelpSection> &toolHelpSections() {
    static const std::vector<HelpSection> sections = {
        {"names and keys",
         "NAME names files by one rule, the library's (teskpf::namedFiles), for\n"
         "every command; 'teskpf files NAME' shows what it names and why:\n"
         "  station, station.pf    no \"/\": station.pf in every directory of\n"
         "                         PFPATH (colon-separated, default \".\"),\n"
         "                         layered: the last file wins each top-level key\n"
         "  ./station.pf, dir/x    a \"/\": that file alone (\".pf\" added when\n"
         "  /abs/x.pf, ~/x.pf      missing)\n"
         "  notes.conf             when the above finds nothing: NAME itself, if\n"
         "                         it is a readable file, alone\n"
         "A leading \"~\" is the home directory. To read one file of the current\n"
         "directory alone while PFPATH holds others, write it as ./FILE.pf.\n"
         "FILE after an option (-o, --file) is written or edited: -o is that\n"
         "path exactly; --file must name one file by the rule above.\n"
         "\n"
         "KEY is a key path as 'teskpf keys' prints it, e.g.\n"
         "'[\"digitizer\"][\"filters\"][0][\"cutoff\"]'; a KEY not starting with \"[\"\n"
         "names a top-level key: station means [\"station\"].\n"},
        {"exit status",
         "0 success, 1 a check failed or a key is missing,\n"
         "2 usage error, unreadable or malformed file, failed write.\n"},
    };
    return sections;
}

void printToolHelp() {
    const char *prefix = "usage: ";
    for (const char *synopsis : kToolSynopsis) {
        std::cout << prefix << "teskpf " << synopsis << '\n';
        prefix = "       ";
    }
    std::cout << '\n' << kToolPurpose << "\n\ncommands:\n";
    // The summaries line up after the usages; a usage too long for that
    // column gets a line of its own.
    const size_t column = 30;
    for (const Command &command : allCommands()) {
        std::cout << "  " << command.usage;
        if (command.usage.size() < column)
            std::cout << std::string(column - command.usage.size(), ' ');
        else
            std::cout << '\n' << std::string(column + 2, ' ');
        std::cout << command.summary << '\n';
    }
    for (const HelpSection &section : toolHelpSections()) std::cout << '\n' << section.title << ":\n" << section.text;
}

void printCommandHelp(const Command &command) {
    std::cout << "usage: teskpf " << command.usage << "\n\n"
              << command.summary << ".\n\n"
              << command.details << "\nNAME and KEY: see 'teskpf --help'.\n";
    if (!command.example.empty()) std::cout << "\nExample: " << command.example << '\n';
}

}  // namespace teskpf_tool
