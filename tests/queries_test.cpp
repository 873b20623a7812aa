#include <functional>
#include <string>

#include <gtest/gtest.h>

#include "TeskPf.h"
#include "test_support.h"

namespace {

std::string printed(const std::function<void()> &print) {
    testing::internal::CaptureStdout();
    print();
    return testing::internal::GetCapturedStdout();
}

class Queries : public ::testing::Test {
protected:
    test_support::TempDir dir;
    std::string path = dir.write("q.pf", "# top\na 1\nblk &Arr{ #<int> note\n  x 2\n  a 9\n}\na 3 # again\n");
    TeskPf pf{path, 0};
};

}  // namespace

TEST_F(Queries, LastEqualKeyWinsAndFieldsAreReadByKeyOrIndex) {
    ASSERT_EQ(pf.size(), 6);
    EXPECT_EQ(pf.getEntryIndex("[\"a\"]"), 5);
    EXPECT_EQ(pf.getComment("[\"a\"]"), "# again");
    EXPECT_EQ(pf.getSource("[\"a\"]"), path + ":6");
    EXPECT_EQ(pf.getEntry("[\"a\"]")[FIELD_VALUE], "3");
    EXPECT_EQ(pf.getEntryIndex("[\"blk\"][\"a\"]"), 4);
    EXPECT_EQ(pf.getKey(3), "[\"blk\"][\"x\"]");
    EXPECT_EQ(pf.getSource(0), path + ":0");
    EXPECT_EQ(pf.getComment(2), "#  note");
    EXPECT_EQ(pf.getLevel(0), 0);
    EXPECT_EQ(pf.getLevel("[\"blk\"]"), 0);
    EXPECT_EQ(pf.getLevel("[\"blk\"][\"x\"]"), 1);
    EXPECT_EQ(pf.getLevel(4), 1);
}

TEST_F(Queries, MissingEntriesGiveEmptyResults) {
    for (const char *key : {"[\"A\"]", "[\"a\"] ", "['a']", "[a]", "a"}) {
        SCOPED_TRACE(key);
        EXPECT_EQ(pf.getEntryIndex(key), -1);
        EXPECT_TRUE(pf.getEntry(key).empty());
        EXPECT_EQ(pf.getLevel(key), -1);
        EXPECT_EQ(pf.getComment(key), "");
        EXPECT_EQ(pf.getSource(key), "");
        EXPECT_EQ(printed([&] { pf.display(std::string(key)); }), "");
    }
    for (int index : {-1, 6, 1000}) {
        SCOPED_TRACE(index);
        EXPECT_TRUE(pf.getEntry(index).empty());
        EXPECT_EQ(pf.getKey(index), "");
        EXPECT_EQ(pf.getLevel(index), -1);
        EXPECT_EQ(pf.getComment(index), "");
        EXPECT_EQ(pf.getSource(index), "");
        EXPECT_EQ(printed([&] { pf.display(index); }), "");
    }
}

TEST_F(Queries, DisplayPrintsOneLinePerEntry) {
    const std::string p = path;
    EXPECT_EQ(printed([&] { pf.display(); }),
              p + ":0; 0; ; ; # top; \n" +
              p + ":1; 0; [\"a\"]; 1; ; \n" +
              p + ":2; 0; [\"blk\"]; &Arr; #  note; <int>\n" +
              p + ":3; 1; [\"blk\"][\"x\"]; 2; ; \n" +
              p + ":4; 1; [\"blk\"][\"a\"]; 9; ; \n" +
              p + ":6; 0; [\"a\"]; 3; # again; \n");
    EXPECT_EQ(printed([&] { pf.display(std::string("[\"a\"]")); }), p + ":6; 0; [\"a\"]; 3; # again; \n");
    EXPECT_EQ(printed([&] { pf.display(1); }), p + ":1; 0; [\"a\"]; 1; ; \n");
}

TEST(QueriesOnEmptyHandle, EverythingIsMissing) {
    test_support::TempDir dir;
    TeskPf pf(dir.write("empty.pf", ""), 0);
    EXPECT_EQ(pf.size(), 0);
    EXPECT_TRUE(pf.getList().empty());
    EXPECT_EQ(pf.getEntryIndex(""), -1);
    EXPECT_TRUE(pf.getEntry(0).empty());
    EXPECT_EQ(printed([&] { pf.display(); }), "");
}
