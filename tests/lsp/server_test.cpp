// The server's side of the feature table: what it announces, and how each
// way a feature's answer can end becomes a response.
#include <sstream>
#include <stdexcept>

#include <gtest/gtest.h>

#include "lsp/server.h"
#include "lsp/transport.h"

namespace {

using Json = nlohmann::json;
using teskpf_lsp::Feature;

Json ask(teskpf_lsp::Server &server, std::stringstream &out, const std::string &method, const Json &params) {
    out.str("");
    server.handle(Json{{"jsonrpc", "2.0"}, {"id", 5}, {"method", method}, {"params", params}}.dump());
    teskpf_lsp::MessageReader reader(out);
    return Json::parse(reader.next().body);
}

const std::vector<Feature> kFeatures = {
    {"test/answer", "answerProvider", true,
     [](const teskpf_lsp::Workspace &workspace, const Json &params) {
         return Json{{"got", params["x"]}, {"open", workspace.documents.size()}};
     }},
    {"test/refuse", "refuseProvider", Json{{"deep", 1}},
     [](const teskpf_lsp::Workspace &, const Json &) -> Json {
         throw teskpf_lsp::RequestError{-32001, "refused"};
     }},
    {"test/fail", "failProvider", true,
     [](const teskpf_lsp::Workspace &, const Json &) -> Json { throw std::runtime_error("broken"); }},
    {"test/misread", "misreadProvider", true,
     [](const teskpf_lsp::Workspace &, const Json &params) -> Json { return params.at("missing").get<int>(); }},
    {"test/throw", "throwProvider", true, [](const teskpf_lsp::Workspace &, const Json &) -> Json { throw 42; }},
};

TEST(Server, AnnouncesAndDispatchesEachFeature) {
    std::stringstream out;
    teskpf_lsp::Server server(out, {"", "test"}, kFeatures);
    const Json capabilities =
        ask(server, out, "initialize", {{"capabilities", Json::object()}})["result"]["capabilities"];
    for (const Feature &feature : kFeatures) EXPECT_EQ(capabilities[feature.capability], feature.announced);

    // (method, expected "result" or "error" of the response)
    const struct {
        const char *method;
        Json expected;
        const char *part;
    } cases[] = {
        {"test/answer", {{"got", 3}, {"open", 0}}, "result"},
        {"test/refuse", {{"code", -32001}, {"message", "refused"}}, "error"},
        {"test/fail", {{"code", -32603}, {"message", "internal error: broken"}}, "error"},
        {"test/throw", {{"code", -32603}, {"message", "internal error"}}, "error"},
    };
    for (const auto &c : cases) {
        SCOPED_TRACE(c.method);
        const Json response = ask(server, out, c.method, {{"x", 3}});
        EXPECT_EQ(response["id"], 5);
        EXPECT_EQ(response[c.part], c.expected);
    }
    // A feature that misreads its params answers InvalidParams.
    EXPECT_EQ(ask(server, out, "test/misread", {{"x", 3}})["error"]["code"], -32602);
    // And the server goes on.
    EXPECT_TRUE(ask(server, out, "shutdown", nullptr).contains("result"));
}

}  // namespace
