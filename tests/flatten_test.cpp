// The layers of a name flattened into one file check as the layers do: the
// same value verdicts, key path by key path, over the example's layers, the
// layered test data and a table of overrides.
#include <map>

#include <gtest/gtest.h>

#include <teskpf/document.h>
#include <teskpf/error.h>
#include <teskpf/flatten.h>

#include "test_support.h"

using namespace test_support;

namespace {

// Every value's verdict by key path: whether it passes and the annotation
// it is checked against.
std::map<std::string, std::pair<bool, std::string>> verdicts(const teskpf::Document &doc) {
    std::map<std::string, std::pair<bool, std::string>> out;
    std::vector<teskpf::Node> pending{doc.root()};
    while (!pending.empty()) {
        const teskpf::Node node = pending.back();
        pending.pop_back();
        for (const teskpf::Member &member : node) {
            if (member.node.isValue()) {
                const teskpf::Verdict verdict = member.node.check();
                out[member.node.keyPath()] = {verdict.ok, verdict.annotation};
            } else {
                pending.push_back(member.node);
            }
        }
    }
    return out;
}

// Flattens `name` along `pfpath` (directories relative to `root`) and
// compares the verdicts; returns the flattened text.
std::string expectSameVerdicts(const std::string &root, const std::string &pfpath, const std::string &name) {
    std::string path;
    for (size_t p = 0; p <= pfpath.size();) {
        const size_t end = std::min(pfpath.find(':', p), pfpath.size());
        path += (path.empty() ? "" : ":") + root + "/" + pfpath.substr(p, end - p);
        p = end + 1;
    }
    ScopedEnv env("PFPATH", path);
    const std::string text = teskpf::flattenedText(name);
    const auto layered = verdicts(teskpf::Document::load(name));
    const auto flat = verdicts(teskpf::Document::parse(text, "flat.pf"));
    EXPECT_EQ(flat, layered) << root << " " << pfpath << " " << name << ":\n" << text;
    return text;
}

}  // namespace

TEST(Flatten, ExampleLayersCheckTheSame) {
    const std::string text = expectSameVerdicts(TESKPF_EXAMPLES_DIR, ".:site-override", "station");
    EXPECT_NE(text.find("#<"), std::string::npos);
}

TEST(Flatten, LayeredTestDataChecksTheSame) {
    int layered = 0;
    expectSameVerdicts(std::string(TESKPF_TEST_DATA_DIR) + "/lint/override", "base:site", "override");
    for (const auto &entry : fs::directory_iterator(fs::path(TESKPF_TEST_DATA_DIR) / "edit")) {
        const fs::path before = entry.path() / "before";
        if (!fs::is_directory(before / "base") || !fs::is_directory(before / "site")) continue;
        try {
            teskpf::Document::parse(readText((before / "base/cfg.pf").string()));
            teskpf::Document::parse(readText((before / "site/cfg.pf").string()));
        } catch (const teskpf::Error &) {
            continue;  // not a file that reads
        }
        expectSameVerdicts(before.string(), "base:site", "cfg");
        ++layered;
    }
    EXPECT_GE(layered, 5);
}

// Overrides, each: the lower file, the higher one and the flattened text.
TEST(Flatten, OverriddenValuesKeepTheirAnnotation) {
    struct Case {
        std::string base, site, flat;
    };
    const std::vector<Case> cases = {
        // A plain override takes the annotation of what it overrides.
        {"rate 10 #<int> per s\n", "rate x\n", "rate\tx\t#<int> \n"},
        // Its own annotation stays.
        {"rate 10 #<int>\n", "rate 5 #<float> own\n", "rate\t5\t#<float> own\n"},
        // A member of a replacing block takes the lower member's, or the
        // lower block's for a member the lower block lacks.
        {"g &Arr{\n\tlow 1 #<float>\n}\nc &Arr{ #<int>\n\ta 1\n}\n", "g &Arr{\n\tlow x\n}\nc &Arr{\n\tb 2\n}\n",
         "g &Arr{\n\tlow\tx\t#<float> \n}\nc &Arr{\n\tb\t2\t#<int> \n}\n"},
        // A block annotated in the higher file keeps that block's rule alone.
        {"c &Arr{\n\ta 1 #<float>\n}\n", "c &Arr{ #<int>\n\ta 2\n}\n", "c &Arr{\t#<int> \n\ta\t2\n}\n"},
        // Nothing in effect: nothing written.
        {"k 1\n", "k 2\n", "k\t2\n"},
    };
    for (const Case &c : cases) {
        TempDir dir;
        dir.write("base/cfg.pf", c.base);
        dir.write("site/cfg.pf", c.site);
        EXPECT_EQ(expectSameVerdicts(dir.path(), "base:site", "cfg"), c.flat) << c.base << "|" << c.site;
    }
}
