// Explaining a key: every layer's definition, the one in effect and why, and
// the annotation its value is checked against.
#include <cstdint>

#include "store/AnnotationInEffect.h"
#include "store/EntryStore.h"
#include "store/Layers.h"
#include "syntax/KeyPath.h"
#include "teskpf/explain.h"

namespace teskpf {

namespace {

// The top-level component of a key path: ["a"] for ["a"]["b"][0].
std::string topLevelKey(const std::string &key) {
    std::string top = key;
    for (std::string_view up = enclosingKey(top); !up.empty(); up = enclosingKey(top)) top = std::string(up);
    return top;
}

// The entries of `key` in every layer: found by the hashes of their paths,
// confirmed by their components, so that no path is built, however deep.
void collectDefinitions(const Layers &layers, const std::string &key, KeyExplanation &out) {
    detail::PathHash key_hash;
    key_hash.feed(key);
    const uint64_t wanted = key_hash.value();
    std::vector<uint64_t> hashes;
    for (const Layer &layer : layers.files) {
        out.files.push_back(layer.path);
        if (!layer.parsed) continue;
        size_t key_bytes = 0;
        detail::keyPathHashes(*layer.parsed, key_bytes, SIZE_MAX, hashes);
        const std::vector<FileEntry> &entries = layer.parsed->entries();
        for (size_t i = 0; i < entries.size(); ++i) {
            if (entries[i].kind == EntryKind::Note || hashes[i] != wanted || !layer.parsed->hasKeyPath(i, key))
                continue;
            std::string buffer;
            out.definitions.push_back({layer.path, static_cast<long>(entries[i].line) + 1,
                                       std::string(layer.parsed->value(entries[i], buffer)),
                                       std::string(layer.parsed->constraints(entries[i])), false});
        }
    }
}

// Why the definition `chosen` is in effect (or, when null, why none is).
std::string reasonFor(const Layers &layers, const KeyExplanation &out, const KeyDefinition *chosen) {
    const std::string top = topLevelKey(out.key);
    const bool nested = top != out.key;
    if (!chosen) {
        if (out.definitions.empty()) return out.key + " is defined in none of the files";
        return "no definition is in effect: a later file on the path supplies " + top + " as a whole, without this key";
    }
    std::string reason = chosen->file + " is the last file on the path that defines " + top;
    if (layers.files.size() == 1) reason = chosen->file + " is the only file read";
    if (nested) reason += "; a block is taken whole from one file";
    size_t in_same_file = 0;
    const KeyDefinition *last_in_file = nullptr;
    for (const KeyDefinition &definition : out.definitions)
        if (definition.file == chosen->file) {
            ++in_same_file;
            last_in_file = &definition;
        }
    if (in_same_file > 1)
        reason += "; " + chosen->file + " defines it " + std::to_string(in_same_file) + " times and line " +
                  std::to_string(chosen->line) + (chosen == last_in_file ? ", the last," : ", an earlier one,") +
                  " is the one a lookup finds";
    return reason;
}

KeyExplanation explainLayers(const Layers &layers, const std::string &key_path) {
    KeyExplanation out;
    out.key = key_path;
    collectDefinitions(layers, key_path, out);
    const int index = layers.merged ? layers.merged->find(key_path) : -1;
    KeyDefinition *chosen = nullptr;
    if (index >= 0) {
        const detail::Store &merged = *layers.merged;
        const size_t at_index = static_cast<size_t>(index);
        const int at = layers.layerOf(merged.fileOf(at_index).name());
        const long line = static_cast<long>(merged.entryOf(at_index).line) + 1;
        for (KeyDefinition &definition : out.definitions)
            if (at >= 0 && definition.file == layers.files[static_cast<size_t>(at)].path && definition.line == line)
                chosen = &definition;
        // The annotation found lives as long as the resolver that found it.
        detail::AnnotationInEffect annotations(merged);
        const detail::FoundAnnotation annotation = annotations.of(at_index);
        out.annotation = std::string(annotation.text());
        if (!out.annotation.empty()) out.annotation_origin = layers.reported(annotation.where());
    }
    if (chosen) chosen->in_effect = true;
    out.reason = reasonFor(layers, out, chosen);
    return out;
}

}  // namespace

KeyExplanation explain(const std::string &name, const std::string &key_path) {
    return explainLayers(Layers::ofName(name), key_path);
}

KeyExplanation explain(const std::vector<LayerText> &layers, const std::string &key_path) {
    return explainLayers(Layers::ofTexts(layers), key_path);
}

}  // namespace teskpf
