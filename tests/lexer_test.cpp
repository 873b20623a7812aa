// One line split into key, value, comment and annotation, and trimming.
#include <gtest/gtest.h>

#include "support/Reference.h"
#include "syntax/LineLexer.h"
#include "test_support.h"

// Lines as the block parser hands them over (inside a list block or not), and
// the key, value, comment and constraints expected.
const std::tuple<const char *, bool, const char *, const char *, const char *, const char *> lex_cases[] = {
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
    {"a\\#b c\\#d", false, "a\\#b", "c#d", "", ""},
    {"a\\#b c\td", false, "a\\#b", "c d", "", ""},
    {"\\#lead # c", true, "", "#lead", "# c", ""},
    {"first item # c", true, "", "first item", "# c", ""},
    {"", false, "", "", "", ""},
    {" \t \t ", false, "", "", "", ""},
    {"flag", true, "", "flag", "", ""},
    {"k v #\tnote\twith tabs\t ", false, "k", "v", "#\tnote\twith tabs", ""},
    {"#<int> lone", false, "", "", "#  lone", "<int>"},
    {"k a\\b\\ #x", false, "k", "a\\b\\", "#x", ""},
    // Other white space than blanks and tabs: trimmed from the key's end, the
    // value and the comment, but kept inside them and not a separator.
    {"a\r b", false, "a", "b", "", ""},
    {"a\f\tb\v", false, "a", "b", "", ""},
    {"a\rb c", false, "a\rb", "c", "", ""},
    {"k\v v\r #<int>\r", false, "k", "v", "#", "<int>"},
    {"k \r\fv w\r", false, "k", "v w", "", ""},
    {"x\r y", true, "", "x\r y", "", ""},
};

TEST(LineLexer, SplitsEachLineIntoItsFourFieldsAndTrims) {
    teskpf::LineFields fields;  // reused on purpose: nothing may leak from one line to the next
    for (const auto &[line, in_list, key, value, comment, constraints] : lex_cases) {
        teskpf::lexLine(line, in_list, fields);
        EXPECT_EQ((std::vector<std::string_view>{fields.key, fields.value, fields.comment, fields.constraints}),
                  (std::vector<std::string_view>{key, value, comment, constraints}))
            << "line '" << line << "' in a list: " << in_list;
        // The reference model of the differential tests reads the same.
        const reference::LineFields model = reference::lexLine(line, in_list);
        EXPECT_EQ((std::vector<std::string>{model.key, model.value, model.comment, model.constraints}),
                  (std::vector<std::string>{key, value, comment, constraints}))
            << "reference model, line '" << line << "' in a list: " << in_list;
    }
    // Trimming cuts the text at its first NUL character.
    using Pair = std::pair<std::string, std::string>;
    for (auto [text, trimmed] : {Pair{" \t\r\n", ""}, Pair{"\t a b \t", "a b"}, Pair{{" ab \0cd", 7}, "ab"}}) {
        EXPECT_EQ(reference::trim(text), trimmed);
        teskpf::trimInPlace(text);
        EXPECT_EQ(text, trimmed);
    }
}
