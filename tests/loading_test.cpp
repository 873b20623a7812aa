#include <pwd.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdio>
#include <fstream>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "TeskPf.h"
#include "test_support.h"

using test_support::ScopedEnv;
using test_support::TempDir;

namespace {

// "source|key|value" of every entry, in list order.
std::vector<std::string> summary(const TeskPf &pf) {
    std::vector<std::string> out;
    for (const auto &e : pf.getList()) out.push_back(e[FIELD_SOURCE] + "|" + e[FIELD_KEY] + "|" + e[FIELD_VALUE]);
    return out;
}

}  // namespace

TEST(Loading, OnlyTypeZeroIsAccepted) {
    TempDir dir;
    std::string message = "nothing thrown";
    try {
        TeskPf pf(dir.write("t.pf", "a 1\n"), 1);
    } catch (const std::string &thrown) {
        message = thrown;
    }
    EXPECT_EQ(message, "Unknown type");
}

TEST(Loading, NameOutsideTheSearchPath) {
    TempDir dir;
    ScopedEnv pfpath("PFPATH", dir.path());
    EXPECT_EQ(TeskPf("nosuch", 0).size(), 0);
    EXPECT_EQ(TeskPf(dir.path() + "/nosuch.pf", 0).size(), 0);
    // No file "data.txt.pf" exists, but the name itself is a readable file.
    std::string path = dir.write("sub/data.txt", "# kept\na 1\n");
    EXPECT_EQ(summary(TeskPf(path, 0)), (std::vector<std::string>{path + ":0||", path + ":1|[\"a\"]|1"}));
}

TEST(Loading, TildeExpandsToTheHomeDirectoryOfTheUserDatabase) {
    const passwd *user = getpwuid(getuid());
    if (!user || !user->pw_dir) GTEST_SKIP() << "no user database entry";
    std::string home = user->pw_dir;
    std::string file = home + "/.teskpf_tilde_XXXXXX.pf";
    int fd = mkstemps(file.data(), 3);
    if (fd < 0) GTEST_SKIP() << "home directory not writable";
    close(fd);
    struct RemoveOnExit {
        std::string path;
        ~RemoveOnExit() { std::remove(path.c_str()); }
    } cleanup{file};
    std::ofstream(file) << "k v\n";

    ScopedEnv otherHome("HOME", "/nonexistent");  // the user database must win over $HOME
    TeskPf pf("~" + file.substr(home.size()), 0);
    EXPECT_EQ(summary(pf), (std::vector<std::string>{file + ":0|[\"k\"]|v"}));
}

TEST(Loading, TildeFallsBackToHomeWithoutAUserDatabaseEntry) {
    const uid_t nobody = 54321;
    if (getuid() != 0) GTEST_SKIP() << "needs root to switch to a user without a database entry";
    if (getpwuid(nobody)) GTEST_SKIP() << "uid " << nobody << " has a database entry";
    TempDir dir;
    std::string file = dir.write("h.pf", "k v\n");
    chmod(dir.path().c_str(), 0755);
    chmod(file.c_str(), 0644);

    pid_t child = fork();
    ASSERT_GE(child, 0);
    if (child == 0) {
        // No gtest assertions here: the verdict travels back as the exit code.
        if (setuid(nobody) != 0 || setenv("HOME", dir.path().c_str(), 1) != 0) _exit(2);
        try {
            TeskPf pf("~/h.pf", 0);
            _exit(pf.size() == 1 && pf.getSource(0) == file + ":0" ? 0 : 1);
        } catch (...) {
            _exit(3);
        }
    }
    int status = 0;
    ASSERT_EQ(waitpid(child, &status, 0), child);
    ASSERT_TRUE(WIFEXITED(status));
    EXPECT_EQ(WEXITSTATUS(status), 0) << "1: wrong entries, 2: setup failed, 3: constructor threw";
}

TEST(Loading, LaterFileWinsEachTopLevelKeyAsAWhole) {
    TempDir first, last;
    first.write("m.pf", "# first\ngain 1\nchan &Arr{\n  name A\n  extra yes\n}\nonly1 x\ndup 1\ndup 2\n");
    last.write("m.pf", "# last\nchan &Arr{\n  name B\n}\ngain 2\ndup 3\n");
    ScopedEnv pfpath("PFPATH", first.path() + ":" + last.path());
    TeskPf pf("m", 0);
    const std::string f = first.path() + "/m.pf:", l = last.path() + "/m.pf:";
    // The earlier file's first "dup" survives: only its last definition loses.
    EXPECT_EQ(summary(pf), (std::vector<std::string>{l + "0||", l + "1|[\"chan\"]|&Arr", l + "2|[\"chan\"][\"name\"]|B",
                                                     l + "4|[\"gain\"]|2", l + "5|[\"dup\"]|3", f + "6|[\"only1\"]|x",
                                                     f + "7|[\"dup\"]|1"}));
}

TEST(Loading, ThreeFilesInSearchOrder) {
    TempDir d1, d2, d3;
    d1.write("m.pf", "# one\na 1\nb 1\nc 1\nonly1 &Tbl{\nx\n}\n");
    d2.write("m.pf", "# two\nb 2\nonly2 2\nc 2\n");
    d3.write("m.pf", "# three\n\nc 3\n");
    ScopedEnv pfpath("PFPATH", d1.path() + ":" + d2.path() + ":" + d3.path());
    TeskPf pf("m", 0);
    const std::string s1 = d1.path() + "/m.pf:", s2 = d2.path() + "/m.pf:", s3 = d3.path() + "/m.pf:";
    EXPECT_EQ(summary(pf), (std::vector<std::string>{
                               s3 + "0||", s3 + "1||", s3 + "2|[\"c\"]|3",
                               s2 + "1|[\"b\"]|2", s2 + "2|[\"only2\"]|2",
                               s1 + "1|[\"a\"]|1", s1 + "4|[\"only1\"]|&Tbl", s1 + "5|[\"only1\"][0]|x",
                           }));
}

TEST(Loading, NoCommentsWhenTheLastFileIsEmpty) {
    TempDir d1, d2;
    d1.write("m.pf", "# kept only from the last file\na 1\n");
    d2.write("m.pf", "");
    ScopedEnv pfpath("PFPATH", d1.path() + ":" + d2.path());
    TeskPf pf("m", 0);
    EXPECT_EQ(summary(pf), (std::vector<std::string>{d1.path() + "/m.pf:1|[\"a\"]|1"}));
}
