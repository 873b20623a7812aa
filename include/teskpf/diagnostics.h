// Diagnostics of parameter files: what reading passes over silently (a stray
// "}", text after a brace, a key defined twice, an annotation that does not
// parse, bytes that are not text) and values that fail the annotation in
// effect, across the layers of a name. Locations are 1-based.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

#include <teskpf/export.h>
#include <teskpf/layer_text.h>

namespace teskpf {

enum class Severity { Error, Warning };

// One problem found in one file.
struct Diagnostic {
    std::string file;  // the file, as given or as found along PFPATH
    long line = 0;     // 1-based
    long column = 0;   // 1-based: the byte offset in the line plus one
    Severity severity = Severity::Error;
    std::string rule;     // stable kebab-case id, e.g. "stray-close"
    std::string message;  // what is wrong and what to do about it
    std::string key;      // the key path concerned; "" when there is none
};

// "error" or "warning".
TESKPF_API const char *severityName(Severity severity);

// The length of the valid UTF-8 sequence that starts at byte `at` of `text`;
// 0 when none does (messages quote file bytes, which need not be UTF-8).
TESKPF_API std::size_t utf8SequenceLength(std::string_view text, std::size_t at);

// What a check leaves out.
struct CheckOptions {
    // Rules not reported, by id (see ruleIds); an entry may name several,
    // separated by commas. Every rule but "not-text" and "unreadable" can be
    // disabled.
    std::vector<std::string> disabled_rules;
};

// The id of every rule, sorted.
TESKPF_API std::vector<std::string> ruleIds();

// The checks below honour the comment lines "# teskpf-disable-next-line
// RULE, ..." (the rules are not reported on the next line) and
// "# teskpf-disable-file RULE, ..." (nor anywhere in the file): each silences
// what is reported in its own file only. They throw Error when `options`
// names a rule that does not exist or cannot be disabled.

// Checks the file at `path` read alone. Throws IoError when it cannot be read.
TESKPF_API std::vector<Diagnostic> checkFile(const std::string &path, const CheckOptions &options = {});

// Checks the parameter-file text `text` read alone (standard input, say);
// the diagnostics name the file `name`.
TESKPF_API std::vector<Diagnostic> checkText(std::string_view text, const std::string &name,
                                             const CheckOptions &options = {});

// Checks every file of the parameter-file name `name` along PFPATH ("~"
// expanded), and the values in effect once they are layered. Throws IoError
// when the name resolves to no file or a file cannot be read.
TESKPF_API std::vector<Diagnostic> checkName(const std::string &name, const CheckOptions &options = {});

// Checks the layers `layers` (lowest precedence first) as checkName checks
// the files of a name, each text given or read from its path. Throws IoError
// when a file to read cannot be read.
TESKPF_API std::vector<Diagnostic> checkLayers(const std::vector<LayerText> &layers, const CheckOptions &options = {});

}  // namespace teskpf
