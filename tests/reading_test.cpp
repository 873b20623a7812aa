// Reading: constraint annotations, blocks, loading and merging files along
// the search path, "~" expansion, and queries on the entry list.
#include <fcntl.h>
#include <pwd.h>
#include <sys/wait.h>
#include <unistd.h>

#include <memory>
#include <sstream>

#include <gtest/gtest.h>

#include "files/HomeDirectory.h"
#include "parsing/ParsedFile.h"
#include "support/Reference.h"
#include "syntax/ConstraintParser.h"
#include "test_support.h"

using namespace test_support;

// A constraint table as text: each record's type code, followed by its words
// in parentheses when it has any; records separated by blanks.
static std::string render(const teskpf::ConstraintTable &table) {
    std::string out;
    for (const teskpf::Constraint &c : table) {
        out += (out.empty() ? "" : " ") + std::to_string(static_cast<int>(c.type));
        for (size_t i = 0; i < c.words.size(); ++i) out += (i ? "|" : "(") + c.words[i];
        out += c.words.empty() ? "" : ")";
    }
    return out;
}

static std::string printed(const std::function<void()> &print) {
    testing::internal::CaptureStdout();
    print();
    return testing::internal::GetCapturedStdout();
}

TEST(ConstraintParser, ParsesAndRegistersAnnotationTexts) {
    // Annotation texts and their rendered tables; nullptr for a malformed text.
    const std::pair<const char *, const char *> cases[] = {
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
    for (const auto &[text, table] : cases) {
        const std::optional<teskpf::ConstraintTable> parsed = teskpf::parseConstraintText(text);
        EXPECT_EQ(parsed ? render(*parsed) : "(none)", table ? table : "(none)") << text;
        // The reference model of the differential tests reads them alike.
        reference::Constraints model;
        teskpf::ConstraintTable rendered;
        const bool ok = reference::parseConstraints(text, model);
        for (const reference::Constraint &c : model)
            rendered.push_back({static_cast<teskpf::ValueType>(c.type), c.words});
        EXPECT_EQ(ok ? render(rendered) : "(none)", table ? table : "(none)") << "reference model: " << text;
    }
}

// Entry records of one file: blocks, list positions, comments kept or
// dropped, a top-level closing line ending the file, unclosed blocks.
TEST(BlockParser, ReadsBlocks) {
    const std::tuple<const char *, bool, Rows> cases[] = {
        // text, keep comments, entries
        {"", true, {}},
        {"# c\n\na 1", false, {"f:2|0|[\"a\"]|1||"}},  // comments dropped but counted
        // Braces on one line open a block; text after a closing brace is ignored.
        {"a &Arr{}\nb 1\n} # done\nc 2",
         true,
         {"f:0|0|[\"a\"]|&Arr||", "f:1|1|[\"a\"][\"b\"]|1||", "f:3|0|[\"c\"]|2||"}},
        // List positions skip comments; text after the brace is dropped.
        {"t &Tbl{ junk #<int>\nx\n# note\ny # why\n}",
         true,
         {"f:0|0|[\"t\"]|&Tbl|#|<int>", "f:1|1|[\"t\"][0]|x||", "f:2|1|||# note|", "f:3|1|[\"t\"][1]|y|# why|"}},
        {"a 1\n } \nb 2", true, {"f:0|0|[\"a\"]|1||"}},  // a top-level closing line ends the file
        {"a &Tbl{\n&Tbl{\nx\ny\n&Arr{\nk v",
         true,  // unclosed nested blocks
         {"f:0|0|[\"a\"]|&Tbl||", "f:1|1|[\"a\"][0]|&Tbl||", "f:2|2|[\"a\"][0][0]|x||", "f:3|2|[\"a\"][0][1]|y||",
          "f:4|2|[\"a\"][0][2]|&Arr||", "f:5|3|[\"a\"][0][2][\"k\"]|v||"}},
        // A marker without its brace is a plain value; keys go into the path unchanged.
        {"a &Arr\n{\nb &Tblx\nk\"[1] v",
         true,
         {"f:0|0|[\"a\"]|&Arr||", "f:1|0|[\"{\"]|||", "f:2|0|[\"b\"]|&Tblx||", "f:3|0|[\"k\"[1]\"]|v||"}},
    };
    for (const auto &[text, keep_comments, expected] : cases) {
        // The library: the file read alone keeps its comments; read with an
        // empty file after it on the search path, it does not.
        TempDir dir;
        const std::string file = dir.write("one/f.pf", text);
        dir.write("two/f.pf", "");
        ScopedEnv pfpath("PFPATH", dir.path() + "/one" + (keep_comments ? "" : ":" + dir.path() + "/two"));
        Rows read = rows(TeskPf("f", 0).getList());
        for (std::string &row : read) row.replace(0, file.size(), "f");
        EXPECT_EQ(read, expected) << text;
        // The reference model.
        reference::Annotations annotations;
        std::vector<std::string> lines;
        std::istringstream in(text);
        for (std::string line; std::getline(in, line);) lines.push_back(line);
        EXPECT_EQ(rows(reference::parseLines("f", lines, keep_comments, annotations)), expected) << text;
    }
}

// The worked example, found along the search path; the type must be 0; a
// name that is not found gives an empty handle unless it names a readable
// file itself.
TEST(Loading, WorkedExampleAndNamesOffTheSearchPath) {
    TempDir dir;
    dir.write("f.pf",
              "# demo\ngain 2.5\nchan &Arr{\n\tname BHZ\n\tlist &Tbl{\n\t\ta b\n\t\t&Arr{\n"
              "\t\t\tx 1\n\t\t}\n\t}\n}\n\nmode fast\n");
    ScopedEnv pfpath("PFPATH", dir.path());
    const std::string src = dir.path() + "/f.pf:";
    EXPECT_EQ(rows(TeskPf("f", 0).getList()),
              (Rows{src + "0|0|||# demo|", src + "1|0|[\"gain\"]|2.5||", src + "2|0|[\"chan\"]|&Arr||",
                    src + "3|1|[\"chan\"][\"name\"]|BHZ||", src + "4|1|[\"chan\"][\"list\"]|&Tbl||",
                    src + "5|2|[\"chan\"][\"list\"][0]|a b||", src + "6|2|[\"chan\"][\"list\"][1]|&Arr||",
                    src + "7|3|[\"chan\"][\"list\"][1][\"x\"]|1||", src + "11|0||||", src + "12|0|[\"mode\"]|fast||"}));
    EXPECT_EQ(thrown([&] { TeskPf("f", 1); }), "Unknown type");
    EXPECT_EQ(TeskPf("nosuch", 0).size() + TeskPf(dir.path() + "/nosuch.pf", 0).size(), 0);
    const std::string path = dir.write("sub/data.txt", "# kept\na 1\n");  // there is no "data.txt.pf"
    EXPECT_EQ(rows(TeskPf(path, 0).getList()), (Rows{path + ":0|0|||# kept|", path + ":1|0|[\"a\"]|1||"}));
}

// Search-path order: the last file wins each top-level key, block and all;
// the other files add the keys it lacks, in their order; only the last file
// (even an empty one) gives blank and comment lines.
TEST(Loading, LaterFilesWinEachTopLevelKeyAsAWhole) {
    const std::pair<std::vector<const char *>, Rows> cases[] = {
        // files in search-path order; "dir:line|key|value"
        {{"# 1\na 1\nb 1\nc 1\nonly1 &Tbl{\nx\n}\n", "# 2\nb 2\nonly2 2\nc 2\n", "# 3\n\nc 3\n"},
         {"3:0||", "3:1||", "3:2|[\"c\"]|3", "2:1|[\"b\"]|2", "2:2|[\"only2\"]|2", "1:1|[\"a\"]|1",
          "1:4|[\"only1\"]|&Tbl", "1:5|[\"only1\"][0]|x"}},
        // Of a key defined twice in an earlier file only the definition found last loses.
        {{"gain 1\nchan &Arr{\n  name A\n  extra yes\n}\nonly1 x\ndup 1\ndup 2\n",
          "chan &Arr{\n  name B\n}\ngain 2\ndup 3\n"},
         {"2:0|[\"chan\"]|&Arr", "2:1|[\"chan\"][\"name\"]|B", "2:3|[\"gain\"]|2", "2:4|[\"dup\"]|3",
          "1:5|[\"only1\"]|x", "1:6|[\"dup\"]|1"}},
        {{"# 1\na 1\n", ""}, {"1:1|[\"a\"]|1"}},
    };
    for (const auto &[files, expected] : cases) {
        TempDir root;
        std::string pfpath;
        for (size_t i = 0; i < files.size(); ++i) {  // directories 1, 2, ... of root
            root.write(std::to_string(i + 1) + "/m.pf", files[i]);
            pfpath += (i ? ":" : "") + root.path() + "/" + std::to_string(i + 1);
        }
        ScopedEnv env("PFPATH", pfpath);
        Rows summary;
        for (const auto &e : TeskPf("m", 0).getList())  // the source ROOT/DIR/m.pf:LINE as DIR:LINE
            summary.push_back(e[FIELD_SOURCE].substr(root.path().size() + 1).replace(1, 5, "") + "|" + e[FIELD_KEY] +
                              "|" + e[FIELD_VALUE]);
        EXPECT_EQ(summary, expected);
    }
}

TEST(Loading, TildeExpandsToTheHomeDirectoryOfTheUserDatabase) {
    const passwd *user = getpwuid(getuid());
    if (!user || !user->pw_dir) GTEST_SKIP() << "no user database entry";
    const std::string home = user->pw_dir;
    std::string file = home + "/.teskpf_tilde_XXXXXX.pf";
    int fd = mkstemps(file.data(), 3);
    if (fd < 0) GTEST_SKIP() << "home directory not writable";
    close(fd);
    std::unique_ptr<const char, int (*)(const char *)> removed_at_exit(file.c_str(), unlink);
    std::ofstream(file) << "k v\n";
    ScopedEnv otherHome("HOME", "/nonexistent");  // the user database must win over $HOME
    EXPECT_EQ(rows(TeskPf("~" + file.substr(home.size()), 0).getList()), Rows{file + ":0|0|[\"k\"]|v||"});
}

// Without a user database entry "~" falls back to $HOME, and with neither it
// is an error. Runs in a child that drops to a uid nobody has.
TEST(Loading, TildeFallsBackToHomeWithoutAUserDatabaseEntry) {
    if (geteuid() != 0 || getpwuid(54321)) GTEST_SKIP() << "needs root and a uid without an entry";
    pid_t child = fork();
    if (child == 0) {
        if (setuid(54321) != 0) _exit(2);
        setenv("HOME", "/fallback", 1);
        std::string name = "~/x.pf";
        teskpf::expandHome(name);
        unsetenv("HOME");
        std::string error = thrown([] { TeskPf("~/x", 0); });
        _exit(name == "/fallback/x.pf" && error.find("no home directory") != std::string::npos ? 0 : 1);
    }
    int status = -1;
    waitpid(child, &status, 0);
    EXPECT_TRUE(WIFEXITED(status) && WEXITSTATUS(status) == 0) << "status " << status;
}

// The display listing shows each entry's fields; the queries by index return
// them one by one, and a query by key finds the last entry with that key.
TEST(Queries, ByIndexOrKeyWithTheDisplayListing) {
    TempDir dir;
    const std::string p = dir.write("q.pf", "# top\na 1\nblk &Arr{ #<int> note\n  x 2\n  a 9\n}\na 3 # again\n");
    TeskPf pf(p, 0);
    const Rows lines = {p + ":0; 0; ; ; # top; ",
                        p + ":1; 0; [\"a\"]; 1; ; ",
                        p + ":2; 0; [\"blk\"]; &Arr; #  note; <int>",
                        p + ":3; 1; [\"blk\"][\"x\"]; 2; ; ",
                        p + ":4; 1; [\"blk\"][\"a\"]; 9; ; ",
                        p + ":6; 0; [\"a\"]; 3; # again; ",
                        "; -1; ; ; ; "};
    std::string listing;
    for (int i = 0; i < 7; ++i) {  // the last index is past the end
        EXPECT_EQ(pf.getSource(i) + "; " + std::to_string(pf.getLevel(i)) + "; " + pf.getKey(i) + "; " +
                      pf.getEntry(i).get(FIELD_VALUE) + "; " + pf.getComment(i) + "; " + pf.getConstraints(i, nullptr),
                  lines[i]);
        EXPECT_EQ(printed([&] { pf.display(i); }), i < 6 ? lines[i] + "\n" : "");
        listing += i < 6 ? lines[i] + "\n" : "";
    }
    EXPECT_EQ(printed([&] { pf.display(); }), listing);
    // A query by key finds the last entry with that key, and only an equal key.
    EXPECT_EQ(printed([&] { pf.display(std::string("[\"a\"]")); }), lines[5] + "\n");
    for (const char *key : {"[\"A\"]", "[\"a\"] ", "['a']", "[a]", "a"})
        EXPECT_EQ(std::to_string(pf.getEntryIndex(key)) + std::to_string(pf.getLevel(key)) + row(pf.getEntry(key)),
                  "-1-1")
            << key;
}

// Reading an open file goes on to its end whatever size it was said to have:
// a file that has grown since its size was read, or shrunk, reads whole.
TEST(Loading, AnOpenFileReadsToItsEndWhateverItsSizeWasSaidToBe) {
    TempDir dir;
    std::string large;
    for (int i = 0; large.size() < 10000; ++i) large += "key" + std::to_string(i) + " value\n";
    for (const std::string &content : {std::string("a 1\n"), large, std::string()}) {
        const std::string path = dir.write("grown.pf", content);
        const off_t actual = static_cast<off_t>(content.size());
        for (off_t said : {off_t(0), off_t(1), actual - 1, actual, actual + 1, actual * 3 + 5}) {
            if (said < 0) continue;
            const int fd = open(path.c_str(), O_RDONLY | O_CLOEXEC);
            ASSERT_GE(fd, 0);
            teskpf::FileText text;
            int error = -1;
            EXPECT_TRUE(teskpf::readOpenFile(fd, said, text, error));
            close(fd);
            EXPECT_EQ(error, 0);
            EXPECT_EQ(text.view(), content) << content.size() << " bytes said to be " << said;
        }
    }
}
