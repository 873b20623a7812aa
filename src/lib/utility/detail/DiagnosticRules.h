// The rules of the diagnostics, by job. Each appends what it finds.
#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "detail/Layers.h"
#include "teskpf/diagnostics.h"

namespace teskpf {

// Collects the diagnostics of one file; locations are given 0-based.
class FileReport {
public:
    FileReport(const std::string &file, std::vector<Diagnostic> &out) : file_(file), out_(out) {}
    // A diagnostic at byte `offset` of the text, on 0-based `line` starting at `line_begin`.
    void add(Severity severity, const char *rule, uint32_t line, uint32_t line_begin, uint32_t offset,
             std::string message, std::string key = {});

private:
    const std::string &file_;
    std::vector<Diagnostic> &out_;
};

// `text` in single quotes for a message: control bytes as \xNN, cut after
// `limit` bytes.
std::string quoted(std::string_view text, size_t limit = 40);

// A file that is not text gets one "not-text" error and nothing else: returns
// false then. Else reports a byte-order mark and NUL bytes.
bool checkText(std::string_view text, FileReport &report);

// Stray and missing braces, text after braces, block markers without brace,
// keys defined twice, key names with key-path characters.
void checkLayout(const ParsedFile &parsed, FileReport &report);

// Annotations that do not parse, that are plain text after "# ", or whose
// later part is ignored.
void checkAnnotations(const ParsedFile &parsed, FileReport &report);

// Every value in effect against the annotation in effect.
void checkValues(const Layers &layers, std::vector<Diagnostic> &out);

}  // namespace teskpf
