// The language server: JSON-RPC over the base protocol, the life cycle,
// the open documents and their diagnostics, and the language features of
// features.h.
#pragma once

#include <istream>
#include <ostream>
#include <string>
#include <vector>

#include <nlohmann/json.hpp>

#include "features.h"
#include "workspace.h"

namespace teskpf_lsp {

struct ServerOptions {
    std::string search_path;  // the layers' search path unless the client sets teskpf.path
    std::string version;      // reported in serverInfo
};

class Server {
public:
    // Answers on `out`, offering `offered` (every feature, unless a test
    // gives others).
    Server(std::ostream &out, ServerOptions options, const std::vector<Feature> &offered = features());

    // Handles the content of one message. False once `exit` has arrived.
    bool handle(const std::string &body);
    // Answers a message whose header could not be used.
    void malformed(const std::string &why);
    // 0 when the client asked for shutdown before leaving, 1 otherwise.
    int exitCode() const { return state_ == State::ShutDown ? 0 : 1; }

    const Workspace &workspace() const { return workspace_; }

private:
    enum class State { Uninitialized, Running, ShutDown };
    using Json = nlohmann::json;

    void request(const Json &id, const std::string &method, const Json &params);
    Json answer(const std::string &method, const Json &params);
    Json initialize(const Json &params);
    void notification(const std::string &method, const Json &params);

    void didOpen(const Json &params);
    void didChange(const Json &params);
    void didSave(const Json &params);
    void didClose(const Json &params);
    void didChangeConfiguration(const Json &params);

    // Publishes the diagnostics of the open document `uri` and of every
    // open document whose layers include the file `path`.
    void recheck(const std::string &uri, const std::string &path);
    void recheckAll();
    void publish(const TextDocument &document);

    void send(const Json &message);
    void sendError(const Json &id, int code, const std::string &message);
    void notify(const std::string &method, Json params);
    void log(const std::string &message);

    std::ostream &out_;
    ServerOptions options_;
    const std::vector<Feature> &features_;
    Workspace workspace_;
    State state_ = State::Uninitialized;
};

// Serves the messages of `in`, answering on `out`, until `exit` or the end
// of input. Returns the exit code: 0 after a shutdown request, 1 otherwise.
int serve(std::istream &in, std::ostream &out, const ServerOptions &options);

}  // namespace teskpf_lsp
