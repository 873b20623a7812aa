#include "server.h"

#include <algorithm>
#include <exception>
#include <utility>

#include <teskpf/diagnostics.h>
#include <teskpf/error.h>

#include "transport.h"

namespace teskpf_lsp {

namespace {

using Json = nlohmann::json;

// JSON-RPC and protocol error codes.
constexpr int kParseError = -32700;
constexpr int kInvalidRequest = -32600;
constexpr int kMethodNotFound = -32601;
constexpr int kInvalidParams = -32602;
constexpr int kInternalError = -32603;
constexpr int kServerNotInitialized = -32002;

bool validId(const Json &id) { return id.is_string() || id.is_number() || id.is_null(); }

const Json &member(const Json &object, const char *name) {
    static const Json none;
    if (!object.is_object()) return none;
    auto it = object.find(name);
    return it == object.end() ? none : *it;
}

// A string member that must be there.
std::string requiredString(const Json &object, const char *name) {
    const Json &value = member(object, name);
    if (!value.is_string()) throw RequestError{kInvalidParams, std::string("missing string '") + name + "'"};
    return value.get<std::string>();
}

long requiredLong(const Json &object, const char *name) {
    const Json &value = member(object, name);
    if (!value.is_number_integer()) throw RequestError{kInvalidParams, std::string("missing integer '") + name + "'"};
    return value.get<long>();
}

// The document a text-document notification names.
std::string documentUri(const Json &params) { return requiredString(member(params, "textDocument"), "uri"); }

// The diagnostics of `text`'s file as the protocol publishes them. They come
// sorted by line, so the lines are found in one pass.
Json diagnosticsJson(const std::vector<teskpf::Diagnostic> &found, const std::string &file, const std::string &text,
                     PositionEncoding encoding) {
    Json list = Json::array();
    long line = 0;  // 0-based line starting at `start`
    std::size_t start = 0;
    for (const teskpf::Diagnostic &d : found) {
        if (d.file != file) continue;
        const long wanted = std::max(0L, d.line - 1);
        if (wanted < line) {
            line = 0;
            start = 0;
        }
        while (line < wanted) {
            const std::size_t end = text.find('\n', start);
            if (end == std::string::npos) break;  // past the end: the last line
            start = end + 1;
            ++line;
        }
        const std::string_view text_line = lineAt(text, start);
        const std::size_t column = static_cast<std::size_t>(std::max(0L, d.column - 1));
        // From the column to the end of the line: the library gives a place,
        // an editor underlines a stretch.
        Json range = {{"start", {{"line", line}, {"character", characterOffset(text_line, column, encoding)}}},
                      {"end", {{"line", line}, {"character", characterOffset(text_line, text_line.size(), encoding)}}}};
        Json item = {{"range", std::move(range)},
                     {"severity", d.severity == teskpf::Severity::Error ? 1 : 2},
                     {"source", "teskpf"},
                     {"message", d.message}};
        if (!d.rule.empty()) item["code"] = d.rule;
        list.push_back(std::move(item));
    }
    return list;
}

}  // namespace

Server::Server(std::ostream &out, ServerOptions options, const std::vector<Feature> &offered)
    : out_(out), options_(std::move(options)), features_(offered) {
    workspace_.search_path_ = options_.search_path;
}

void Server::send(const Json &message) {
    // Texts quoted from files need not be UTF-8: such bytes go out as U+FFFD.
    writeMessage(out_, message.dump(-1, ' ', false, Json::error_handler_t::replace));
}

void Server::sendError(const Json &id, int code, const std::string &message) {
    send({{"jsonrpc", "2.0"}, {"id", id}, {"error", {{"code", code}, {"message", message}}}});
}

void Server::notify(const std::string &method, Json params) {
    send({{"jsonrpc", "2.0"}, {"method", method}, {"params", std::move(params)}});
}

void Server::log(const std::string &message) { notify("window/logMessage", {{"type", 2}, {"message", message}}); }

void Server::malformed(const std::string &why) { sendError(nullptr, kParseError, "malformed header: " + why); }

bool Server::handle(const std::string &body) {
    Json message;
    try {
        message = Json::parse(body);
    } catch (const Json::exception &error) {
        sendError(nullptr, kParseError, std::string("invalid JSON: ") + error.what());
        return true;
    }
    if (message.is_array()) {
        sendError(nullptr, kInvalidRequest, "batches are not supported: send one message at a time");
        return true;
    }
    if (!message.is_object()) {
        sendError(nullptr, kInvalidRequest, "a message must be a JSON object");
        return true;
    }
    const bool has_id = message.contains("id");
    const Json id = has_id ? message["id"] : Json();
    const Json &method = member(message, "method");
    if (method.is_null() && has_id && (message.contains("result") || message.contains("error")))
        return true;  // a response: the server sends no requests that need one
    const Json &params = member(message, "params");
    if (member(message, "jsonrpc") != "2.0" || !method.is_string() || (has_id && !validId(id)) ||
        !(params.is_null() || params.is_object() || params.is_array())) {
        sendError(has_id && validId(id) ? id : Json(), kInvalidRequest,
                  "not a JSON-RPC 2.0 request or notification (\"jsonrpc\": \"2.0\", a string \"method\", "
                  "an id that is a number or string, params an object or array)");
        return true;
    }
    const std::string name = method.get<std::string>();
    if (has_id) {
        request(id, name, params);
        return true;
    }
    if (name == "exit") return false;
    try {
        notification(name, params);
    } catch (const RequestError &error) {
        log("teskpf: " + name + " ignored: " + error.message);
    } catch (const std::exception &error) {
        log("teskpf: " + name + " ignored: " + error.what());
    }
    return true;
}

void Server::request(const Json &id, const std::string &method, const Json &params) {
    Json result;
    try {
        result = answer(method, params);
    } catch (const RequestError &error) {
        sendError(id, error.code, error.message);
        return;
    } catch (const Json::exception &error) {
        sendError(id, kInvalidParams, std::string("invalid params: ") + error.what());
        return;
    } catch (const std::exception &error) {
        sendError(id, kInternalError, std::string("internal error: ") + error.what());
        return;
    } catch (...) {
        sendError(id, kInternalError, "internal error");
        return;
    }
    send({{"jsonrpc", "2.0"}, {"id", id}, {"result", std::move(result)}});
}

Json Server::answer(const std::string &method, const Json &params) {
    if (state_ == State::Uninitialized) {
        if (method == "initialize") return initialize(params);
        throw RequestError{kServerNotInitialized, "the server is not initialized: send 'initialize' first"};
    }
    if (state_ == State::ShutDown) throw RequestError{kInvalidRequest, "the server is shut down: only 'exit' remains"};
    if (method == "initialize") throw RequestError{kInvalidRequest, "the server is already initialized"};
    if (method == "shutdown") {
        state_ = State::ShutDown;
        return nullptr;
    }
    for (const Feature &feature : features_)
        if (feature.method == method) return feature.answer(workspace_, params);
    throw RequestError{kMethodNotFound, "unknown method '" + method + "'"};
}

Json Server::initialize(const Json &params) {
    if (!params.is_object()) throw RequestError{kInvalidParams, "initialize needs its params object"};
    const Json &offered = member(member(member(params, "capabilities"), "general"), "positionEncodings");
    workspace_.encoding_ = PositionEncoding::Utf16;
    if (offered.is_array() && std::find(offered.begin(), offered.end(), Json("utf-8")) != offered.end())
        workspace_.encoding_ = PositionEncoding::Utf8;
    const Json &formats =
        member(member(member(member(params, "capabilities"), "textDocument"), "hover"), "contentFormat");
    workspace_.markdown_hover_ =
        !formats.is_array() || std::find(formats.begin(), formats.end(), Json("markdown")) != formats.end();
    const Json &path = member(member(member(params, "initializationOptions"), "teskpf"), "path");
    if (path.is_string()) workspace_.search_path_ = path.get<std::string>();
    state_ = State::Running;

    Json capabilities = {
        {"positionEncoding", workspace_.encoding_ == PositionEncoding::Utf8 ? "utf-8" : "utf-16"},
        {"textDocumentSync", {{"openClose", true}, {"change", 2}, {"save", {{"includeText", false}}}}}};
    for (const Feature &feature : features_) capabilities[feature.capability] = feature.announced;
    return {{"capabilities", std::move(capabilities)},
            {"serverInfo", {{"name", "teskpf"}, {"version", options_.version}}}};
}

void Server::notification(const std::string &method, const Json &params) {
    // Before initialize and after shutdown, only exit counts.
    if (state_ != State::Running) return;
    if (method == "textDocument/didOpen")
        didOpen(params);
    else if (method == "textDocument/didChange")
        didChange(params);
    else if (method == "textDocument/didSave")
        didSave(params);
    else if (method == "textDocument/didClose")
        didClose(params);
    else if (method == "workspace/didChangeConfiguration")
        didChangeConfiguration(params);
    // Anything else ("initialized", "$/cancelRequest", "$/..."): nothing to
    // do. Requests are answered in order as they come, so a cancelled one
    // has been answered already.
}

void Server::didOpen(const Json &params) {
    const Json &item = member(params, "textDocument");
    TextDocument document;
    document.uri = requiredString(item, "uri");
    document.path = pathOfUri(document.uri);
    document.text = requiredString(item, "text");
    document.version = requiredLong(item, "version");
    const std::string uri = document.uri;
    const std::string path = document.path;
    workspace_.documents[uri] = std::move(document);
    recheck(uri, path);
}

void Server::didChange(const Json &params) {
    const std::string uri = documentUri(params);
    auto it = workspace_.documents.find(uri);
    if (it == workspace_.documents.end()) return;
    const Json &changes = member(params, "contentChanges");
    if (!changes.is_array()) throw RequestError{kInvalidParams, "missing array 'contentChanges'"};
    // Validated first, so that a bad change leaves the text as it was.
    for (const Json &change : changes) {
        requiredString(change, "text");
        const Json &range = member(change, "range");
        if (range.is_null()) continue;
        for (const char *end : {"start", "end"}) {
            requiredLong(member(range, end), "line");
            requiredLong(member(range, end), "character");
        }
    }
    TextDocument &document = it->second;
    for (const Json &change : changes) {
        const std::string &text = member(change, "text").get_ref<const std::string &>();
        const Json &range = member(change, "range");
        if (range.is_null()) {
            document.text = text;
            continue;
        }
        auto offset = [&](const char *end) {
            const Json &position = member(range, end);
            return documentOffset(document.text, requiredLong(position, "line"), requiredLong(position, "character"),
                                  workspace_.encoding());
        };
        std::size_t from = offset("start");
        std::size_t to = offset("end");
        if (to < from) std::swap(from, to);
        document.text.replace(from, to - from, text);
    }
    const Json &version = member(member(params, "textDocument"), "version");
    if (version.is_number_integer()) document.version = version.get<long>();
    recheck(uri, document.path);
}

void Server::didSave(const Json &params) {
    const std::string uri = documentUri(params);
    auto it = workspace_.documents.find(uri);
    if (it == workspace_.documents.end()) return;
    const Json &text = member(params, "text");
    if (text.is_string()) it->second.text = text.get<std::string>();
    recheck(uri, it->second.path);
}

void Server::didClose(const Json &params) {
    const std::string uri = documentUri(params);
    auto it = workspace_.documents.find(uri);
    if (it == workspace_.documents.end()) return;
    const std::string path = it->second.path;
    workspace_.documents.erase(it);
    notify("textDocument/publishDiagnostics", {{"uri", uri}, {"diagnostics", Json::array()}});
    recheck("", path);
}

void Server::didChangeConfiguration(const Json &params) {
    const Json &teskpf = member(member(params, "settings"), "teskpf");
    if (!teskpf.is_object() || !teskpf.contains("path")) return;
    const Json &path = teskpf["path"];
    if (path.is_string())
        workspace_.search_path_ = path.get<std::string>();
    else if (path.is_null())
        workspace_.search_path_ = options_.search_path;
    else
        throw RequestError{kInvalidParams, "teskpf.path must be a string or null"};
    recheckAll();
}

void Server::recheck(const std::string &uri, const std::string &path) {
    for (const auto &[open_uri, document] : workspace_.documents) {
        if (open_uri == uri) {
            publish(document);
            continue;
        }
        if (path.empty() || document.path.empty()) continue;
        const std::vector<teskpf::LayerText> layers = workspace_.layersOf(document);
        if (std::any_of(layers.begin(), layers.end(),
                        [&](const teskpf::LayerText &layer) { return sameFile(layer.path, path); }))
            publish(document);
    }
}

void Server::recheckAll() {
    for (const auto &entry : workspace_.documents) publish(entry.second);
}

void Server::publish(const TextDocument &document) {
    std::size_t index = 0;
    std::vector<teskpf::LayerText> layers = workspace_.layersOf(document, &index);
    const std::string file = layers[index].path;
    std::vector<teskpf::Diagnostic> found;
    try {
        found = teskpf::checkLayers(layers);
    } catch (const teskpf::Error &error) {
        // A lower layer that cannot be read: the document is checked alone,
        // and says why.
        found = teskpf::checkText(document.text, file);
        teskpf::Diagnostic unread;
        unread.file = file;
        unread.line = 1;
        unread.column = 1;
        unread.message = std::string(error.what()) + "; the layers were not checked together";
        found.insert(found.begin(), unread);
    }
    notify("textDocument/publishDiagnostics",
           {{"uri", document.uri},
            {"version", document.version},
            {"diagnostics", diagnosticsJson(found, file, document.text, workspace_.encoding())}});
}

int serve(std::istream &in, std::ostream &out, const ServerOptions &options) {
    Server server(out, options);
    MessageReader reader(in);
    for (;;) {
        Message message = reader.next();
        switch (message.kind) {
        case Message::Kind::End: return server.exitCode();
        case Message::Kind::Malformed: server.malformed(message.error); break;
        case Message::Kind::Body:
            if (!server.handle(message.body)) return server.exitCode();
            break;
        }
    }
}

}  // namespace teskpf_lsp
