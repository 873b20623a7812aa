#include "man_page.h"

#include <cctype>
#include <iostream>
#include <string>
#include <string_view>

#include "help.h"

namespace teskpf_tool {

namespace {

// Text as roff shows it literally: backslashes and hyphens escaped, a line
// starting with "." or "'" kept from being read as a request.
std::string roffText(std::string_view text) {
    std::string out;
    bool line_start = true;
    for (char c : text) {
        if (line_start && (c == '.' || c == '\'')) out += "\\&";
        if (c == '\\')
            out += "\\e";
        else if (c == '-')
            out += "\\-";
        else
            out += c;
        line_start = c == '\n';
    }
    return out;
}

// Pre-wrapped help text (lines ending in "\n"), kept line for line.
void printLiteral(std::string_view text) { std::cout << ".nf\n" << roffText(text) << ".fi\n"; }

std::string upperCase(std::string text) {
    for (char &c : text) c = static_cast<char>(std::toupper(static_cast<unsigned char>(c)));
    return text;
}

}  // namespace

void printManPage() {
    std::cout << ".TH TESKPF 1 \"\" \"teskpf " TESKPF_VERSION "\" \"User Commands\"\n"
              << ".SH NAME\nteskpf \\- read, check, edit and write parameter files\n"
              << ".SH SYNOPSIS\n.nf\n";
    for (const char *synopsis : kToolSynopsis) std::cout << ".B teskpf " << roffText(synopsis) << '\n';
    std::cout << ".fi\n.SH DESCRIPTION\n" << roffText(kToolPurpose) << "\n.SH COMMANDS\n";
    for (const Command &command : allCommands()) {
        std::cout << ".SS teskpf " << roffText(command.usage) << '\n' << roffText(command.summary) << ".\n.PP\n";
        printLiteral(command.details);
        if (!command.example.empty()) std::cout << ".PP\nExample:\n.RS\n.B " << roffText(command.example) << "\n.RE\n";
    }
    for (const HelpSection &section : toolHelpSections()) {
        std::cout << ".SH " << upperCase(section.title) << '\n';
        printLiteral(section.text);
    }
}

}  // namespace teskpf_tool
