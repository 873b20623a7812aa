// From a key to its definitions across the layers: the ones it overrides
// (definition), all of them (references), and renaming it in every layer.
#include <teskpf/editor.h>
#include <teskpf/error.h>
#include <teskpf/explain.h>

#include "feature_groups.h"
#include "feature_support.h"
#include "features.h"

namespace teskpf_lsp {

namespace {

// Every definition of the key at the request's position, lowest layer
// first; null when there is no key there or the layers cannot be read.
std::optional<std::vector<teskpf::KeyDefinition>> definitionsAt(const Workspace &workspace,
                                                                const nlohmann::json &params,
                                                                std::optional<KeyAtPosition> &at) {
    at = keyAtPosition(workspace, params);
    if (!at) return std::nullopt;
    try {
        return teskpf::explain(at->layers, at->member().key_path).definitions;
    } catch (const teskpf::Error &) {
        return std::nullopt;
    }
}

// The place of `file` among the layers; the layer count when it is none.
std::size_t layerOf(const std::vector<teskpf::LayerText> &layers, const std::string &file) {
    for (std::size_t i = 0; i < layers.size(); ++i)
        if (layers[i].path == file) return i;
    return layers.size();
}

}  // namespace

nlohmann::json definition(const Workspace &workspace, const nlohmann::json &params) {
    std::optional<KeyAtPosition> at;
    const auto definitions = definitionsAt(workspace, params, at);
    if (!definitions) return nullptr;
    // The layers below this one, the next lower first.
    nlohmann::json locations = nlohmann::json::array();
    for (auto it = definitions->rbegin(); it != definitions->rend(); ++it) {
        if (layerOf(at->layers, it->file) >= at->layer) continue;
        nlohmann::json location = definitionLocation(workspace, it->file, it->line);
        if (!location.is_null()) locations.push_back(std::move(location));
    }
    return locations.empty() ? nlohmann::json(nullptr) : locations;
}

nlohmann::json references(const Workspace &workspace, const nlohmann::json &params) {
    std::optional<KeyAtPosition> at;
    const auto definitions = definitionsAt(workspace, params, at);
    if (!definitions) return nullptr;
    nlohmann::json locations = nlohmann::json::array();
    for (const teskpf::KeyDefinition &found : *definitions) {
        nlohmann::json location = definitionLocation(workspace, found.file, found.line);
        if (!location.is_null()) locations.push_back(std::move(location));
    }
    return locations;
}

nlohmann::json prepareRename(const Workspace &workspace, const nlohmann::json &params) {
    const std::optional<KeyAtPosition> at = keyAtPosition(workspace, params);
    // A list member has no name to change.
    if (!at || at->member().key.empty()) return nullptr;
    const teskpf::TextRange key = at->member().key;
    return {{"range", at->text.range(key)}, {"placeholder", at->text.text().substr(key.begin, key.end - key.begin)}};
}

nlohmann::json rename(const Workspace &workspace, const nlohmann::json &params) {
    const auto new_name = params.find("newName");
    if (new_name == params.end() || !new_name->is_string()) throw RequestError{-32602, "rename: newName is missing"};
    const std::string name = new_name->get<std::string>();
    if (const std::string problem = teskpf::keyNameProblem(name); !problem.empty())
        throw RequestError{-32602, "cannot rename to '" + name + "': " + problem};
    std::optional<KeyAtPosition> at;
    const auto definitions = definitionsAt(workspace, params, at);
    if (!definitions || at->member().key.empty()) return nullptr;
    nlohmann::json changes = nlohmann::json::object();
    for (const teskpf::KeyDefinition &found : *definitions) {
        nlohmann::json location = definitionLocation(workspace, found.file, found.line);
        if (location.is_null()) continue;
        changes[location["uri"].get<std::string>()].push_back(textEdit(location["range"], name));
    }
    return {{"changes", changes}};
}

}  // namespace teskpf_lsp
