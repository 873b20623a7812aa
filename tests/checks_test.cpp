// Value checks against constraint annotations (field conversions, field
// counts, type codes, fallback to the enclosing block), and value and comment
// edits with the value-change callback of derived classes.
#include <gtest/gtest.h>

#include "support/Reference.h"
#include "test_support.h"

using namespace test_support;

class ValueCheck : public ::testing::Test {
protected:
    TempDir dir;
    TeskPf pf{dir.write("v.pf",
                        "n 5 #<int> count\nf 1.5 #<float>\npair 3 2.5 #<int> <float> two fields\n"
                        "colour red #<str>(red green)\nword anything #<str>\nc \\#zz! #<color>\n"
                        "re ^[a-z]+$ #<regex>\nbogus 5 #<bogus>\nplain some text\nempty #<int>\n"
                        "#<float>(0 1) a comment\n#<int> the text of a parameter line\ntop hello\n"
                        "lst &Tbl{ #<int>\n  5\n  x\n  y #<str>(y)\n  &Arr{\n    k not-a-number\n  }\n"
                        "  abc #<bogus>\n}\npars &Arr{ #<float>\n  gain abc\n}\n"),
              0};

    bool check(const std::string &key, std::string value) { return pf.checkValue(key, &value, nullptr); }
};

TEST_F(ValueCheck, ProposedValuesAgainstEachType) {
    const std::tuple<const char *, bool, std::vector<const char *>> cases[] = {
        // key, verdict, values
        // Integers: the longest convertible beginning, base 0, 64 bits.
        {"[\"n\"]",
         true,
         {"12abc", "0x1F", "0X1f", "017", "08", "-42", "+7", "-9223372036854775808", "9223372036854775807"}},
        {"[\"n\"]",
         false,
         {"abc", "-", "x12", "9223372036854775808", "-9223372036854775809", "0x8000000000000000", "5 7", ""}},
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
    for (const auto &[key, passes, values] : cases) {
        // The reference model of the differential tests judges alike.
        reference::Constraints model;
        reference::parseConstraints(pf.getConstraints(key, nullptr), model);
        for (const char *value : values) {
            EXPECT_EQ(check(key, value), passes) << key << " <- " << value;
            EXPECT_EQ(reference::satisfies(value, model), passes) << "reference model: " << key << " <- " << value;
        }
    }
}

// Per entry: the type codes reported, the verdicts of checkValue and
// getValue, and the entry's own constraint text with whether it parsed. A
// missing entry answers false and leaves the out-arguments untouched.
TEST_F(ValueCheck, TypeCodesVerdictsAndConstraintTexts) {
    auto at = [&](const char *key) { return pf.getEntryIndex(key); };
    const int comment = at("[\"empty\"]") + 1;
    // Own annotations. A comment line's text is never parsed, but the same
    // text may be parsed from a parameter line, and then it applies.
    const std::pair<int, const char *> cases[] = {{at("[\"pair\"]"), "12 ok ok <int> <float> parsed"},
                                                  {at("[\"re\"]"), "5 ok ok <regex> parsed"},
                                                  {at("[\"empty\"]"), "1 bad bad <int> parsed"},
                                                  {at("[\"plain\"]"), " ok ok  parsed"},
                                                  {at("[\"bogus\"]"), " ok ok <bogus> unparsed"},
                                                  {at("[\"top\"]"), " ok ok  parsed"},
                                                  {comment, " ok ok <float>(0 1) unparsed"},
                                                  {comment + 1, "1 bad bad <int> parsed"},
                                                  // Block members fall back to their block's annotation, one level
                                                  // only, unless they have their own, even one that does not parse.
                                                  {at("[\"lst\"][0]"), "1 ok ok  parsed"},
                                                  {at("[\"lst\"][1]"), "1 bad bad  parsed"},
                                                  {at("[\"lst\"][2]"), "0 ok ok <str>(y) parsed"},
                                                  {at("[\"lst\"][4]"), " ok ok <bogus> unparsed"},
                                                  {at("[\"lst\"][3][\"k\"]"), " ok ok  parsed"},
                                                  {at("[\"pars\"][\"gain\"]"), "2 bad bad  parsed"},
                                                  {at("[\"N\"]"), "99 bad ok  parsed"},
                                                  {pf.size(), "99 bad ok  parsed"}};
    for (const auto &[index, expected] : cases) {
        Table<int> types;
        types.set(-1, 99);  // replaced, not appended to
        bool ok = true, parsed = true;
        const bool checked = pf.checkValue(index, nullptr, &types);
        EXPECT_EQ(pf.getValue(index, &ok, &types), pf.getEntry(index).get(FIELD_VALUE)) << index;
        const std::string text = pf.getConstraints(index, &parsed);
        std::string out;
        for (int type : types) out += std::to_string(type);
        out += std::string(checked ? " ok" : " bad") + (ok ? " ok " : " bad ") + text;
        EXPECT_EQ(out + (parsed ? " parsed" : " unparsed"), expected) << index;
    }
}

// Records every callback as "key|index|from|to" and lets a test adjust the
// value about to be stored.
struct Recording : TeskPf {
    using TeskPf::TeskPf;
    void valueChangedCallback(std::string key, int index, std::string from, std::string &to) override {
        calls.push_back(key + "|" + std::to_string(index) + "|" + from + "|" + to);
        if (adjust) adjust(from, to);
    }
    Rows calls;
    std::function<void(const std::string &from, std::string &to)> adjust;
};

TEST(Editing, OneFieldOfTheLastEqualKeyChangesAndTheCallbackDecidesTheValue) {
    TempDir dir;
    Recording pf(dir.write("e.pf", "a 1\ndup first #<int>\ndup second # later\nblk &Arr{\n  x 2\n}\n"), 0);
    Table<Table<std::string>> expected = pf.getList();
    for (int index : {-1, pf.size()}) pf.setValue(index, "v", 1);
    for (int index : {-1, pf.size()}) pf.setComment(index, "# c");
    for (const char *key : {"[\"missing\"]", "[\"A\"]", "a"}) pf.setValue(key, "v", 1);
    for (const char *key : {"[\"missing\"]", "[\"A\"]", "a"}) pf.setComment(key, "# c");
    pf.setValue("[\"dup\"]", "new", 1);
    pf.setComment("[\"dup\"]", "# new comment");
    pf.setValue(3, "plain #value", 0);  // a block opening: the kind is not looked at
    pf.setComment(0, "#<str>(x) looks like an annotation");
    pf.setValue(0, "9", 0);
    pf.setValue("[\"blk\"][\"x\"]", "2", 1);  // the callback runs even for an unchanged value
    expected[0][FIELD_VALUE] = "9";
    expected[0][FIELD_COMMENT] = "#<str>(x) looks like an annotation";
    expected[2][FIELD_VALUE] = "new";
    expected[2][FIELD_COMMENT] = "# new comment";
    expected[3][FIELD_VALUE] = "plain #value";
    EXPECT_EQ(rows(pf.getList()), rows(expected));
    EXPECT_EQ(pf.calls, (Rows{"[\"dup\"]|2|second|new", "[\"blk\"][\"x\"]|4|2|2"}));
    // An annotation in a new comment constrains nothing; a new comment keeps
    // the entry's own constraints.
    std::string proposed = "y";
    EXPECT_TRUE(pf.checkValue(0, &proposed, nullptr));
    pf.setComment(1, "# count");
    EXPECT_FALSE(pf.checkValue(1, nullptr, nullptr));
    // What the callback leaves in its argument is stored; an exception stores nothing.
    using Adjust = std::function<void(const std::string &, std::string &)>;
    const std::tuple<Adjust, const char *, const char *, const char *> adjustments[] = {
        {[](const std::string &, std::string &to) { to = "third"; }, "caller", "", "third"},
        {[](const std::string &from, std::string &to) { to = from; }, "other", "", "third"},  // cancels
        {[](const std::string &, std::string &to) { to += "!"; }, "third", "", "third!"},     // now a change
        {[](const std::string &, std::string &to) {
             to = "x";
             throw std::string("no");
         },
         "2", "no", "third!"},
    };
    for (const auto &row : adjustments) {
        const auto &[adjust, value, error, stored] = row;
        pf.adjust = adjust;
        const std::string &set = value;  // a lambda cannot capture a structured binding in C++17
        EXPECT_EQ(thrown([&] { pf.setValue("[\"a\"]", set, 1); }), error);
        EXPECT_EQ(pf.getValue("[\"a\"]", nullptr, nullptr), stored) << value;
    }
}

// Annotation texts are registered from the parameter lines of every file read
// and parsed when a value is first checked, each distinct text once, however
// many entries share it and whichever entry is checked first. A text seen
// only on a comment line, and the empty text when every parameter line has
// an annotation, stay unregistered ("unparsed"); copies of a handle share the
// parsed texts.
TEST(AnnotationTexts, EachTextParsedOnceWhateverIsCheckedFirst) {
    TempDir dir;
    const std::string many =
        dir.write("a.pf",
                  "#<color> a comment line\n# plain comment\nn1 1 #<int>\nn2 x #<int>\nn3 2 #<int> again\n"
                  "w1 x #<str>(x y)\nw2 z #<str>(x y)\nw3 y #<str>(y)\nf1 1.5 #<float>\nm2 1 #<nope>\n"
                  "m3 1 #<nope>\np1 1 #<int> <float>\np2 1 2.5 #<int> <float>\nblk &Arr{ #<int>\n  x 7\n  y z\n}\n");
    const std::string one_plain = dir.write("b.pf", "# plain comment\nn1 1 #<int>\nplain 5\n");
    const std::string all_annotated = dir.write("c.pf", "# plain comment\nn1 1 #<int>\nn2 x #<str>(x)\n");
    const std::vector<std::pair<std::string, Rows>> cases = {
        {many,
         {"0: ok <color> unparsed", "1: ok  parsed", "2:1 ok <int> parsed", "3:1 bad <int> parsed",
          "4:1 ok <int> parsed", "5:0 ok <str>(x y) parsed", "6:0 bad <str>(x y) parsed", "7:0 ok <str>(y) parsed",
          "8:2 ok <float> parsed", "9: ok <nope> unparsed", "10: ok <nope> unparsed", "11:12 bad <int> <float> parsed",
          "12:12 ok <int> <float> parsed", "13:1 bad <int> parsed", "14:1 ok  parsed", "15:1 bad  parsed"}},
        {one_plain, {"0: ok  parsed", "1:1 ok <int> parsed", "2: ok  parsed"}},
        {all_annotated, {"0: ok  unparsed", "1:1 ok <int> parsed", "2:0 ok <str>(x) parsed"}},
    };
    auto verdict = [](const TeskPf &pf, int index) {
        Table<int> types;
        const bool ok = pf.checkValue(index, nullptr, &types);
        bool parsed = true;
        const std::string text = pf.getConstraints(index, &parsed);
        std::string out = std::to_string(index) + ":";
        for (int type : types) out += std::to_string(type);
        return out + (ok ? " ok " : " bad ") + text + (parsed ? " parsed" : " unparsed");
    };
    for (const auto &[file, expected] : cases) {
        // Forwards, backwards, and on a copy checked before its original.
        TeskPf forwards(file, 0), backwards(file, 0), original(file, 0);
        const TeskPf copy = original;
        ASSERT_EQ(forwards.size(), static_cast<int>(expected.size())) << file;
        Rows seen_forwards, seen_backwards(expected.size()), seen_copy, seen_original;
        for (int i = 0; i < forwards.size(); ++i) seen_forwards.push_back(verdict(forwards, i));
        for (int i = backwards.size(); i-- > 0;) seen_backwards[static_cast<size_t>(i)] = verdict(backwards, i);
        for (int i = 0; i < copy.size(); ++i) seen_copy.push_back(verdict(copy, i));
        for (int i = 0; i < original.size(); ++i) seen_original.push_back(verdict(original, i));
        EXPECT_EQ(seen_forwards, expected) << file;
        EXPECT_EQ(seen_backwards, expected) << file;
        EXPECT_EQ(seen_copy, expected) << file;
        EXPECT_EQ(seen_original, expected) << file;
    }
}
