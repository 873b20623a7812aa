#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "pf_compile.h"

namespace {

// Compiles `text`, failing the test on an error.
Pf *compiled(std::string text) {
    Pf *pf = nullptr;
    EXPECT_EQ(pfcompile(text.data(), &pf), 0);
    return pf;
}

std::string repeated(const std::string &piece, int times) {
    std::string out;
    out.reserve(piece.size() * times);
    for (int i = 0; i < times; ++i) out += piece;
    return out;
}

const char station[] =
    "# station setup\n"
    "name   first   name  # trailing comment\n"
    "\tgain\t2.5\t\r\n"
    "flag\n"
    "\n"
    "   # indented comment only\n"
    "tag \\#1 a\\\\#b\n"
    "\\#odd key\n"
    "chan &Arr{ ignored after the brace\n"
    "  rate 40\n"
    "  list &Tbl{\n"
    "    first item\n"
    "    &Arr{\n"
    "      x 1\n"
    "    }\n"
    "    &Tbl{\n"
    "    } rest ignored\n"
    "  }\n"
    "}\n"
    "name second\n";

}  // namespace

TEST(PlatformCompile, RealisticTextGivesTreeAndKeyPathLookups) {
    std::string text = station;
    Pf *pf = compiled(text);
    ASSERT_NE(pf, nullptr);
    EXPECT_EQ(text, station);  // the input is left as it was
    EXPECT_EQ(pf->type, PF_ARR);
    EXPECT_EQ(pf->parent, nullptr);
    EXPECT_EQ(pf->filename, nullptr);
    EXPECT_EQ(pf->filled_out, 1);

    const std::vector<std::string> keys{"name", "gain", "flag", "tag", "\\#odd", "chan"};
    ASSERT_EQ(pfcount(pf), static_cast<long>(keys.size()));
    for (size_t i = 0; i < keys.size(); ++i) EXPECT_STREQ(pfkey(pf, static_cast<long>(i)), keys[i].c_str());

    EXPECT_STREQ(pfvalue(pf, "[\"name\"]"), "second");  // redefinition wins, first position kept
    EXPECT_STREQ(pfvalue(pf, "[\"gain\"]"), "2.5");
    EXPECT_STREQ(pfvalue(pf, "[\"flag\"]"), "");
    EXPECT_STREQ(pfvalue(pf, "[\"tag\"]"), "#1 a\\#b");
    EXPECT_STREQ(pfvalue(pf, "[\"\\#odd\"]"), "key");
    EXPECT_STREQ(pfvalue(pf, "[\"chan\"][\"rate\"]"), "40");
    EXPECT_STREQ(pfvalue(pf, "[\"chan\"][\"list\"][0]"), "first item");
    EXPECT_STREQ(pfvalue(pf, "[\"chan\"][\"list\"][1][\"x\"]"), "1");
    EXPECT_EQ(pfvalue(pf, "[\"chan\"]"), nullptr);

    Pf *chan = pfget(pf, "[\"chan\"]");
    Pf *list = pfget(pf, "[\"chan\"][\"list\"]");
    ASSERT_NE(list, nullptr);
    EXPECT_EQ(list->type, PF_TBL);
    EXPECT_EQ(pfcount(list), 3);
    EXPECT_EQ(pfkey(list, 0), nullptr);
    EXPECT_EQ(pfcount(pfchild(list, 2)), 0);
    EXPECT_EQ(list->parent, chan);
    EXPECT_EQ(pfchild(list, 1)->parent, list);
    EXPECT_EQ(pfchild(pfchild(list, 1), 0)->parent, pfchild(list, 1));
    for (Pf *node : {chan, list, pfchild(list, 1), pfchild(list, 2), pfchild(list, 0)}) EXPECT_EQ(node->filled_out, 1);
    EXPECT_EQ(pfget(pf, ""), pf);
    pffree(pf);
}

TEST(PlatformCompile, MalformedOrMismatchedKeyPathsFindNothing) {
    Pf *pf = compiled(station);
    const char *paths[] = {
        "name", "[", "[\"name\"", "[\"name\"]x", "[]", "[x]", "[1", "[-1]", "[0]",
        "[\"chan\"][\"list\"][3]", "[\"chan\"][\"list\"][\"x\"]", "[\"chan\"][\"nope\"]",
        "[\"name\"][\"x\"]", "[\"chan\"][\"list\"][99999999999999999999999]",
    };
    for (const char *path : paths) EXPECT_EQ(pfget(pf, path), nullptr) << path;
    EXPECT_EQ(pfget(pf, nullptr), nullptr);
    EXPECT_EQ(pfget(nullptr, ""), nullptr);
    EXPECT_EQ(pfcount(nullptr), 0);
    EXPECT_EQ(pfchild(pf, -1), nullptr);
    EXPECT_EQ(pfkey(pf, pfcount(pf)), nullptr);
    pffree(pf);
    pffree(nullptr);
}

TEST(PlatformCompile, ErrorsLeaveResultUntouched) {
    struct Case {
        const char *text;
        int error;
    } cases[] = {
        {"}", PF_ERR_STRAY_CLOSE},
        {"a 1\n  } # closing nothing", PF_ERR_STRAY_CLOSE},
        {"a &Arr{\n}\n}", PF_ERR_STRAY_CLOSE},
        {"a &Arr{", PF_ERR_UNCLOSED},
        {"a &Tbl{\n  x\n  &Arr{\n  }\n", PF_ERR_UNCLOSED},
        {"a &Arr{\n # }\n", PF_ERR_UNCLOSED},
    };
    Pf sentinel{};
    for (const Case &c : cases) {
        std::string text = c.text;
        Pf *pf = &sentinel;
        EXPECT_EQ(pfcompile(text.data(), &pf), c.error) << c.text;
        EXPECT_EQ(pf, &sentinel);
    }
    Pf *pf = &sentinel;
    EXPECT_EQ(pfcompile(nullptr, &pf), PF_ERR_ARGUMENT);
    EXPECT_EQ(pf, &sentinel);
    EXPECT_EQ(pfcompile(const_cast<char *>(""), nullptr), PF_ERR_ARGUMENT);
}

TEST(PlatformCompile, MillionNestedBlocksNeedNoRecursion) {
    const int depth = 1000000;
    Pf *pf = compiled(repeated("a &Arr{\n", depth) + repeated("}\n", depth));
    ASSERT_NE(pf, nullptr);
    Pf *node = pf;
    for (int i = 0; i < depth && node; ++i) node = pfchild(node, 0);
    ASSERT_NE(node, nullptr);
    EXPECT_EQ(pfcount(node), 0);
    EXPECT_EQ(pfget(pf, repeated("[\"a\"]", depth).c_str()), node);
    pffree(pf);

    std::string unclosed = "l &Tbl{\n" + repeated("&Tbl{\n", depth);
    Pf *untouched = nullptr;
    EXPECT_EQ(pfcompile(unclosed.data(), &untouched), PF_ERR_UNCLOSED);
    EXPECT_EQ(untouched, nullptr);
}

TEST(PlatformCompile, LargeFlatTextCompilesInLinearTime) {
    const int count = 300000;
    std::string text;
    for (int i = 0; i < count; ++i) text += "key" + std::to_string(i) + " value" + std::to_string(i) + "\n";
    text += "list &Tbl{\n" + repeated("item\n", count) + "}\n" + repeated("key7 again\n", count);
    Pf *pf = compiled(text);
    ASSERT_NE(pf, nullptr);
    EXPECT_EQ(pfcount(pf), count + 1);
    for (int i = 0; i < count; i += 9973)
        EXPECT_STREQ(pfvalue(pf, ("[\"key" + std::to_string(i) + "\"]").c_str()), ("value" + std::to_string(i)).c_str());
    EXPECT_STREQ(pfvalue(pf, "[\"key7\"]"), "again");
    EXPECT_EQ(pfcount(pfget(pf, "[\"list\"]")), count);
    pffree(pf);
}
