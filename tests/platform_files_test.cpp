#include <sys/stat.h>
#include <unistd.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "pf_files.h"

namespace fs = std::filesystem;

// Runs each test in a fresh temporary directory holding a/, b/ and c/, with
// PFPATH and the working directory restored afterwards.
class PlatformFiles : public ::testing::Test {
protected:
    void SetUp() override {
        const char *pfpath = getenv("PFPATH");
        had_pfpath = pfpath != nullptr;
        if (had_pfpath) saved_pfpath = pfpath;
        saved_cwd = fs::current_path();
        std::string pattern = (fs::temp_directory_path() / "pffiles.XXXXXX").string();
        ASSERT_NE(mkdtemp(pattern.data()), nullptr);
        root = pattern;
        fs::current_path(root);
        for (const char *dir : {"a", "b", "c"}) fs::create_directory(dir);
    }
    void TearDown() override {
        if (had_pfpath)
            setenv("PFPATH", saved_pfpath.c_str(), 1);
        else
            unsetenv("PFPATH");
        fs::current_path(saved_cwd);
        fs::remove_all(root);
    }
    static void touch(const std::string &path) { std::ofstream(path) << "x 1\n"; }

    bool had_pfpath = false;
    std::string saved_pfpath;
    fs::path saved_cwd, root;
};

namespace {

std::vector<std::string> found(const char *name) {
    std::vector<std::string> paths;
    Tbl *list = pffiles(name, 0);
    EXPECT_TRUE(list == nullptr || cnttbl(list) > 0);  // never an empty list
    for (long i = 0; i < cnttbl(list); ++i) paths.emplace_back(static_cast<const char *>(gettbl(list, i)));
    freetbl(list, nullptr);
    return paths;
}

using Paths = std::vector<std::string>;

}  // namespace

TEST_F(PlatformFiles, CandidateRules) {
    touch("a/x.pf");
    touch("b/x.pf");
    touch("c/x.pf");
    touch("c/y");
    touch("y.pf");
    touch("x.pf");
    const std::string long_dir(10000, 'd');
    struct Case {
        const char *pfpath;
        std::string name;
        Paths expected;
    } cases[] = {
        {"c:a:b", "x", {"c/x.pf", "a/x.pf", "b/x.pf"}},
        {"b", "x.pf", {"b/x.pf"}},                 // no second suffix
        {"::a::c:", "x", {"a/x.pf", "c/x.pf"}},    // empty components skipped
        {"a/:c//", "x", {"a/x.pf", "c/x.pf"}},     // exactly one "/" between
        {"missing:b", "x", {"b/x.pf"}},            // missing directory skipped
        {"c", "y", {}},                            // "y" exists, "y.pf" does not
        {"c", "c/y", {}},                          // same with a path
        {"a:b", "c/x", {"c/x.pf"}},                // a path ignores PFPATH
        {"a", "./y.pf", {"./y.pf"}},
        {"a", "none", {}},
        {"", "x", {"./x.pf"}},                     // empty PFPATH is "."
        {":", "x", {"./x.pf"}},
        {nullptr, "x", {"./x.pf"}},                // so is an unset one
        {"a", "", {}},
        {"a", std::string(5000, 'n'), {}},         // long names need no fixed buffer
        {long_dir.c_str(), "x", {}},
    };
    for (const Case &c : cases) {
        if (c.pfpath)
            setenv("PFPATH", c.pfpath, 1);
        else
            unsetenv("PFPATH");
        EXPECT_EQ(found(c.name.c_str()), c.expected)
            << "PFPATH=" << (c.pfpath ? c.pfpath : "(unset)") << " name=" << c.name.substr(0, 40);
    }
    EXPECT_EQ(pffiles(nullptr, 0), nullptr);
    EXPECT_EQ(pffiles("x", 1), nullptr);
}

TEST_F(PlatformFiles, OnlyRegularFilesAreListedFollowingSymlinks) {
    fs::create_directory("a/x.pf");
    touch("b/real.pf");
    fs::create_symlink(fs::absolute("b/real.pf"), "c/x.pf");
    fs::create_symlink("nowhere.pf", "b/x.pf");
    setenv("PFPATH", "a:b:c", 1);
    EXPECT_EQ(found("x"), (Paths{"c/x.pf"}));
}

TEST_F(PlatformFiles, UnreadableFilesAreSkipped) {
    if (geteuid() == 0) GTEST_SKIP() << "root can read any file";
    touch("a/x.pf");
    touch("b/x.pf");
    chmod("a/x.pf", 0);
    setenv("PFPATH", "a:b", 1);
    EXPECT_EQ(found("x"), (Paths{"b/x.pf"}));
}
