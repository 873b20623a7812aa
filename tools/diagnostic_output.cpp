#include "diagnostic_output.h"

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

std::string jsonString(const std::string &text) {
    static const char kHex[] = "0123456789abcdef";
    std::string out = "\"";
    for (size_t at = 0; at < text.size();) {
        const unsigned char byte = static_cast<unsigned char>(text[at]);
        const size_t length = teskpf::utf8SequenceLength(text, at);
        if (length == 0) {
            out += "\\ufffd";
            ++at;
            continue;
        }
        if (byte == '"' || byte == '\\') {
            out += '\\';
            out += static_cast<char>(byte);
        } else if (byte < 0x20 || byte == 0x7f) {
            out.append("\\u00").append(1, kHex[byte >> 4]).append(1, kHex[byte & 15]);
        } else {
            out.append(text, at, length);
        }
        at += length;
    }
    return out + "\"";
}

void printDiagnostics(const std::vector<teskpf::Diagnostic> &diagnostics, OutputFormat format, std::ostream &out) {
    if (format == OutputFormat::Json) out << '[';
    bool first = true;
    for (const teskpf::Diagnostic &d : diagnostics) {
        const char *severity = teskpf::severityName(d.severity);
        switch (format) {
        case OutputFormat::Text:
            out << d.file << ':' << d.line << ':' << d.column << ": " << severity << ": " << d.message << " [" << d.rule
                << "]\n";
            break;
        case OutputFormat::Json:
            out << (first ? "\n" : ",\n") << "{\"file\": " << jsonString(d.file) << ", \"line\": " << d.line
                << ", \"column\": " << d.column << ", \"severity\": \"" << severity << "\", \"rule\": \"" << d.rule
                << "\", \"message\": " << jsonString(d.message);
            if (!d.key.empty()) out << ", \"key\": " << jsonString(d.key);
            out << '}';
            break;
        case OutputFormat::Github:
            out << "::" << severity << " file=" << githubEscaped(d.file, true) << ",line=" << d.line
                << ",col=" << d.column << ",title=" << githubEscaped(d.rule, true)
                << "::" << githubEscaped(d.message, false) << '\n';
            break;
        }
        first = false;
    }
    if (format == OutputFormat::Json) out << "\n]\n";
}

std::string summaryLine(size_t errors, size_t warnings, size_t files) {
    if (errors == 0 && warnings == 0) return "ok: " + plural(files, "file") + ", no problems";
    return plural(errors, "error") + ", " + plural(warnings, "warning") + " in " + plural(files, "file");
}

}  // namespace teskpf_tool
