// The value rule across layers: every value in effect against the annotation
// in effect (its own, its block's, or the one of the definition it overrides).
#include "diagnostics/DiagnosticRules.h"
#include "store/AnnotationInEffect.h"

namespace teskpf {

void checkValues(const Layers &layers, std::vector<Diagnostic> &out) {
    if (!layers.merged) return;
    const detail::Store &merged = *layers.merged;
    detail::AnnotationInEffect annotations(merged);
    std::string buffer;
    for (size_t i = 0; i < merged.size(); ++i) {
        if (merged.isNote(i) || merged.entryOf(i).opensBlock()) continue;
        const detail::FoundAnnotation found = annotations.of(i);
        const AnnotationCheck *check = found.check;
        const std::string_view value = merged.value(i, buffer);
        if (!check || check->satisfies(value)) continue;

        const int at = layers.layerOf(merged.fileOf(i).name());
        if (at < 0) continue;
        const Layer &layer = layers.files[static_cast<size_t>(at)];
        const FileEntry &entry = merged.entryOf(i);
        const std::string annotation(found.text());
        std::string message = "value " + quoted(value) + " does not satisfy " + quoted(annotation, 80);
        if (found.origin == AnnotationOrigin::Overridden)
            message += " from " + layers.reported(found.where()) + ", the definition this one overrides";
        else if (found.origin == AnnotationOrigin::Enclosing)
            message += " of its block (" + layers.reported(found.where()) + ")";
        message += "; change the value or the annotation";
        FileReport(layer.path, out)
            .add(Severity::Error, "value-mismatch", entry.line, entry.line_begin, entry.value.begin, std::move(message),
                 merged.keyPath(i));
    }
}

}  // namespace teskpf
