// Printing diagnostics as text, JSON or workflow annotations.
#pragma once

#include <ostream>
#include <string>
#include <vector>

#include <teskpf/diagnostics.h>
#include <nlohmann/json.hpp>

namespace teskpf_tool {

enum class OutputFormat { Text, Json, Github };

// Text: "FILE:LINE:COLUMN: error: MESSAGE [rule]" per line. Json: one array
// of objects (file, line, column, severity, rule, message, key), valid JSON
// whatever bytes the texts hold (invalid UTF-8 as U+FFFD). Github: "::error file=...,line=...,col=...::MESSAGE".
void printDiagnostics(const std::vector<teskpf::Diagnostic> &diagnostics, OutputFormat format, std::ostream &out);

// One diagnostic as the json format writes it: {file, line, column,
// severity, rule, message} and key when there is one.
nlohmann::ordered_json diagnosticJson(const teskpf::Diagnostic &diagnostic);

// "3 errors, 2 warnings in 4 files", or "ok: 4 files, no problems".
std::string summaryLine(size_t errors, size_t warnings, size_t files);

}  // namespace teskpf_tool
