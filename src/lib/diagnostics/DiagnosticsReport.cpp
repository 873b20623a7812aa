// Building diagnostics: 1-based locations and quoting of file text.
#include "diagnostics/DiagnosticRules.h"

namespace teskpf {

void FileReport::add(Severity severity, const char *rule, uint32_t line, uint32_t line_begin, uint32_t offset,
                     std::string message, std::string key) {
    Diagnostic diagnostic;
    diagnostic.file = file_;
    diagnostic.line = static_cast<long>(line) + 1;
    diagnostic.column = static_cast<long>(offset - line_begin) + 1;
    diagnostic.severity = severity;
    diagnostic.rule = rule;
    diagnostic.message = std::move(message);
    diagnostic.key = std::move(key);
    out_.push_back(std::move(diagnostic));
}

std::string quoted(std::string_view text, size_t limit) {
    static const char kHex[] = "0123456789abcdef";
    std::string out = "'";
    for (size_t i = 0; i < text.size() && i < limit; ++i) {
        unsigned char byte = static_cast<unsigned char>(text[i]);
        if (byte < 0x20 || byte == 0x7f)
            out.append("\\x").append(1, kHex[byte >> 4]).append(1, kHex[byte & 15]);
        else
            out += static_cast<char>(byte);
    }
    if (text.size() > limit) out += "...";
    return out + "'";
}

const char *severityName(Severity severity) { return severity == Severity::Error ? "error" : "warning"; }

}  // namespace teskpf
