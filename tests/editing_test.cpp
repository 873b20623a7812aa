// Value and comment edits, and the value-change callback of derived classes.
#include <functional>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "TeskPf.h"
#include "test_support.h"

namespace {

// Records every callback and lets a test adjust the value about to be stored.
class Recording : public TeskPf {
public:
    using TeskPf::TeskPf;

    struct Call {
        std::string key;
        int index;
        std::string from, to;
    };
    std::vector<Call> calls;
    std::function<void(const std::string &from, std::string &to)> adjust;

protected:
    void valueChangedCallback(std::string key, int index, std::string from, std::string &to) override {
        calls.push_back({key, index, from, to});
        if (adjust) adjust(from, to);
    }
};

class Editing : public ::testing::Test {
protected:
    test_support::TempDir dir;
    Recording pf{dir.write("e.pf", "a 1\ndup first #<int>\ndup second # later\nblk &Arr{ # block\n  x 2\n}\n"), 0};

    std::string value(const std::string &key) { return pf.getValue(key, nullptr, nullptr); }
};

TEST_F(Editing, CallbackRunsWhenAskedEvenForAnUnchangedValue) {
    pf.setValue("[\"blk\"][\"x\"]", "3", 1);
    ASSERT_EQ(pf.calls.size(), 1u);
    const auto &call = pf.calls[0];
    EXPECT_EQ(call.key + "|" + std::to_string(call.index) + "|" + call.from + "|" + call.to, "[\"blk\"][\"x\"]|4|2|3");
    EXPECT_EQ(value("[\"blk\"][\"x\"]"), "3");

    pf.setValue(0, "9", 0);
    EXPECT_EQ(pf.calls.size(), 1u);
    EXPECT_EQ(value("[\"a\"]"), "9");
    pf.setValue("[\"a\"]", "9", 1);
    EXPECT_EQ(pf.calls.size(), 2u);
}

TEST_F(Editing, CallbackDecidesTheStoredText) {
    pf.adjust = [](const std::string &, std::string &to) { to = "third"; };
    pf.setValue("[\"a\"]", "caller", 1);
    EXPECT_EQ(value("[\"a\"]"), "third");

    pf.adjust = [](const std::string &from, std::string &to) { to = from; };  // cancels
    pf.setValue("[\"a\"]", "other", 1);
    EXPECT_EQ(value("[\"a\"]"), "third");

    pf.adjust = [](const std::string &, std::string &to) { to += "!"; };  // unchanged becomes changed
    pf.setValue("[\"a\"]", "third", 1);
    EXPECT_EQ(value("[\"a\"]"), "third!");

    pf.adjust = [](const std::string &, std::string &to) {
        to = "changed";
        throw std::string("refused");
    };
    EXPECT_THROW(pf.setValue("[\"a\"]", "2", 1), std::string);
    EXPECT_EQ(value("[\"a\"]"), "third!");
}

TEST_F(Editing, MissingKeyOrIndexChangesNothing) {
    const Table<Table<std::string>> before = pf.getList();
    for (int index : {-1, pf.size()}) {
        pf.setValue(index, "v", 1);
        pf.setComment(index, "# c");
    }
    for (const char *key : {"[\"missing\"]", "[\"A\"]", "a"}) {
        pf.setValue(key, "v", 1);
        pf.setComment(key, "# c");
    }
    EXPECT_TRUE(pf.calls.empty());
    EXPECT_EQ(pf.getList(), before);
}

TEST_F(Editing, LastEqualKeyIsTheOneEdited) {
    pf.setValue("[\"dup\"]", "new", 1);
    pf.setComment("[\"dup\"]", "# new comment");
    EXPECT_EQ(pf.getEntry(1)[FIELD_VALUE], "first");
    EXPECT_EQ(pf.getComment(1), "#");
    EXPECT_EQ(pf.getEntry(2)[FIELD_VALUE], "new");
    EXPECT_EQ(pf.getComment(2), "# new comment");
    ASSERT_EQ(pf.calls.size(), 1u);
    EXPECT_EQ(pf.calls[0].index, 2);
}

TEST_F(Editing, EditsTouchOnlyTheirFieldOfOneRecord) {
    Table<Table<std::string>> expected = pf.getList();
    pf.setValue(3, "plain #value", 0);  // a block opening: the kind is not looked at
    pf.setComment(0, "#<str>(x) looks like an annotation");
    expected[3][FIELD_VALUE] = "plain #value";
    expected[0][FIELD_COMMENT] = "#<str>(x) looks like an annotation";
    EXPECT_EQ(pf.getList(), expected);

    // An annotation in a new comment is not parsed and constrains nothing.
    std::string proposed = "y";
    EXPECT_TRUE(pf.checkValue(0, &proposed, nullptr));
    // A new comment on an annotated entry keeps its constraints.
    pf.setComment(1, "# count");
    bool ok = false;
    EXPECT_EQ(pf.getConstraints(1, &ok), "<int>");
    EXPECT_TRUE(ok);
    EXPECT_FALSE(pf.checkValue(1, nullptr, nullptr));
}

}  // namespace
