// Regenerating parameter-file text from the entry list.
#include <climits>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "LevelText.h"
#include "TeskPf.h"
#include "TextGenerator.h"
#include "pf_clock.h"
#include "test_support.h"

namespace {

double fixedClock() { return 1700000000.75; }
const char kRevisionLine[] = "pf_revision_time\t1700000000\n";

// Pins the clock so that revision lines are predictable.
class Generator : public ::testing::Test {
protected:
    void SetUp() override { pf_set_clock_for_testing(fixedClock); }
    void TearDown() override { pf_set_clock_for_testing(nullptr); }

    test_support::TempDir dir;
};

Entry entry(const std::string &level, const std::string &key, const std::string &value,
            const std::string &comment = "", const std::string &constraints = "") {
    Entry e;
    for (const std::string &field : {std::string("f.pf:0"), level, key, value, comment, constraints}) e.set(-1, field);
    return e;
}

TEST_F(Generator, WholeNestedFileWithRevisionEntry) {
    const char file[] =
        "a 1\n"
        "pars &Arr{ # settings\n"
        "\tcount 5 #<int> number of items\n"
        "\tlist &Tbl{\n"
        "\t\tx\\#1\n"
        "\t\t&Arr{\n"
        "\t\t\tk v\n"
        "\t\t}\n"
        "\t}\n"
        "# note\n"
        "}\n"
        "pf_revision_time 1234 # old\n"
        "b\n";
    TeskPf pf(dir.write("w.pf", file), 0);

    // Levels as the parser stores them; the other fields show in the text.
    std::vector<int> levels;
    for (int i = 0; i < pf.size(); ++i) levels.push_back(pf.getLevel(i));
    EXPECT_EQ(levels, (std::vector<int>{0, 0, 1, 1, 2, 2, 3, 1, 0, 0}));
    EXPECT_EQ(pf.getValue("[\"pars\"][\"list\"][0]", nullptr, nullptr), "x#1");
    EXPECT_EQ(pf.getPfString(),
              "a\t1\n"
              "pars &Arr{\t# settings\n"
              "\tcount\t5\t#<int> number of items\n"
              "\tlist &Tbl{\n"
              "\t\tx\\#1\n"
              "\t\t&Arr{\n"
              "\t\t\tk\tv\n"
              "\t\t}\n"
              "\t}\n"
              "# note\n"
              "}\n"
              "b\t\n"
              "pf_revision_time\t1700000000\n");
    // The stored revision entry keeps its old value.
    EXPECT_EQ(pf.getValue("[\"pf_revision_time\"]", nullptr, nullptr), "1234");
}

struct ListCase {
    const char *name;
    std::vector<Entry> entries;
    std::string text;
};

TEST_F(Generator, LineShapesAndDerivedClosingLines) {
    const std::string rev = kRevisionLine;
    const Entry revision = entry("0", "[\"pf_revision_time\"]", "1", "# dropped");
    const ListCase cases[] = {
        {"empty list", {}, ""},
        {"revision entry only", {revision}, rev},
        {"several revision entries, one line at the end", {revision, entry("0", "[\"a\"]", "1"), revision},
         "a\t1\n" + rev},
        {"revision entry inside a block's range closes nothing",
         {entry("0", "[\"s\"]", "&Arr"), entry("1", "[\"s\"][\"x\"]", "1"), revision, entry("0", "[\"t\"]", "2")},
         "s &Arr{\n\tx\t1\n}\nt\t2\n" + rev},
        {"open blocks closed at the end, innermost first, before the revision line",
         {entry("0", "[\"s\"]", "&Arr"), entry("1", "[\"s\"][\"u\"]", "&Tbl"), entry("2", "[\"s\"][\"u\"][0]", "v"),
          revision},
         "s &Arr{\n\tu &Tbl{\n\t\tv\n\t}\n}\n" + rev},
        {"empty blocks (also what a marker read without its brace gives)",
         {entry("0", "[\"e\"]", "&Arr"), entry("0", "[\"f\"]", "&Tbl", "# c"), entry("0", "[\"g\"]", "1")},
         "e &Arr{\n}\nf &Tbl{\t# c\n}\ng\t1\n"},
        {"list members with empty values become blank or comment lines",
         {entry("0", "[\"l\"]", "&Tbl"), entry("1", "[\"l\"][0]", ""), entry("1", "[\"l\"][1]", "", "# c"),
          entry("1", "[\"l\"][2]", "v", "# d")},
         "l &Tbl{\n\n# c\n\tv\t# d\n}\n"},
        {"named members with empty values", {entry("0", "[\"b\"]", ""), entry("0", "[\"c\"]", "", "# c")},
         "b\t\nc\t\t# c\n"},
        {"annotation put back in front of the comment",
         {entry("0", "[\"a\"]", "1", "#  words", "<int>"), entry("0", "[\"b\"]", "r", "#", "<str>(r)"),
          entry("0", "[\"c\"]", "r", "", "<str>"), entry("0", "[\"d\"]", "1", "xwords", "<int>")},
         "a\t1\t#<int> words\nb\tr\t#<str>(r) \nc\tr\t#<str> \nd\t1\t#<int> words\n"},
        {"comment without # written as it is", {entry("0", "[\"a\"]", "1", "note")}, "a\t1\tnote\n"},
        {"last name holding [ written without key", {entry("0", "[\"a[1\"]", "5")}, "5\n"},
        {"pf_revision_time inside a block is a plain member",
         {entry("0", "[\"s\"]", "&Arr"), entry("1", "[\"s\"][\"pf_revision_time\"]", "5")},
         "s &Arr{\n\tpf_revision_time\t5\n}\n"},
        {"level that is not a number is level 0",
         {entry("0", "[\"s\"]", "&Arr"), entry("1", "[\"s\"][\"k\"]", "v"), entry("abc", "[\"t\"]", "w")},
         "s &Arr{\n\tk\tv\n}\nt\tw\n"},
        {"values escaped, nothing else",
         {entry("0", "[\"v\"]", "#x"), entry("0", "[\"w\"]", "a\\#b"), entry("0", "[\"z\"]", "a\\b {&} c")},
         "v\t\\#x\nw\ta\\\\#b\nz\ta\\b {&} c\n"},
    };
    for (const ListCase &c : cases) {
        SCOPED_TRACE(c.name);
        EntryList list;
        for (const Entry &e : c.entries) list.set(-1, e);
        EXPECT_EQ(teskpf::generateText(list), c.text);
    }
}

TEST(GeneratorText, KeyAsWrittenOnItsLine) {
    const std::pair<const char *, const char *> cases[] = {
        {"[\"a\"]", "a"}, {"[\"pars\"][\"count\"]", "count"}, {"[\"pars\"][\"list\"][0]", ""},
        {"[\"pars\"][\"list\"][1][\"k\"]", "k"}, {"[\"a[1\"]", ""}, {"name", ""}, {"", ""}, {"[\"a\"][", ""},
        {"[\"\"]", ""}, {"[\"a", "a"},  // too short for its closing: the rest of the key
    };
    for (const auto &[key, written] : cases) EXPECT_EQ(TeskPf::key2Pfkey(key), written) << key;
}

TEST(GeneratorText, EscapingOnlyTouchesHashAndIsUndone) {
    const std::pair<const char *, const char *> cases[] = {
        {"", ""}, {"plain", "plain"}, {"a#b##", "a\\#b\\#\\#"}, {"#x", "\\#x"}, {"a\\#b", "a\\\\#b"},
        {"\\ \t{&Arr}", "\\ \t{&Arr}"},
    };
    for (const auto &[value, written] : cases) {
        EXPECT_EQ(TeskPf::escapeValue(value), written) << value;
        EXPECT_EQ(TeskPf::unescapeValue(written), value) << value;
    }
}

TEST(GeneratorText, LevelFieldParsing) {
    const std::pair<const char *, int> cases[] = {{"0", 0},   {"3", 3},   {" 2x", 2}, {"+4", 4},
                                                  {"", -1},   {"x", -1},  {"-", -1},  {"99999999999", INT_MAX}};
    for (const auto &[text, level] : cases) EXPECT_EQ(teskpf::parseLevel(text), level) << text;
}

}  // namespace
