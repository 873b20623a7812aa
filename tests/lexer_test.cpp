#include <string>

#include <gtest/gtest.h>

#include "LineLexer.h"
#include "TeskPf.h"

using teskpf::LineFields;

namespace {

struct LexCase {
    const char *line;
    bool in_list;
    const char *key;
    const char *value;
    const char *comment;
    const char *constraints;
};

// Lines as the block parser hands them over, and the four fields expected.
const LexCase lex_cases[] = {
    {"name value", false, "name", "value", "", ""},
    {"name\tred  and  blue  # two colours", false, "name", "red  and  blue", "# two colours", ""},
    {"# just a comment", false, "", "", "# just a comment", ""},
    {"flag", false, "flag", "", "", ""},
    {"pars &Arr{", false, "pars", "&Arr{", "", ""},
    {"count 5 #<int> number of items", false, "count", "5", "#  number of items", "<int>"},
    {"count 5 #<int>", false, "count", "5", "#", "<int>"},
    {"colour red #<str>(red green blue) pick one", false, "colour", "red", "#  pick one", "<str>(red green blue)"},
    {"count 5 #<int> <str> two", false, "count", "5", "#  two", "<int> <str>"},
    {"count 5 #<int>  <str> two", false, "count", "5", "#   <str> two", "<int>"},
    {"count 5 #<str><int> two", false, "count", "5", "# int> two", "<str><"},
    {"count 5 #<int>x", false, "count", "5", "#", "<int>x"},
    {"count 5 #<int> (1 2)", false, "count", "5", "#  (1 2)", "<int>"},
    {"count 5 # <int> plain", false, "count", "5", "# <int> plain", ""},
    {"count 5\t#\t<int>", false, "count", "5", "#\t<int>", ""},
    {"count 5 #<int", false, "count", "5", "#<int", ""},
    {"count 5 #<int> <str", false, "count", "5", "#<int> <str", ""},
    {"colour red #<str>(red green", false, "colour", "red", "#<str>(red green", ""},
    {"path a\\#b # c", false, "path", "a#b", "# c", ""},
    {"path a\\\\#b", false, "path", "a\\#b", "", ""},
    {"a\\#b c", false, "a\\#b", "c", "", ""},
    {"first item # c", true, "", "first item", "# c", ""},
    // Further corner cases.
    {"", false, "", "", "", ""},
    {" \t \t ", false, "", "", "", ""},
    {"flag", true, "", "flag", "", ""},
    {"k v #\tnote\twith tabs\t ", false, "k", "v", "#\tnote\twith tabs", ""},
    {"#<int> lone", false, "", "", "#  lone", "<int>"},
    {"k a\\b\\ #x", false, "k", "a\\b\\", "#x", ""},
};

}  // namespace

TEST(LineLexer, SplitsEachLineIntoItsFourFields) {
    LineFields fields;  // reused on purpose: nothing may leak from one line to the next
    for (const LexCase &c : lex_cases) {
        SCOPED_TRACE(std::string("line '") + c.line + "' in_list=" + std::to_string(c.in_list));
        teskpf::lexLine(c.line, c.in_list, fields);
        EXPECT_EQ(fields.key, c.key);
        EXPECT_EQ(fields.value, c.value);
        EXPECT_EQ(fields.comment, c.comment);
        EXPECT_EQ(fields.constraints, c.constraints);
    }
}

TEST(LineLexer, TrimReplaceAndUnescape) {
    using Pair = std::pair<std::string, std::string>;
    for (const Pair &c : {Pair{" \t\r\n", ""}, Pair{"\t a b \t", "a b"}, Pair{std::string(" ab \0cd", 7), "ab"}}) {
        std::string text = c.first;
        teskpf::trimInPlace(text);
        EXPECT_EQ(text, c.second) << "input of size " << c.first.size();
    }
    const struct {
        const char *text, *from, *to, *out;
    } replacements[] = {{"a\tb\t\tc\t", "\t", " ", "a b  c "}, {"[\"a\"]", "\"]", "}", "[\"a}"},
                        {"x\"", "\"]", "}", "x\""}, {"aaa", "aa", "b", "ba"}, {"ab", "a", "aa", "aab"}};
    for (const auto &c : replacements) EXPECT_EQ(teskpf::replaceAll(c.text, c.from, c.to), c.out) << c.text;

    for (const Pair &c : {Pair{"a\\#b", "a#b"}, Pair{"\\#\\#", "##"}, Pair{"a\\b", "a\\b"}, Pair{"end\\", "end\\"},
                          Pair{"a\\\\#b", "a\\#b"}}) {
        EXPECT_EQ(teskpf::unescape(c.first), c.second) << c.first;
        EXPECT_EQ(TeskPf::unescapeValue(c.first), c.second) << c.first;
    }
    for (const char *text : {"a#b", "\\#", "##\\", "x\\\\#y"})
        EXPECT_EQ(TeskPf::unescapeValue(TeskPf::escapeValue(text)), text) << text;
}
