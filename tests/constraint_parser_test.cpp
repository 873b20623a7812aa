#include <string>

#include <gtest/gtest.h>

#include "ConstraintParser.h"
#include "TeskPf.h"
#include "test_support.h"

namespace {

// A constraint table as text: each record's type code, followed by its words
// in parentheses when it has any; records separated by blanks.
std::string render(const Table<TeskPf_Constraint> &table) {
    std::string out;
    for (const TeskPf_Constraint &c : table) {
        out += (out.empty() ? "" : " ") + std::to_string(c.type);
        for (size_t i = 0; i < c.string_enum.size(); ++i) out += (i ? "|" : "(") + c.string_enum[i];
        if (!c.string_enum.empty()) out += ")";
    }
    return out;
}

struct ParseCase {
    const char *text;
    const char *table;  // rendered table; nullptr for a malformed text
};

const ParseCase parse_cases[] = {
    {"", ""},
    {"<int>", "1"},
    {"<str>(low medium  high)", "0(low|medium|high)"},
    {"<str>( a,b\tc a )", "0(a,b\tc|a)"},
    {"<str>()", "0"},
    {"<str>", "0"},
    {"<int> <float>", "1 2"},
    {"<str>(a b) <int>", "0(a|b) 1"},
    {"<int><float>", "1"},
    {"<int>(0,10)", "1"},
    {"<regex>(^[a-z]+$)", "5"},
    {"<color> <font>", "3 4"},
    {"<str> (a b)", "0"},
    {"<int> trailing words", "1"},
    {"plain words", ""},
    {"<Int>", nullptr},
    {"< int>", nullptr},
    {"<>", nullptr},
    {"<int", nullptr},
    {"<str>(a b", nullptr},
    {"<int> <bogus>", nullptr},
};

}  // namespace

TEST(ConstraintParser, ParsesAndRegistersAnnotationTexts) {
    for (const ParseCase &c : parse_cases) {
        SCOPED_TRACE(std::string("text '") + c.text + "'");
        auto parsed = teskpf::parseConstraintText(c.text);
        ASSERT_EQ(parsed.has_value(), c.table != nullptr);
        teskpf::ConstraintTables tables;
        EXPECT_EQ(teskpf::registerConstraints(tables, c.text), c.table ? 0 : -1);
        EXPECT_EQ(tables.size(), c.table ? 1u : 0u);
        if (c.table) {
            EXPECT_EQ(render(*parsed), c.table);
            EXPECT_EQ(render(tables.get(c.text)), c.table);  // stored under the whole text
        }
    }
}

TEST(ConstraintParser, AStoredTextIsNotParsedAgain) {
    teskpf::ConstraintTables tables;
    Table<TeskPf_Constraint> stored;
    stored.push(TeskPf_Constraint{CONSTRAINT_REGEX, {}});
    tables.set("<int>", stored);
    EXPECT_EQ(teskpf::registerConstraints(tables, "<int>"), 0);
    EXPECT_EQ(render(tables.get("<int>")), "5");
}

TEST(ConstraintParser, HandleReportsWhetherAnEntrysAnnotationParsed) {
    test_support::TempDir dir;
    TeskPf pf(dir.write("c.pf", "good 5 #<int> count\nbad 5 #<Int> count\nworse 5 #<int> <bogus>\nplain 5\n"
                                "#<float> on a comment line only\nblk &Arr{ #<str>(x y)\n}\n"),
              0);
    struct Expect {
        int index;
        const char *text;
        bool ok;
    };
    const Expect expectations[] = {{0, "<int>", true}, {1, "<Int>", false}, {2, "<int> <bogus>", false},
                                   {3, "", true},      {4, "<float>", false},  // comment lines are never registered
                                   {5, "<str>(x y)", true}};                   // block openings are
    for (const auto &e : expectations) {
        bool by_index = !e.ok, by_key = !e.ok;
        EXPECT_EQ(pf.getConstraints(e.index, &by_index), e.text) << e.index;
        EXPECT_EQ(by_index, e.ok) << e.index;
        if (e.index == 4) continue;  // a comment line has no key to look up
        EXPECT_EQ(pf.getConstraints(pf.getKey(e.index), &by_key), e.text) << e.index;
        EXPECT_EQ(by_key, e.ok) << e.index;
    }
    bool untouched = true;
    EXPECT_EQ(pf.getConstraints("[\"missing\"]", &untouched), "");
    EXPECT_TRUE(untouched);
}
