// Hover on a key or a value: where the value in effect comes from, the
// annotation it is checked against, and what it overrides.
#include "feature_groups.h"

#include <teskpf/error.h>
#include <teskpf/explain.h>

#include "feature_support.h"

namespace teskpf_lsp {

namespace {

// Text quoted as code in Markdown, as it stands in plain text.
using Quote = std::string (*)(std::string_view text);

std::string plain(std::string_view text) { return std::string(text); }

std::string place(const teskpf::KeyDefinition &definition, Quote quote) {
    return quote(definition.file + ":" + std::to_string(definition.line));
}

}  // namespace

nlohmann::json hover(const Workspace &workspace, const nlohmann::json &params) {
    std::optional<KeyAtPosition> at = keyAtPosition(workspace, params);
    if (!at) return nullptr;
    const teskpf::OutlineEntry &entry = at->member();
    teskpf::KeyExplanation explanation;
    try {
        explanation = teskpf::explain(at->layers, entry.key_path);
    } catch (const teskpf::Error &) {
        return nullptr;
    }
    const std::string &file = at->layers[at->layer].path;
    const long line = entry.line + 1;
    const teskpf::KeyDefinition *in_effect = nullptr;
    const teskpf::KeyDefinition *here = nullptr;
    for (const teskpf::KeyDefinition &definition : explanation.definitions) {
        if (definition.in_effect) in_effect = &definition;
        if (definition.file == file && definition.line == line) here = &definition;
    }

    const bool markdown = workspace.markdownHover();
    const Quote quote = markdown ? codeSpan : plain;
    std::string says = quote(entry.key_path);
    if (in_effect) {
        says += " = " + quote(in_effect->value) + "\n\nIn effect: " + place(*in_effect, quote);
        if (here && here != in_effect) says += "; this line (" + quote(here->value) + ") is overridden";
    }
    says += "\n\n";
    if (!explanation.annotation.empty()) {
        says += "Annotation: " + quote(explanation.annotation);
        if (!explanation.annotation_origin.empty()) says += " from " + quote(explanation.annotation_origin);
        says += "\n\n";
    }
    std::string overridden;
    for (const teskpf::KeyDefinition &definition : explanation.definitions) {
        if (&definition == in_effect) break;
        overridden += "- " + quote(definition.value) + " at " + place(definition, quote) + "\n";
    }
    if (!overridden.empty()) says += "Overrides:\n" + overridden;
    if (!explanation.reason.empty()) says += "\n" + explanation.reason;

    const bool on_key = !entry.key.empty() && at->offset <= entry.key.end;
    return {{"contents", {{"kind", markdown ? "markdown" : "plaintext"}, {"value", says}}},
            {"range", at->text.range(on_key ? entry.key : entry.value)}};
}

}  // namespace teskpf_lsp
