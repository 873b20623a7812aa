// Silencing rules: the comment directives (form x rule x placement) and the
// rules disabled for a run, as a table of layers and the diagnostics left.
#include <gtest/gtest.h>

#include <algorithm>
#include <regex>

#include <teskpf/diagnostics.h>
#include <teskpf/error.h>

#include "test_support.h"

namespace {

struct SilencingCase {
    const char *name;
    std::vector<teskpf::LayerText> layers;  // one: checked with checkText; more: checkLayers
    std::vector<std::string> disabled;
    std::vector<std::string> expected;  // "file:line:column:rule"
};

void PrintTo(const SilencingCase &c, std::ostream *out) { *out << c.name; }

std::vector<teskpf::LayerText> one(const std::string &text) { return {{"a.pf", text}}; }

const std::string kTwice = "gain 1\ngain 2\n";

const std::vector<SilencingCase> kCases = {
    // Next line: only the line right after the directive.
    {"NextLineRightLine", one("gain 1\n# teskpf-disable-next-line duplicate-key\ngain 2\n"), {}, {}},
    {"NextLineTwoAbove",
     one("# teskpf-disable-next-line duplicate-key\ngain 1\ngain 2\n"),
     {},
     {"a.pf:3:1:duplicate-key"}},
    {"NextLineBlankBetween",
     one("gain 1\n# teskpf-disable-next-line duplicate-key\n\ngain 2\n"),
     {},
     {"a.pf:4:1:duplicate-key"}},
    {"NextLineOneOfTwoRules",
     one("# teskpf-disable-next-line key-syntax\na[0] x #<int>\n"),
     {},
     {"a.pf:2:6:value-mismatch"}},
    {"CommaListWithBlanks", one("# teskpf-disable-next-line key-syntax ,  value-mismatch\na[0] x #<int>\n"), {}, {}},
    {"TabsAndNoBlankAfterHash", one("#teskpf-disable-file\tduplicate-key\n" + kTwice), {}, {}},
    // Whole file: anywhere, every line.
    {"FileAtTheEnd", one("gain 1\ngain 2\nrate 1\nrate 2\n# teskpf-disable-file duplicate-key\n"), {}, {}},
    // Inside blocks, indented.
    {"IndentedInArrBlock",
     one("net &Arr{\n\tport 1\n\t  # teskpf-disable-next-line duplicate-key\n\tport 2\n}\n"),
     {},
     {}},
    {"InListBlock",
     one("list &Tbl{ #<int>\n\t1\n\t# teskpf-disable-next-line value-mismatch\n\tx\n\ty\n}\n"),
     {},
     {"a.pf:5:2:value-mismatch"}},
    {"FileInsideBlock", one("net &Arr{\n\t# teskpf-disable-file value-mismatch\n}\nn x #<int>\n"), {}, {}},
    // Rules of structure, reported at the opening or at the brace.
    {"UnclosedBlock", one("# teskpf-disable-next-line unclosed-block\nnet &Arr{\n"), {}, {}},
    {"StrayClose", one("a 1\n# teskpf-disable-next-line stray-close\n}\n"), {}, {}},
    {"AfterStrayCloseNotRead", one("}\n# teskpf-disable-file stray-close\n"), {}, {"a.pf:1:1:stray-close"}},
    // Directives that silence nothing are reported, and nothing else is.
    {"UnknownRule", one("# teskpf-disable-next-line no-such-rule\ngain 1\n"), {}, {"a.pf:1:28:bad-directive"}},
    {"UnknownRuleInList", one("# teskpf-disable-file duplicate-key, dupe\n" + kTwice), {}, {"a.pf:1:38:bad-directive"}},
    {"NoRule", one("# teskpf-disable-file  \n"), {}, {"a.pf:1:3:bad-directive"}},
    {"EmptyBetweenCommas", one("# teskpf-disable-file duplicate-key,,key-syntax\n"), {}, {"a.pf:1:37:bad-directive"}},
    {"NotSilencedByItself",
     one("# teskpf-disable-file bad-directive\n# teskpf-disable-file nope\n"),
     {},
     {"a.pf:1:23:bad-directive", "a.pf:2:23:bad-directive"}},
    {"NotTextCannotBe",
     one("# teskpf-disable-file not-text, unreadable\n"),
     {},
     {"a.pf:1:23:bad-directive", "a.pf:1:33:bad-directive"}},
    {"MisspeltDirective",
     one("# teskpf-disable-line duplicate-key\n" + kTwice),
     {},
     {"a.pf:1:3:bad-directive", "a.pf:3:1:duplicate-key"}},
    {"AfterAValue",
     one("gain 1 # teskpf-disable-next-line duplicate-key\ngain 2\n"),
     {},
     {"a.pf:1:10:bad-directive", "a.pf:2:1:duplicate-key"}},
    {"ProseIsNoDirective",
     one("# see teskpf-disable-file in the docs\n# teskpf-disabled for now\n"),
     {},
     {"a.pf:2:3:bad-directive"}},
    // Layers: a directive silences what is reported in its own file.
    {"OtherLayerDoesNotSilence",
     {{"base.pf", "workers 8 #<int>\n# teskpf-disable-file value-mismatch\n"}, {"site.pf", "workers lots\n"}},
     {},
     {"site.pf:1:9:value-mismatch"}},
    {"OwnLayerSilences",
     {{"base.pf", "workers 8 #<int>\n"}, {"site.pf", "# teskpf-disable-next-line value-mismatch\nworkers lots\n"}},
     {},
     {}},
    {"UpperLayerDoesNotSilenceLower",
     {{"base.pf", kTwice}, {"site.pf", "# teskpf-disable-file duplicate-key\n"}},
     {},
     {"base.pf:2:1:duplicate-key"}},
    // Rules disabled for the run: every file, every line.
    {"Disabled", one(kTwice), {"duplicate-key"}, {}},
    {"DisabledList", one("a[0] x #<int>\n" + kTwice), {"key-syntax , duplicate-key", "value-mismatch"}, {}},
    {"DisabledBadDirective", one("# teskpf-disable-file nope\n"), {"bad-directive"}, {}},
    {"DisabledInEveryLayer", {{"base.pf", kTwice}, {"site.pf", kTwice}}, {"duplicate-key"}, {}},
};

std::vector<std::string> found(const SilencingCase &c) {
    const teskpf::CheckOptions options{c.disabled};
    const std::vector<teskpf::Diagnostic> diagnostics = c.layers.size() == 1
                                                            ? teskpf::checkText(*c.layers[0].text, "a.pf", options)
                                                            : teskpf::checkLayers(c.layers, options);
    std::vector<std::string> out;
    for (const teskpf::Diagnostic &d : diagnostics)
        out.push_back(d.file + ":" + std::to_string(d.line) + ":" + std::to_string(d.column) + ":" + d.rule);
    return out;
}

}  // namespace

class Silencing : public ::testing::TestWithParam<SilencingCase> {};

TEST_P(Silencing, LeavesWhatIsExpected) {
    const SilencingCase &c = GetParam();
    EXPECT_EQ(found(c), c.expected);
}

INSTANTIATE_TEST_SUITE_P(Cases, Silencing, ::testing::ValuesIn(kCases),
                         [](const ::testing::TestParamInfo<SilencingCase> &param_info) {
                             return param_info.param.name;
                         });

// Names that are no rule, or rules that cannot be left out, are refused.
TEST(SilencingOptions, RefusesWhatCannotBeDisabled) {
    for (const char *name : {"no-such-rule", "not-text", "unreadable", "", "duplicate-key duplicate-key"}) {
        try {
            teskpf::checkText(kTwice, "a.pf", {{name}});
            ADD_FAILURE() << "accepted '" << name << "'";
        } catch (const teskpf::Error &error) {
            const std::string message = error.what();
            EXPECT_NE(message.find("'" + std::string(name) + "'"), std::string::npos) << message;
            EXPECT_NE(message.find("duplicate-key, ignored-annotation"), std::string::npos) << message;
            const std::string allowed = message.substr(message.find("disabled are "));
            EXPECT_EQ(allowed.find("not-text"), std::string::npos) << message;
            EXPECT_EQ(allowed.find("unreadable"), std::string::npos) << message;
        }
    }
}

// The rule ids are the ones the lint page shows at work, each at least once.
TEST(SilencingOptions, RuleIdsAreTheDocumentedOnes) {
    const std::vector<std::string> ids = teskpf::ruleIds();
    EXPECT_TRUE(std::is_sorted(ids.begin(), ids.end()));
    std::vector<std::string> shown;
    const std::string page = test_support::readText(TESKPF_EXAMPLES_DIR "/../docs/lint-rules.md");
    const std::regex tag(R"(\[([a-z]+(?:-[a-z]+)*)\]\n)");
    for (std::sregex_iterator it(page.begin(), page.end(), tag), end; it != end; ++it) shown.push_back((*it)[1]);
    std::sort(shown.begin(), shown.end());
    shown.erase(std::unique(shown.begin(), shown.end()), shown.end());
    EXPECT_EQ(shown, ids);
}
