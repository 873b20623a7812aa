// The rules of the diagnostics, by job. Each appends what it finds.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "store/Layers.h"
#include "teskpf/diagnostics.h"

namespace teskpf {

// Every rule over every file of `layers`, then the values in effect, in file
// order: what checkFile, checkText, checkName and checkLayers answer.
std::vector<Diagnostic> checkAll(const Layers &layers, const CheckOptions &options = {});

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

// The hash of every member's key path (see keyPathHashes in EntryStore.h).
// False, with one "unreadable" error at the line where they cross it, when
// the key paths exceed the budget of reading the file alone, as blocks nested
// thousands deep make them: the rules that quote key paths are then skipped.
bool checkKeyPaths(const ParsedFile &parsed, std::vector<uint64_t> &hashes, FileReport &report);

// Stray and missing braces (several blocks open at the end in one error),
// NUL bytes; with the key path hashes of checkKeyPaths, also text after
// braces, block markers without brace, keys defined twice and key names with
// key-path characters. Key paths are built only for what is reported.
void checkLayout(const ParsedFile &parsed, const std::vector<uint64_t> *hashes, FileReport &report);

// Annotations that do not parse, that are plain text after "# ", or whose
// later part is ignored.
void checkAnnotations(const ParsedFile &parsed, FileReport &report);

// Every value in effect against the annotation in effect.
void checkValues(const Layers &layers, std::vector<Diagnostic> &out);

}  // namespace teskpf
