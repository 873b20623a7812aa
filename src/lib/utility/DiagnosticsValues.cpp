// The value rule across layers: every value in effect against the annotation
// in effect (its own, its block's, or the one of the definition it overrides).
#include <memory>
#include <unordered_map>

#include "detail/ConstraintParser.h"
#include "detail/DiagnosticRules.h"
#include "detail/ValueCheck.h"

namespace teskpf {

namespace {

// Parsed annotations, each parsed and hashed once per check. A block's
// annotation is found by its address, so its (maybe long) text is hashed once.
class AnnotationCache {
public:
    // The check for `annotation`; null when its text does not parse.
    const AnnotationCheck *find(const std::shared_ptr<const AnnotationInEffect> &annotation) {
        auto known = by_address_.find(annotation.get());
        if (known != by_address_.end()) return known->second;
        auto found = by_text_.find(annotation->text);
        if (found == by_text_.end()) {
            std::optional<Table<TeskPf_Constraint>> table = parseConstraintText(annotation->text);
            found =
                by_text_
                    .emplace(annotation->text, table ? std::make_unique<AnnotationCheck>(std::move(*table)) : nullptr)
                    .first;
        }
        kept_.push_back(annotation);  // keeps the address from being reused
        return by_address_[annotation.get()] = found->second.get();
    }

private:
    std::unordered_map<std::string, std::unique_ptr<AnnotationCheck>> by_text_;
    std::unordered_map<const AnnotationInEffect *, const AnnotationCheck *> by_address_;
    std::vector<std::shared_ptr<const AnnotationInEffect>> kept_;
};

std::string originText(const Layers &layers, const SourceLine &origin) {
    int at = layers.layerOf(origin.file);
    const std::string &file = at >= 0 ? layers.files[static_cast<size_t>(at)].path : origin.file;
    return file + ":" + std::to_string(origin.line + 1);
}

}  // namespace

void checkValues(const Layers &layers, std::vector<Diagnostic> &out) {
    if (!layers.merged) return;
    const TeskPf &merged = *layers.merged;
    AnnotationCache cache;
    AnnotationResolver resolver(layers);
    for (int i = 0; i < merged.size(); ++i) {
        const Table<std::string> record = merged.getEntry(i);
        const std::string &value = record[FIELD_VALUE];
        if (record[FIELD_KEY].empty() || value == "&Arr" || value == "&Tbl") continue;
        const std::shared_ptr<const AnnotationInEffect> found = resolver.of(i);
        const AnnotationInEffect &annotation = *found;
        if (annotation.text.empty()) continue;
        const AnnotationCheck *check = cache.find(found);
        if (!check || check->satisfies(value)) continue;

        const SourceLine source = splitSource(record[FIELD_SOURCE]);
        const int at = layers.layerOf(source.file);
        if (at < 0) continue;
        const Layer &layer = layers.files[static_cast<size_t>(at)];
        const int32_t entry_index = layer.entry_at_line.at(static_cast<size_t>(source.line));
        const FileEntry &entry = layer.parsed->entries()[static_cast<size_t>(entry_index)];
        std::string message = "value " + quoted(value) + " does not satisfy " + quoted(annotation.text, 80);
        if (annotation.inherited)
            message += " from " + originText(layers, annotation.origin) + ", the definition this one overrides";
        else if (annotation.origin.file != source.file || annotation.origin.line != source.line)
            message += " of its block (" + originText(layers, annotation.origin) + ")";
        message += "; change the value or the annotation";
        FileReport(layer.path, out)
            .add(Severity::Error, "value-mismatch", entry.line, entry.line_begin, entry.value.begin, std::move(message),
                 record[FIELD_KEY]);
    }
}

}  // namespace teskpf
