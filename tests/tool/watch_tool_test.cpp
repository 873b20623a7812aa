// teskpf watch: the JSON lines it prints while a layer is edited, with
// notifications and with --poll, its clean end on SIGTERM and SIGINT, and its
// usage errors. Every wait is bounded by a deadline.
#include <signal.h>
#include <sys/wait.h>

#include <chrono>
#include <string>
#include <thread>
#include <vector>

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include "test_support.h"
#include "tool/run_tool.h"

namespace {

using nlohmann::json;
using test_support::TempDir;
using namespace std::chrono_literals;

constexpr auto kDeadline = 5s;

// The JSON lines of `file` once it holds at least `count` complete lines;
// fewer when the deadline passes first.
std::vector<json> linesOf(const std::string &file, size_t count) {
    const auto until = std::chrono::steady_clock::now() + kDeadline;
    std::vector<std::string> lines;
    do {
        lines = test_support::lines(test_support::readText(file));
        const std::string text = test_support::readText(file);
        if (!text.empty() && text.back() != '\n') lines.pop_back();  // a line still being written
        if (lines.size() >= count) break;
        std::this_thread::sleep_for(10ms);
    } while (std::chrono::steady_clock::now() < until);
    std::vector<json> out;
    for (const std::string &line : lines) out.push_back(json::parse(line));
    return out;
}

// The exit status of the tool started as `pid`, waited for until the
// deadline; -1 (the tool killed) when it has not ended by then.
int statusWithin(pid_t pid) {
    const auto until = std::chrono::steady_clock::now() + kDeadline;
    int status = 0;
    while (waitpid(pid, &status, WNOHANG) == 0) {
        if (std::chrono::steady_clock::now() >= until) {
            kill(pid, SIGKILL);
            waitpid(pid, &status, 0);
            return -1;
        }
        std::this_thread::sleep_for(10ms);
    }
    return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
}

// Sends `signal`; the exit status as statusWithin gives it.
int endWith(pid_t pid, int signal) {
    kill(pid, signal);
    return statusWithin(pid);
}

struct Mode {
    const char *name;
    std::vector<std::string> options;
    int signal;
};

TEST(WatchTool, PrintsEachOutcomeAndEndsCleanly) {
    const std::vector<Mode> modes = {{"notifications", {"--settle", "20"}, SIGTERM},
                                     {"polling", {"--settle", "20", "--poll", "20"}, SIGINT}};
    for (const Mode &mode : modes) {
        SCOPED_TRACE(mode.name);
        TempDir dir, io;
        const std::string file = dir.write("app.pf", "gain 1 #<int>\n");
        std::vector<std::string> args = {"watch", "app"};
        args.insert(args.end(), mode.options.begin(), mode.options.end());
        const std::string out = io.path() + "/out";
        const pid_t pid = tool_run::startTool(args, dir.path(), dir.path(), out);

        std::vector<json> lines = linesOf(out, 1);
        ASSERT_EQ(lines.size(), 1u);
        EXPECT_EQ(lines[0], (json{{"event", "loaded"}, {"files", {file}}}));

        dir.write("app.pf", "gain 22 #<int>\nextra on\n");
        lines = linesOf(out, 2);
        ASSERT_EQ(lines.size(), 2u);
        const json changes = json::parse(R"([
            {"key": "[\"gain\"]", "change": "changed", "old": "1", "new": "22", "line": 1},
            {"key": "[\"extra\"]", "change": "added", "old": null, "new": "on", "line": 2}])");
        json expected_changes = changes;
        for (json &change : expected_changes) change["file"] = file;
        EXPECT_EQ(lines[1]["event"], "changed");
        EXPECT_EQ(lines[1]["changes"], expected_changes);

        // A rejected edit carries the diagnostics exactly as check writes them.
        dir.write("app.pf", "gain loud #<int>\n");
        lines = linesOf(out, 3);
        ASSERT_EQ(lines.size(), 3u);
        EXPECT_EQ(lines[2]["event"], "rejected");
        const tool_run::ToolRun check = tool_run::runTool({"check", "--format", "json", "app"}, dir.path(), dir.path());
        EXPECT_EQ(lines[2]["diagnostics"], json::parse(check.out));

        EXPECT_EQ(endWith(pid, mode.signal), 0);
    }
}

TEST(WatchTool, RefusesMillisecondsThatAreNot) {
    TempDir dir;
    dir.write("app.pf", "gain 1\n");
    for (const char *bad : {"abc", "-5", "12ms", "", "99999999999"}) {
        SCOPED_TRACE(bad);
        const std::string err = dir.path() + "/err";
        const pid_t pid = tool_run::startTool({"watch", "app", "--settle", bad}, dir.path(), dir.path(), "", err);
        EXPECT_EQ(statusWithin(pid), 2);
        EXPECT_NE(test_support::readText(err).find("--settle takes milliseconds"), std::string::npos);
    }
}

}  // namespace
