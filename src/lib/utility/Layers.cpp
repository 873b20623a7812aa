#include "detail/Layers.h"

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
    const NamedFiles named = namedFiles(name);
    if (named.files.empty()) throwNoParameterFile(name, named.why);
    const std::vector<std::string> &paths = named.files;
    Layers layers;
    for (const std::string &path : paths) layers.files.push_back(readLayer(path, path));
    layers.merged = loadClassic(layers.files.data(), layers.files.size(), name, layers.merged_error);
    return layers;
}

int Layers::layerOf(const std::string &source) const {
    for (size_t i = 0; i < files.size(); ++i)
        if (files[i].source == source) return static_cast<int>(i);
    return -1;
}

std::string Layers::reported(const Source &where) const {
    const int at = layerOf(where.file);
    return (at >= 0 ? files[static_cast<size_t>(at)].path : where.file) + ":" + std::to_string(where.line);
}

SourceLine splitSource(const std::string &source) {
    size_t colon = source.rfind(':');
    if (colon == std::string::npos) return {};
    return {source.substr(0, colon), std::strtol(source.c_str() + colon + 1, nullptr, 10)};
}

}  // namespace teskpf
