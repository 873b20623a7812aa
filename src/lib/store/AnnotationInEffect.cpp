#include "store/AnnotationInEffect.h"

#include "syntax/KeyPath.h"
#include "teskpf/error.h"

namespace teskpf::detail {

std::string_view FoundAnnotation::text() const {
    return store ? store->constraints(static_cast<size_t>(entry)) : std::string_view();
}

Source FoundAnnotation::where() const {
    if (!store) return {};
    const size_t at = static_cast<size_t>(entry);
    return {store->fileOf(at).name(), static_cast<long>(store->entryOf(at).line) + 1};
}

const Store *AnnotationInEffect::alone(size_t id) {
    if (alone_.empty()) {
        alone_.resize(merged_.fileCount());
        tried_.assign(merged_.fileCount(), false);
    }
    if (!tried_[id]) {
        tried_[id] = true;
        try {
            alone_[id] = std::make_unique<const Store>(std::vector<ParsedFile>{merged_.file(id)});
        } catch (const Error &) {
            // Its key paths exceed what it may take read alone: it tells nothing.
        }
    }
    return alone_[id].get();
}

FoundAnnotation AnnotationInEffect::prepared(FoundAnnotation found) {
    const FileEntry *entry = &found.store->entryOf(static_cast<size_t>(found.entry));
    auto known = checks_.find(entry);
    if (known == checks_.end()) known = checks_.emplace(entry, found.store->annotationCheck(found.text())).first;
    found.check = known->second;
    return found;
}

FoundAnnotation AnnotationInEffect::of(size_t index) {
    const int annotated = merged_.annotatedEntry(index);
    if (annotated == static_cast<int>(index)) {
        FoundAnnotation own{AnnotationOrigin::Own, &merged_, annotated};
        own.check = merged_.annotationCheck(own.text());  // serves this entry alone
        return own;
    }
    if (annotated >= 0) return prepared({AnnotationOrigin::Enclosing, &merged_, annotated});
    // Files of higher ids have lower precedence.
    const size_t file_id = merged_.fileIdOf(index);
    if (merged_.isNote(index) || file_id + 1 >= merged_.fileCount()) return {};
    const std::string key = merged_.keyPath(index);
    const std::string_view block_key = enclosingKey(key);
    for (size_t lower_id = file_id + 1; lower_id < merged_.fileCount(); ++lower_id) {
        const Store *lower = alone(lower_id);
        if (!lower) continue;
        const int replaced = lower->find(key);
        if (replaced >= 0) {
            const int lower_annotated = lower->annotatedEntry(static_cast<size_t>(replaced));
            if (lower_annotated >= 0) return prepared({AnnotationOrigin::Overridden, lower, lower_annotated});
            continue;
        }
        // A member the lower file lacks: the own annotation of the block the
        // override replaced there.
        const int block = block_key.empty() ? -1 : lower->find(block_key);
        if (block < 0 || lower->annotatedEntry(static_cast<size_t>(block)) != block) continue;
        if (lower->entryOf(static_cast<size_t>(block)).opensBlock())
            return prepared({AnnotationOrigin::Overridden, lower, block});
    }
    return {};
}

Verdict verdictOf(const FoundAnnotation &found, const std::string &key_path, std::string_view value, bool is_value) {
    Verdict verdict;
    verdict.origin = found.origin;
    if (found.origin == AnnotationOrigin::None) {
        verdict.ok = true;
        return verdict;
    }
    verdict.annotation = std::string(found.text());
    verdict.from = found.where();
    const AnnotationCheck *check = found.check;
    if (!check) {
        verdict.message = key_path + ": cannot parse constraints '" + verdict.annotation + "'";
        return verdict;
    }
    for (const Constraint &constraint : check->constraints()) verdict.types.push_back(constraint.type);
    // An annotation that reaches a block opening is for its members.
    verdict.ok = !is_value || check->satisfies(value);
    if (!verdict.ok) verdict.message = key_path + ": " + std::string(value) + " does not satisfy " + verdict.annotation;
    return verdict;
}

}  // namespace teskpf::detail
