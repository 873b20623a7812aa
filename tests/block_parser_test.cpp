#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "BlockParser.h"
#include "TeskPf.h"
#include "test_support.h"

namespace {

using Rows = std::vector<std::string>;

// An entry record as one text, fields joined by "|", for compact comparison.
std::string row(const Table<std::string> &entry) {
    std::string out;
    for (size_t i = 0; i < entry.size(); ++i) out += (i ? "|" : "") + entry[i];
    return out;
}

// The lines joined into a file's text.
std::string text(const Rows &lines) {
    std::string out;
    for (size_t i = 0; i < lines.size(); ++i) out += (i ? "\n" : "") + lines[i];
    return out;
}

Rows rows(const Table<Table<std::string>> &list) {
    Rows out;
    for (const auto &entry : list) out.push_back(row(entry));
    return out;
}

struct BlockCase {
    const char *name;
    Rows lines;
    bool keep_comments;
    Rows expected;  // entries read from file "f" at the top level
    int lines_taken;
};

const BlockCase block_cases[] = {
    {"no lines", {}, true, {}, 0},
    {"comments dropped but counted", {"# c", "", "a 1"}, false, {"f:2|0|[\"a\"]|1||"}, 3},
    {"braces on one line open a block; text after a closing brace is ignored",
     {"a &Arr{}", "b 1", "} # done", "c 2"}, true,
     {"f:0|0|[\"a\"]|&Arr||", "f:1|1|[\"a\"][\"b\"]|1||", "f:3|0|[\"c\"]|2||"}, 4},
    {"list positions skip comments; text after the brace is dropped",
     {"t &Tbl{ junk #<int>", "x", "# note", "y # why", "}"}, true,
     {"f:0|0|[\"t\"]|&Tbl|#|<int>", "f:1|1|[\"t\"][0]|x||", "f:2|1|||# note|", "f:3|1|[\"t\"][1]|y|# why|"}, 5},
    {"top-level closing line ends the file", {"a 1", " } ", "b 2"}, true, {"f:0|0|[\"a\"]|1||"}, 2},
    {"unclosed nested blocks", {"a &Tbl{", "&Tbl{", "x", "y", "&Arr{", "k v"}, true,
     {"f:0|0|[\"a\"]|&Tbl||", "f:1|1|[\"a\"][0]|&Tbl||", "f:2|2|[\"a\"][0][0]|x||", "f:3|2|[\"a\"][0][1]|y||",
      "f:4|2|[\"a\"][0][2]|&Arr||", "f:5|3|[\"a\"][0][2][\"k\"]|v||"}, 6},
    {"marker without brace is a plain value", {"a &Arr", "{", "b &Tblx"}, true,
     {"f:0|0|[\"a\"]|&Arr||", "f:1|0|[\"{\"]|||", "f:2|0|[\"b\"]|&Tblx||"}, 3},
    {"keys go into the path unchanged", {"k\"[1] v"}, true, {"f:0|0|[\"k\"[1]\"]|v||"}, 1},
};

}  // namespace

TEST(BlockParser, ReadsBlocks) {
    for (const BlockCase &c : block_cases) {
        SCOPED_TRACE(c.name);
        teskpf::LineReader lines(text(c.lines));
        teskpf::ConstraintTables tables;
        int iline = 0;
        EntryList entries = teskpf::parseBlock({0, "", false}, "f", iline, lines, c.keep_comments, tables);
        EXPECT_EQ(rows(entries), c.expected);
        EXPECT_EQ(iline, c.lines_taken);
    }
}

TEST(BlockParser, WorkedExampleThroughTheConstructor) {
    test_support::TempDir dir;
    dir.write("f.pf",  // lines 0-12
              "# demo\ngain 2.5\nchan &Arr{\n\tname BHZ\n\tlist &Tbl{\n\t\ta b\n\t\t&Arr{\n"
              "\t\t\tx 1\n\t\t}\n\t}\n}\n\nmode fast\n");
    test_support::ScopedEnv pfpath("PFPATH", dir.path());
    TeskPf pf("f", 0);

    const std::string src = dir.path() + "/f.pf:";
    const Rows expected = {
        src + "0|0|||# demo|",
        src + "1|0|[\"gain\"]|2.5||",
        src + "2|0|[\"chan\"]|&Arr||",
        src + "3|1|[\"chan\"][\"name\"]|BHZ||",
        src + "4|1|[\"chan\"][\"list\"]|&Tbl||",
        src + "5|2|[\"chan\"][\"list\"][0]|a b||",
        src + "6|2|[\"chan\"][\"list\"][1]|&Arr||",
        src + "7|3|[\"chan\"][\"list\"][1][\"x\"]|1||",
        src + "11|0||||",
        src + "12|0|[\"mode\"]|fast||",
    };
    EXPECT_EQ(rows(pf.getList()), expected);
}
