// The platform layer: lists, trimming, clock, search path and compiled trees.
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstring>
#include <ctime>

#include <gtest/gtest.h>

#include "pf_platform.h"
#include "test_support.h"

using namespace test_support;

static std::string repeated(const std::string &piece, int times) {
    std::string out;
    while (times-- > 0) out += piece;
    return out;
}

TEST(Platform, TrimmingAndClock) {
    // Trimming removes exactly the six ASCII white-space characters, whatever the locale.
    std::string text = " \t\n\v\f\r\xa0 a \xa0\r\n";
    EXPECT_EQ(strtrim(text.data()), text.data());
    EXPECT_STREQ(text.c_str(), "\xa0 a \xa0");
    for (int c = -1; c < 256; ++c) EXPECT_EQ(pf_isspace(c) != 0, c > 0 && strchr(" \t\n\v\f\r", c)) << c;
    EXPECT_NEAR(std_now(), static_cast<double>(time(nullptr)), 5.0);  // unless a test pins it
}

TEST(Platform, SearchPathCandidates) {
    TempDir dir;
    ScopedCwd cwd(dir.path());
    for (const char *file : {"a/x.pf", "b/x.pf", "c/x.pf", "c/y", "y.pf", "x.pf", "b/real.pf", "d/u.pf", "e/u.pf"})
        dir.write(file, "x 1\n");
    chmod("d/u.pf", 0);
    fs::create_directory("a/z.pf");
    fs::create_symlink(fs::absolute("b/real.pf"), "c/z.pf");
    fs::create_symlink("nowhere.pf", "b/z.pf");
    fs::create_directory_symlink(fs::absolute("a"), "la");
    fs::create_directory("f");
    ASSERT_EQ(mkfifo("f/x.pf", 0644), 0);  // never waited on: opened without blocking, or not at all
    using Paths = std::vector<std::string>;
    const std::string long_dir(10000, 'd');
    const std::tuple<const char *, std::string, Paths> cases[] = {
        {"c:a:b", "x", {"c/x.pf", "a/x.pf", "b/x.pf"}},
        {"b", "x.pf", {"b/x.pf"}},               // no second suffix
        {"::a::c:", "x", {"a/x.pf", "c/x.pf"}},  // empty components skipped
        {"a/:c//", "x", {"a/x.pf", "c/x.pf"}},   // exactly one "/" between
        {"missing:b", "x", {"b/x.pf"}},          // missing directory skipped
        {"c", "y", {}},                          // "y" exists, "y.pf" does not
        {"c", "c/y", {}},                        // same with a path
        {"a:b", "c/x", {"c/x.pf"}},              // a path ignores PFPATH
        {"a", "./y.pf", {"./y.pf"}},
        {"a", "none", {}},
        {"", "x", {"./x.pf"}},  // empty PFPATH is "."
        {":", "x", {"./x.pf"}},
        {nullptr, "x", {"./x.pf"}},  // so is an unset one
        {"a", "", {}},
        {"a", std::string(5000, 'n'), {}},  // long names need no fixed buffer
        {long_dir.c_str(), "x", {}},
        {"a:b:c", "z", {"c/z.pf"}},                                             // regular files only, symlinks followed
        {"d:e", "u", geteuid() ? Paths{"e/u.pf"} : Paths{"d/u.pf", "e/u.pf"}},  // unreadable skipped (root reads all)
        // Each file once, where it last appears.
        {"f:b", "x", {"b/x.pf"}},
        {"a:b:a", "x", {"b/x.pf", "a/x.pf"}},
        {"a:b:./a/:la", "x", {"b/x.pf", "la/x.pf"}},
        {"a:a:a", "x", {"a/x.pf"}},
        {"a:c:b:c:a:b", "x", {"c/x.pf", "a/x.pf", "b/x.pf"}},
    };
    for (const auto &[pfpath, name, expected] : cases) {
        ScopedEnv env("PFPATH", pfpath);
        Paths found;
        Tbl *list = pffiles(name.c_str(), 0);
        for (long i = 0; i < cnttbl(list); ++i) found.emplace_back(static_cast<const char *>(gettbl(list, i)));
        freetbl(list, nullptr);
        EXPECT_EQ(found, expected) << "PFPATH=" << (pfpath ? pfpath : "(unset)") << " name=" << name.substr(0, 40);
    }
    EXPECT_EQ(pffiles("x", 1), nullptr);
}

// What pffiles lists for PFPATH=`pfpath` and `name`.
static std::vector<std::string> listed(const char *pfpath, const char *name) {
    ScopedEnv env("PFPATH", pfpath);
    std::vector<std::string> found;
    Tbl *list = pffiles(name, 0);
    for (long i = 0; i < cnttbl(list); ++i) found.emplace_back(static_cast<const char *>(gettbl(list, i)));
    freetbl(list, nullptr);
    return found;
}

// Runs `check` in a child process (which may change its ids or limits) and
// expects it to answer "" (else what went wrong).
static void expectInChild(const std::function<std::string()> &check) {
    int out[2];
    ASSERT_EQ(pipe(out), 0);
    const pid_t child = fork();
    if (child == 0) {
        close(out[0]);
        const std::string problem = check();
        if (!problem.empty() && write(out[1], problem.data(), problem.size()) < 0) _exit(2);
        _exit(problem.empty() ? 0 : 1);
    }
    close(out[1]);
    std::string problem;
    char buffer[256];
    for (ssize_t got; (got = read(out[0], buffer, sizeof buffer)) > 0;) problem.append(buffer, size_t(got));
    close(out[0]);
    int status = -1;
    waitpid(child, &status, 0);
    EXPECT_TRUE(WIFEXITED(status) && WEXITSTATUS(status) == 0) << problem;
}

static std::string joined(const std::vector<std::string> &paths) {
    std::string text;
    for (const std::string &path : paths) text += path + " ";
    return text;
}

// The search opens each candidate once and reads from that descriptor; these
// are the cases where that could differ from looking at the path.
TEST(Platform, SearchOpensCandidatesAsReadingNeedsThem) {
    if (geteuid() != 0) GTEST_SKIP() << "needs root to take another real user id";
    TempDir dir;
    ScopedCwd cwd(dir.path());
    chmod(dir.path().c_str(), 0755);  // let nobody in
    dir.write("open/x.pf", "a 1\n");
    chmod(dir.write("closed/x.pf", "b 2\n").c_str(), 0600);
    const uid_t nobody = getpwnam("nobody")->pw_uid;
    // Read permission is the real user's, as access(2) judges it, even while
    // the effective user could open the file.
    expectInChild([&]() -> std::string {
        if (setresuid(nobody, 0, 0) != 0) return "cannot take nobody's real id";
        const std::string found = joined(listed("open:closed", "x"));
        return found == "open/x.pf " ? "" : "listed: " + found;
    });
    // The other way round too: a file the real user may read is listed
    // though the effective user cannot open it.
    expectInChild([&]() -> std::string {
        if (setresuid(0, nobody, 0) != 0) return "cannot take nobody's effective id";
        const std::string found = joined(listed("open:closed", "x"));
        return found == "open/x.pf closed/x.pf " ? "" : "listed: " + found;
    });
    // Out of descriptors, a file is judged by its path and still listed.
    expectInChild([&]() -> std::string {
        const int lowest_free = dup(0);
        close(lowest_free);
        const rlimit limit{static_cast<rlim_t>(lowest_free), static_cast<rlim_t>(lowest_free)};
        if (setrlimit(RLIMIT_NOFILE, &limit) != 0) return "cannot lower the descriptor limit";
        const std::string found = joined(listed("open:closed", "x"));
        return found == "open/x.pf closed/x.pf " ? "" : "listed: " + found;
    });
}

// A long search list is read whole though the search holds few descriptors,
// and loading leaves none open, whether files are found or not.
TEST(Platform, LongSearchListsReadWholeWithoutKeepingDescriptors) {
    TempDir dir;
    ScopedCwd cwd(dir.path());
    std::string pfpath;
    std::vector<std::string> keys;
    for (int i = 0; i < 20; ++i) {
        const std::string key = "k" + std::to_string(i);
        dir.write("d" + std::to_string(i) + "/x.pf", key + " " + std::to_string(i) + "\n");
        pfpath += "d" + std::to_string(i) + ":";
        keys.push_back("[\"" + key + "\"]");
    }
    fs::create_directory("d20");
    ASSERT_EQ(mkfifo("d20/x.pf", 0644), 0);
    ScopedEnv env("PFPATH", pfpath + "d20:missing");
    auto descriptors = [] { return std::distance(fs::directory_iterator("/proc/self/fd"), {}); };
    const auto before = descriptors();
    TeskPf pf("x", 0);
    TeskPf none("nothing", 0);
    EXPECT_EQ(descriptors(), before);
    ASSERT_EQ(pf.size(), 20);
    for (int i = 0; i < 20; ++i)  // the last file first, then each earlier file's key after it
        EXPECT_EQ(pf.getKey(i), keys[static_cast<size_t>(19 - i)]) << i;
    EXPECT_EQ(none.size(), 0);
}

// Compiling splits lines as reading does: keys trimmed at their end (a
// carriage return or form feed before the blank is no part of them), tabs in
// values made blanks, escapes removed, comments cut.
TEST(Platform, CompiledLinesReadAsFilesDo) {
    std::string text = "a\r b\nk\tv\t\tw # c\ne\f x\\#y\r\nflag\nl &Tbl{\n\tone\tt # c\n\t# only\n}\n";
    Pf *pf = nullptr;
    ASSERT_EQ(pfcompile(text.data(), &pf), 0);
    std::vector<std::string> read;
    for (long i = 0; i < pfcount(pf); ++i) {
        const Pf *member = pfchild(pf, i);
        read.push_back(std::string(pfkey(pf, i)) + "=" + (member->type == PF_STRING ? member->value.s : "block"));
    }
    EXPECT_EQ(read, (std::vector<std::string>{"a=b", "k=v  w", "e=x#y", "flag=", "l=block"}));
    const Pf *list = pfget(pf, "[\"l\"]");
    ASSERT_NE(list, nullptr);
    EXPECT_EQ(pfcount(list), 1);
    EXPECT_STREQ(pfvalue(pf, "[\"l\"][0]"), "one t");
    pffree(pf);
}

// Compiled trees as applications walk them; that the values are those of the
// handle's text is tested with the writer.
TEST(Platform, CompiledTreeLookupsAndErrors) {
    std::string text =
        "name first\n\\#odd key\nchan &Arr{ ignored\n  list &Tbl{\n    x\n    &Arr{\n    }\n  }\n}\n"
        "name second\n";
    Pf *pf = nullptr;
    ASSERT_EQ(pfcompile(text.data(), &pf), 0);
    EXPECT_EQ((std::vector<std::string>{pfkey(pf, 0), pfkey(pf, 1), pfkey(pf, 2), pfvalue(pf, "[\"\\#odd\"]")}),
              (std::vector<std::string>{"name", "\\#odd", "chan", "key"}));  // a redefinition keeps the first position
    Pf *list = pfget(pf, "[\"chan\"][\"list\"]");
    ASSERT_NE(list, nullptr);
    EXPECT_EQ((std::vector<long>{pfcount(pf), list->type, pfcount(list), pfchild(list, 1)->type, list->filled_out}),
              (std::vector<long>{3, PF_TBL, 2, PF_ARR, 1}));
    EXPECT_EQ((std::vector<Pf *>{pf->parent, list->parent, pfget(pf, "")}),
              (std::vector<Pf *>{nullptr, pfget(pf, "[\"chan\"]"), pf}));
    // Malformed paths, and components that do not fit their block, find nothing.
    for (const char *path : {"name", "[", "[\"name\"", "[\"name\"]x", "[]", "[x]", "[1", "[-1]", "[0]", "[\"chan\"]",
                             "[\"chan\"][\"list\"][3]", "[\"chan\"][\"list\"][\"x\"]", "[\"chan\"][\"nope\"]",
                             "[\"name\"][\"x\"]", "[\"chan\"][\"list\"][99999999999999999999999]"})
        EXPECT_EQ(pfvalue(pf, path), nullptr) << path;
    EXPECT_EQ(pfkey(list, 0), nullptr);  // list members have no key
    pffree(pf);
    // Errors leave the result untouched; deep nesting needs no recursion.
    const std::pair<std::string, int> errors[] = {{"}", PF_ERR_STRAY_CLOSE},
                                                  {"a 1\n  } # closing nothing", PF_ERR_STRAY_CLOSE},
                                                  {"a &Arr{\n}\n}", PF_ERR_STRAY_CLOSE},
                                                  {"a &Arr{", PF_ERR_UNCLOSED},
                                                  {"a &Tbl{\n  x\n  &Arr{\n  }\n", PF_ERR_UNCLOSED},
                                                  {"a &Arr{\n # }\n", PF_ERR_UNCLOSED},
                                                  {"l &Tbl{\n" + repeated("&Tbl{\n", 1000000), PF_ERR_UNCLOSED}};
    Pf sentinel{};
    pf = &sentinel;
    for (auto [bad, error] : errors) EXPECT_EQ(pfcompile(bad.data(), &pf), error) << bad.substr(0, 40);
    EXPECT_EQ(pfcompile(nullptr, &pf), PF_ERR_ARGUMENT);
    EXPECT_EQ(pf, &sentinel);
    EXPECT_EQ(pfcompile(const_cast<char *>(""), nullptr), PF_ERR_ARGUMENT);
    std::string deep = repeated("a &Arr{\n", 1000000) + repeated("}\n", 1000000);
    ASSERT_EQ(pfcompile(deep.data(), &pf), 0);
    const Pf *node = pfget(pf, repeated("[\"a\"]", 1000000).c_str());
    ASSERT_NE(node, nullptr);
    EXPECT_EQ(pfcount(node), 0);
    pffree(pf);
}
