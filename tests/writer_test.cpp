// Writing parameter files and compiling the text into a Pf tree.
#include <signal.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "TeskPf.h"
#include "pf_clock.h"
#include "pf_compile.h"
#include "test_support.h"

namespace fs = std::filesystem;

namespace {

std::string contentOf(const std::string &path) {
    std::stringstream out;
    out << std::ifstream(path, std::ios::binary).rdbuf();
    return out.str();
}

// Directory entries, to spot leftover temporary files.
std::vector<std::string> listing(const std::string &dir) {
    std::vector<std::string> names;
    for (const auto &e : fs::directory_iterator(dir)) names.push_back(e.path().filename().string());
    std::sort(names.begin(), names.end());
    return names;
}

double clockA() { return 1111111111.9; }
double clockB() { return 1222222222.0; }

const char kNested[] =
    "# station\nname first\ntag a\\#b #<str> escaped\ntext red  and  blue\nflag\n"
    "chan &Arr{ # channel\n  rate 40\n  rate 50\n"
    "  list &Tbl{\n    first item\n    &Arr{\n      deep &Tbl{\n        7\n      }\n    }\n"
    "    # comment inside a list\n    last\n  }\n}\n"
    "name second\n";

class Writer : public ::testing::Test {
protected:
    void TearDown() override { pf_set_clock_for_testing(nullptr); }

    TeskPf load(const std::string &text) { return TeskPf(dir.write("in/src.pf", text), 0); }

    // Expects `write` to fail on `name`, with a message naming `path`.
    void expectWriteFails(const TeskPf &pf, std::string name, const std::string &path) {
        try {
            pf.write(name);
            ADD_FAILURE() << "no error for " << path;
        } catch (const std::string &message) {
            EXPECT_EQ(message.rfind("TeskPf::write: cannot write '" + path + "': ", 0), 0u) << message;
        }
    }

    test_support::TempDir dir;
};

TEST_F(Writer, SuffixRuleAndTheNameUsed) {
    TeskPf pf = load("a 1\n");
    const std::pair<const char *, const char *> cases[] = {
        {"conf", "conf.pf"}, {"conf.pf", "conf.pf"}, {"a.pf", "a.pf"}, {"x.PF", "x.PF.pf"},
        {"abc", "abc"},      {"x", "x"},             {".pf", ".pf"},
    };
    const fs::path cwd = fs::current_path();
    fs::current_path(dir.path());  // names of three characters or fewer are relative
    for (const auto &[given, used] : cases) {
        std::string name = given;
        pf.write(name);
        EXPECT_EQ(name, used) << given;
        EXPECT_EQ(contentOf(dir.path() + "/" + used), "a\t1\n") << given;
    }
    fs::current_path(cwd);
    EXPECT_EQ(listing(dir.path()), (std::vector<std::string>{".pf", "a.pf", "abc", "conf.pf", "in", "x", "x.PF.pf"}));

    // A second write with the returned name goes to the same file.
    std::string name = dir.path() + "/abc";
    pf.write(name);
    EXPECT_EQ(name, dir.path() + "/abc.pf");
    pf.write(name);
    EXPECT_EQ(name, dir.path() + "/abc.pf");
}

TEST_F(Writer, EmptyListWritesNothingAndCompilesToAnEmptyTree) {
    TeskPf pf = load("");
    std::string name = dir.path() + "/out";
    pf.write(name);
    EXPECT_EQ(name, dir.path() + "/out");
    EXPECT_EQ(listing(dir.path()), std::vector<std::string>{"in"});

    Pf *tree = nullptr;
    pf.getPf(&tree);
    ASSERT_NE(tree, nullptr);
    EXPECT_EQ(tree->type, PF_ARR);
    EXPECT_EQ(pfcount(tree), 0);
    pffree(tree);
}

TEST_F(Writer, ReplacesTheWholeFileWithTheGeneratedText) {
    TeskPf pf = load(kNested);
    std::string name = dir.write("out.pf", std::string(100000, 'z') + "\n");
    pf.write(name);
    const std::string written = contentOf(name);
    EXPECT_EQ(written, pf.getPfString());
    EXPECT_EQ(written.back(), '\n');
    EXPECT_EQ(listing(dir.path()), (std::vector<std::string>{"in", "out.pf"}));
}

TEST_F(Writer, RevisionLineCarriesTheTimeOfEachCall) {
    TeskPf pf = load("a 1\npf_revision_time 5\n");
    std::string name = dir.path() + "/rev.pf";
    pf_set_clock_for_testing(clockA);
    pf.write(name);
    EXPECT_EQ(contentOf(name), "a\t1\npf_revision_time\t1111111111\n");
    pf_set_clock_for_testing(clockB);
    pf.write(name);
    EXPECT_EQ(contentOf(name), "a\t1\npf_revision_time\t1222222222\n");

    Pf *tree = nullptr;
    pf.getPf(&tree);
    EXPECT_STREQ(pfvalue(tree, "[\"pf_revision_time\"]"), "1222222222");
    pffree(tree);
}

TEST_F(Writer, KeepsPermissionsAndFollowsSymlinks) {
    TeskPf pf = load("a 1\n");
    const std::string real = dir.write("real.pf", "old\n");
    ASSERT_EQ(chmod(real.c_str(), 0640), 0);
    std::string link = dir.path() + "/link.pf";
    ASSERT_EQ(symlink(real.c_str(), link.c_str()), 0);
    pf.write(link);
    EXPECT_TRUE(fs::is_symlink(link));
    EXPECT_EQ(contentOf(real), "a\t1\n");
    struct stat st {};
    ASSERT_EQ(stat(real.c_str(), &st), 0);
    EXPECT_EQ(st.st_mode & 07777, 0640u);
}

TEST_F(Writer, TargetThatIsADirectoryIsReported) {
    fs::create_directory(dir.path() + "/d.pf");
    expectWriteFails(load("a 1\n"), dir.path() + "/d", dir.path() + "/d.pf");
    EXPECT_TRUE(fs::is_directory(dir.path() + "/d.pf"));
    EXPECT_EQ(listing(dir.path()), (std::vector<std::string>{"d.pf", "in"}));
}

TEST_F(Writer, ReadOnlyDirectoryKeepsTheOldFile) {
    if (geteuid() == 0) GTEST_SKIP() << "permissions do not bind root";
    const std::string target = dir.write("ro/t.pf", "old\n");
    const std::string ro = dir.path() + "/ro";
    ASSERT_EQ(chmod(ro.c_str(), 0555), 0);
    expectWriteFails(load("a 1\n"), target, target);
    chmod(ro.c_str(), 0755);
    EXPECT_EQ(contentOf(target), "old\n");
    EXPECT_EQ(listing(ro), std::vector<std::string>{"t.pf"});
}

TEST_F(Writer, FullDiskKeepsTheOldFile) {
    std::string big;
    for (int i = 0; i < 2000; ++i) big += "key" + std::to_string(i) + " value\n";
    TeskPf pf = load(big);
    const std::string target = dir.write("t.pf", "old\n");

    // A child writes under a small file-size limit: exit status 0 when the
    // expected error came, 1 without an error, 2 for another message.
    const pid_t child = fork();
    ASSERT_GE(child, 0);
    if (child == 0) {
        signal(SIGXFSZ, SIG_IGN);
        struct rlimit limit {4096, 4096};
        setrlimit(RLIMIT_FSIZE, &limit);
        try {
            std::string name = target;
            pf.write(name);
        } catch (const std::string &message) {
            _exit(message.rfind("TeskPf::write: cannot write '" + target + "': ", 0) == 0 ? 0 : 2);
        }
        _exit(1);
    }
    int status = -1;
    waitpid(child, &status, 0);
    EXPECT_TRUE(WIFEXITED(status) && WEXITSTATUS(status) == 0) << status;
    EXPECT_EQ(contentOf(target), "old\n");
    EXPECT_EQ(listing(dir.path()), (std::vector<std::string>{"in", "t.pf"}));
}

TEST_F(Writer, CompiledTreeHoldsEveryScalarValue) {
    TeskPf pf = load(kNested);
    Pf *tree = nullptr;
    pf.getPf(&tree);
    ASSERT_NE(tree, nullptr);
    int scalars = 0;
    for (int i = 0; i < pf.size(); ++i) {
        const std::string key = pf.getKey(i);
        const std::string value = pf.getValue(key, nullptr, nullptr);  // the last equal key
        if (key.empty() || value == "&Arr" || value == "&Tbl") continue;
        ++scalars;
        const char *compiled = pfvalue(tree, key.c_str());
        EXPECT_EQ(std::string(compiled ? compiled : "(none)"), value) << key;
    }
    EXPECT_EQ(scalars, 10);
    EXPECT_STREQ(pfvalue(tree, "[\"name\"]"), "second");
    pffree(tree);
}

TEST_F(Writer, CompileErrorIsThrown) {
    TeskPf pf = load("l &Tbl{\n  item\n}\n");
    pf.setValue("[\"l\"][0]", "}x", 0);  // read as a closing line: one "}" too many
    Pf *tree = nullptr;
    try {
        pf.getPf(&tree);
        ADD_FAILURE() << "no error";
    } catch (const std::string &message) {
        EXPECT_EQ(message, "TeskPf::getPf: pfcompile() error.");
    }
}

}  // namespace
