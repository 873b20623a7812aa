// Feeds arbitrary bytes to the language server, which answers into memory.
// The first byte chooses what the rest is: a raw message stream (framing,
// JSON, JSON-RPC and the life cycle), or the text of a document that a
// scripted session opens, edits at positions taken from the input, saves
// and closes. Besides the sanitizers it checks that everything the server
// writes reads back as framed JSON.
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <sstream>
#include <string>

#include <nlohmann/json.hpp>

#include "lsp/server.h"
#include "lsp/transport.h"

namespace {

using Json = nlohmann::json;

std::string framed(const Json &message) {
    const std::string body = message.dump(-1, ' ', false, Json::error_handler_t::replace);
    return "Content-Length: " + std::to_string(body.size()) + "\r\n\r\n" + body;
}

Json notification(const char *method, Json params) {
    return {{"jsonrpc", "2.0"}, {"method", method}, {"params", std::move(params)}};
}

// A session around the document text `text`; `mode` picks the encoding and
// `text`'s first bytes the edited range.
std::string session(std::uint8_t mode, const std::string &text) {
    const std::string uri = "file:///nonexistent-teskpf-fuzz/doc.pf";
    const long a = text.size() > 0 ? static_cast<unsigned char>(text[0]) % 8 : 0;
    const long b = text.size() > 1 ? static_cast<unsigned char>(text[1]) % 40 : 0;
    Json encodings = (mode & 2) ? Json::array({"utf-8"}) : Json::array({"utf-16"});
    std::string out;
    out += framed({{"jsonrpc", "2.0"},
                   {"id", 1},
                   {"method", "initialize"},
                   {"params", {{"capabilities", {{"general", {{"positionEncodings", encodings}}}}}}}});
    out +=
        framed(notification("textDocument/didOpen",
                            {{"textDocument", {{"uri", uri}, {"languageId", "pf"}, {"version", 1}, {"text", text}}}}));
    Json range = {{"start", {{"line", a}, {"character", b}}}, {"end", {{"line", b % 5}, {"character", a * 3}}}};
    out += framed(notification("textDocument/didChange",
                               {{"textDocument", {{"uri", uri}, {"version", 2}}},
                                {"contentChanges", Json::array({{{"range", range}, {"text", "}\n&Arr{ \xC3\xA9"}}})}}));
    out += framed(notification("textDocument/didSave", {{"textDocument", {{"uri", uri}}}}));
    out += framed(notification("textDocument/didClose", {{"textDocument", {{"uri", uri}}}}));
    out += framed({{"jsonrpc", "2.0"}, {"id", 2}, {"method", "shutdown"}});
    out += framed(notification("exit", nullptr));
    return out;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size) {
    if (size == 0) return 0;
    const std::string rest(reinterpret_cast<const char *>(data) + 1, size - 1);
    std::istringstream in(data[0] & 1 ? session(data[0], rest) : rest);
    std::ostringstream out;
    teskpf_lsp::serve(in, out, {"/nonexistent-teskpf-fuzz", "fuzz"});

    std::istringstream written(out.str());
    teskpf_lsp::MessageReader reader(written);
    for (;;) {
        teskpf_lsp::Message message = reader.next();
        if (message.kind == teskpf_lsp::Message::Kind::End) break;
        if (message.kind != teskpf_lsp::Message::Kind::Body || !Json::accept(message.body)) {
            std::fprintf(stderr, "fuzz_lsp_messages: the server wrote a message that does not read back\n");
            std::abort();
        }
    }
    return 0;
}
