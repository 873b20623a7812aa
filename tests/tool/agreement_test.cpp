// Every reader that says whether a value satisfies the annotation in effect
// gives the same verdict: `check` (library diagnostics), `explain`,
// Node::check (which typed reads and Python's entry.ok use), the classic
// handle's checkInEffect, and the tool's `get --check` and `set --check`.
// Over random layered sets (tests/agreement/layered_sets.py, fixed seed) and
// the cases of the issue that made them one rule.
#include <gtest/gtest.h>

#include <teskpf/classic.h>
#include <teskpf/diagnostics.h>
#include <teskpf/document.h>
#include <teskpf/explain.h>

#include <cstdio>
#include <filesystem>
#include <fstream>
#include <map>
#include <sstream>

#include "tool/run_tool.h"

namespace {

namespace fs = std::filesystem;
using test_support::ScopedEnv;
using test_support::TempDir;
using tool_run::runTool;

// What each reader says about one key of the name "cfg".
struct Verdicts {
    bool node = false;            // Node::check
    bool check = false;           // no value-mismatch error for the key
    bool check_given = false;     // likewise, checking the layers given as texts (an editor's buffers)
    bool classic = false;         // checkInEffect on the classic handle
    bool get = false;             // get --check exits 0
    std::optional<bool> set;      // set --check to its own value exits 0 (values only)
    std::string annotation;       // Node::check's annotation in effect
    std::string explained;        // explain's
    std::string explained_given;  // explain's over the layers given as texts
    std::string where;            // Node::check's "file:line"
    std::string explained_at;     // explain's
    teskpf::AnnotationOrigin origin = teskpf::AnnotationOrigin::None;
};

// Every key path of the document, blocks and values, in file order.
void collectKeys(const teskpf::Node &node, std::vector<teskpf::Node> &out) {
    for (teskpf::Member member : node) {
        out.push_back(member.node);
        if (!member.node.isValue()) collectKeys(member.node, out);
    }
}

bool checkPasses(const std::vector<teskpf::Diagnostic> &diagnostics, const std::string &key) {
    for (const teskpf::Diagnostic &d : diagnostics)
        if (d.key == key && d.rule == "value-mismatch" && d.severity == teskpf::Severity::Error) return false;
    return true;
}

// A copy of the layer directories of `pfpath` under `to`, and its PFPATH.
std::string copyLayers(const std::string &pfpath, const std::string &to) {
    std::string copied;
    std::stringstream dirs(pfpath);
    int number = 0;
    for (std::string dir; std::getline(dirs, dir, ':');) {
        const std::string target = to + "/c" + std::to_string(number++);
        fs::copy(dir, target, fs::copy_options::recursive);
        copied += (copied.empty() ? "" : ":") + target;
    }
    return copied;
}

// The verdicts of every reader on every key of "cfg" along `pfpath`.
std::map<std::string, Verdicts> verdictsOf(const std::string &pfpath, bool with_set) {
    ScopedEnv path("PFPATH", pfpath);
    const teskpf::Document document = teskpf::Document::load("cfg");
    const std::vector<teskpf::Diagnostic> diagnostics = teskpf::checkName("cfg");
    // The same layers as an editor gives them: the lowest read from disk, the others as texts.
    std::vector<teskpf::LayerText> given;
    for (const std::string &file : document.files()) {
        std::ifstream in(file, std::ios::binary);
        std::stringstream text;
        text << in.rdbuf();
        given.push_back({file, given.empty() ? std::nullopt : std::optional<std::string>(text.str())});
    }
    const std::vector<teskpf::Diagnostic> diagnostics_given = teskpf::checkLayers(given);
    const TeskPf classic("cfg", 0);
    std::vector<teskpf::Node> keys;
    collectKeys(document.root(), keys);
    std::map<std::string, Verdicts> out;
    for (const teskpf::Node &node : keys) {
        const std::string key = node.keyPath();
        Verdicts &v = out[key];
        const teskpf::Verdict verdict = node.check();
        v.node = verdict.ok;
        v.annotation = verdict.annotation;
        v.origin = verdict.origin;
        if (!verdict.annotation.empty()) v.where = verdict.from.file + ":" + std::to_string(verdict.from.line);
        v.check = checkPasses(diagnostics, key);
        v.check_given = checkPasses(diagnostics_given, key);
        v.classic = teskpf::checkInEffect(classic, classic.getEntryIndex(key)).ok;
        const teskpf::KeyExplanation explained = teskpf::explain("cfg", key);
        v.explained = explained.annotation;
        v.explained_at = explained.annotation_origin;
        v.explained_given = teskpf::explain(given, key).annotation;
        v.get = runTool({"get", "cfg", key, "--check"}, "/", pfpath).status == 0;
        if (with_set && node.isValue()) {
            TempDir scratch;
            const std::string copied = copyLayers(pfpath, scratch.path());
            const std::string file = node.source().file;
            const tool_run::ToolRun run =
                runTool({"set", "cfg", key, "--check", "--", std::string(node.text())}, "/", copied);
            EXPECT_TRUE(run.status == 0 || run.status == 1) << key << ": " << run.err;
            v.set = run.status == 0;
        }
    }
    return out;
}

// Every reader agrees with Node::check on `key`; explain names the same annotation.
void expectAgreement(const std::string &label, const std::string &key, const Verdicts &v) {
    SCOPED_TRACE(label + " " + key);
    EXPECT_EQ(v.check, v.node);
    EXPECT_EQ(v.check_given, v.node);
    EXPECT_EQ(v.explained_given, v.annotation);
    EXPECT_EQ(v.classic, v.node);
    EXPECT_EQ(v.get, v.node);
    if (v.set) {
        EXPECT_EQ(*v.set, v.node);
    }
    EXPECT_EQ(v.explained, v.annotation);
    EXPECT_EQ(v.explained_at, v.where);
}

std::vector<std::string> generatedSets(const std::string &dir) {
    const std::string command = "/usr/bin/python3 " TESKPF_AGREEMENT_GENERATOR " " + dir + " 12";
    std::vector<std::string> paths;
    FILE *pipe = popen(command.c_str(), "r");
    if (!pipe) return paths;
    std::string text;
    char chunk[4096];
    for (size_t got; (got = fread(chunk, 1, sizeof chunk, pipe)) > 0;) text.append(chunk, got);
    EXPECT_EQ(pclose(pipe), 0) << command;
    std::stringstream lines(text);
    for (std::string line; std::getline(lines, line);) paths.push_back(line);
    return paths;
}

TEST(Agreement, EveryReaderGivesTheSameVerdictOnRandomLayeredSets) {
    TempDir dir;
    const std::vector<std::string> sets = generatedSets(dir.path());
    ASSERT_EQ(sets.size(), 12u);
    // The sets must reach every step of the policy, with values that pass and fail.
    std::map<std::pair<teskpf::AnnotationOrigin, bool>, int> seen;
    for (const std::string &pfpath : sets) {
        for (const auto &[key, verdicts] : verdictsOf(pfpath, true)) {
            expectAgreement(pfpath, key, verdicts);
            ++seen[{verdicts.origin, verdicts.node}];
        }
    }
    for (auto origin :
         {teskpf::AnnotationOrigin::Own, teskpf::AnnotationOrigin::Enclosing, teskpf::AnnotationOrigin::Overridden})
        for (bool ok : {true, false}) EXPECT_GT((seen[{origin, ok}]), 0) << static_cast<int>(origin) << ok;
}

// The cases of the issue: an override without annotation keeps the one it
// replaces; a list's annotation is for its items, not for its opening.
TEST(Agreement, IssueCases) {
    TempDir dir;
    dir.write("base/cfg.pf", "x 5 #<int>\nmode dev #<str>(dev test prod)\nblk &Arr{ #<int>\n a 1\n}\n");
    dir.write("site/cfg.pf", "x abc\nmode staging\nblk &Arr{\n a 2\n}\n");
    const std::string layered = dir.path() + "/base:" + dir.path() + "/site";
    // The example names its file station.pf; read it as "cfg" in a copy.
    const std::string station = dir.path() + "/station";
    dir.write("station/cfg.pf", test_support::readText(TESKPF_EXAMPLES_DIR "/station.pf"));
    struct Row {
        std::string pfpath, key;
        bool ok;
        teskpf::AnnotationOrigin origin;
    };
    const std::vector<Row> rows{
        {layered, "[\"x\"]", false, teskpf::AnnotationOrigin::Overridden},
        {layered, "[\"mode\"]", false, teskpf::AnnotationOrigin::Overridden},
        {layered, "[\"blk\"]", true, teskpf::AnnotationOrigin::Overridden},
        {layered, "[\"blk\"][\"a\"]", true, teskpf::AnnotationOrigin::Overridden},
        {station, "[\"digitizer\"][\"channels\"]", true, teskpf::AnnotationOrigin::Own},
        {station, "[\"digitizer\"][\"channels\"][0]", true, teskpf::AnnotationOrigin::Enclosing},
    };
    std::map<std::string, std::map<std::string, Verdicts>> by_path;
    for (const Row &row : rows) {
        if (!by_path.count(row.pfpath)) by_path[row.pfpath] = verdictsOf(row.pfpath, true);
        const Verdicts &v = by_path[row.pfpath].at(row.key);
        expectAgreement(row.pfpath, row.key, v);
        EXPECT_EQ(v.node, row.ok) << row.key;
        EXPECT_EQ(v.origin, row.origin) << row.key;
    }
    EXPECT_EQ(by_path[layered]["[\"x\"]"].where, dir.path() + "/base/cfg.pf:1");
}

// set --check judges the key as it reads after the edit: a key added with
// --file to an override layer is checked against the annotation it inherits.
TEST(Agreement, SetCheckOnAddedKeys) {
    TempDir dir;
    dir.write("base/cfg.pf", "blk &Arr{ #<int>\n a 1\n}\n");
    const std::string site = dir.write("site/cfg.pf", "blk &Arr{\n a 2\n}\n");
    const std::string pfpath = dir.path() + "/base:" + dir.path() + "/site";
    const auto set = [&](const std::string &key, const std::string &value) {
        return runTool({"set", "--file", site, "cfg", key, value, "--check"}, dir.path(), pfpath);
    };
    const tool_run::ToolRun refused = set("[\"blk\"][\"b\"]", "zz");
    EXPECT_EQ(refused.status, 1);
    EXPECT_EQ(refused.err, "teskpf: set: [\"blk\"][\"b\"]: zz does not satisfy <int>; nothing written\n");
    EXPECT_EQ(test_support::readText(site), "blk &Arr{\n a 2\n}\n");
    EXPECT_EQ(set("[\"blk\"][\"b\"]", "7").status, 0);
    EXPECT_EQ(set("fresh", "anything").status, 0);  // nothing applies to a new top-level key
    EXPECT_EQ(test_support::readText(site), "blk &Arr{\n a 2\n b 7\n}\nfresh anything\n");
    // A file not on PFPATH is read as the top layer.
    const std::string other = dir.write("other/cfg.pf", "blk &Arr{\n a 3\n}\n");
    EXPECT_EQ(runTool({"set", "--file", other, "cfg", "[\"blk\"][\"a\"]", "q", "--check"}, dir.path(), pfpath).status,
              1);
}

}  // namespace
