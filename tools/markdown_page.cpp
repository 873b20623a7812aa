#include "markdown_page.h"

#include <cctype>
#include <iostream>
#include <string>

#include "help.h"

namespace teskpf_tool {

namespace {

// Pre-wrapped help text, kept line for line in a fenced block.
void printLiteral(const std::string &text) { std::cout << "```text\n" << text << "```\n"; }

// `text` with its first letter in upper case, as a heading or a sentence starts.
std::string capitalized(std::string text) {
    if (!text.empty()) text[0] = static_cast<char>(std::toupper(static_cast<unsigned char>(text[0])));
    return text;
}

}  // namespace

const char *const kEndOfGeneratedReference =
    "<!-- End of the generated reference. The sessions below are written by hand; CI runs each one. -->";

void printMarkdownPage() {
    std::cout << "# The `teskpf` tool\n\n"
              << "<!-- Written by `teskpf help --markdown` from the tool's help text; do not edit. -->\n\n"
              << kToolPurpose << " Every page below is also `teskpf help COMMAND` (or `teskpf COMMAND --help`),"
              << " and the installed manual page `man teskpf` holds the same text.\n\n```text\n";
    for (const char *synopsis : kToolSynopsis) std::cout << "teskpf " << synopsis << '\n';
    std::cout << "```\n\n| command | what it does |\n|---|---|\n";
    for (const Command &command : allCommands())
        std::cout << "| [`" << command.name << "`](#teskpf-" << command.name << ") | " << command.summary << " |\n";
    for (const HelpSection &section : toolHelpSections()) {
        std::cout << "\n## " << capitalized(section.title) << "\n\n";
        printLiteral(section.text);
    }
    for (const Command &command : allCommands()) {
        std::cout << "\n## teskpf " << command.name << "\n\n```text\nteskpf " << command.usage << "\n```\n\n"
                  << capitalized(command.summary) << ".\n\n";
        printLiteral(command.details);
        if (!command.example.empty()) std::cout << "\nExample:\n\n```sh\n" << command.example << "\n```\n";
    }
    std::cout << "\n" << kEndOfGeneratedReference << "\n";
}

}  // namespace teskpf_tool
