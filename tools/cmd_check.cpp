// teskpf check [--format text|json|github] [--strict] [--disable RULE,...] NAME|FILE|DIR|-...: the linter.
#include <algorithm>
#include <filesystem>
#include <iostream>

#include <teskpf/diagnostics.h>
#include <teskpf/error.h>
#include <teskpf/search.h>

#include "command.h"
#include "diagnostic_output.h"
#include "param_files.h"
#include "tool_error.h"

namespace teskpf_tool {

namespace {

namespace fs = std::filesystem;

// Every *.pf file below `dir`, sorted.
std::vector<std::string> parameterFilesBelow(const std::string &dir) {
    std::vector<std::string> files;
    std::error_code error;
    fs::recursive_directory_iterator it(dir, error), end;
    for (; !error && it != end; it.increment(error)) {
        std::error_code ignored;
        if (it->path().extension() == ".pf" && it->is_regular_file(ignored)) files.push_back(it->path().string());
    }
    if (error) throw ToolError("cannot read directory " + dir + ": " + error.message(), kExitError);
    std::sort(files.begin(), files.end());
    return files;
}

// The diagnostics of one argument: the files it names (teskpf::namedFiles),
// layered; or, for a directory, each *.pf file below it alone. Adds the
// files checked to `files`.
std::vector<teskpf::Diagnostic> checkArgument(const std::string &arg, const teskpf::CheckOptions &options,
                                              size_t &files) {
    if (arg == kStandardInput) {
        ++files;
        return teskpf::checkText(readStandardInput(), "<stdin>", options);
    }
    std::error_code ignored;
    if (fs::is_directory(arg, ignored)) {
        std::vector<teskpf::Diagnostic> all;
        // Each has a "/", so it names that file alone.
        for (const std::string &file : parameterFilesBelow(arg)) {
            std::vector<teskpf::Diagnostic> found = teskpf::checkFile(file, options);
            all.insert(all.end(), found.begin(), found.end());
            ++files;
        }
        return all;
    }
    const size_t layers = teskpf::parameterFiles(arg).size();
    if (layers == 0) throwNoParameterFile(arg);
    std::vector<teskpf::Diagnostic> found = teskpf::checkName(arg, options);
    files += layers;
    return found;
}

OutputFormat formatOption(const CommandLine &line) {
    const std::string format = line.has("--format") ? line.value("--format") : "text";
    if (format == "text") return OutputFormat::Text;
    if (format == "json") return OutputFormat::Json;
    if (format == "github") return OutputFormat::Github;
    throw UsageError("check: unknown format '" + format + "' (text, json or github)", "check");
}

// The rules --disable names (comma-separated), checked once before any file
// is read: the library refuses unknown ones, and an empty text reads nothing.
teskpf::CheckOptions checkOptions(const CommandLine &line) {
    teskpf::CheckOptions options;
    if (!line.has("--disable")) return options;
    options.disabled_rules.push_back(line.value("--disable"));
    try {
        teskpf::checkText({}, kStandardInput, options);
    } catch (const teskpf::Error &error) {
        throw UsageError(std::string("check: ") + error.what(), "check");
    }
    return options;
}

int runCheck(const CommandLine &line) {
    const OutputFormat format = formatOption(line);
    const teskpf::CheckOptions options = checkOptions(line);
    std::vector<teskpf::Diagnostic> all;
    size_t files = 0;
    // Every argument is checked even after one fails to read: the worst status wins.
    int status = kExitOk;
    for (const std::string &arg : line.positional) {
        status = std::max(status, runReportingErrors([&] {
                              std::vector<teskpf::Diagnostic> found = checkArgument(arg, options, files);
                              all.insert(all.end(), found.begin(), found.end());
                              return kExitOk;
                          }));
    }
    printDiagnostics(all, format, std::cout);
    const size_t errors = static_cast<size_t>(
        std::count_if(all.begin(), all.end(), [](const auto &d) { return d.severity == teskpf::Severity::Error; }));
    const size_t warnings = all.size() - errors;
    std::cout.flush();
    // Nothing found after a read failed is no "ok": the error said it all.
    const bool read_failed_only = all.empty() && status != kExitOk;
    if (!line.has("-q") && !read_failed_only) std::cerr << summaryLine(errors, warnings, files) << '\n';
    if (errors > 0 || (warnings > 0 && line.has("--strict"))) status = std::max<int>(status, kExitFailed);
    return status;
}

}  // namespace

Command checkCommand() {
    return {"check",
            "check [--format text|json|github] [--strict] [--disable RULE,...] [-q] NAME|DIR|-...",
            "lint parameter files: layout, annotations and values",
            "Reports what reading passes over silently (a stray '}', a block left\n"
            "open, text after a brace, a key defined twice, an annotation that does\n"
            "not parse, bytes that are not text) and every value that fails the\n"
            "annotation in effect: its own, else its block's, else the one of the\n"
            "lower-layer definition it overrides. Arguments:\n"
            "  NAME  the files it names, as for every command (see 'teskpf help'),\n"
            "        layered: ./FILE.pf or dir/FILE.pf is that file alone\n"
            "  DIR   an existing directory: every *.pf file below it, each alone,\n"
            "        in sorted order\n"
            "  -     standard input, read alone and reported as <stdin>\n"
            "Formats (--format): text (FILE:LINE:COLUMN: error|warning: MESSAGE\n"
            "[rule], 1-based), json (one array of objects) or github (workflow\n"
            "annotations). --disable RULE,... leaves out the rules named (ids as\n"
            "printed in brackets, comma-separated; 'not-text' and 'unreadable' cannot\n"
            "be left out); a comment line '# teskpf-disable-next-line RULE,...' or\n"
            "'# teskpf-disable-file RULE,...' does so for the next line or the whole\n"
            "file it is in. A summary goes to standard error (\"ok: N files, no\n"
            "problems\" when clean; -q leaves it out). Exit status 0 when\n"
            "there is no error (and, with --strict, no warning), 1 when there is,\n"
            "2 for a usage error or a file that cannot be read.\n",
            {{{"--format", true}, {"--strict", false}, {"--disable", true}, {"-q", false}}, {"NAME"}, 1, true},
            runCheck,
            "teskpf check --format github config/"};
}

}  // namespace teskpf_tool
