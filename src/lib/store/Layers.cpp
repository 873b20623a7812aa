#include "store/Layers.h"

#include <system_error>

#include "files/FileSearch.h"
#include "parsing/ReadFile.h"
#include "syntax/KeyPath.h"
#include "teskpf/error.h"
#include "teskpf/search.h"

namespace teskpf {

namespace {

// The layers merged as reading their name merges them; null when one did not
// parse or their key paths together exceed what reading them may take.
std::unique_ptr<const detail::Store> merge(const std::vector<Layer> &layers) {
    std::vector<ParsedFile> parsed;
    parsed.reserve(layers.size());
    for (const Layer &layer : layers) {
        if (!layer.parsed) return nullptr;
        parsed.push_back(*layer.parsed);
    }
    try {
        return std::make_unique<const detail::Store>(std::move(parsed));
    } catch (const Error &) {
        // checkLayeredKeyPaths reports where.
        return nullptr;
    }
}

Layer parseLayer(const std::string &path, const std::string &source, FileText text) {
    Layer layer;
    layer.path = path;
    layer.source = source;
    try {
        layer.parsed.emplace(source, std::move(text));
    } catch (const Error &error) {
        layer.parse_error = error.what();
        return layer;
    }
    layer.entry_at_line.assign(layer.parsed->lineCount(), -1);
    const std::vector<FileEntry> &entries = layer.parsed->entries();
    for (size_t i = 0; i < entries.size(); ++i) layer.entry_at_line[entries[i].line] = static_cast<int32_t>(i);
    return layer;
}

Layer readLayer(const std::string &path, const std::string &source) {
    return parseLayer(path, source, readFileOrThrow(path));
}

}  // namespace

Layers Layers::ofText(std::string_view text, const std::string &name) {
    Layers layers;
    layers.files.push_back(parseLayer(name, name, FileText(text)));
    layers.merged = merge(layers.files);
    return layers;
}

Layers Layers::ofFile(const std::string &path) {
    // Reading a name without "/" searches PFPATH: keep it to this file.
    const std::string source = path.find('/') == std::string::npos ? "./" + path : path;
    Layers layers;
    layers.files.push_back(readLayer(path, source));
    if (findParameterFiles(source) != std::vector<std::string>{source})
        throw IoError("cannot check " + path + " alone: reading it would read another file; name it *.pf", path,
                      std::make_error_code(std::errc::invalid_argument));
    layers.merged = merge(layers.files);
    return layers;
}

Layers Layers::ofName(const std::string &name) {
    const NamedFiles named = namedFiles(name);
    if (named.files.empty()) throwNoParameterFile(name, named.why);
    const std::vector<std::string> &paths = named.files;
    Layers layers;
    for (const std::string &path : paths) layers.files.push_back(readLayer(path, path));
    layers.merged = merge(layers.files);
    return layers;
}

Layers Layers::ofTexts(const std::vector<LayerText> &texts) {
    Layers layers;
    for (const LayerText &layer : texts)
        layers.files.push_back(layer.text ? parseLayer(layer.path, layer.path, FileText(*layer.text))
                                          : readLayer(layer.path, layer.path));
    layers.merged = merge(layers.files);
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

}  // namespace teskpf
