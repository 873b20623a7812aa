// Checking files and names: every rule over every file, then the values in
// effect, in file order, less what the directives and the options silence.
#include <algorithm>

#include "diagnostics/DiagnosticRules.h"
#include "diagnostics/Directives.h"
#include "store/EntryStore.h"
#include "syntax/KeyPath.h"
#include "teskpf/diagnostics.h"

namespace teskpf {

namespace {

// The key paths of all the files, as reading them together counts them: the
// last file first, the budget growing with the bytes read. One "unreadable"
// error where they cross it.
void checkLayeredKeyPaths(const Layers &layers, std::vector<Diagnostic> &out) {
    size_t key_bytes = 0;
    size_t file_bytes = 0;
    std::vector<uint64_t> hashes;
    for (size_t i = layers.files.size(); i-- > 0;) {
        const Layer &layer = layers.files[i];
        file_bytes += layer.parsed->text().size();
        const size_t budget = keyPathBudget(file_bytes);
        const int32_t crossed = detail::keyPathHashes(*layer.parsed, key_bytes, budget, hashes);
        if (crossed < 0) continue;
        const FileEntry &entry = layer.parsed->entries()[static_cast<size_t>(crossed)];
        FileReport(layer.path, out)
            .add(Severity::Error, "unreadable", entry.line, entry.line_begin, entry.line_begin,
                 "with the files after it on the path, " + keyPathBudgetExceeded(budget) +
                     ": reading the files together fails here, and the values are not checked; nest fewer blocks");
        return;
    }
}

// The index of the layer a diagnostic is reported in: the first of its path.
size_t layerOf(const Layers &layers, const Diagnostic &diagnostic) {
    auto same_file = [&](const Layer &layer) { return layer.path == diagnostic.file; };
    return static_cast<size_t>(std::find_if(layers.files.begin(), layers.files.end(), same_file) -
                               layers.files.begin());
}

}  // namespace

std::vector<Diagnostic> checkAll(const Layers &layers, const CheckOptions &options) {
    const RuleSet disabled = disabledRules(options);
    std::vector<Diagnostic> out;
    std::vector<FileDirectives> directives(layers.files.size());
    bool all_text = true;
    bool deep = false;  // a file's key paths exceed the budget of reading it alone
    std::vector<uint64_t> hashes;
    for (size_t i = 0; i < layers.files.size(); ++i) {
        const Layer &layer = layers.files[i];
        FileReport report(layer.path, out);
        if (!layer.parsed) {
            report.add(Severity::Error, "unreadable", 0, 0, 0, layer.parse_error + "; fix that line");
            all_text = false;
            continue;
        }
        if (!checkText(layer.parsed->text(), report)) {
            all_text = false;
            continue;
        }
        directives[i] = FileDirectives(*layer.parsed, report);
        if (!checkKeyPaths(*layer.parsed, hashes, report)) {
            checkLayout(*layer.parsed, nullptr, report);
            deep = true;
            continue;
        }
        checkLayout(*layer.parsed, &hashes, report);
        checkAnnotations(*layer.parsed, report);
    }
    // Files that each read alone may not read together.
    if (all_text && !deep && !layers.merged) checkLayeredKeyPaths(layers, out);
    // Values are checked only when every file reads as text.
    if (all_text) checkValues(layers, out);

    std::vector<std::pair<size_t, Diagnostic>> kept;
    for (Diagnostic &diagnostic : out) {
        const size_t layer = layerOf(layers, diagnostic);
        if (holdsRule(disabled, diagnostic) || (layer < directives.size() && directives[layer].silences(diagnostic)))
            continue;
        kept.emplace_back(layer, std::move(diagnostic));
    }
    auto order = [](const std::pair<size_t, Diagnostic> &item) {
        return std::make_tuple(item.first, item.second.line, item.second.column);
    };
    std::stable_sort(kept.begin(), kept.end(), [&](const auto &a, const auto &b) { return order(a) < order(b); });
    out.clear();
    for (auto &item : kept) out.push_back(std::move(item.second));
    return out;
}

std::vector<Diagnostic> checkFile(const std::string &path, const CheckOptions &options) {
    return checkAll(Layers::ofFile(path), options);
}

std::vector<Diagnostic> checkText(std::string_view text, const std::string &name, const CheckOptions &options) {
    return checkAll(Layers::ofText(text, name), options);
}

std::vector<Diagnostic> checkName(const std::string &name, const CheckOptions &options) {
    return checkAll(Layers::ofName(name), options);
}

std::vector<Diagnostic> checkLayers(const std::vector<LayerText> &layers, const CheckOptions &options) {
    return checkAll(Layers::ofTexts(layers), options);
}

}  // namespace teskpf
