// Separate handles used from separate threads at the same time: each thread
// must see exactly what it sees alone. Run under ThreadSanitizer by
// scripts/test.sh, which reports any data race between them.
#include <gtest/gtest.h>
#include <teskpf/document.h>
#include <teskpf/error.h>
#include <teskpf/save.h>
#include <teskpf/search.h>

#include <fstream>
#include <functional>
#include <string>
#include <thread>
#include <vector>

#include "test_support.h"

namespace {

using test_support::TempDir;

constexpr int kThreads = 8;
constexpr int kRounds = 20;

// Runs `work(thread)` on kThreads threads at once and answers what each
// returned, so that the checks run on the main thread.
std::vector<std::string> onThreads(const std::function<std::string(int)> &work) {
    std::vector<std::string> results(kThreads);
    std::vector<std::thread> threads;
    for (int t = 0; t < kThreads; ++t) threads.emplace_back([&, t] { results[t] = work(t); });
    for (std::thread &thread : threads) thread.join();
    return results;
}

TEST(Threads, HandlesWithAHomeNameAreIndependent) {
    const std::string expanded = teskpf::homeExpanded("~/teskpf-threads-none.pf");
    ASSERT_NE(expanded[0], '~');
    for (const std::string &result : onThreads([](int) {
             std::string seen;
             for (int round = 0; round < kRounds; ++round) {
                 TeskPf pf("~/teskpf-threads-none.pf", 0);
                 seen = teskpf::homeExpanded("~/teskpf-threads-none.pf") + " " + std::to_string(pf.size());
             }
             return seen;
         }))
        EXPECT_EQ(result, expanded + " 0");
}

TEST(Threads, SavesAndFailedReadsAreIndependent) {
    TempDir dir;
    const std::string missing = dir.path() + "/missing.pf";
    std::string alone;
    try {
        teskpf::Document::loadFile(missing);
    } catch (const teskpf::IoError &error) {
        alone = error.what();
    }
    ASSERT_FALSE(alone.empty());
    const std::vector<std::string> results = onThreads([&](int t) {
        const std::string file = dir.path() + "/t" + std::to_string(t) + ".pf";
        std::string seen;
        for (int round = 0; round < kRounds; ++round) {
            teskpf::saveFile(file, "n\t" + std::to_string(round) + "\n");
            try {
                teskpf::Document::loadFile(missing);
            } catch (const teskpf::IoError &error) {
                seen = error.what();
            }
            seen += " " + std::string(teskpf::Document::loadFile(file)["n"].text());
        }
        return seen;
    });
    for (const std::string &result : results) EXPECT_EQ(result, alone + " " + std::to_string(kRounds - 1));
}

}  // namespace

// Copies of one handle share its parsed annotation texts, which the first
// check parses: copies checked from several threads at once each see what a
// handle checked alone sees.
TEST(Threads, CopiesOfAHandleCheckTheirFirstValuesAtOnce) {
    TempDir dir;
    std::string content;
    for (int i = 0; i < 200; ++i)
        content += "k" + std::to_string(i) + " " + std::to_string(i % 3 ? i : -i) + " #<" +
                   (i % 4 ? "int>" : "str>(0 4 8)") + "\n";
    const std::string file = dir.path() + "/shared.pf";
    std::ofstream(file) << content;
    auto verdicts = [](const TeskPf &pf) {
        std::string seen;
        for (int i = 0; i < pf.size(); ++i) seen += pf.checkValue(i, nullptr, nullptr) ? '1' : '0';
        return seen;
    };
    const std::string alone = verdicts(TeskPf(file, 0));
    ASSERT_NE(alone.find('0'), std::string::npos);
    for (int round = 0; round < kRounds; ++round) {
        const TeskPf shared(file, 0);
        for (const std::string &result : onThreads([&](int) { return verdicts(TeskPf(shared)); }))
            EXPECT_EQ(result, alone);
    }
}
