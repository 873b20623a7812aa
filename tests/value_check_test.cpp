// Value checks against constraint annotations: field conversion rules, field
// counts, type codes, fallback to the enclosing block and missing entries.
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "TeskPf.h"
#include "test_support.h"

namespace {

const char kFile[] =
    "n 5 #<int> count\n"
    "f 1.5 #<float>\n"
    "pair 3 2.5 #<int> <float> two fields\n"
    "colour red #<str>(red green)\n"
    "word anything #<str>\n"
    "c \\#zz! #<color>\n"
    "re ^[a-z]+$ #<regex>\n"
    "bogus 5 #<bogus>\n"
    "plain some text\n"
    "empty #<int>\n"
    "#<float>(0 1) a comment line carrying an annotation\n"
    "#<int> same text as a parameter line\n"
    "top hello\n"
    "lst &Tbl{ #<int>\n"
    "  5\n"
    "  x\n"
    "  y #<str>(y)\n"
    "  &Arr{\n"
    "    k not-a-number\n"
    "  }\n"
    "  abc #<bogus>\n"
    "}\n"
    "pars &Arr{ #<float>\n"
    "  gain abc\n"
    "}\n";

class ValueCheck : public ::testing::Test {
protected:
    test_support::TempDir dir;
    TeskPf pf{dir.write("v.pf", kFile), 0};

    bool check(const std::string &key, std::string value) { return pf.checkValue(key, &value, nullptr); }
    std::vector<int> codes(const std::string &key) {
        Table<int> types;
        types.set(-1, 99);  // must be replaced, not appended to
        pf.checkValue(key, nullptr, &types);
        return {types.begin(), types.end()};
    }
};

struct FieldCase {
    const char *key;
    bool passes;
    std::vector<const char *> values;
};

TEST_F(ValueCheck, ProposedValuesAgainstEachType) {
    const FieldCase cases[] = {
        // Integers: the longest convertible beginning, base 0, 64 bits.
        {"[\"n\"]", true, {"12abc", "0x1F", "0X1f", "017", "08", "-42", "+7", "-9223372036854775808",
                            "9223372036854775807"}},
        {"[\"n\"]", false, {"abc", "-", "x12", "9223372036854775808", "-9223372036854775809", "5 7", "", " \t "}},
        // Floats: decimal, hexadecimal, infinity and nan words, no range error.
        {"[\"f\"]", true, {"1.5kg", ".5", "1e3", "nan", "INF", "0x1p3", "-7"}},
        {"[\"f\"]", false, {"abc", "e5", ".", "1e999", "-1e999", "1e-400"}},
        // Words: exact and case-sensitive; without words any field.
        {"[\"colour\"]", true, {"red", "green"}},
        {"[\"colour\"]", false, {"Red", "blue", "re"}},
        {"[\"word\"]", true, {"whatever"}},
        // color and regex accept any single field.
        {"[\"c\"]", true, {"#zz!"}},
        {"[\"re\"]", true, {"(["}},
        {"[\"c\"]", false, {"two fields"}},
        // Fields pair up with annotations by position.
        {"[\"pair\"]", true, {"3 2.5", "\t 3 \t 2.5  "}},
        {"[\"pair\"]", false, {"x 2.5", "3", "3 2.5 1"}},
        {"[\"plain\"]", true, {"anything at all", ""}},
    };
    for (const FieldCase &c : cases)
        for (const char *value : c.values) EXPECT_EQ(check(c.key, value), c.passes) << c.key << " <- " << value;
    EXPECT_EQ(pf.getValue("[\"n\"]", nullptr, nullptr), "5");  // nothing proposed was stored
}

TEST_F(ValueCheck, StoredValuesWithVerdictAndTypeCodes) {
    bool ok = false;
    Table<int> types;
    EXPECT_EQ(pf.getValue("[\"pair\"]", &ok, &types), "3 2.5");
    EXPECT_TRUE(ok);
    EXPECT_EQ(std::vector<int>(types.begin(), types.end()), (std::vector<int>{CONSTRAINT_INT, CONSTRAINT_FLOAT}));
    // A false verdict still reports the codes.
    EXPECT_EQ(pf.getValue("[\"empty\"]", &ok, &types), "");
    EXPECT_FALSE(ok);
    EXPECT_EQ(std::vector<int>(types.begin(), types.end()), std::vector<int>{CONSTRAINT_INT});

    EXPECT_EQ(codes("[\"re\"]"), std::vector<int>{CONSTRAINT_REGEX});
    EXPECT_EQ(codes("[\"plain\"]"), std::vector<int>{});
}

TEST_F(ValueCheck, MissingEntriesLeaveOutArgumentsUntouched) {
    bool ok = true;
    Table<int> types;
    types.set(-1, 42);
    for (int index : {-1, pf.size(), pf.getEntryIndex("[\"nope\"]"), pf.getEntryIndex("n")}) {
        EXPECT_EQ(pf.getValue(index, &ok, &types), "");
        EXPECT_FALSE(pf.checkValue(index, nullptr, &types));
        EXPECT_EQ(pf.getConstraints(index, &ok), "");
    }
    EXPECT_EQ(pf.getValue("[\"N\"]", &ok, &types) + pf.getConstraints("[\"N\"]", &ok), "");
    EXPECT_FALSE(pf.checkValue("[\"N\"]", nullptr, &types));
    EXPECT_TRUE(ok);
    EXPECT_EQ(std::vector<int>(types.begin(), types.end()), std::vector<int>{42});
}

TEST_F(ValueCheck, ConstraintTextAndWhetherItParsed) {
    bool ok = true;
    EXPECT_EQ(pf.getConstraints("[\"bogus\"]", &ok), "<bogus>");
    EXPECT_FALSE(ok);
    EXPECT_TRUE(pf.checkValue("[\"bogus\"]", nullptr, nullptr));  // no constraints
    EXPECT_EQ(codes("[\"bogus\"]"), std::vector<int>{});
    EXPECT_EQ(pf.getConstraints("[\"plain\"]", &ok), "");
    EXPECT_TRUE(ok);

    // A comment line's text is never parsed; it counts as parsed only when a
    // parameter line carries the same text.
    const int comment = pf.getEntryIndex("[\"empty\"]") + 1;
    EXPECT_EQ(pf.getConstraints(comment, &ok), "<float>(0 1)");
    EXPECT_FALSE(ok);
    EXPECT_EQ(pf.getConstraints(comment + 1, &ok), "<int>");
    EXPECT_TRUE(ok);
}

TEST_F(ValueCheck, TopLevelEntriesDoNotFallBackToCommentLines) {
    EXPECT_EQ(codes("[\"top\"]"), std::vector<int>{});
    EXPECT_TRUE(check("[\"top\"]", "three words here"));
}

TEST_F(ValueCheck, BlockMembersFallBackToTheirBlockOneLevelOnly) {
    EXPECT_EQ(codes("[\"lst\"][0]"), std::vector<int>{CONSTRAINT_INT});
    EXPECT_TRUE(pf.checkValue("[\"lst\"][0]", nullptr, nullptr));
    EXPECT_FALSE(pf.checkValue("[\"lst\"][1]", nullptr, nullptr));
    // An item with its own annotation uses only its own.
    EXPECT_EQ(codes("[\"lst\"][2]"), std::vector<int>{CONSTRAINT_STR});
    EXPECT_TRUE(pf.checkValue("[\"lst\"][2]", nullptr, nullptr));
    EXPECT_FALSE(check("[\"lst\"][2]", "7"));
    // Two levels below the annotation: unconstrained.
    EXPECT_EQ(codes("[\"lst\"][3][\"k\"]"), std::vector<int>{});
    // An own annotation that failed to parse does not fall back either.
    EXPECT_EQ(codes("[\"lst\"][4]"), std::vector<int>{});
    EXPECT_TRUE(pf.checkValue("[\"lst\"][4]", nullptr, nullptr));

    EXPECT_EQ(codes("[\"pars\"][\"gain\"]"), std::vector<int>{CONSTRAINT_FLOAT});
    EXPECT_FALSE(pf.checkValue("[\"pars\"][\"gain\"]", nullptr, nullptr));
    EXPECT_TRUE(check("[\"pars\"][\"gain\"]", "2e-3"));
}

}  // namespace
