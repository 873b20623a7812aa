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
#include <sstream>
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

bool endsWith(const std::string &text, const std::string &end) {
    return text.size() >= end.size() && text.compare(text.size() - end.size(), end.size(), end) == 0;
}

// TEXT of a case line: "\n" read as a line end.
std::string unescaped(const std::string &text) {
    std::string out;
    for (size_t i = 0; i < text.size(); ++i) {
        if (text[i] == '\\' && i + 1 < text.size() && text[i + 1] == 'n') {
            out += '\n';
            ++i;
        } else {
            out += text[i];
        }
    }
    return out;
}

// Runs the case of tests/data/watch/cases.txt that starts at line `first`
// (its "case" line) up to the next case; see that file for the commands.
void runCase(const std::vector<std::string> &lines, size_t first, bool polling) {
    TempDir dir;
    std::optional<ScopedEnv> pfpath;
    std::optional<teskpf::Watcher> watcher;
    std::optional<WatchEvent> event;
    size_t next_change = 0;
    auto at = [&](const std::string &path) { return dir.path() + "/" + path; };
    auto checkAllChangesSeen = [&] {
        if (event) {
            EXPECT_EQ(event->changes.size(), next_change) << "more changes than the case lists";
        }
    };
    for (size_t n = first + 1; n < lines.size() && lines[n].rfind("case ", 0) != 0; ++n) {
        const std::string &line = lines[n];
        if (line.empty() || line[0] == '#') continue;
        SCOPED_TRACE("cases.txt line " + std::to_string(n + 1) + ": " + line);
        std::istringstream in(line);
        std::string command, a, b;
        in >> command >> a;
        if (command == "write" || command == "rename") {
            std::getline(in >> std::ws, b);
            if (command == "write") {
                dir.write(a, unescaped(b));
            } else {
                std::ofstream(at(a) + ".tmp~", std::ios::binary) << unescaped(b);
                fs::rename(at(a) + ".tmp~", at(a));
            }
        } else if (command == "pfpath") {
            std::string path;
            for (size_t start = 0; start <= a.size();) {
                const size_t end = std::min(a.find(':', start), a.size());
                path += (path.empty() ? "" : ":") + at(a.substr(start, end - start));
                start = end + 1;
            }
            pfpath.emplace("PFPATH", path);
        } else if (command == "remove") {
            fs::remove(at(a));
        } else if (command == "mkdir") {
            fs::create_directories(at(a));
        } else if (command == "symlink") {
            in >> b;
            fs::create_symlink(a, at(b));
        } else if (command == "move") {
            in >> b;
            fs::rename(at(a), at(b));
        } else if (command == "watch") {
            watcher.emplace("app", optionsFor(polling));
            ASSERT_EQ(watcher->polling(), polling);
            ASSERT_EQ(watcher->initial().kind, WatchEvent::Kind::Changed) << watcher->initial().error;
        } else if (command == "expect") {
            checkAllChangesSeen();
            in >> b;
            event = nextEvent(*watcher);
            next_change = 0;
            ASSERT_TRUE(event) << "no outcome before the deadline";
            EXPECT_EQ(teskpf::watchEventName(event->kind), a);
            if (event->kind == WatchEvent::Kind::Rejected) {
                EXPECT_TRUE(!event->diagnostics.empty() || !event->error.empty());
            }
            EXPECT_EQ(gainOf(*watcher), b);
            EXPECT_EQ(event->document, watcher->current());
        } else if (command == "change") {
            std::string key, old_value, new_value, file;
            in >> key >> old_value >> new_value >> file;
            ASSERT_TRUE(event);
            ASSERT_LT(next_change, event->changes.size()) << "fewer changes than the case lists";
            const teskpf::KeyChange &got = event->changes[next_change++];
            EXPECT_EQ(teskpf::changeKindName(got.change), a);
            EXPECT_EQ(got.key, key);
            EXPECT_EQ(got.old_value, old_value == "-" ? "" : old_value);
            EXPECT_EQ(got.new_value, new_value == "-" ? "" : new_value);
            EXPECT_TRUE(endsWith(got.file, file)) << got.file;
            EXPECT_GT(got.line, 0);
        } else {
            FAIL() << "unknown command " << command;
        }
    }
    checkAllChangesSeen();
}

// Each case with notifications and with polling.
class WatchCases : public ::testing::TestWithParam<bool> {};

TEST_P(WatchCases, GiveTheExpectedOutcomes) {
    const std::vector<std::string> lines =
        test_support::lines(test_support::readText(TESKPF_TEST_DATA_DIR "/watch/cases.txt"));
    size_t cases = 0;
    for (size_t n = 0; n < lines.size(); ++n) {
        if (lines[n].rfind("case ", 0) != 0) continue;
        SCOPED_TRACE(lines[n]);
        runCase(lines, n, GetParam());
        ++cases;
    }
    EXPECT_GE(cases, 8u);
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
