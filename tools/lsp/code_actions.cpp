// Quick fixes for the diagnostics a code-action request names (their code
// is the rule id): a fix for the rules that have one, and for every rule a
// comment that silences it on that line.
#include <teskpf/diagnostics.h>
#include <teskpf/error.h>
#include <teskpf/explain.h>
#include <teskpf/words.h>

#include "feature_groups.h"
#include "feature_support.h"

namespace teskpf_lsp {

namespace {

struct Fix {
    std::string title;
    nlohmann::json edits;  // TextEdits of the document
    bool preferred = false;
};

bool isBlank(char c) { return c == ' ' || c == '\t'; }

// Each field of the value that its annotation's word list does not hold,
// replaced by the nearest word of that list.
void nearestWords(const Workspace &workspace, const TextDocument &document, const OutlinedText &text,
                  const teskpf::OutlineEntry &entry, std::vector<Fix> &fixes) {
    std::string annotation;
    try {
        annotation = teskpf::explain(workspace.layersOf(document), entry.key_path).annotation;
    } catch (const teskpf::Error &) {
        return;
    }
    const std::string_view source = text.text();
    std::size_t field = 0;
    for (std::size_t at = entry.value.begin; at < entry.value.end; ++field) {
        std::size_t end = at;
        while (end < entry.value.end && !isBlank(source[end])) ++end;
        const std::string_view written = source.substr(at, end - at);
        const std::vector<std::string> words = teskpf::allowedWords(annotation, field);
        bool allowed = words.empty();
        for (const std::string &word : words) allowed = allowed || word == written;
        if (!allowed) {
            const std::string nearest = teskpf::nearestWord(written, words);
            fixes.push_back({"Replace '" + std::string(written) + "' with '" + nearest + "'",
                             nlohmann::json::array({textEdit(text.range(at, end), nearest)}), true});
        }
        at = end;
        while (at < entry.value.end && isBlank(source[at])) ++at;
    }
}

// The text after a brace, from `begin` to the end of the line's text before
// its comment, moved to a line of its own indented by `indentation`.
void moveAfterBrace(const OutlinedText &text, long line, std::size_t begin, const std::string &indentation,
                    std::vector<Fix> &fixes) {
    const std::string_view source = text.text();
    const std::size_t line_begin = text.outline().lines[static_cast<std::size_t>(line)].begin;
    std::size_t end = line_begin + text.lineText(line).size();
    while (end > begin && (isBlank(source[end - 1]) || source[end - 1] == '\r')) --end;
    std::size_t brace_end = begin;
    while (brace_end > line_begin && isBlank(source[brace_end - 1])) --brace_end;
    if (begin >= end) return;
    fixes.push_back(
        {"Move '" + std::string(source.substr(begin, end - begin)) + "' to a line of its own",
         nlohmann::json::array({textEdit(text.range(brace_end, end),
                                         "\n" + indentation + std::string(source.substr(begin, end - begin)))}),
         true});
}

// Every block still open at the end, closed by a "}" line each.
void closeBlocks(const OutlinedText &text, std::vector<Fix> &fixes) {
    std::string closing;
    const std::string_view source = text.text();
    if (!source.empty() && source.back() != '\n') closing += '\n';
    const std::vector<teskpf::OutlineEntry> &entries = text.outline().entries;
    // The innermost open block is the last opening without a closing line.
    std::size_t count = 0;
    for (std::size_t i = entries.size(); i-- > 0;) {
        if (entries[i].block == teskpf::OutlineBlock::None || entries[i].close_line >= 0) continue;
        closing += std::string(text.indentation(entries[i].line)) + "}\n";
        ++count;
    }
    if (count == 0) return;
    fixes.push_back({count == 1 ? "Close the block" : "Close the " + std::to_string(count) + " open blocks",
                     nlohmann::json::array({textEdit(text.range(source.size(), source.size()), closing)}), true});
}

void fixesOf(const Workspace &workspace, const TextDocument &document, const OutlinedText &text,
             const std::string &rule, long line, std::size_t offset, std::vector<Fix> &fixes) {
    const teskpf::OutlineLine &info = text.outline().lines[static_cast<std::size_t>(line)];
    const teskpf::OutlineEntry *entry =
        info.entry < 0 ? nullptr : &text.outline().entries[static_cast<std::size_t>(info.entry)];
    if (rule == "value-mismatch" && entry && entry->block == teskpf::OutlineBlock::None)
        nearestWords(workspace, document, text, *entry, fixes);
    else if (rule == "text-after-open" && entry)
        moveAfterBrace(text, line, std::max(offset, entry->value.begin), std::string(text.indentation(line)) + "  ",
                       fixes);
    else if (rule == "text-after-close" && info.kind == teskpf::OutlineLineKind::Close)
        moveAfterBrace(text, line, offset, std::string(text.indentation(line)), fixes);
    else if (rule == "duplicate-key" && entry) {
        const long last = text.lastLineOf(*entry);
        fixes.push_back({"Remove this definition of " + entry->key_path,
                         nlohmann::json::array({textEdit(text.range(text.linesRange(entry->line, last)), "")}), true});
    } else if (rule == "unclosed-block")
        closeBlocks(text, fixes);
    // Any rule a directive can silence: silence it on this line.
    const std::string directive = teskpf::disableNextLineComment(rule);
    if (directive.empty()) return;
    const std::size_t line_begin = info.begin;
    fixes.push_back({"Disable " + rule + " for this line",
                     nlohmann::json::array({textEdit(text.range(line_begin, line_begin),
                                                     std::string(text.indentation(line)) + directive + "\n")})});
}

}  // namespace

nlohmann::json codeActions(const Workspace &workspace, const nlohmann::json &params) {
    const std::optional<RequestedText> requested = requestedText(workspace, params);
    if (!requested) return nullptr;
    nlohmann::json actions = nlohmann::json::array();
    const nlohmann::json context = params.value("context", nlohmann::json::object());
    if (!context.is_object() || !context.contains("diagnostics") || !context["diagnostics"].is_array()) return actions;
    const OutlinedText &text = requested->text;
    for (const nlohmann::json &diagnostic : context["diagnostics"]) {
        if (!diagnostic.is_object() || !diagnostic.contains("code") || !diagnostic["code"].is_string() ||
            !diagnostic.contains("range") || !diagnostic["range"].is_object())
            continue;
        const std::optional<std::size_t> offset = text.offsetOf(diagnostic["range"].value("start", nlohmann::json()));
        if (!offset) continue;
        std::vector<Fix> fixes;
        fixesOf(workspace, *requested->document, text, diagnostic["code"].get<std::string>(), text.lineOf(*offset),
                *offset, fixes);
        for (Fix &fix : fixes) {
            nlohmann::json action = {{"title", fix.title},
                                     {"kind", "quickfix"},
                                     {"diagnostics", nlohmann::json::array({diagnostic})},
                                     {"edit", {{"changes", {{requested->document->uri, std::move(fix.edits)}}}}}};
            if (fix.preferred) action["isPreferred"] = true;
            actions.push_back(std::move(action));
        }
    }
    return actions;
}

}  // namespace teskpf_lsp
