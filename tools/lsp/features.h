// The language features the server offers beyond the document life cycle
// and diagnostics: each a request method, the capability it announces and
// the function that answers it.
#pragma once

#include <functional>
#include <string>
#include <vector>

#include <nlohmann/json.hpp>

#include "workspace.h"

namespace teskpf_lsp {

struct Feature {
    std::string method;        // e.g. "textDocument/hover"
    std::string capability;    // its key in ServerCapabilities, e.g. "hoverProvider"
    nlohmann::json announced;  // that key's value, e.g. true
    // The result of a request with `params`. Throws RequestError for an
    // answer the protocol gives as an error.
    std::function<nlohmann::json(const Workspace &workspace, const nlohmann::json &params)> answer;
};

// A request the server answers with an error response.
struct RequestError {
    int code;  // a JSON-RPC / protocol error code, e.g. -32602 (invalid params)
    std::string message;
};

// Every feature, in the order the server announces them.
const std::vector<Feature> &features();

}  // namespace teskpf_lsp
