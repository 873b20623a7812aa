// The rule ids, and the directives and options that silence rules.
#include "diagnostics/Directives.h"

#include <teskpf/error.h>

namespace teskpf {

namespace {

// Who may silence a rule: a directive, or the caller for a run. A file that
// is not text or cannot be read has no directives the reader could trust, and
// its one error is the whole report; a directive does not silence the warnings
// about directives.
enum class Silencing { Anyone, CallerOnly, Nobody };

struct Rule {
    const char *id;
    Silencing silencing;
};

// Every rule, in sorted order (as messages list them).
constexpr Rule kRules[] = {
    {"annotation-after-blank", Silencing::Anyone},
    {"bad-annotation", Silencing::Anyone},
    {"bad-directive", Silencing::CallerOnly},
    {"byte-order-mark", Silencing::Anyone},
    {"duplicate-key", Silencing::Anyone},
    {"ignored-annotation", Silencing::Anyone},
    {"key-syntax", Silencing::Anyone},
    {"marker-without-brace", Silencing::Anyone},
    {"not-text", Silencing::Nobody},
    {"nul-byte", Silencing::Anyone},
    {"revision-block", Silencing::Anyone},
    {"stray-close", Silencing::Anyone},
    {"text-after-close", Silencing::Anyone},
    {"text-after-open", Silencing::Anyone},
    {"unclosed-block", Silencing::Anyone},
    {"unreadable", Silencing::Nobody},
    {"value-mismatch", Silencing::Anyone},
};
constexpr size_t kRuleCount = sizeof(kRules) / sizeof(kRules[0]);
static_assert(kRuleCount <= sizeof(RuleSet) * 8, "one bit per rule");

constexpr std::string_view kNextLine = "teskpf-disable-next-line";
constexpr std::string_view kWholeFile = "teskpf-disable-file";
// Words starting so are taken for directives, so that a misspelt one is reported.
constexpr std::string_view kDirectivePrefix = "teskpf-disable";

// The rule called `id`, or null.
const Rule *findRule(std::string_view id) {
    for (const Rule &rule : kRules)
        if (id == rule.id) return &rule;
    return nullptr;
}

RuleSet bitOf(const Rule &rule) { return RuleSet(1) << static_cast<size_t>(&rule - kRules); }

// The ids of the rules silenced at least by `who`, comma-separated.
std::string ruleList(Silencing who) {
    std::string out;
    for (const Rule &rule : kRules) {
        if (rule.silencing > who) continue;
        if (!out.empty()) out += ", ";
        out += rule.id;
    }
    return out;
}

bool isBlank(char c) { return c == ' ' || c == '\t'; }

// Calls `each(name, offset)` for every name of the comma-separated list
// `list`, blanks around each name removed; `offset` is where it starts in
// `list` (where it would, for an empty one).
template <typename Each>
void forEachName(std::string_view list, Each each) {
    size_t begin = 0;
    for (;;) {
        size_t end = list.find(',', begin);
        if (end == std::string_view::npos) end = list.size();
        size_t first = begin;
        size_t last = end;
        while (first < last && isBlank(list[first])) ++first;
        while (last > first && isBlank(list[last - 1])) --last;
        each(list.substr(first, last - first), first);
        if (end == list.size()) return;
        begin = end + 1;
    }
}

// The word right after the comment's "#" and blanks, and where it starts in
// `comment`.
std::string_view firstWord(std::string_view comment, size_t &at) {
    at = 1;
    while (at < comment.size() && isBlank(comment[at])) ++at;
    size_t end = at;
    while (end < comment.size() && !isBlank(comment[end])) ++end;
    return comment.substr(at, end - at);
}

}  // namespace

std::vector<std::string> ruleIds() {
    std::vector<std::string> ids;
    for (const Rule &rule : kRules) ids.emplace_back(rule.id);
    return ids;
}

FileDirectives::FileDirectives(const ParsedFile &parsed, FileReport &report) {
    for (const FileEntry &entry : parsed.entries()) {
        if (entry.comment.size == 0 || entry.opensBlock()) continue;
        const std::string_view comment = parsed.at(entry.comment);
        size_t at = 0;
        const std::string_view word = firstWord(comment, at);
        if (word.substr(0, kDirectivePrefix.size()) != kDirectivePrefix) continue;
        auto warn = [&](size_t offset, const std::string &message) {
            report.add(Severity::Warning, "bad-directive", entry.line, entry.line_begin,
                       entry.comment.begin + static_cast<uint32_t>(offset), message);
        };
        if (entry.kind != EntryKind::Note) {
            warn(at,
                 "a directive works only on a comment line of its own: after a value it is plain comment text "
                 "and silences nothing; move it to the line above");
            continue;
        }
        if (word != kNextLine && word != kWholeFile) {
            warn(at, quoted(word) + " is no directive, so this comment silences nothing; the directives are '" +
                         std::string(kNextLine) + "' and '" + std::string(kWholeFile) + "'");
            continue;
        }
        const size_t list_at = at + word.size();
        const std::string_view list = comment.substr(list_at);
        RuleSet &silenced = word == kWholeFile ? whole_file_ : lines_[static_cast<long>(entry.line) + 2];
        if (list.find_first_not_of(" \t") == std::string_view::npos) {
            warn(at, "this directive names no rule, so it silences nothing; name the rules after it: '# " +
                         std::string(word) + " RULE[, RULE...]'");
            continue;
        }
        forEachName(list, [&](std::string_view name, size_t offset) {
            const Rule *rule = findRule(name);
            if (rule && rule->silencing == Silencing::Anyone) {
                silenced |= bitOf(*rule);
            } else if (name.empty()) {
                warn(list_at + offset, "a rule name is missing between the commas of this directive");
            } else if (!rule) {
                warn(list_at + offset, quoted(name) +
                                           " is no rule, so the directive silences nothing for it; "
                                           "the rules a directive silences are " +
                                           ruleList(Silencing::Anyone));
            } else {
                warn(list_at + offset,
                     quoted(name) + (rule->silencing == Silencing::Nobody
                                         ? " cannot be silenced: it is reported when the file is not read"
                                         : " cannot be silenced by a directive; disable it for the run instead"));
            }
        });
    }
}

bool FileDirectives::silences(const Diagnostic &diagnostic) const {
    if (holdsRule(whole_file_, diagnostic)) return true;
    auto line = lines_.find(diagnostic.line);
    return line != lines_.end() && holdsRule(line->second, diagnostic);
}

RuleSet disabledRules(const CheckOptions &options) {
    RuleSet rules = 0;
    for (const std::string &list : options.disabled_rules) {
        forEachName(list, [&](std::string_view name, size_t) {
            const Rule *rule = findRule(name);
            if (!rule || rule->silencing == Silencing::Nobody)
                throw Error("cannot disable " + quoted(name) + ": " +
                            (rule ? "it is reported when the file is not read; " : "there is no rule of that name; ") +
                            "the rules that can be disabled are " + ruleList(Silencing::CallerOnly));
            rules |= bitOf(*rule);
        });
    }
    return rules;
}

bool holdsRule(RuleSet rules, const Diagnostic &diagnostic) {
    if (rules == 0) return false;
    const Rule *rule = findRule(diagnostic.rule);
    return rule && (rules & bitOf(*rule)) != 0;
}

}  // namespace teskpf
