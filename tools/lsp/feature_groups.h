// The answers of the language features, one function a request method,
// defined in the file of their group (hover.cpp, navigation.cpp,
// completion.cpp, outline_features.cpp, code_actions.cpp). Each answers null
// (or an empty list) for an unknown document or a position outside it.
#pragma once

#include <nlohmann/json.hpp>

#include "workspace.h"

namespace teskpf_lsp {

nlohmann::json hover(const Workspace &workspace, const nlohmann::json &params);
nlohmann::json definition(const Workspace &workspace, const nlohmann::json &params);
nlohmann::json references(const Workspace &workspace, const nlohmann::json &params);
nlohmann::json prepareRename(const Workspace &workspace, const nlohmann::json &params);
// Throws RequestError for a new name that cannot be a key.
nlohmann::json rename(const Workspace &workspace, const nlohmann::json &params);
nlohmann::json completion(const Workspace &workspace, const nlohmann::json &params);
nlohmann::json documentSymbols(const Workspace &workspace, const nlohmann::json &params);
nlohmann::json foldingRanges(const Workspace &workspace, const nlohmann::json &params);
nlohmann::json formatting(const Workspace &workspace, const nlohmann::json &params);
nlohmann::json codeActions(const Workspace &workspace, const nlohmann::json &params);

}  // namespace teskpf_lsp
