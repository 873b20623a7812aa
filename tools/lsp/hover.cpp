// Hover on a key or a value: where the value in effect comes from, the
// annotation it is checked against, and what it overrides.
#include "feature_groups.h"

#include <teskpf/error.h>
#include <teskpf/explain.h>

#include "feature_support.h"

namespace teskpf_lsp {

namespace {

std::string place(const teskpf::KeyDefinition &definition) {
    return codeSpan(definition.file + ":" + std::to_string(definition.line));
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

    std::string markdown = codeSpan(entry.key_path);
    if (in_effect) {
        markdown += " = " + codeSpan(in_effect->value) + "\n\nIn effect: " + place(*in_effect);
        if (here && here != in_effect) markdown += "; this line (" + codeSpan(here->value) + ") is overridden";
    }
    markdown += "\n\n";
    if (!explanation.annotation.empty()) {
        markdown += "Annotation: " + codeSpan(explanation.annotation);
        if (!explanation.annotation_origin.empty()) markdown += " from " + codeSpan(explanation.annotation_origin);
        markdown += "\n\n";
    }
    std::string overridden;
    for (const teskpf::KeyDefinition &definition : explanation.definitions) {
        if (&definition == in_effect) break;
        overridden += "- " + codeSpan(definition.value) + " at " + place(definition) + "\n";
    }
    if (!overridden.empty()) markdown += "Overrides:\n" + overridden;
    if (!explanation.reason.empty()) markdown += "\n" + explanation.reason;

    const bool on_key = !entry.key.empty() && at->offset <= entry.key.end;
    return {{"contents", {{"kind", "markdown"}, {"value", markdown}}},
            {"range", at->text.range(on_key ? entry.key : entry.value)}};
}

}  // namespace teskpf_lsp
