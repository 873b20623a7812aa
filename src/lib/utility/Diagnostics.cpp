// Checking files and names: every rule over every file, then the values in
// effect, in file order.
#include <algorithm>

#include "detail/DiagnosticRules.h"
#include "teskpf/diagnostics.h"

namespace teskpf {

namespace {

std::vector<Diagnostic> checkLayers(const Layers &layers) {
    std::vector<Diagnostic> out;
    bool all_text = true;
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
        checkLayout(*layer.parsed, report);
        checkAnnotations(*layer.parsed, report);
    }
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

}  // namespace

std::vector<Diagnostic> checkFile(const std::string &path) { return checkLayers(Layers::ofFile(path)); }

std::vector<Diagnostic> checkName(const std::string &name) { return checkLayers(Layers::ofName(name)); }

}  // namespace teskpf
