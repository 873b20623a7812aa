#include "diagnostic_output.h"

#include "json_output.h"

namespace teskpf_tool {

namespace {

// Workflow-command escaping: always %, CR and LF; in properties also ":" and ",".
std::string githubEscaped(const std::string &text, bool property) {
    std::string out;
    for (char c : text) {
        if (c == '%')
            out += "%25";
        else if (c == '\r')
            out += "%0D";
        else if (c == '\n')
            out += "%0A";
        else if (property && c == ':')
            out += "%3A";
        else if (property && c == ',')
            out += "%2C";
        else
            out += c;
    }
    return out;
}

std::string plural(size_t count, const char *noun) {
    return std::to_string(count) + " " + noun + (count == 1 ? "" : "s");
}

}  // namespace

Json diagnosticJson(const teskpf::Diagnostic &d) {
    Json object = {{"file", d.file},     {"line", d.line},
                   {"column", d.column}, {"severity", teskpf::severityName(d.severity)},
                   {"rule", d.rule},     {"message", d.message}};
    if (!d.key.empty()) object["key"] = d.key;
    return object;
}

void printDiagnostics(const std::vector<teskpf::Diagnostic> &diagnostics, OutputFormat format, std::ostream &out) {
    Json json = Json::array();
    for (const teskpf::Diagnostic &d : diagnostics) {
        const char *severity = teskpf::severityName(d.severity);
        switch (format) {
        case OutputFormat::Text:
            out << d.file << ':' << d.line << ':' << d.column << ": " << severity << ": " << d.message << " [" << d.rule
                << "]\n";
            break;
        case OutputFormat::Json: json.push_back(diagnosticJson(d)); break;
        case OutputFormat::Github:
            out << "::" << severity << " file=" << githubEscaped(d.file, true) << ",line=" << d.line
                << ",col=" << d.column << ",title=" << githubEscaped(d.rule, true)
                << "::" << githubEscaped(d.message, false) << '\n';
            break;
        }
    }
    if (format == OutputFormat::Json) printJson(json, out);
}

std::string summaryLine(size_t errors, size_t warnings, size_t files) {
    if (errors == 0 && warnings == 0) return "ok: " + plural(files, "file") + ", no problems";
    return plural(errors, "error") + ", " + plural(warnings, "warning") + " in " + plural(files, "file");
}

}  // namespace teskpf_tool
