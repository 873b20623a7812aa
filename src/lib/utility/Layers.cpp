#include "detail/Layers.h"

#include <teskpf/classic.h>

#include <system_error>

#include "detail/ClassicAccess.h"
#include "detail/FileSearch.h"
#include "detail/KeyPath.h"
#include "detail/ReadFile.h"
#include "teskpf/error.h"
#include "teskpf/search.h"

namespace teskpf {

namespace {

// The classic handle of `name` over `count` layers from `layers`, built from
// their parses; none, with `error` set, when it does not load. When a layer
// did not parse, the classic constructor reads the files again, so that the
// message is the one reading `name` gives.
std::optional<TeskPf> loadClassic(const Layer *layers, size_t count, const std::string &name, std::string &error) {
    try {
        std::vector<ParsedFile> parsed;
        parsed.reserve(count);
        for (size_t i = 0; i < count; ++i) {
            if (!layers[i].parsed) return TeskPf(name, 0);
            parsed.push_back(*layers[i].parsed);
        }
        return detail::ClassicAccess::fromParsed(std::move(parsed), name);
    } catch (const std::string &message) {
        error = message;
    }
    return std::nullopt;
}

Layer readLayer(const std::string &path, const std::string &source) {
    Layer layer;
    layer.path = path;
    layer.source = source;
    FileText text = readFileOrThrow(path);
    try {
        layer.parsed.emplace(source, std::move(text));
    } catch (const std::string &message) {
        layer.parse_error = message;
        return layer;
    }
    layer.entry_at_line.assign(layer.parsed->lineCount(), -1);
    const std::vector<FileEntry> &entries = layer.parsed->entries();
    for (size_t i = 0; i < entries.size(); ++i) layer.entry_at_line[entries[i].line] = static_cast<int32_t>(i);
    return layer;
}

}  // namespace

Layers Layers::ofFile(const std::string &path) {
    // The classic handle searches PFPATH for a name without "/": keep it to this file.
    const std::string source = path.find('/') == std::string::npos ? "./" + path : path;
    Layers layers;
    layers.files.push_back(readLayer(path, source));
    if (findParameterFiles(source) != std::vector<std::string>{source})
        throw IoError("cannot check " + path + " alone: reading it would read another file; name it *.pf", path,
                      std::make_error_code(std::errc::invalid_argument));
    layers.merged = loadClassic(layers.files.data(), 1, source, layers.merged_error);
    return layers;
}

Layers Layers::ofName(const std::string &name) {
    const std::vector<std::string> paths = parameterFiles(name);
    if (paths.empty()) throwNoParameterFile(name, "no parameter file named '" + name + "' along PFPATH");
    Layers layers;
    for (const std::string &path : paths) layers.files.push_back(readLayer(path, path));
    layers.merged = loadClassic(layers.files.data(), layers.files.size(), name, layers.merged_error);
    // A lower layer alone tells which annotation an override replaced.
    if (layers.files.size() > 1) {
        for (size_t i = 0; i + 1 < layers.files.size(); ++i) {
            std::string ignored;
            layers.files[i].alone = loadClassic(&layers.files[i], 1, layers.files[i].source, ignored);
        }
    }
    return layers;
}

int Layers::layerOf(const std::string &source) const {
    for (size_t i = 0; i < files.size(); ++i)
        if (files[i].source == source) return static_cast<int>(i);
    return -1;
}

SourceLine splitSource(const std::string &source) {
    size_t colon = source.rfind(':');
    if (colon == std::string::npos) return {};
    return {source.substr(0, colon), std::strtol(source.c_str() + colon + 1, nullptr, 10)};
}

std::shared_ptr<const AnnotationInEffect> AnnotationResolver::made(const TeskPf &pf, int annotated, bool inherited,
                                                                   bool shared) {
    if (shared) {
        auto found = blocks_.find({&pf, annotated});
        if (found != blocks_.end()) return found->second;
    }
    auto annotation = std::make_shared<const AnnotationInEffect>(
        AnnotationInEffect{pf.getConstraints(annotated, nullptr), splitSource(pf.getSource(annotated)), inherited});
    if (shared) blocks_.emplace(std::make_pair(&pf, annotated), annotation);
    return annotation;
}

std::shared_ptr<const AnnotationInEffect> AnnotationResolver::of(int index) {
    static const auto none = std::make_shared<const AnnotationInEffect>();
    const TeskPf &merged = *layers_.merged;
    // A block's annotation serves all its members: made once, in any layer.
    const int annotated = annotatedEntry(merged, index);
    if (annotated >= 0) return made(merged, annotated, false, annotated != index);
    const std::string key = merged.getKey(index);
    const std::string_view block_key = enclosingKey(key);
    for (int below = layers_.layerOf(splitSource(merged.getSource(index)).file); below-- > 0;) {
        const std::optional<TeskPf> &alone = layers_.files[static_cast<size_t>(below)].alone;
        if (!alone) continue;
        const TeskPf &lower = *alone;
        const int replaced = lower.getEntryIndex(key);
        if (replaced >= 0) {
            const int lower_annotated = annotatedEntry(lower, replaced);
            if (lower_annotated >= 0) return made(lower, lower_annotated, true, lower_annotated != replaced);
            continue;
        }
        // A member the lower layer lacks: the own annotation of the block
        // the override replaced there.
        const int block = block_key.empty() ? -1 : lower.getEntryIndex(std::string(block_key));
        if (block < 0 || annotatedEntry(lower, block) != block) continue;
        if (detail::ClassicAccess::store(lower)->entryOf(static_cast<size_t>(block)).opensBlock())
            return made(lower, block, true, true);
    }
    return none;
}

}  // namespace teskpf
