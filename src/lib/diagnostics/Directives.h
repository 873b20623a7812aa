// Silencing rules: the rule ids, the comment directives
// "# teskpf-disable-next-line RULE, ..." and "# teskpf-disable-file RULE, ...",
// and the rules a caller disables for a run.
#pragma once

#include <cstdint>
#include <map>
#include <string>
#include <string_view>
#include <vector>

#include "diagnostics/DiagnosticRules.h"
#include "teskpf/diagnostics.h"

namespace teskpf {

// A set of rules, one bit per rule id.
using RuleSet = uint32_t;

// The rules silenced by the directives of one file.
class FileDirectives {
public:
    // Reads the directives of `parsed`; a directive that names no rule, an
    // unknown rule or one that cannot be silenced, and one after a value,
    // get a "bad-directive" warning in `report`.
    FileDirectives(const ParsedFile &parsed, FileReport &report);
    FileDirectives() = default;

    // Whether `diagnostic`, reported in this file, is silenced.
    bool silences(const Diagnostic &diagnostic) const;

private:
    RuleSet whole_file_ = 0;
    std::map<long, RuleSet> lines_;  // 1-based line -> rules silenced on it
};

// The rules `options` disables. Throws Error for a name that is no rule or
// names a rule that cannot be disabled, saying which names exist.
RuleSet disabledRules(const CheckOptions &options);

// Whether `rules` holds the rule of `diagnostic`.
bool holdsRule(RuleSet rules, const Diagnostic &diagnostic);

}  // namespace teskpf
