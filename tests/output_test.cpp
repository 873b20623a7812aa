// Output: regenerating parameter-file text from the entry list, key path
// conversions and escaping, and reading what was written back.
#include <array>
#include <sstream>

#include <gtest/gtest.h>

#include "support/Reference.h"
#include "test_support.h"

using namespace test_support;

const char kRevisionKey[] = "[\"pf_revision_time\"]";
const std::string kRevisionLine = "pf_revision_time\t1700000000\n";  // the time the clock is pinned to

// An entry list from rows "level|key|value|comment|constraints" (trailing
// fields may be left out), every entry read from "f.pf:0".
static EntryList listOf(const Rows &texts) {
    EntryList list;
    for (const std::string &text : texts) {
        std::istringstream in("f.pf:0|" + text + "||||");
        Entry &entry = list[list.push(Entry())];
        for (std::string field; entry.size() < 6 && std::getline(in, field, '|');) entry.push(field);
    }
    return list;
}

TEST(Generator, WholeNestedFileWithRevisionEntry) {
    PinnedClock clock(1700000000.75);
    TempDir dir;
    TeskPf pf(dir.write("w.pf",
                        "a 1\npars &Arr{ # settings\n\tcount 5 #<int> number of items\n\tlist &Tbl{\n"
                        "\t\tx\\#1\n\t\t&Arr{\n\t\t\tk v\n\t\t}\n\t}\n# note\n}\n"
                        "pf_revision_time 1234 # old\nb\n"),
              0);
    EXPECT_EQ(pf.getPfString(),
              "a\t1\npars &Arr{\t# settings\n\tcount\t5\t#<int> number of items\n\tlist &Tbl{\n"
              "\t\tx\\#1\n\t\t&Arr{\n\t\t\tk\tv\n\t\t}\n\t}\n# note\n}\nb\t\n" +
                  kRevisionLine);
}

TEST(Generator, LineShapesAndDerivedClosingLines) {
    PinnedClock clock(1700000000);
    const std::string rev = "0|[\"pf_revision_time\"]|1|# dropped";
    const std::pair<Rows, std::string> cases[] = {
        {{}, ""},
        {{rev}, kRevisionLine},
        // Several revision entries give one line at the end.
        {{rev, "0|[\"a\"]|1", rev}, "a\t1\n" + kRevisionLine},
        // A revision entry inside a block's range closes nothing.
        {{"0|[\"s\"]|&Arr", "1|[\"s\"][\"x\"]|1", rev, "0|[\"t\"]|2"}, "s &Arr{\n\tx\t1\n}\nt\t2\n" + kRevisionLine},
        // Open blocks are closed at the end, innermost first, before the revision line.
        {{"0|[\"s\"]|&Arr", "1|[\"s\"][\"u\"]|&Tbl", "2|[\"s\"][\"u\"][0]|v", rev},
         "s &Arr{\n\tu &Tbl{\n\t\tv\n\t}\n}\n" + kRevisionLine},
        // Empty blocks (also what a marker read without its brace gives).
        {{"0|[\"e\"]|&Arr", "0|[\"f\"]|&Tbl|# c", "0|[\"g\"]|1"}, "e &Arr{\n}\nf &Tbl{\t# c\n}\ng\t1\n"},
        // List members with empty values become blank or comment lines.
        {{"0|[\"l\"]|&Tbl", "1|[\"l\"][0]|", "1|[\"l\"][1]||# c", "1|[\"l\"][2]|v|# d"},
         "l &Tbl{\n\n# c\n\tv\t# d\n}\n"},
        {{"0|[\"b\"]|", "0|[\"c\"]||# c"}, "b\t\nc\t\t# c\n"},
        // The annotation is put back in front of the comment words.
        {{"0|[\"a\"]|1|#  words|<int>", "0|[\"b\"]|r|#|<str>(r)", "0|[\"c\"]|r||<str>", "0|[\"d\"]|1|xwords|<int>"},
         "a\t1\t#<int> words\nb\tr\t#<str>(r) \nc\tr\t#<str> \nd\t1\t#<int> words\n"},
        {{"0|[\"a\"]|1|note"}, "a\t1\tnote\n"},  // a comment without "#" is written as it is
        {{"0|[\"a[1\"]|5"}, "5\n"},              // a last name holding "[" is written without key
        // pf_revision_time inside a block is a plain member.
        {{"0|[\"s\"]|&Arr", "1|[\"s\"][\"pf_revision_time\"]|5"}, "s &Arr{\n\tpf_revision_time\t5\n}\n"},
        // A level that is not a number is level 0.
        {{"0|[\"s\"]|&Arr", "1|[\"s\"][\"k\"]|v", "abc|[\"t\"]|w"}, "s &Arr{\n\tk\tv\n}\nt\tw\n"},
        // Values are escaped: a backslash before every "#", nothing else.
        {{"0|[\"v\"]|#x##", "0|[\"w\"]|a\\#b", "0|[\"z\"]|a\\b {&} c"}, "v\t\\#x\\#\\#\nw\ta\\\\#b\nz\ta\\b {&} c\n"},
    };
    // The reference model's generator; the library's is held against it by the differential tests.
    for (const auto &[entries, text] : cases)
        EXPECT_EQ(reference::generate(listOf(entries), 1700000000), text) << entries.size();
}

TEST(KeyConversion, KeyAsWrittenBraceNotationAndComponents) {
    // Key, key as written on its line, brace notation, components each followed by ";".
    const std::array<const char *, 4> cases[] = {
        {"[\"a\"]", "a", "{a}", "\"a\";"},
        {"[\"pars\"][\"count\"]", "count", "{pars}{count}", "\"pars\";\"count\";"},
        {"[\"pars\"][\"list\"][1][\"k\"]", "k", "{pars}{list}[1]{k}", "\"pars\";\"list\";1;\"k\";"},
        {"[\"t\"][0]", "", "{t}[0]", "\"t\";0;"},
        {"[0][12]", "", "[0][12]", "0;12;"},
        {"", "", "", ""},
        {"name", "", "name", ""},
        {"[\"\"]", "", "{}", "\"\";"},
        {"[\"a[1\"]", "", "{a[1}", "\"a[1\";"},  // the last "[" lies inside the name
        {"[\"a\"][", "", "{a}[", "\"a\";"},
        {"[\"a", "a", "{a", ""},                      // too short for its closing: the rest of the key
        {"[\"a\"", "", "{a\"", ""},                   // an unfinished closing pair stays
        {"[\"]", "]", "{]", "\";"},                   // the opening pair is replaced first
        {"[\"x[\"y\"]", "y", "{x{y}", "\"x[\"y\";"},  // quoting inside names is not looked at
        {"[\"a\"]]", "a\"", "{a}]", "\"a\";;"},
        {"[\"a\"]tail", "a\"]ta", "{a}tail", "\"a\";"},  // text after the last "]" is lost
        {"x12]", "", "x12]", "12;"},                     // the first character is dropped unseen
        {"[\"a]b\"]", "a]b", "{a]b}", "\"a;\";"},        // a "]" in a name ends the component
        {"]ab]", "", "]ab]", "ab];b;"},                  // "]" first: the rest of the key
    };
    for (const auto &[key, written, perl, components] : cases) {
        std::string parts;
        for (const std::string &part : TeskPf::key2Table(key)) parts += part + ";";
        EXPECT_EQ(TeskPf::key2Pfkey(key) + " " + TeskPf::key2Perl(key) + " " + parts,
                  std::string(written) + " " + perl + " " + components)
            << key;  // The reference model of the differential tests converts alike.
        std::string model_parts;
        for (const std::string &part : reference::key2Table(key)) model_parts += part + ";";
        EXPECT_EQ(reference::key2Pfkey(key) + " " + reference::key2Perl(key) + " " + model_parts,
                  std::string(written) + " " + perl + " " + components)
            << key;
    }
}

// The entries without their sources, top-level revision entries left out.
static Rows essentials(const TeskPf &pf) {
    Rows out;
    for (const std::string &fields : rows(pf.getList(), 1))
        if (fields.rfind(std::string("0|") + kRevisionKey + "|", 0) != 0) out.push_back(fields);
    return out;
}

// What is written to `copy` reads back into the same entries, and writing
// that again gives the same text. Layout is normalised; a top-level
// pf_revision_time entry moves last with the time of writing.
static void expectStable(const TeskPf &first, std::string copy) {
    first.write(copy);
    TeskPf second(copy, 0);
    EXPECT_EQ(essentials(second), essentials(first)) << copy;
    EXPECT_EQ(second.getPfString(), first.getPfString()) << copy;
}

// Each NAME.pf of the data directory generates NAME.expected.pf byte for
// byte; every data and example file that reads without error is stable, and
// so is a canonical text of thousands of entries (annotated values, escapes,
// comments, blank lines, blocks nested up to five deep), which the generator
// reproduces.
TEST(RoundTrip, GoldenExampleAndGeneratedFiles) {
    PinnedClock clock(1700000000.25);
    TempDir dir;
    const std::string data = std::string(TESKPF_TEST_DATA_DIR) + "/roundtrip/";
    int compared = 0, stable = 0;
    for (const std::string &from : {data, std::string(TESKPF_EXAMPLES_DIR)})
        for (const auto &file : fs::directory_iterator(from)) {
            const std::string path = file.path().string(), stem = file.path().stem().string();
            if (file.path().extension() != ".pf" || !thrown([&] { TeskPf(path, 0); }).empty()) continue;
            expectStable(TeskPf(path, 0), dir.path() + "/" + std::to_string(++stable));
            if (from != data || fs::path(stem).extension() == ".expected") continue;
            EXPECT_EQ(TeskPf(path, 0).getPfString(), readText(data + stem + ".expected.pf")) << stem;
            ++compared;
        }
    EXPECT_GE(compared, 3);
    EXPECT_GE(stable, 6);
    std::string text = "# generated\n";
    for (int g = 0; g < 300; ++g) {
        const std::string n = std::to_string(g), k = "k" + n;
        text += "# group " + n + "\n" + k + "\t" + std::to_string(g * 7 - 50) + "\t#<int> count\n" + k + "f\t" + n +
                ".5e-3\t#<float> \n" + k + "s\t" + (g % 2 ? "red" : "green") + "\t#<str>(red green) colour\n" + k +
                "e\tv\\#" + n + " a\\\\#b  c\n" + k + "b &Arr{\t# block " + n +
                "\n\tlist &Tbl{\t#<int> \n\t\t1\n"
                "\t\t2\t# two\n";
        std::string indent = "\t\t";
        for (int d = 0; d < g % 4; ++d, indent += "\t") text += indent + (d % 2 ? "x &Tbl{\n" : "&Arr{\n");
        text += indent + (g % 4 % 2 ? "x\t" : "") + "leaf " + n + "\n";
        for (int d = g % 4; d > 0; --d) text += indent.erase(indent.size() - 1) + "}\n";
        text += "\t}\n\n\tempty &Tbl{\n\t}\n}\n";
    }
    TeskPf pf(dir.write("big.pf", text), 0);
    EXPECT_EQ(pf.getPfString(), text);
    EXPECT_EQ(pf.getLevel("[\"k3b\"][\"list\"][2][\"x\"][0][\"x\"]"), 5);
    expectStable(pf, dir.path() + "/copy");
}
