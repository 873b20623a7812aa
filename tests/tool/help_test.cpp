// The tool's help from its one source, the command table: `teskpf help`,
// the man page and the bash completion the build writes.
#include <sys/wait.h>

#include <cstdio>
#include <cstdlib>
#include <sstream>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "test_support.h"

using test_support::readText;

namespace {

// The standard output of the shell command `command`.
std::string shellOutput(const std::string &command) {
    std::string out;
    FILE *pipe = popen(command.c_str(), "r");
    if (!pipe) return out;
    char buffer[4096];
    for (size_t n; (n = fread(buffer, 1, sizeof buffer, pipe)) > 0;) out.append(buffer, n);
    pclose(pipe);
    return out;
}

// The standard output of `teskpf ARGS` (ARGS as shell words).
std::string output(const std::string &args) {
    return shellOutput("'" + std::string(TESKPF_TOOL) + "' " + args + " 2>/dev/null");
}

// The exit status of `teskpf ARGS`.
int status(const std::string &args) {
    return WEXITSTATUS(std::system(("'" + std::string(TESKPF_TOOL) + "' " + args + " >/dev/null 2>&1").c_str()));
}

// What the generated bash completion offers for `WORDS` (shell words, the
// last one being completed), one candidate a line.
std::string completions(const std::string &words) {
    return shellOutput("bash -c 'source \"$0\"; COMP_WORDS=(" + words +
                       "); COMP_CWORD=$((${#COMP_WORDS[@]} - 1)); _teskpf; printf \"%s\\n\" \"${COMPREPLY[@]}\"' '" +
                       TESKPF_BASH_COMPLETION + "'");
}

// The command names of the listing in `teskpf help`.
std::vector<std::string> commandNames() {
    std::istringstream help(output("help"));
    std::vector<std::string> names;
    bool in_listing = false;
    for (std::string line; std::getline(help, line);) {
        if (line == "commands:")
            in_listing = true;
        else if (line.empty())
            in_listing = false;
        else if (in_listing && line.compare(0, 3, "   ") != 0)
            names.push_back(line.substr(2, line.find(' ', 2) - 2));
    }
    return names;
}

}  // namespace

TEST(Help, ListsEveryCommandAndTheSameTextAsOptionHelp) {
    const std::vector<std::string> names = commandNames();
    ASSERT_GE(names.size(), 8u);
    EXPECT_EQ(output("help"), output("--help"));
    for (const std::string &name : names) {
        SCOPED_TRACE(name);
        const std::string page = output("help " + name);
        EXPECT_EQ(page.rfind("usage: teskpf " + name, 0), 0u);
        EXPECT_EQ(page, output(name + " --help"));
    }
}

TEST(Help, EndsWithAnExample) {
    const std::string page = output("help help"), last = "\n\nExample: teskpf help get\n";
    ASSERT_GT(page.size(), last.size());
    EXPECT_EQ(page.substr(page.size() - last.size()), last);
    for (const char *name : {"show", "get", "check", "explain", "set", "unset", "fmt", "keys", "files"}) {
        const std::string text = output(std::string("help ") + name);
        const size_t last_line = text.rfind('\n', text.size() - 2);
        EXPECT_EQ(text.compare(last_line, 10, "\nExample: "), 0) << text;
    }
}

TEST(Help, RefusesAnUnknownCommandAndTwoTopics) {
    EXPECT_EQ(status("help frobnicate"), 2);
    EXPECT_EQ(status("help get --man"), 2);
}

TEST(Help, ManPageIsTheGeneratedOneAndDescribesEveryCommand) {
    const std::string page = readText(TESKPF_MAN_PAGE);
    EXPECT_EQ(page, output("help --man"));
    EXPECT_EQ(page.rfind(".TH TESKPF 1 ", 0), 0u);
    for (const std::string &name : commandNames())
        EXPECT_NE(page.find("\n.SS teskpf " + name), std::string::npos) << name;
    EXPECT_NE(page.find("\n.SH EXIT STATUS\n"), std::string::npos);
}

TEST(Help, ToolReferenceIsTheGeneratedOneAndDescribesEveryCommand) {
    // The page is the generated reference followed by sessions written by hand.
    const std::string page = readText(TESKPF_TOOL_REFERENCE);
    const std::string generated = output("help --markdown");
    EXPECT_EQ(page.substr(0, generated.size()), generated)
        << "regenerate its first part: teskpf help --markdown, up to the line that ends it";
    for (const std::string &name : commandNames())
        EXPECT_NE(page.find("\n## teskpf " + name + "\n"), std::string::npos) << name;
}

TEST(Help, BashCompletionIsTheGeneratedOneAndOffersEveryCommand) {
    EXPECT_EQ(readText(TESKPF_BASH_COMPLETION), output("help --bash-completion"));
    std::string all;
    for (const std::string &name : commandNames()) all += name + "\n";
    EXPECT_EQ(completions("teskpf \"\""), all + "--help\n--version\n");
    EXPECT_EQ(completions("teskpf help \"\""), all);
    EXPECT_EQ(completions("teskpf s"), "show\nset\n");
    EXPECT_EQ(completions("teskpf keys x --"), "--perl\n--table\n--json\n--help\n");
    EXPECT_EQ(completions("teskpf get x \"\""), "\n");  // nothing: bash falls back to file names
}
