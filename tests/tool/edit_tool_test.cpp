// teskpf set / unset end to end: golden cases from tests/data/edit (see its
// README), a one-value edit of every parameter file the tests ship changing
// exactly one line, and concurrent edits of one file losing nothing.
#include <fcntl.h>
#include <signal.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <ctime>
#include <fstream>
#include <iterator>
#include <map>
#include <sstream>

#include <gtest/gtest.h>

#include <teskpf/key_path.h>

#include "run_tool.h"
#include "test_support.h"

using namespace test_support;

namespace {

int runTool(const std::vector<std::string> &args, const std::string &dir, const std::string &pfpath = ".") {
    return tool_run::waitFor(tool_run::startTool(args, dir, pfpath));
}

// Every regular file under `dir`, by path relative to it, with its bytes.
std::map<std::string, std::string> filesUnder(const std::string &dir) {
    std::map<std::string, std::string> files;
    if (!fs::is_directory(dir)) return files;
    for (const auto &entry : fs::recursive_directory_iterator(dir))
        if (entry.is_regular_file()) files[fs::relative(entry.path(), dir).string()] = readText(entry.path().string());
    return files;
}

// Whether `actual` is `expected` with each "<NOW>" standing for a time in
// seconds between `from` and `to`.
bool matchesWithTime(const std::string &actual, const std::string &expected, long from, long to) {
    size_t a = 0, e = 0;
    for (size_t mark; (mark = expected.find("<NOW>", e)) != std::string::npos; e = mark + 5) {
        if (actual.compare(a, mark - e, expected, e, mark - e) != 0) return false;
        a += mark - e;
        size_t digits = actual.find_first_not_of("0123456789", a);
        if (digits == std::string::npos) digits = actual.size();
        if (digits == a) return false;
        const long seconds = std::stol(actual.substr(a, digits - a));
        if (seconds < from || seconds > to) return false;
        a = digits;
    }
    return actual.compare(a, std::string::npos, expected, e, std::string::npos) == 0;
}

std::vector<std::string> linesOf(const std::string &text) {
    std::vector<std::string> lines;
    for (size_t p = 0; p < text.size();) {
        size_t end = std::min(text.find('\n', p), text.size());
        lines.push_back(text.substr(p, end - p));
        p = end + 1;
    }
    return lines;
}

}  // namespace

TEST(EditTool, GoldenCases) {
    const fs::path cases = fs::path(TESKPF_TEST_DATA_DIR) / "edit";
    int count = 0;
    for (const auto &entry : fs::directory_iterator(cases)) {
        if (!entry.is_directory()) continue;
        ++count;
        const std::string name = entry.path().filename().string();
        std::vector<std::string> args;
        std::string pfpath = ".";
        int expected_status = 0;
        std::string command = readText((entry.path() / "command").string());
        if (!command.empty() && command.back() == '\n') command.pop_back();
        for (size_t p = 0; p <= command.size();) {
            size_t end = std::min(command.find('\n', p), command.size());
            std::string arg = command.substr(p, end - p);
            p = end + 1;
            if (args.empty() && arg.rfind("PFPATH=", 0) == 0)
                pfpath = arg.substr(7);
            else if (args.empty() && arg.rfind("EXIT=", 0) == 0)
                expected_status = std::stoi(arg.substr(5));
            else
                args.push_back(arg);
        }
        TempDir dir;
        const auto before = filesUnder((entry.path() / "before").string());
        for (const auto &[path, text] : before) dir.write(path, text);
        const long from = static_cast<long>(std::time(nullptr));
        const tool_run::ToolRun run = tool_run::runTool(args, dir.path(), pfpath);
        const long to = static_cast<long>(std::time(nullptr));
        EXPECT_EQ(run.status, expected_status) << name << ": " << run.err;
        if (fs::exists(entry.path() / "stderr")) {
            EXPECT_EQ(run.err, readText((entry.path() / "stderr").string())) << name;
        }
        const auto after = filesUnder((entry.path() / "after").string());
        const auto now = filesUnder(dir.path());
        for (const auto &[path, text] : now) {
            EXPECT_TRUE(before.count(path)) << name << ": a new file " << path;
            const bool edited = after.count(path) != 0;
            const std::string &expected = edited ? after.at(path) : before.at(path);
            EXPECT_TRUE(matchesWithTime(text, expected, from, to)) << name << ": " << path << " is\n" << text;
        }
        EXPECT_EQ(now.size(), before.size()) << name;
    }
    EXPECT_GE(count, 15);
}

// A one-value set of every file under tests/data (each one reads as a
// parameter file, whatever its name) and of the example changes exactly the
// line of the value in effect, and the top-level pf_revision_time line if
// there is one. A file with no plain value in effect gets one added with
// --file: one new line, every other line kept, or a refusal that writes
// nothing.
TEST(EditTool, OneValueEditChangesOneLine) {
    std::vector<fs::path> files{fs::path(TESKPF_EXAMPLES_DIR) / "station.pf"};
    for (const auto &entry : fs::recursive_directory_iterator(TESKPF_TEST_DATA_DIR))
        if (entry.is_regular_file()) files.push_back(entry.path());
    int edited = 0, added = 0;
    for (const fs::path &file : files) {
        TempDir dir;
        const std::string original = readText(file.string());
        const std::string copy = dir.write("f.pf", original);
        std::string key;
        bool has_revision = false;
        {
            TeskPf pf(copy, 0);
            for (int i = 0; i < pf.size(); ++i) {
                const std::string k = pf.getKey(i), value = pf.getValue(i, nullptr, nullptr);
                const bool block = value == "&Arr" || value == "&Tbl";
                if (k == "[\"pf_revision_time\"]") {
                    has_revision = !block;  // a save refreshes a revision value, never a block
                } else if (key.empty() && !k.empty() && !block && pf.getEntryIndex(k) == i) {
                    key = k;
                }
            }
        }
        const std::vector<std::string> before = linesOf(original);
        if (key.empty()) {
            const int status = runTool({"set", "--file", "f.pf", "f", "added_key", "edited-value"}, dir.path());
            const std::string now = readText(copy);
            if (status == 2) {
                EXPECT_EQ(now, original) << file << ": a refused addition wrote";
                continue;
            }
            ASSERT_EQ(status, 0) << file;
            std::vector<std::string> after = linesOf(now);
            const auto line = std::find(after.begin(), after.end(), "added_key\tedited-value");
            ASSERT_NE(line, after.end()) << file << " is\n" << now;
            after.erase(line);
            EXPECT_EQ(after, before) << file;
            EXPECT_EQ(TeskPf(copy, 0).getValue("[\"added_key\"]", nullptr, nullptr), "edited-value") << file;
            ++added;
            continue;
        }
        ASSERT_EQ(runTool({"set", "f", key, "edited-value"}, dir.path()), 0) << file << " " << key;
        const std::vector<std::string> after = linesOf(readText(copy));
        ASSERT_EQ(after.size(), before.size()) << file;
        size_t changed = 0;
        for (size_t i = 0; i < before.size(); ++i) changed += before[i] != after[i];
        EXPECT_EQ(changed, has_revision ? 2u : 1u) << file << " " << key;
        EXPECT_EQ(TeskPf(copy, 0).getValue(key, nullptr, nullptr), "edited-value") << file;
        ++edited;
    }
    EXPECT_GE(edited, 90);
    EXPECT_GE(added, 4);
}

// Pairs of set runs on one file, started together, each changing its own
// key: with the file lock, no run's change is lost to the other's save.
TEST(EditTool, ConcurrentSetsLoseNothing) {
    TempDir dir;
    const int pairs = 200;
    std::string text = "# shared\n";
    for (int i = 0; i < 2 * pairs; ++i) text += "k" + std::to_string(i) + "\t0\n";
    dir.write("shared.pf", text);
    for (int i = 0; i < pairs; ++i) {
        pid_t first = tool_run::startTool({"set", "shared", "k" + std::to_string(2 * i), "1"}, dir.path(), ".");
        pid_t second = tool_run::startTool({"set", "shared", "k" + std::to_string(2 * i + 1), "1"}, dir.path(), ".");
        ASSERT_EQ(tool_run::waitFor(first), 0);
        ASSERT_EQ(tool_run::waitFor(second), 0);
    }
    TeskPf pf(dir.path() + "/shared.pf", 0);
    for (int i = 0; i < 2 * pairs; ++i)
        EXPECT_EQ(pf.getValue("[\"k" + std::to_string(i) + "\"]", nullptr, nullptr), "1") << i;
}

// Where set puts a key no file has: into the innermost block in effect on
// its way, in the file that supplies it, else into the last file; a block
// a higher layer replaces is not reached.
TEST(EditTool, WhereAnAddedKeyGoes) {
    const std::string base = "gain &Arr{\n\tlow 1\n}\nchan &Tbl{\n\tHHZ\n}\nrate 1\nnet &Arr{\n\told 1\n}\n";
    const std::string site = "net &Arr{\n\tsta &Arr{\n\t\tcode X\n\t}\n}\n";
    struct Case {
        std::string key;
        std::string file;  // where it goes; "" when refused
    };
    const std::vector<Case> cases = {
        {"newtop", "site/cfg.pf"},
        {"[\"gain\"][\"high\"]", "base/cfg.pf"},
        {"[\"chan\"][1]", "base/cfg.pf"},
        {"[\"net\"][\"sta\"][\"loc\"]", "site/cfg.pf"},
        {"[\"net\"][\"new\"][\"x\"]", "site/cfg.pf"},
        {"[\"net\"][\"old\"]", "site/cfg.pf"},  // the lower layer's net is hidden
        {"[\"other\"][\"x\"]", "site/cfg.pf"},
        {"[\"rate\"][\"x\"]", ""},  // rate is a value, not a block
        {"[\"chan\"][3]", ""},      // not the next list position
    };
    for (const Case &c : cases) {
        TempDir dir;
        dir.write("base/cfg.pf", base);
        dir.write("site/cfg.pf", site);
        const tool_run::ToolRun run = tool_run::runTool({"set", "cfg", c.key, "7"}, dir.path(), "base:site");
        const bool base_changed = readText(dir.path() + "/base/cfg.pf") != base;
        const bool site_changed = readText(dir.path() + "/site/cfg.pf") != site;
        if (c.file.empty()) {
            EXPECT_EQ(run.status, 2) << c.key;
            EXPECT_FALSE(base_changed || site_changed) << c.key;
            continue;
        }
        EXPECT_EQ(run.status, 0) << c.key << ": " << run.err;
        EXPECT_EQ(base_changed, c.file == "base/cfg.pf") << c.key;
        EXPECT_EQ(site_changed, c.file == "site/cfg.pf") << c.key;
        EXPECT_EQ(
            run.err.rfind("teskpf: set: added " + teskpf::keyPathArgument(c.key) + " to '" + c.file + "', line ", 0), 0)
            << c.key << ": " << run.err;
        // In effect where it went.
        EXPECT_EQ(tool_run::runTool({"get", "cfg", c.key}, dir.path(), "base:site").out, "7\n") << c.key;
    }
}

// A set that changes nothing leaves the file as it was: same inode, same
// modification time, no pf_revision_time refreshed.
TEST(EditTool, UnchangedValueLeavesTheFileUntouched) {
    TempDir dir;
    const std::string text = "a   1  # same\npf_revision_time 12\n";
    const std::string path = dir.write("cfg.pf", text);
    const timespec old_time[2] = {{0, UTIME_OMIT}, {1000000000, 0}};
    ASSERT_EQ(utimensat(AT_FDCWD, path.c_str(), old_time, 0), 0);
    struct stat before {};
    ASSERT_EQ(stat(path.c_str(), &before), 0);
    const tool_run::ToolRun run = tool_run::runTool({"set", "cfg", "a", "1"}, dir.path(), ".");
    EXPECT_EQ(run.status, 0) << run.err;
    struct stat after {};
    ASSERT_EQ(stat(path.c_str(), &after), 0);
    EXPECT_EQ(after.st_ino, before.st_ino);
    EXPECT_EQ(after.st_mtim.tv_sec, before.st_mtim.tv_sec);
    EXPECT_EQ(readText(path), text);
}

// --wait SECONDS bounds the wait for a lock another process holds: exit
// status 2, nothing written; a free lock is taken at once.
TEST(EditTool, WaitBoundsTheLockWait) {
    TempDir dir;
    dir.write("shared.pf", "k\t0\n");
    const std::string file = dir.path() + "/shared.pf";
    // A child holds the lock, for 20 s at most, so that a tool that waits
    // regardless fails the test instead of hanging it.
    int ready[2];
    ASSERT_EQ(pipe(ready), 0);
    const pid_t holder = fork();
    if (holder == 0) {
        const int held = open(file.c_str(), O_RDONLY | O_CLOEXEC);
        if (flock(held, LOCK_EX) == 0 && write(ready[1], "h", 1) == 1) sleep(20);
        _exit(0);
    }
    close(ready[1]);
    char byte = 0;
    ASSERT_EQ(read(ready[0], &byte, 1), 1);
    close(ready[0]);
    const std::string timed_out = "cannot lock './shared.pf': timed out after ";
    const std::pair<std::vector<std::string>, std::string> cases[] = {
        {{"set", "--wait", "0.2", "shared", "k", "1"}, "teskpf: set: " + timed_out + "0.2 s\n"},
        {{"set", "--wait", "0", "--file", "shared.pf", "shared", "k", "1"}, "teskpf: set: " + timed_out + "0 s\n"},
        {{"unset", "--wait", "0.1", "shared", "k"}, "teskpf: unset: " + timed_out + "0.1 s\n"},
        {{"unset", "--wait", "0", "--file", "shared.pf", "shared", "k"}, "teskpf: unset: " + timed_out + "0 s\n"},
        {{"set", "--wait", "soon", "shared", "k", "1"},
         "teskpf: set: --wait takes a number of seconds, not 'soon' (see 'teskpf set --help')\n"},
        {{"unset", "--wait", "-1", "shared", "k"},
         "teskpf: unset: --wait takes a number of seconds, not '-1' (see 'teskpf unset --help')\n"},
    };
    for (const auto &[args, err] : cases) {
        const tool_run::ToolRun run = tool_run::runTool(args, dir.path(), ".");
        EXPECT_EQ(run.status, 2) << args[2];
        EXPECT_EQ(run.err, err);
    }
    EXPECT_EQ(readText(file), "k\t0\n");
    kill(holder, SIGKILL);
    waitpid(holder, nullptr, 0);
    EXPECT_EQ(tool_run::runTool({"set", "--wait", "0", "shared", "k", "1"}, dir.path(), ".").status, 0);
    EXPECT_EQ(readText(file), "k\t1\n");
}

namespace {

// Whether process `pid` waits for a flock, as /proc/locks shows it ("->"),
// within about `seconds`.
bool waitsForLock(pid_t pid, int seconds) {
    for (int tries = 0; tries < seconds * 100; ++tries) {
        std::ifstream locks("/proc/locks");
        for (std::string line; std::getline(locks, line);) {
            std::istringstream fields(line);
            std::vector<std::string> words{std::istream_iterator<std::string>(fields), {}};
            if (words.size() > 5 && words[1] == "->" && words[5] == std::to_string(pid)) return true;
        }
        usleep(10000);
    }
    return false;
}

}  // namespace

// Another editor may change which line supplies the key while set waits for
// the lock on the file that supplied it: set reads the files again under the
// lock and edits the line that supplies the key then. Here the higher layer
// loses the key while the lock on it is held, so the lower layer's line is
// edited and the higher one is left as the other editor wrote it.
TEST(EditTool, SetFindsTheSourceAgainUnderTheLock) {
    TempDir dir;
    const std::string base = dir.write("base/cfg.pf", "k 1\n");
    const std::string site = dir.write("site/cfg.pf", "k 2\nother 3\n");
    const int held = open(site.c_str(), O_RDONLY | O_CLOEXEC);
    ASSERT_EQ(flock(held, LOCK_EX), 0);
    const pid_t tool = tool_run::startTool({"set", "cfg", "k", "5"}, dir.path(), "base:site");
    const bool waited = waitsForLock(tool, 20);
    dir.write("site/cfg.pf", "other 3\n");  // in place, under the lock
    close(held);
    EXPECT_TRUE(waited) << "the tool never waited for the lock";
    EXPECT_EQ(tool_run::waitFor(tool), 0);
    EXPECT_EQ(readText(base), "k 5\n");
    EXPECT_EQ(readText(site), "other 3\n");
}
