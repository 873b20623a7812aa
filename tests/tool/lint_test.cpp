// The linter as data: each tests/data/lint/NAME.pf (or directory NAME/ with
// base/NAME.pf and site/NAME.pf, checked as a name with PFPATH=base:site)
// has NAME.expected, the text `teskpf check` prints (diagnostics, then the
// summary from standard error). NAME.github.expected, when present, is the
// output of --format github. Every case is also checked as JSON, which must
// parse and say what the text says.
#include <fcntl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <map>
#include <sstream>

#include <teskpf/diagnostics.h>

#include "run_tool.h"
#include "test_support.h"

using namespace test_support;
using tool_run::runTool;
using tool_run::ToolRun;

namespace {

const std::string kLintDir = TESKPF_TEST_DATA_DIR "/lint";

// A small JSON reader: enough to take the check's output apart and to fail
// on anything that is not JSON.
class Json {
public:
    using Object = std::map<std::string, std::string>;  // numbers kept as their text
    explicit Json(const std::string &text) : text_(text) {}

    std::vector<Object> array() {
        std::vector<Object> out;
        expect('[');
        if (peek() != ']') {
            do out.push_back(object());
            while (take(','));
        }
        expect(']');
        if (peek() != '\0') fail("text after the array");
        return out;
    }

private:
    Object object() {
        Object out;
        expect('{');
        do {
            std::string name = string();
            expect(':');
            out[name] = peek() == '"' ? string() : number();
        } while (take(','));
        expect('}');
        return out;
    }
    std::string string() {
        expect('"');
        std::string out;
        for (;;) {
            if (at_ >= text_.size()) fail("unterminated string");
            unsigned char c = static_cast<unsigned char>(text_[at_++]);
            if (c == '"') return out;
            if (c < 0x20) fail("raw control byte in a string");
            if (c != '\\') {
                out += static_cast<char>(c);
                continue;
            }
            char escape = text_.at(at_++);
            if (escape == 'u') {
                unsigned long code = std::stoul(text_.substr(at_, 4), nullptr, 16);
                at_ += 4;
                out += code < 0x80 ? std::string(1, static_cast<char>(code)) : "\xEF\xBF\xBD";
            } else if (std::string("\"\\/").find(escape) != std::string::npos) {
                out += escape;
            } else {
                out += std::string("\b\f\n\r\t").at(std::string("bfnrt").find(escape));
            }
        }
    }
    std::string number() {
        size_t start = at_;
        while (at_ < text_.size() && isdigit(static_cast<unsigned char>(text_[at_]))) ++at_;
        if (start == at_) fail("expected a value");
        return text_.substr(start, at_ - start);
    }
    char peek() {
        while (at_ < text_.size() && isspace(static_cast<unsigned char>(text_[at_]))) ++at_;
        return at_ < text_.size() ? text_[at_] : '\0';
    }
    bool take(char c) {
        if (peek() != c) return false;
        ++at_;
        return true;
    }
    void expect(char c) {
        if (!take(c)) fail(std::string("expected '") + c + "'");
    }
    [[noreturn]] void fail(const std::string &what) {
        throw std::runtime_error("not JSON at byte " + std::to_string(at_) + ": " + what);
    }
    const std::string &text_;
    size_t at_ = 0;
};

struct LintCase {
    std::string name;
    std::string dir;     // where the tool runs
    std::string pfpath;  // "" for a single file
    std::string argument;
};

// Names the case in test listings (instead of its bytes).
void PrintTo(const LintCase &c, std::ostream *out) { *out << c.name; }

std::vector<LintCase> lintCases() {
    std::vector<LintCase> cases;
    for (const auto &item : fs::directory_iterator(kLintDir)) {
        const std::string stem = item.path().stem().string();
        if (item.is_directory())
            cases.push_back({stem, item.path().string(), "base:site", stem});
        else if (item.path().extension() == ".pf")
            cases.push_back({stem, kLintDir, "", stem + ".pf"});
    }
    std::sort(cases.begin(), cases.end(), [](const LintCase &a, const LintCase &b) { return a.name < b.name; });
    return cases;
}

}  // namespace

class LintData : public ::testing::TestWithParam<LintCase> {};

TEST_P(LintData, TextOutputMatchesExpected) {
    const LintCase &c = GetParam();
    ToolRun run = runTool({"check", c.argument}, c.dir, c.pfpath);
    const std::string expected = readText(kLintDir + "/" + c.name + ".expected");
    EXPECT_EQ(run.out + run.err, expected);
    EXPECT_EQ(run.status, expected.find(": error: ") != std::string::npos ? 1 : 0);
    ToolRun strict = runTool({"check", "--strict", c.argument}, c.dir, c.pfpath);
    EXPECT_EQ(strict.status, run.out.empty() ? 0 : 1);
}

TEST_P(LintData, JsonSaysWhatTheTextSays) {
    const LintCase &c = GetParam();
    ToolRun text = runTool({"check", c.argument}, c.dir, c.pfpath);
    ToolRun json = runTool({"check", "--format", "json", c.argument}, c.dir, c.pfpath);
    EXPECT_EQ(json.status, text.status);
    std::vector<Json::Object> objects;
    ASSERT_NO_THROW(objects = Json(json.out).array()) << json.out;
    std::vector<std::string> text_lines = lines(text.out);
    ASSERT_EQ(objects.size(), text_lines.size());
    for (size_t i = 0; i < objects.size(); ++i) {
        Json::Object &o = objects[i];
        const std::string head = o["file"] + ":" + o["line"] + ":" + o["column"] + ": " + o["severity"] + ": ";
        EXPECT_EQ(text_lines[i].rfind(head, 0), 0u) << text_lines[i];
        const std::vector<std::string> ids = teskpf::ruleIds();
        EXPECT_NE(std::find(ids.begin(), ids.end(), o["rule"]), ids.end()) << o["rule"] << " is not in ruleIds()";
        const std::string tail = " [" + o["rule"] + "]";
        EXPECT_EQ(text_lines[i].substr(text_lines[i].size() - tail.size()), tail);
    }
}

TEST_P(LintData, GithubOutputMatchesExpected) {
    const LintCase &c = GetParam();
    const std::string expected_file = kLintDir + "/" + c.name + ".github.expected";
    if (!fs::exists(expected_file)) return;
    ToolRun run = runTool({"check", "--format", "github", c.argument}, c.dir, c.pfpath);
    EXPECT_EQ(run.out, readText(expected_file));
}

INSTANTIATE_TEST_SUITE_P(Cases, LintData, ::testing::ValuesIn(lintCases()),
                         [](const ::testing::TestParamInfo<LintCase> &param_info) {
                             std::string name = param_info.param.name;
                             for (char &ch : name)
                                 if (!isalnum(static_cast<unsigned char>(ch))) ch = '_';
                             return name;
                         });

// The examples: broken.pf reported in full, the clean files not at all.
TEST(Lint, ExamplesDirectory) {
    ToolRun run = runTool({"check", "examples"}, TESKPF_EXAMPLES_DIR "/..", "");
    EXPECT_EQ(run.status, 1);
    EXPECT_EQ(run.err, "9 errors, 0 warnings in 3 files\n");
    for (const std::string &line : lines(run.out)) EXPECT_EQ(line.rfind("examples/broken.pf:", 0), 0u) << line;
    EXPECT_EQ(lines(run.out).size(), 9u);
    ToolRun json = runTool({"check", "--format", "json", "examples"}, TESKPF_EXAMPLES_DIR "/..", "");
    EXPECT_EQ(Json(json.out).array().size(), 9u);
    EXPECT_EQ(runTool({"check", "station"}, TESKPF_EXAMPLES_DIR, ".:site-override").status, 0);
}

// Bad usage and unreadable input exit 2; the other arguments are still checked.
TEST(Lint, UsageAndUnreadableInput) {
    EXPECT_EQ(runTool({"check", "--format", "yaml", "clean.pf"}, kLintDir, "").status, 2);
    ToolRun missing = runTool({"check", "nope", "clean.pf"}, kLintDir, "");
    EXPECT_EQ(missing.status, 2);
    EXPECT_EQ(missing.err, "teskpf: no parameter file named 'nope' along PFPATH=.\n");
}

// explain: every layer's definition, the one in effect and the annotation
// inherited from the definition it overrides, with 1-based lines.
TEST(Lint, ExplainShowsLayersAndInheritedAnnotation) {
    const std::string dir = kLintDir + "/override";
    EXPECT_EQ(runTool({"explain", "override", "workers"}, dir, "base:site").out,
              "[\"workers\"] in 'override' (PFPATH=base:site)\n"
              "files, lowest precedence first: base/override.pf site/override.pf\n"
              "  base/override.pf:1: 8  #<int>\n"
              "* site/override.pf:2: lots\n"
              "in effect: site/override.pf is the last file on the path that defines [\"workers\"]\n"
              "checked against: <int> (base/override.pf:1)\n");
    ToolRun replaced = runTool({"explain", "override", "[\"telemetry\"][\"host\"]"}, dir, "base:site");
    EXPECT_NE(replaced.out.find("a later file on the path supplies [\"telemetry\"] as a whole"), std::string::npos);
    EXPECT_EQ(runTool({"explain", "override", "nokey"}, dir, "base:site").status, 1);
}

namespace {

std::string repeat(const std::string &piece, size_t times) {
    std::string out;
    out.reserve(piece.size() * times);
    for (size_t i = 0; i < times; ++i) out += piece;
    return out;
}

// The 1-based line of `text` where the key paths of `count` nested one-letter
// openings ("a &Arr{", 5 bytes of path each level) cross `budget` bytes in
// all, `before` bytes counted already.
size_t lineCrossing(size_t budget, size_t before, size_t count) {
    size_t total = before;
    for (size_t line = 1; line <= count; ++line)
        if ((total += 5 * line) > budget) return line;
    return 0;
}

const char kTooDeep[] = " bytes; blocks are nested too deeply: ";

}  // namespace

// 200,000 nested openings, none closed: their key paths would take 100 GB as
// text. The library's check, in a child limited to 1 GiB of address space,
// reports the outermost open block and the line where the key paths exceed
// what reading the file allows, and nothing that quotes a deep key path.
TEST(Lint, DeepNestingIsCheckedInBoundedMemory) {
    const size_t levels = 200000;
    TempDir dir;
    const std::string text = repeat("a &Arr{\n", levels);
    const std::string path = dir.write("deep.pf", text);
    const std::string report = dir.path() + "/report";
    const pid_t pid = fork();
    if (pid == 0) {
        if (!limitAddressSpace(rlim_t{1} << 30)) _exit(3);
        try {
            std::ofstream out(report);
            for (const teskpf::Diagnostic &d : teskpf::checkFile(path))
                out << d.line << ":" << d.column << ": " << d.rule << ": " << d.message << " | " << d.key << "\n";
            out.close();  // _exit runs no destructor
            _exit(out ? 0 : 4);
        } catch (...) {
            _exit(5);
        }
    }
    int status = 0;
    ASSERT_EQ(waitpid(pid, &status, 0), pid);
    ASSERT_TRUE(WIFEXITED(status)) << "signal " << (WIFSIGNALED(status) ? WTERMSIG(status) : 0);
    ASSERT_EQ(WEXITSTATUS(status), 0);
    const size_t budget = (size_t{256} << 20) + 16 * text.size();
    EXPECT_EQ(lines(readText(report)),
              (std::vector<std::string>{
                  "1:3: unclosed-block: block [\"a\"] is still open at the end of the file, and so are 199999 blocks "
                  "inside it; close each with a line '}' | [\"a\"]",
                  std::to_string(lineCrossing(budget, 0, levels)) + ":1: unreadable: key paths exceed " +
                      std::to_string(budget) + kTooDeep +
                      "reading the file fails here, and its keys and annotations are not checked; nest fewer blocks | ",
              }));
}

// Two files nested 10,000 deep that each read alone but not together (the
// budget of reading grows with the bytes read, the last file first): the
// first file on the path gets one error where the paths cross it; each file's
// own rules still run, and find the duplicate at the bottom of one.
TEST(Lint, DeepNestingAcrossLayers) {
    const size_t levels = 10000;
    TempDir dir;
    const std::string nested = repeat("a &Arr{\n", levels);
    const std::string closing = repeat("}\n", levels);
    const std::string base = nested + closing;
    const std::string site = nested + "x 1\nx 2\n" + closing;
    dir.write("base/deep.pf", base);
    dir.write("site/deep.pf", site);
    const size_t site_paths = 5 * levels * (levels + 1) / 2 + 2 * (5 * levels + 5);
    const size_t budget = (size_t{256} << 20) + 16 * (base.size() + site.size());
    ASSERT_LE(site_paths, (size_t{256} << 20));
    const ToolRun run = runTool({"check", "deep"}, dir.path(), "base:site");
    const std::string deep_x = repeat("[\"a\"]", levels) + "[\"x\"]";
    const std::string too_deep = "base/deep.pf:" + std::to_string(lineCrossing(budget, site_paths, levels)) +
                                 ":1: error: with the files after it on the path, key paths exceed " +
                                 std::to_string(budget) + kTooDeep +
                                 "reading the files together fails here, and the values are not checked; nest "
                                 "fewer blocks [unreadable]\n";
    const std::string duplicate = "site/deep.pf:" + std::to_string(levels + 2) + ":1: error: " + deep_x +
                                  " is already defined on line " + std::to_string(levels + 1) +
                                  "; read alone, the last definition (line " + std::to_string(levels + 2) +
                                  ") is in effect, but layered with other files an earlier one can win; keep one "
                                  "[duplicate-key]\n";
    EXPECT_EQ(run.out, too_deep + duplicate);
    EXPECT_EQ(run.err, "2 errors, 0 warnings in 2 files\n");
}

// --disable: the rules named are left out of the report and of the exit
// status; a name that is no rule, or a rule that cannot be left out, is a
// usage error before any file is read.
TEST(Lint, DisableOption) {
    struct Case {
        std::vector<std::string> args;
        int status;
        std::string err;  // the start of standard error
    };
    const std::vector<Case> cases = {
        {{"--disable", "duplicate-key", "duplicate-key.pf"}, 0, "ok: 1 file, no problems"},
        {{"--disable", "key-syntax", "duplicate-key.pf"}, 1, "2 errors, 0 warnings"},
        {{"--disable", "key-syntax , duplicate-key", "duplicate-key.pf", "key-syntax.pf"}, 0, "ok: 2 files"},
        {{"--strict", "directives.pf"}, 1, "1 error, 3 warnings"},
        {{"--strict", "--disable", "duplicate-key", "directives.pf"}, 1, "0 errors, 3 warnings"},
        {{"--strict", "--disable", "duplicate-key,bad-directive", "directives.pf"}, 0, "ok: 1 file"},
        {{"--disable", "nope", "duplicate-key.pf"}, 2, "teskpf: check: cannot disable 'nope': there is no rule"},
        {{"--disable", "not-text", "not-text.pf"}, 2, "teskpf: check: cannot disable 'not-text'"},
        {{"--disable", "unreadable", "missing.pf"}, 2, "teskpf: check: cannot disable 'unreadable'"},
        {{"--disable", "", "duplicate-key.pf"}, 2, "teskpf: check: cannot disable ''"},
        {{"--disable", "key-syntax", "--disable", "duplicate-key", "duplicate-key.pf"}, 2, "teskpf: check:"},
    };
    for (const Case &c : cases) {
        std::vector<std::string> args = {"check"};
        args.insert(args.end(), c.args.begin(), c.args.end());
        ToolRun run = runTool(args, kLintDir, "");
        std::string shown;
        for (const std::string &arg : c.args) shown += " '" + arg + "'";
        EXPECT_EQ(run.status, c.status) << shown << "\n" << run.err;
        EXPECT_EQ(run.err.rfind(c.err, 0), 0u) << shown << "\n" << run.err;
        if (c.status == 2) {
            EXPECT_EQ(run.out, "") << shown;
        }
    }
}
