// teskpf::Watcher on real files in temporary directories: each way an edit
// reaches a layer (in place, through a rename, a "..data" link swap, a new
// or removed layer, a deleted file, a burst, a broken edit) gives the
// expected outcome, with notifications and with polling. Every wait is
// bounded by a deadline.
#include <poll.h>
#include <unistd.h>

#include <atomic>
#include <chrono>
#include <condition_variable>
#include <filesystem>
#include <fstream>
#include <functional>
#include <mutex>
#include <optional>
#include <string>
#include <thread>
#include <vector>

#include <gtest/gtest.h>
#include <teskpf/watch.h>

#include "test_support.h"

namespace {

namespace fs = std::filesystem;
using namespace std::chrono_literals;
using teskpf::ChangeKind;
using teskpf::WatchEvent;
using test_support::ScopedEnv;
using test_support::TempDir;

constexpr auto kDeadline = 5s;  // the longest any outcome is waited for

teskpf::WatchOptions optionsFor(bool polling) {
    teskpf::WatchOptions options;
    options.settle = 20ms;
    options.max_delay = 200ms;
    if (polling) options.poll = 20ms;
    return options;
}

// The next outcome of `watcher`, waited for on its descriptor; nothing when
// none comes before the deadline.
std::optional<WatchEvent> nextEvent(teskpf::Watcher &watcher, std::chrono::milliseconds within = kDeadline) {
    const auto until = std::chrono::steady_clock::now() + within;
    for (;;) {
        const auto left =
            std::chrono::duration_cast<std::chrono::milliseconds>(until - std::chrono::steady_clock::now());
        if (left.count() <= 0) return std::nullopt;
        pollfd ready{watcher.fd(), POLLIN, 0};
        if (poll(&ready, 1, static_cast<int>(left.count())) < 0) return std::nullopt;
        if (std::optional<WatchEvent> event = watcher.process()) return event;
    }
}

// A file written whole through a temporary file and a rename, as editors save.
void renameInto(const std::string &path, const std::string &text) {
    const std::string temporary = path + ".tmp~";
    std::ofstream(temporary, std::ios::binary) << text;
    fs::rename(temporary, path);
}

std::string gainOf(const teskpf::Watcher &watcher) {
    auto document = watcher.current();
    return document ? std::string((*document)["gain"].text()) : "<none>";
}

// One expected change: key, kind, old and new value, and the end of the
// supplying file's path.
struct Change {
    std::string key;
    ChangeKind kind;
    std::string old_value;
    std::string new_value;
    std::string file_end;
};

struct Step {
    std::function<void(const TempDir &)> edit;
    WatchEvent::Kind kind;
    std::vector<Change> changes;  // for Changed; Rejected rows give none
    std::string gain_after;       // ["gain"] of current() afterwards
};

struct Case {
    const char *name;
    std::string path;  // PFPATH, directories relative to the temporary directory
    std::function<void(const TempDir &)> before;
    std::vector<Step> steps;
};

const std::vector<Case> &cases() {
    static const std::vector<Case> rows = {
        {"written in place",
         "base",
         [](const TempDir &dir) { dir.write("base/app.pf", "gain 1\n"); },
         {{[](const TempDir &dir) { dir.write("base/app.pf", "gain 22\n"); },
           WatchEvent::Kind::Changed,
           {{"[\"gain\"]", ChangeKind::Changed, "1", "22", "base/app.pf"}},
           "22"}}},
        {"saved through a temporary file and a rename",
         "base",
         [](const TempDir &dir) { dir.write("base/app.pf", "gain 1\n"); },
         {{[](const TempDir &dir) { renameInto(dir.path() + "/base/app.pf", "gain 2\n"); },
           WatchEvent::Kind::Changed,
           {{"[\"gain\"]", ChangeKind::Changed, "1", "2", "base/app.pf"}},
           "2"},
          {[](const TempDir &dir) { renameInto(dir.path() + "/base/app.pf", "gain 33\n"); },
           WatchEvent::Kind::Changed,
           {{"[\"gain\"]", ChangeKind::Changed, "2", "33", "base/app.pf"}},
           "33"}}},
        {"a ..data directory link swapped",
         "conf",
         [](const TempDir &dir) {
             dir.write("conf/..2026_01/app.pf", "gain 1\n");
             fs::create_directory_symlink("..2026_01", dir.path() + "/conf/..data");
             fs::create_symlink("..data/app.pf", dir.path() + "/conf/app.pf");
         },
         {{[](const TempDir &dir) {
               dir.write("conf/..2026_02/app.pf", "gain 2\n");
               fs::create_directory_symlink("..2026_02", dir.path() + "/conf/..data_tmp");
               fs::rename(dir.path() + "/conf/..data_tmp", dir.path() + "/conf/..data");
           },
           WatchEvent::Kind::Changed,
           {{"[\"gain\"]", ChangeKind::Changed, "1", "2", "conf/app.pf"}},
           "2"}}},
        {"a layer created in a directory of the path, then removed",
         "base:site",
         [](const TempDir &dir) {
             dir.write("base/app.pf", "gain 1\nmode fast\n");
             fs::create_directory(dir.path() + "/site");
         },
         {{[](const TempDir &dir) { dir.write("site/app.pf", "gain 5\nextra yes\n"); },
           WatchEvent::Kind::Changed,
           {{"[\"gain\"]", ChangeKind::Changed, "1", "5", "site/app.pf"},
            {"[\"extra\"]", ChangeKind::Added, "", "yes", "site/app.pf"}},
           "5"},
          {[](const TempDir &dir) { fs::remove(dir.path() + "/site/app.pf"); },
           WatchEvent::Kind::Changed,
           {{"[\"gain\"]", ChangeKind::Changed, "5", "1", "base/app.pf"},
            {"[\"extra\"]", ChangeKind::Removed, "yes", "", "site/app.pf"}},
           "1"}}},
        {"a layer in a directory that does not exist yet",
         "base:etc/site",
         [](const TempDir &dir) { dir.write("base/app.pf", "gain 1\n"); },
         {{[](const TempDir &dir) { dir.write("etc/site/app.pf", "gain 444\n"); },
           WatchEvent::Kind::Changed,
           {{"[\"gain\"]", ChangeKind::Changed, "1", "444", "etc/site/app.pf"}},
           "444"}}},
        {"the only file deleted, then created again",
         "base",
         [](const TempDir &dir) { dir.write("base/app.pf", "gain 1\n"); },
         {{[](const TempDir &dir) { fs::remove(dir.path() + "/base/app.pf"); }, WatchEvent::Kind::Rejected, {}, "1"},
          {[](const TempDir &dir) { dir.write("base/app.pf", "gain 3\n"); },
           WatchEvent::Kind::Changed,
           {{"[\"gain\"]", ChangeKind::Changed, "1", "3", "base/app.pf"}},
           "3"}}},
        {"a broken edit kept out, then its fix taken",
         "base",
         [](const TempDir &dir) { dir.write("base/app.pf", "gain 1 #<int>\n"); },
         {{[](const TempDir &dir) { dir.write("base/app.pf", "gain loud #<int>\n"); },
           WatchEvent::Kind::Rejected,
           {},
           "1"},
          {[](const TempDir &dir) { dir.write("base/app.pf", "gain 7 #<int>\n"); },
           WatchEvent::Kind::Changed,
           {{"[\"gain\"]", ChangeKind::Changed, "1", "7", "base/app.pf"}},
           "7"}}},
        {"members of a block added, removed and changed",
         "base",
         [](const TempDir &dir) { dir.write("base/app.pf", "gain 1\nnet &Arr{\n  port 80\n  host a\n}\n"); },
         {{[](const TempDir &dir) { dir.write("base/app.pf", "gain 1\nnet &Arr{\n  port 8080\n  tls on\n}\n"); },
           WatchEvent::Kind::Changed,
           {{"[\"net\"][\"port\"]", ChangeKind::Changed, "80", "8080", "base/app.pf"},
            {"[\"net\"][\"tls\"]", ChangeKind::Added, "", "on", "base/app.pf"},
            {"[\"net\"][\"host\"]", ChangeKind::Removed, "a", "", "base/app.pf"}},
           "1"}}},
    };
    return rows;
}

bool endsWith(const std::string &text, const std::string &end) {
    return text.size() >= end.size() && text.compare(text.size() - end.size(), end.size(), end) == 0;
}

// Each case with notifications and with polling.
class WatchCases : public ::testing::TestWithParam<bool> {};

// Runs one row: every step's outcome and the document in effect after it.
void runCase(const Case &row, bool polling) {
    TempDir dir;
    std::string path;
    for (size_t start = 0; start <= row.path.size();) {
        size_t end = std::min(row.path.find(':', start), row.path.size());
        path += (path.empty() ? "" : ":") + dir.path() + "/" + row.path.substr(start, end - start);
        start = end + 1;
    }
    ScopedEnv pfpath("PFPATH", path);
    row.before(dir);
    teskpf::Watcher watcher("app", optionsFor(polling));
    ASSERT_EQ(watcher.polling(), polling);
    ASSERT_EQ(watcher.initial().kind, WatchEvent::Kind::Changed) << watcher.initial().error;
    ASSERT_NE(watcher.current(), nullptr);
    for (size_t s = 0; s < row.steps.size(); ++s) {
        SCOPED_TRACE("step " + std::to_string(s + 1));
        const Step &step = row.steps[s];
        step.edit(dir);
        std::optional<WatchEvent> event = nextEvent(watcher);
        ASSERT_TRUE(event) << "no outcome before the deadline";
        EXPECT_EQ(event->kind, step.kind);
        if (step.kind == WatchEvent::Kind::Rejected) {
            EXPECT_TRUE(!event->diagnostics.empty() || !event->error.empty());
        }
        ASSERT_EQ(event->changes.size(), step.changes.size());
        for (size_t c = 0; c < step.changes.size(); ++c) {
            const teskpf::KeyChange &got = event->changes[c];
            const Change &want = step.changes[c];
            EXPECT_EQ(got.key, want.key);
            EXPECT_EQ(teskpf::changeKindName(got.change), std::string(teskpf::changeKindName(want.kind)));
            EXPECT_EQ(got.old_value, want.old_value);
            EXPECT_EQ(got.new_value, want.new_value);
            EXPECT_TRUE(endsWith(got.file, want.file_end)) << got.file;
            EXPECT_GT(got.line, 0);
        }
        EXPECT_EQ(gainOf(watcher), step.gain_after);
        EXPECT_EQ(event->document, watcher.current());
    }
}

TEST_P(WatchCases, GiveTheExpectedOutcomes) {
    for (const Case &row : cases()) {
        SCOPED_TRACE(row.name);
        runCase(row, GetParam());
    }
}

TEST_P(WatchCases, ABurstOfWritesGivesFewReloads) {
    TempDir dir;
    ScopedEnv pfpath("PFPATH", dir.path());
    dir.write("app.pf", "gain 0\n");
    teskpf::WatchOptions options = optionsFor(GetParam());
    options.settle = 100ms;
    options.max_delay = 1s;
    teskpf::Watcher watcher("app", options);
    // The watcher is asked after every write, as a loop that is awake would.
    int reloads = 0;
    for (int i = 1; i <= 100; ++i) {
        dir.write("app.pf", "gain " + std::to_string(i) + "\n");
        if (watcher.process()) ++reloads;
    }
    while (gainOf(watcher) != "100") {
        std::optional<WatchEvent> event = nextEvent(watcher);
        ASSERT_TRUE(event) << "no reload to 100 before the deadline; at " << gainOf(watcher);
        EXPECT_EQ(event->kind, WatchEvent::Kind::Changed);
        ++reloads;
    }
    EXPECT_LE(reloads, 3);
}

INSTANTIATE_TEST_SUITE_P(Modes, WatchCases, ::testing::Values(false, true),
                         [](const ::testing::TestParamInfo<bool> &mode) {
                             return mode.param ? "Polling" : "Notifications";
                         });

TEST(Watch, RejectedEditReportsItsDiagnostics) {
    TempDir dir;
    ScopedEnv pfpath("PFPATH", dir.path());
    dir.write("app.pf", "gain 1 #<int>\n");
    teskpf::Watcher watcher("app", optionsFor(false));
    dir.write("app.pf", "gain loud #<int>\n");
    std::optional<WatchEvent> event = nextEvent(watcher);
    ASSERT_TRUE(event);
    ASSERT_EQ(event->kind, WatchEvent::Kind::Rejected);
    ASSERT_FALSE(event->diagnostics.empty());
    EXPECT_EQ(event->diagnostics[0].severity, teskpf::Severity::Error);
    EXPECT_EQ(event->diagnostics[0].line, 1);
    EXPECT_EQ(event->files, std::vector<std::string>{dir.path() + "/app.pf"});
}

TEST(Watch, StartsRejectedWhenNothingIsThereYet) {
    TempDir dir;
    ScopedEnv pfpath("PFPATH", dir.path());
    teskpf::Watcher watcher("app", optionsFor(false));
    EXPECT_EQ(watcher.initial().kind, WatchEvent::Kind::Rejected);
    EXPECT_FALSE(watcher.initial().error.empty());
    EXPECT_EQ(watcher.current(), nullptr);
    dir.write("app.pf", "gain 9\n");
    std::optional<WatchEvent> event = nextEvent(watcher);
    ASSERT_TRUE(event);
    EXPECT_EQ(event->kind, WatchEvent::Kind::Changed);
    EXPECT_EQ(gainOf(watcher), "9");
}

TEST(Watch, IdleDescriptorIsNotReadable) {
    TempDir dir;
    ScopedEnv pfpath("PFPATH", dir.path());
    dir.write("app.pf", "gain 1\n");
    dir.write("other.txt", "x\n");
    teskpf::Watcher watcher("app", optionsFor(false));
    pollfd ready{watcher.fd(), POLLIN, 0};
    EXPECT_EQ(poll(&ready, 1, 0), 0);
    // A file of another name in the same directory reloads nothing.
    dir.write("other.txt", "y\n");
    EXPECT_FALSE(nextEvent(watcher, 100ms));
    EXPECT_EQ(poll(&ready, 1, 0), 0);
}

TEST(Watch, ThreadDeliversToTheCallback) {
    TempDir dir;
    ScopedEnv pfpath("PFPATH", dir.path());
    dir.write("app.pf", "gain 1\n");
    teskpf::Watcher watcher("app", optionsFor(false));
    std::mutex mutex;
    std::condition_variable arrived;
    std::vector<WatchEvent> events;
    watcher.start([&](const WatchEvent &event) {
        std::lock_guard<std::mutex> lock(mutex);
        events.push_back(event);
        arrived.notify_all();
    });
    EXPECT_THROW(watcher.start({}), teskpf::Error);
    // Another thread reads snapshots while the reload swaps the document
    // (ThreadSanitizer, in scripts/test.sh, reports any race).
    std::atomic<bool> reading{true};
    std::thread reader([&] {
        while (reading) EXPECT_NE(gainOf(watcher), "<none>");
    });
    renameInto(dir.path() + "/app.pf", "gain 2\n");
    bool delivered = false;
    {
        std::unique_lock<std::mutex> lock(mutex);
        delivered = arrived.wait_for(lock, kDeadline, [&] { return !events.empty(); });
    }
    reading = false;
    reader.join();
    ASSERT_TRUE(delivered);
    {
        std::lock_guard<std::mutex> lock(mutex);
        ASSERT_EQ(events[0].changes.size(), 1u);
        EXPECT_EQ(events[0].changes[0].new_value, "2");
    }
    EXPECT_EQ(gainOf(watcher), "2");
    watcher.stop();
    watcher.stop();
}

}  // namespace
