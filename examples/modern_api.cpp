// The modern API: loads the layered station files, reads typed values with
// their verdicts, walks a block, checks every value, then edits one value in
// place and saves.  Usage: PFPATH=DIR:DIR/site-override example-modern-api
#include <cstdint>
#include <cstdio>
#include <string>

#include <teskpf/teskpf.h>

namespace {

// Prints every value below `node` that fails its check; returns how many.
int reportProblems(teskpf::Node node) {
    int problems = 0;
    for (teskpf::Node member : node) {
        if (!member.isValue()) {
            problems += reportProblems(member);
            continue;
        }
        teskpf::Verdict verdict = member.check();
        if (!verdict) {
            teskpf::Source source = member.source();
            std::printf("%s:%ld: %s\n", source.file.c_str(), source.line, verdict.message.c_str());
            ++problems;
        }
    }
    return problems;
}

}  // namespace

int main() {
    try {
        teskpf::Document doc = teskpf::Document::load("station");
        for (const std::string &file : doc.files()) std::printf("read %s\n", file.c_str());

        std::int64_t port = doc["telemetry"]["port"].valueOr(std::int64_t{0});
        double rate = doc["digitizer"]["sample_rate"].get<double>().value_or(0.0);
        std::printf("status %s, port %lld, sample rate %g Hz, serial %lld\n", doc["status"].valueOr("unknown").c_str(),
                    static_cast<long long>(port), rate,
                    static_cast<long long>(doc.at("sensor").at("serial").valueOr(std::int64_t{-1})));

        for (auto [name, node] : doc["telemetry"]) {
            teskpf::Verdict verdict = node.check();
            std::printf("  telemetry.%s = %s (%s %s)\n", std::string(name).c_str(), std::string(node.text()).c_str(),
                        verdict.annotation.empty() ? "no annotation," : verdict.annotation.c_str(),
                        verdict.ok ? "ok" : "FAILS");
        }
        std::printf("%d problem(s)\n", reportProblems(doc.root()));

        // Edit the winning file in place: only the port's bytes change.
        const std::string file = doc["telemetry"]["port"].source().file;
        teskpf::Editor editor = teskpf::Editor::openLocked(file);
        editor.setValue(R"(["telemetry"]["port"])", std::to_string(port + 1));
        editor.save();

        teskpf::Document after = teskpf::Document::load("station");
        std::int64_t saved = after["telemetry"]["port"].valueOr(std::int64_t{0});
        std::printf("saved %s: port %lld\n", file.c_str(), static_cast<long long>(saved));
        return saved == port + 1 ? 0 : 1;
    } catch (const teskpf::Error &error) {  // every error of the modern API
        std::fprintf(stderr, "%s\n", error.what());
        return 2;
    }
}
