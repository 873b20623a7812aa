// Inputs a careless or hostile user can hand the loader: huge lines, absurd
// nesting, control bytes, foreign line ends, odd names and search paths, and
// every input the fuzzers ever tripped over. Each has one asserted outcome.
#include <pwd.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <filesystem>
#include <fstream>
#include <functional>
#include <iterator>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include <teskpf/document.h>
#include <teskpf/error.h>

#include "TeskPf.h"
#include "test_support.h"

using test_support::ScopedEnv;
using test_support::TempDir;

namespace {

std::string hostileFile(const std::string &name) { return std::string(TESKPF_TEST_DATA_DIR) + "/hostile/" + name; }

std::string repeat(const std::string &piece, size_t times) {
    std::string out;
    out.reserve(piece.size() * times);
    for (size_t i = 0; i < times; ++i) out += piece;
    return out;
}

// The message construction throws; "" when the handle loads.
std::string loadError(const std::string &name) {
    try {
        TeskPf pf(name, 0);
    } catch (const std::string &message) {
        return message;
    }
    return "";
}

// Every field of every entry except the source, joined by "|".
std::vector<std::string> fieldsOf(const TeskPf &pf) {
    std::vector<std::string> out;
    for (const auto &e : pf.getList())
        out.push_back(e[FIELD_LEVEL] + "|" + e[FIELD_KEY] + "|" + e[FIELD_VALUE] + "|" + e[FIELD_COMMENT] + "|" +
                      e[FIELD_CONSTRAINTS]);
    return out;
}

}  // namespace

TEST(HostileInput, TenMebibyteValueLoadsIntactThroughTextAndCompile) {
    TempDir dir;
    const std::string value(10u << 20, 'v');
    TeskPf pf(dir.write("big.pf", "big " + value + "\n"), 0);
    ASSERT_EQ(pf.size(), 1);
    EXPECT_EQ(pf.getValue("[\"big\"]", nullptr, nullptr), value);
    Pf *compiled = nullptr;
    pf.getPf(&compiled);
    ASSERT_NE(pfvalue(compiled, "[\"big\"]"), nullptr);
    EXPECT_EQ(pfvalue(compiled, "[\"big\"]"), value);
    pffree(compiled);
}

// A line without a blank is a key with an empty value, whatever its bytes: a
// garbage line inside a block becomes one member named by the whole line.
TEST(HostileInput, TenMebibyteGarbageLineInsideABlockReadsAsOneKey) {
    TempDir dir;
    std::string garbage(10u << 20, '\x01');
    for (size_t i = 0; i < garbage.size(); i += 7) garbage[i] = '\x7f';
    TeskPf pf(dir.write("garbage.pf", "blk &Arr{\n" + garbage + "\n}\nafter 1\n"), 0);
    ASSERT_EQ(pf.size(), 3);
    EXPECT_EQ(pf.getKey(1), "[\"blk\"][\"" + garbage + "\"]");
    EXPECT_EQ(pf.getValue(1, nullptr, nullptr), "");
    EXPECT_EQ(pf.getLevel("[\"after\"]"), 0);
}

// Key paths repeat their block's path, so their total grows with the square
// of the depth. Past 256 MiB + 16 x the file size, loading stops with an error
// naming the line where the total crossed that budget.
TEST(HostileInput, MillionNestedOpeningsExceedTheKeyPathBudget) {
    struct Case {
        const char *name;
        std::string text;
        std::function<size_t(size_t)> path_length;  // of the key path on line `i`
    };
    const size_t million = 1000000;
    const std::vector<Case> cases = {
        {"named blocks", repeat("a &Arr{\n", million), [](size_t i) { return 5 * (i + 1); }},
        {"list blocks", "l &Tbl{\n" + repeat("&Tbl{\n", million), [](size_t i) { return 5 + 3 * i; }},
    };
    for (const Case &c : cases) {
        SCOPED_TRACE(c.name);
        TempDir dir;
        const std::string path = dir.write("deep.pf", c.text);
        const size_t budget = (size_t{256} << 20) + 16 * c.text.size();
        size_t line = 0;
        size_t total = c.path_length(0);
        while (total <= budget) total += c.path_length(++line);
        EXPECT_EQ(loadError(path), path + ":" + std::to_string(line) + ": key paths exceed " + std::to_string(budget) +
                                       " bytes; blocks are nested too deeply");
    }
}

// A file of nothing but one-letter openings reaches the budget at about 10,400
// levels (200,000 fail like a million); 3,000 levels load, write and compile
// like any other file.
TEST(HostileInput, ThreeThousandLevelsLoadWriteAndCompile) {
    const int depth = 3000;
    TempDir dir;
    TeskPf pf(dir.write("deep.pf", repeat("a &Arr{\n", depth) + "leaf 1\n"), 0);
    ASSERT_EQ(pf.size(), depth + 1);
    EXPECT_EQ(pf.getLevel(depth), depth);
    const std::string text = pf.getPfString();
    EXPECT_EQ(text.substr(text.size() - 5), "\t}\n}\n");
    Pf *compiled = nullptr;
    pf.getPf(&compiled);
    EXPECT_STREQ(pfvalue(compiled, (repeat("[\"a\"]", depth) + "[\"leaf\"]").c_str()), "1");
    pffree(compiled);
}

// A closing line at the top level ends the file.
TEST(HostileInput, FileOfClosingLinesGivesAnEmptyHandle) {
    EXPECT_EQ(TeskPf(hostileFile("all_closing.pf"), 0).size(), 0);
}

TEST(HostileInput, LineIsCutAtItsFirstNulByte) {
    TeskPf pf(hostileFile("nul_bytes.pf"), 0);
    EXPECT_EQ(fieldsOf(pf), (std::vector<std::string>{"0|[\"a\"]|1||", "0||||", "0|[\"c\"]|x||"}));
}

TEST(HostileInput, InvalidUtf8BytesAreKeptAsTheyAre) {
    TeskPf pf(hostileFile("invalid_utf8.pf"), 0);
    EXPECT_EQ(fieldsOf(pf),
              (std::vector<std::string>{"0|[\"k\"]|\xff\xfe\x80 \xc3\x28||", "0|[\"\xe2\x82\"]|v|# \xf0\x28\x8c|"}));
    EXPECT_EQ(pf.getPfString(), "k\t\xff\xfe\x80 \xc3\x28\n\xe2\x82\tv\t# \xf0\x28\x8c\n");
}

TEST(HostileInput, CrlfLineEndsLeaveNoCarriageReturnBehind) {
    TeskPf pf(hostileFile("crlf.pf"), 0);
    EXPECT_EQ(fieldsOf(pf), (std::vector<std::string>{
                                "0|||# head|",
                                "0|[\"a\"]|1||",
                                "0|[\"flag\"]|||",
                                "0|[\"b\"]|&Arr|# block|",
                                "1|[\"b\"][\"x\"]|2|#  two|<int>",
                                "1|[\"b\"][\"l\"]|&Tbl||",
                                "2|[\"b\"][\"l\"][0]|m n||",
                            }));
    EXPECT_EQ(pf.getPfString().find('\r'), std::string::npos);
}

// Names that lead to no readable regular file give an empty handle, no error.
TEST(HostileInput, NamesOfNoReadableFileGiveAnEmptyHandle) {
    TempDir dir;
    ScopedEnv pfpath("PFPATH", dir.path());
    std::filesystem::create_directory(dir.path() + "/conf.pf");
    const std::string long_name(10000, 'x');
    for (const std::string &name :
         {dir.path(), std::string("conf"), dir.path() + "/conf.pf", long_name, dir.path() + "/" + long_name}) {
        SCOPED_TRACE(name.substr(0, 80));
        EXPECT_EQ(loadError(name), "");
        EXPECT_EQ(TeskPf(name, 0).size(), 0);
    }
}

// A file without read permission is passed over. Root reads it anyway, so as
// root the check runs in a child process that has become "nobody".
TEST(HostileInput, UnreadableFileGivesAnEmptyHandle) {
    TempDir dir;
    const std::string path = dir.write("locked.pf", "a 1\n");
    ASSERT_EQ(chmod(dir.path().c_str(), 0755), 0);
    ASSERT_EQ(chmod(path.c_str(), 0), 0);
    ScopedEnv pfpath("PFPATH", dir.path());
    EXPECT_TRUE(test_support::holdsUnprivileged(
        [&] { return TeskPf("locked", 0).size() == 0 && TeskPf(path, 0).size() == 0; }));
}

// Empty components and directories that do not exist are passed over: the
// file is read once, from the one directory that has it.
TEST(HostileInput, SearchPathWithEmptyAndMissingComponents) {
    TempDir dir;
    const std::string path = dir.write("site.pf", "a 1\n");
    const std::string missing = dir.path() + "/no/such/dir";
    {
        ScopedEnv pfpath("PFPATH", ":" + missing + "::" + dir.path() + ":");
        TeskPf pf("site", 0);
        ASSERT_EQ(pf.size(), 1);
        EXPECT_EQ(pf.getSource(0), path + ":0");
    }
    ScopedEnv pfpath("PFPATH", missing);
    EXPECT_EQ(TeskPf("site", 0).size(), 0);
}

// Every input a fuzzer found goes through load, text, reload and compile.
// Rejection by the loader or the compiler is an outcome; a crash (or, in the
// sanitizer build, a sanitizer report) is a failure.
TEST(HostileInput, FuzzRegressionsReplayWithoutCrashing) {
    const std::filesystem::path regressions = std::string(TESKPF_TEST_DATA_DIR) + "/fuzz-regressions";
    TempDir dir;
    int replayed = 0;
    for (const auto &file : std::filesystem::directory_iterator(regressions)) {
        SCOPED_TRACE(file.path().string());
        ++replayed;
        try {
            TeskPf pf(file.path().string(), 0);
            TeskPf again(dir.write("again.pf", pf.getPfString()), 0);
            for (const TeskPf *handle : {&pf, &again}) {
                Pf *compiled = nullptr;
                try {
                    handle->getPf(&compiled);
                } catch (const std::string &) {}
                pffree(compiled);
            }
        } catch (const std::string &) {}
    }
    EXPECT_GT(replayed, 0);
}

// The key path budget holds for a handle: two files of deep nesting that each
// stay under it fail together, at the line of the second file read (the one
// earlier on the search path) where the paths of both pass it.
TEST(HostileInput, DeepNestingInSeveralFilesSharesOneKeyPathBudget) {
    TempDir dir;
    const size_t levels = 10000;  // 5 * levels^2 / 2 bytes of paths: under the budget of one file
    const std::string text = repeat("a &Arr{\n", levels);
    const std::string early = dir.write("early/deep.pf", text);
    dir.write("late/deep.pf", text);
    ScopedEnv pfpath("PFPATH", dir.path() + "/early:" + dir.path() + "/late");
    EXPECT_EQ(loadError(dir.path() + "/late/deep.pf"), "");

    const size_t budget = (size_t{256} << 20) + 16 * 2 * text.size();
    size_t total = 0;
    for (size_t i = 0; i < levels; ++i) total += 5 * (i + 1);
    size_t line = 0;
    for (total += 5; total <= budget; total += 5 * (++line + 1)) {}
    const std::string message = early + ":" + std::to_string(line) + ": key paths exceed " + std::to_string(budget) +
                                " bytes; blocks are nested too deeply";
    EXPECT_EQ(loadError("deep"), message);
    // A document reports the same message as a teskpf::Error that names the
    // file and its 1-based line.
    try {
        teskpf::Document::load("deep");
        ADD_FAILURE() << "the document loaded";
    } catch (const teskpf::Error &error) {
        EXPECT_EQ(error.what(), message);
        EXPECT_EQ(error.file(), early);
        EXPECT_EQ(error.line(), static_cast<long>(line) + 1);
    }
}
