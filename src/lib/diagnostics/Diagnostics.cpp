// Checking files and names: every rule over every file, then the values in
// effect, in file order.
#include <algorithm>

#include "diagnostics/DiagnosticRules.h"
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

}  // namespace

std::vector<Diagnostic> checkLayers(const Layers &layers) {
    std::vector<Diagnostic> out;
    bool all_text = true;
    bool deep = false;  // a file's key paths exceed the budget of reading it alone
    std::vector<uint64_t> hashes;
    for (const Layer &layer : layers.files) {
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

    auto order = [&](const Diagnostic &diagnostic) {
        auto same_file = [&](const Layer &layer) { return layer.path == diagnostic.file; };
        long file = std::find_if(layers.files.begin(), layers.files.end(), same_file) - layers.files.begin();
        return std::make_tuple(file, diagnostic.line, diagnostic.column);
    };
    std::stable_sort(out.begin(), out.end(),
                     [&](const Diagnostic &a, const Diagnostic &b) { return order(a) < order(b); });
    return out;
}

std::vector<Diagnostic> checkFile(const std::string &path) { return checkLayers(Layers::ofFile(path)); }

std::vector<Diagnostic> checkText(std::string_view text, const std::string &name) {
    return checkLayers(Layers::ofText(text, name));
}

std::vector<Diagnostic> checkName(const std::string &name) { return checkLayers(Layers::ofName(name)); }

}  // namespace teskpf
