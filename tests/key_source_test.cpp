// teskpf::findKeySource, which reads one layer at a time, against the
// merged view: a table of layered cases with the line expected, then random
// layers where it must find what the classic handle's lookup finds.
#include <random>

#include <gtest/gtest.h>

#include <teskpf/error.h>
#include <teskpf/key_source.h>

#include "test_support.h"

using namespace test_support;

namespace {

// "FILE:LINE" (0-based) of the source found, with " block" when its line
// opens one; "none" when there is none.
std::string found(const std::string &name, const std::string &key) {
    const std::optional<teskpf::KeySource> source = teskpf::findKeySource(name, key);
    if (!source) return "none";
    return source->file + ":" + std::to_string(source->line) + (source->opens_block ? " block" : "");
}

// What the classic handle's lookup says, in the same form.
std::string merged(const std::string &name, const std::string &key) {
    const TeskPf pf(name, 0);
    const int index = pf.getEntryIndex(key);
    if (index < 0) return "none";
    const std::string value = pf.getValue(index, nullptr, nullptr);
    return pf.getSource(index) + (value == "&Arr" || value == "&Tbl" ? " block" : "");
}

struct Layered {
    const char *base, *site;  // the files of "cfg" along PFPATH=base:site; nullptr for none
    const char *key;
    const char *expected;
};

}  // namespace

TEST(KeySource, LayeredCases) {
    const Layered cases[] = {
        // The last file that defines the top-level name supplies it.
        {"a 1\nb 2\n", "b 3\n", "[\"a\"]", "base/cfg.pf:0"},
        {"a 1\nb 2\n", "b 3\n", "[\"b\"]", "site/cfg.pf:0"},
        {"a 1\n", nullptr, "[\"a\"]", "base/cfg.pf:0"},
        {"a 1\n", "b 3\n", "[\"c\"]", "none"},
        // A higher block replaces the lower one whole: no member of it survives.
        {"blk &Arr{\n  x 1\n}\n", "blk &Arr{\n  y 2\n}\n", "[\"blk\"][\"x\"]", "none"},
        {"blk &Arr{\n  x 1\n}\n", "blk &Arr{\n  y 2\n}\n", "[\"blk\"][\"y\"]", "site/cfg.pf:1"},
        {"blk &Arr{\n  x 1\n}\n", "blk 5\n", "[\"blk\"][\"x\"]", "none"},
        {"blk &Arr{\n  x 1\n}\n", "other 5\n", "[\"blk\"][\"x\"]", "base/cfg.pf:1"},
        {"blk &Arr{\n  x 1\n}\n", "blk &Arr{\n  y 2\n}\n", "[\"blk\"]", "site/cfg.pf:0 block"},
        {nullptr, "chan &Tbl{\n  HHZ\n  &Arr{\n    g 1\n  }\n}\n", "[\"chan\"][1]", "site/cfg.pf:2 block"},
        {nullptr, "chan &Tbl{\n  HHZ\n  &Arr{\n    g 1\n  }\n}\n", "[\"chan\"][1][\"g\"]", "site/cfg.pf:3"},
        // Within one file the last definition wins.
        {nullptr, "k 1\nk 2\n", "[\"k\"]", "site/cfg.pf:1"},
        {nullptr, "b &Arr{\n  x 1\n  x 2\n}\n", "[\"b\"][\"x\"]", "site/cfg.pf:2"},
        // A name defined again: each definition above removes only the last
        // one left below, so the first ones below survive and, merged after
        // the others, are what the lookup finds.
        {"gain 1\nx 0\ngain 2\n", "gain 99\n", "[\"gain\"]", "base/cfg.pf:0"},
        {"gain 1\ngain 2\n", "gain 98\ngain 99\n", "[\"gain\"]", "site/cfg.pf:1"},
        {"b &Arr{\n  x 1\n}\nb &Arr{\n  y 1\n}\n", "b 9\n", "[\"b\"][\"x\"]", "base/cfg.pf:1"},
        {"b &Arr{\n  x 1\n}\nb &Arr{\n  y 1\n}\n", "b 9\n", "[\"b\"][\"y\"]", "none"},
        // ... and a member only an earlier definition of the file has is found there.
        {nullptr, "b &Arr{\n  x 1\n}\nb &Arr{\n  y 2\n}\n", "[\"b\"][\"x\"]", "site/cfg.pf:1"},
        // A top-level name that may stand for part of a path.
        {"a\"][\"b 1\n", "a &Arr{\n  c 2\n}\n", "[\"a\"][\"b\"]", "base/cfg.pf:0"},
        {"arr[0] x\n", nullptr, "[\"arr[0]\"]", "base/cfg.pf:0"},
        // Not a key path of any entry.
        {"a 1\n", nullptr, "", "none"},
        {"a 1\n", nullptr, "[\"a\"", "none"},
        {"a 1\n", nullptr, "[\"a\"]x", "none"},
    };
    for (const Layered &c : cases) {
        TempDir dir;
        if (c.base) dir.write("base/cfg.pf", c.base);
        if (c.site) dir.write("site/cfg.pf", c.site);
        ScopedEnv env("PFPATH", "base:site");
        ScopedCwd cwd(dir.path());
        EXPECT_EQ(found("cfg", c.key), c.expected) << c.key << " in\n"
                                                   << (c.base ? c.base : "") << "--\n"
                                                   << (c.site ? c.site : "");
        if (*c.key) {
            EXPECT_EQ(merged("cfg", c.key), c.expected) << c.key;
        }
    }
}

TEST(KeySource, NoFile) {
    TempDir dir;
    ScopedEnv env("PFPATH", "base:site");
    ScopedCwd cwd(dir.path());
    EXPECT_EQ(teskpf::findKeySource("cfg", "[\"a\"]"), std::nullopt);
}

// Random layers over few names, with blocks, lists and names defined again:
// for every key path the merged view has, and for some it lacks, the source
// found is the merged view's.
TEST(KeySource, AgreesWithTheMergedView) {
    std::mt19937 random(20240611);
    const auto pick = [&](int n) { return static_cast<int>(random() % static_cast<unsigned>(n)); };
    const char *names[] = {"a", "b", "c", "a\"][\"b"};
    const std::function<void(std::string &, int, bool)> block = [&](std::string &text, int depth, bool list) {
        for (int members = pick(4); members-- > 0;) {
            const std::string indent(static_cast<size_t>(2 * depth), ' ');
            const std::string key = list ? "" : std::string(names[pick(3)]) + " ";
            const int kind = depth < 3 ? pick(4) : 0;
            if (kind < 2) {
                text += indent + key + std::to_string(pick(100)) + "\n";
                continue;
            }
            text += indent + key + (kind == 2 ? "&Arr{\n" : "&Tbl{\n");
            block(text, depth + 1, kind == 3);
            text += indent + "}\n";
        }
    };
    int compared = 0, present = 0;
    for (int round = 0; round < 300; ++round) {
        TempDir dir;
        const int layers = 1 + pick(3);
        std::string pfpath;
        for (int layer = 0; layer < layers; ++layer) {
            std::string text = "# layer\n";
            for (int top = pick(5); top-- > 0;) {
                // A name holding '"' and brackets now and then.
                const std::string name = names[pick(20) == 0 ? 3 : pick(3)];
                const int kind = pick(3);
                if (kind == 0) {
                    text += name + " " + std::to_string(pick(100)) + "\n";
                    continue;
                }
                text += name + (kind == 1 ? " &Arr{\n" : " &Tbl{\n");
                block(text, 1, kind == 2);
                text += "}\n";
            }
            const std::string directory = "l" + std::to_string(layer);
            dir.write(directory + "/cfg.pf", text);
            pfpath += (layer ? ":" : "") + directory;
        }
        ScopedEnv env("PFPATH", pfpath);
        ScopedCwd cwd(dir.path());
        std::vector<std::string> keys{"[\"a\"][\"zz\"]", "[\"d\"]", "[\"b\"][7]"};
        for (int layer = 0; layer < layers; ++layer) {
            const TeskPf one("l" + std::to_string(layer) + "/cfg.pf", 0);
            for (int i = 0; i < one.size(); ++i)
                if (!one.getKey(i).empty()) keys.push_back(one.getKey(i));
        }
        for (const std::string &key : keys) {
            const std::string expected = merged("cfg", key);
            ASSERT_EQ(found("cfg", key), expected) << key << " round " << round;
            ++compared;
            present += expected != "none";
        }
    }
    EXPECT_GT(compared, 3000);
    EXPECT_GT(present, compared / 2);
}
