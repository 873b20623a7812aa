// teskpf-lsp-bench [--lines N]... [--methods M,M...] [--copies N] [--repeat N]:
// the language server driven in-process. For each size (default 5,000 and
// 50,000 lines of generated content): the time from a one-character
// incremental change to its published diagnostics, the time of each request
// method listed (default textDocument/hover and textDocument/completion)
// that the server announces, and the memory an open document takes (the
// growth of the resident set over opening N copies) beside the file size.
#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <ostream>
#include <sstream>
#include <streambuf>
#include <string>
#include <vector>

#include <nlohmann/json.hpp>

#include "generate_pf.h"
#include "lsp/features.h"
#include "lsp/server.h"

namespace {

using Json = nlohmann::json;
using Clock = std::chrono::steady_clock;

// Counts what the server writes and drops it.
class CountingSink : public std::streambuf {
public:
    std::size_t bytes = 0;

protected:
    int overflow(int c) override {
        ++bytes;
        return c;
    }
    std::streamsize xsputn(const char *, std::streamsize n) override {
        bytes += static_cast<std::size_t>(n);
        return n;
    }
};

long residentKiB() {
    std::ifstream statm("/proc/self/statm");
    long pages = 0;
    long resident = 0;
    statm >> pages >> resident;
    return resident * 4;
}

std::string body(const Json &message) { return message.dump(); }

double milliseconds(Clock::duration d) { return std::chrono::duration<double, std::milli>(d).count(); }

// The median and the largest of `times`, in milliseconds.
std::string summary(std::vector<double> times) {
    std::sort(times.begin(), times.end());
    char text[64];
    std::snprintf(text, sizeof text, "median %.2f ms, max %.2f ms", times[times.size() / 2], times.back());
    return text;
}

std::vector<std::string> split(const std::string &list) {
    std::vector<std::string> items;
    std::stringstream in(list);
    for (std::string item; std::getline(in, item, ',');)
        if (!item.empty()) items.push_back(item);
    return items;
}

void run(std::size_t lines, const std::vector<std::string> &methods, int copies, int repeat) {
    const std::string text = teskpf_bench::toPfText(teskpf_bench::generateDocument(lines));
    CountingSink sink;
    std::ostream out(&sink);
    teskpf_lsp::Server server(out, {"/nonexistent-teskpf-bench", "bench"});
    const Json initialized =
        Json{{"jsonrpc", "2.0"}, {"id", 1}, {"method", "initialize"}, {"params", {{"capabilities", Json::object()}}}};
    server.handle(body(initialized));
    const std::string uri = "file:///nonexistent-teskpf-bench/doc.pf";
    auto open = [&](const std::string &u) {
        server.handle(
            body({{"jsonrpc", "2.0"},
                  {"method", "textDocument/didOpen"},
                  {"params", {{"textDocument", {{"uri", u}, {"languageId", "pf"}, {"version", 1}, {"text", text}}}}}}));
    };
    open(uri);
    std::printf("%zu lines (%zu bytes):\n", lines, text.size());

    // One character typed at the end of the middle line, then taken away.
    const long middle = static_cast<long>(lines / 2);
    std::vector<double> times;
    for (int i = 0; i < repeat; ++i) {
        const bool insert = i % 2 == 0;
        const Json range = {{"start", {{"line", middle}, {"character", 200}}},
                            {"end", {{"line", middle}, {"character", insert ? 200 : 201}}}};
        const std::string change =
            body({{"jsonrpc", "2.0"},
                  {"method", "textDocument/didChange"},
                  {"params",
                   {{"textDocument", {{"uri", uri}, {"version", i + 2}}},
                    {"contentChanges", Json::array({{{"range", range}, {"text", insert ? " " : ""}}})}}}});
        const std::size_t before = sink.bytes;
        const Clock::time_point start = Clock::now();
        server.handle(change);
        times.push_back(milliseconds(Clock::now() - start));
        if (sink.bytes == before) {
            std::fprintf(stderr, "no diagnostics were published\n");
            std::exit(1);
        }
    }
    std::printf("  change to diagnostics: %s\n", summary(times).c_str());

    // Requests are asked where the text of a line starts: on a key, or on a
    // list member's value.
    std::vector<long> text_starts;
    for (std::size_t at = 0; at < text.size();) {
        const std::size_t end = std::min(text.find('\n', at), text.size());
        text_starts.push_back(static_cast<long>(
            text.find_first_not_of(" \t", at) < end ? text.find_first_not_of(" \t", at) - at : end - at));
        at = end + 1;
    }
    for (const std::string &method : methods) {
        times.clear();
        for (int i = 0; i < repeat; ++i) {
            const long line = middle + i;
            const Json request = {
                {"jsonrpc", "2.0"},
                {"id", 100 + i},
                {"method", method},
                {"params",
                 {{"textDocument", {{"uri", uri}}},
                  {"position", {{"line", line}, {"character", text_starts[static_cast<std::size_t>(line)]}}}}}};
            const std::string message = body(request);
            const Clock::time_point start = Clock::now();
            server.handle(message);
            times.push_back(milliseconds(Clock::now() - start));
        }
        std::printf("  %s: %s\n", method.c_str(), summary(times).c_str());
    }

    const long before = residentKiB();
    for (int i = 0; i < copies; ++i) open(uri + std::to_string(i));
    const long after = residentKiB();
    std::printf("  memory per open document: %ld KiB (file %zu KiB; resident set grew by %ld KiB over %d copies)\n",
                (after - before) / copies, text.size() / 1024, after - before, copies);
}

}  // namespace

int main(int argc, char **argv) {
    std::vector<std::size_t> sizes;
    std::vector<std::string> wanted = {"textDocument/hover", "textDocument/completion"};
    int copies = 20;
    int repeat = 21;
    for (int i = 1; i + 1 < argc; i += 2) {
        const std::string option = argv[i];
        const char *value = argv[i + 1];
        if (option == "--lines")
            sizes.push_back(std::strtoul(value, nullptr, 10));
        else if (option == "--methods")
            wanted = split(value);
        else if (option == "--copies")
            copies = std::max(1, std::atoi(value));
        else if (option == "--repeat")
            repeat = std::max(1, std::atoi(value));
        else {
            std::fprintf(stderr, "usage: %s [--lines N]... [--methods M,M...] [--copies N] [--repeat N]\n", argv[0]);
            return 2;
        }
    }
    if (sizes.empty()) sizes = {5000, 50000};

    // Only the methods of the features the server announces are timed.
    std::vector<std::string> methods;
    for (const std::string &method : wanted) {
        const auto &all = teskpf_lsp::features();
        if (std::any_of(all.begin(), all.end(), [&](const teskpf_lsp::Feature &f) { return f.method == method; }))
            methods.push_back(method);
        else
            std::printf("(%s is not announced: not timed)\n", method.c_str());
    }
    for (std::size_t lines : sizes) run(lines, methods, copies, repeat);
    return 0;
}
