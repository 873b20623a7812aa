// Writing parameter files (suffix rule, revision time, data safety) and
// compiling the text into a Pf tree.
#include <signal.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <gtest/gtest.h>

#include "test_support.h"

using namespace test_support;

// Directory entries, sorted, to spot leftover temporary files.
static Rows listing(const std::string &dir) {
    Rows names;
    for (const auto &e : fs::directory_iterator(dir)) names.push_back(e.path().filename().string());
    std::sort(names.begin(), names.end());
    return names;
}

// Whether writing `pf` to `name` throws a message that names `path`.
static bool writeFailsNaming(const TeskPf &pf, std::string name, const std::string &path) {
    return thrown([&] { pf.write(name); }).rfind("TeskPf::write: cannot write '" + path + "': ", 0) == 0;
}

class Writer : public ::testing::Test {
protected:
    TeskPf load(const std::string &text) { return TeskPf(dir.write("in/src.pf", text), 0); }
    TempDir dir;
};

TEST_F(Writer, SuffixRuleTheNameUsedAndSymlinks) {
    TeskPf pf = load("a 1\n");
    const std::pair<const char *, const char *> cases[] = {
        {"conf", "conf.pf"}, {"conf.pf", "conf.pf"}, {"a.pf", "a.pf"}, {"x.PF", "x.PF.pf"}, {"abc", "abc"},
        {"x", "x"},          {".pf", ".pf"},
    };
    dir.write("conf.pf", std::string(100000, 'z'));  // a longer old file is replaced whole
    ScopedCwd cwd(dir.path());                       // names of three characters or fewer are relative
    for (const auto &[given, used] : cases) {
        std::string name = given;
        pf.write(name);
        EXPECT_EQ(name + ": " + readText(used), std::string(used) + ": a\t1\n") << given;
    }
    std::string name = "empty";  // an empty list writes nothing
    load("").write(name);
    EXPECT_EQ(listing("."), (Rows{".pf", "a.pf", "abc", "conf.pf", "in", "x", "x.PF.pf"}));
    // Through a symbolic link the target is written, keeping its permissions.
    ASSERT_TRUE(chmod("a.pf", 0640) == 0 && symlink("a.pf", "link.pf") == 0);
    name = "link.pf";
    load("b 2\n").write(name);
    EXPECT_EQ(readText("a.pf"), "b\t2\n");
    EXPECT_TRUE(fs::is_symlink("link.pf"));
    EXPECT_EQ(fs::status("a.pf").permissions(), fs::perms(0640));
}

// A failed write throws a message naming the file, which keeps its old
// content, and leaves no temporary file behind: for a directory as target, a
// full disk (a small file-size limit, in a child whose exit status is the
// verdict) and a read-only directory.
TEST_F(Writer, FailuresNameTheFileAndKeepItsOldContent) {
    std::string big;
    for (int i = 0; i < 2000; ++i) big += "key" + std::to_string(i) + " value\n";
    TeskPf pf = load(big);
    fs::create_directory(dir.path() + "/d.pf");
    EXPECT_TRUE(writeFailsNaming(pf, dir.path() + "/d", dir.path() + "/d.pf"));
    const std::string target = dir.write("t.pf", "old\n");
    if (fork() == 0) {
        signal(SIGXFSZ, SIG_IGN);
        struct rlimit limit {
            4096, 4096
        };
        setrlimit(RLIMIT_FSIZE, &limit);
        _exit(writeFailsNaming(pf, target, target) ? 0 : 1);
    }
    int status = -1;
    wait(&status);
    EXPECT_TRUE(WIFEXITED(status) && WEXITSTATUS(status) == 0) << status;
    EXPECT_EQ(readText(target), "old\n");
    EXPECT_EQ(listing(dir.path()), (Rows{"d.pf", "in", "t.pf"}));
    // A file its writer owns, in a directory nobody may add a file to (as root,
    // the writer is "nobody").
    if (const passwd *nobody = getpwnam("nobody"); nobody && geteuid() == 0) {
        ASSERT_EQ(chown(target.c_str(), nobody->pw_uid, nobody->pw_gid), 0);
    }
    ASSERT_EQ(chmod(dir.path().c_str(), 0555), 0);
    EXPECT_TRUE(holdsUnprivileged([&] { return writeFailsNaming(pf, target, target); }));
    EXPECT_EQ(listing(dir.path()), (Rows{"d.pf", "in", "t.pf"}));
    EXPECT_EQ(readText(target), "old\n");
    chmod(dir.path().c_str(), 0755);
}

// getPf compiles the text that write writes: every scalar a key lookup finds
// has the same value in the tree.
TEST_F(Writer, CompiledTreeHoldsEveryScalarValue) {
    PinnedClock clock(1222222222.0);
    TeskPf pf = load(
        "# station\nname first\ntag a\\#b #<str> escaped\ntext red  and  blue\nflag\n"
        "chan &Arr{ # channel\n  rate 40\n  rate 50\n  list &Tbl{\n    first item\n    &Arr{\n"
        "      deep &Tbl{\n        7\n      }\n    }\n    # comment inside a list\n    last\n  }\n}\n"
        "name second\npf_revision_time 5\n");
    Pf *tree = nullptr;
    pf.getPf(&tree);
    ASSERT_NE(tree, nullptr);
    int scalars = 0;
    for (int i = 0; i < pf.size(); ++i) {
        const std::string key = pf.getKey(i), value = pf.getValue(key, nullptr, nullptr);
        if (key.empty() || value == "&Arr" || value == "&Tbl" || key == "[\"pf_revision_time\"]") continue;
        ++scalars;
        const char *compiled = pfvalue(tree, key.c_str());
        EXPECT_EQ(std::string(compiled ? compiled : "(none)"), value) << key;
    }
    EXPECT_EQ(scalars, 10);
    EXPECT_STREQ(pfvalue(tree, "[\"pf_revision_time\"]"), "1222222222");
    clock.seconds = 1333333333.0;  // each text carries the time it is made
    EXPECT_NE(pf.getPfString().find("\npf_revision_time\t1333333333\n"), std::string::npos);
    pffree(tree);
    pf.setValue("[\"chan\"][\"list\"][0]", "}x", 0);  // read as a closing line: one "}" too many
    EXPECT_EQ(thrown([&] { pf.getPf(&tree); }), "TeskPf::getPf: pfcompile() error.");
}
