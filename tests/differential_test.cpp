// The classic handle against the plain reference model of fuzz/differential.h:
// the inputs the differential fuzzer keeps (tests/data/fuzz-regressions/
// differential-*) and hand-written layered files whose key paths alias.
#include <fstream>
#include <iterator>

#include <gtest/gtest.h>

#include "../fuzz/differential.h"
#include "test_support.h"

using namespace test_support;

namespace {

// Writes the layers into a search path of kMaxLayers directories and returns
// the difference the comparison finds.
std::string differenceFor(const std::vector<std::string> &layers) {
    TempDir dir;
    std::vector<std::filesystem::path> dirs;
    std::string path;
    for (size_t i = 0; i < differential::kMaxLayers; ++i) {
        dirs.push_back(std::filesystem::path(dir.path()) / ("layer" + std::to_string(i)));
        std::filesystem::create_directories(dirs.back());
        path += (i ? ":" : "") + dirs.back().string();
    }
    ScopedEnv pfpath("PFPATH", path);
    differential::writeLayers(dirs, layers);
    return differential::compare(differential::kFileName);
}

}  // namespace

TEST(Differential, FuzzRegressionsAgreeWithTheReference) {
    const std::filesystem::path regressions = std::string(TESKPF_TEST_DATA_DIR) + "/fuzz-regressions";
    int replayed = 0;
    for (const auto &file : std::filesystem::directory_iterator(regressions)) {
        if (file.path().filename().string().rfind("differential-", 0) != 0) continue;
        SCOPED_TRACE(file.path().string());
        std::ifstream in(file.path(), std::ios::binary);
        const std::string bytes((std::istreambuf_iterator<char>(in)), std::istreambuf_iterator<char>());
        ++replayed;
        EXPECT_EQ(
            differenceFor(differential::decodeLayers(reinterpret_cast<const uint8_t *>(bytes.data()), bytes.size())),
            "");
    }
    EXPECT_GT(replayed, 0);
}

// Layers listed first to last on the search path; the last wins.
TEST(Differential, LayeredFilesAgreeWithTheReference) {
    const std::vector<std::vector<std::string>> cases = {
        // Plain names: whole blocks replaced, repeated keys in either file.
        {"a 1\nb &Arr{\n\tx 1\n}\nb 2\n", "b &Arr{\n\ty 2\n}\nc 3\n"},
        {"a 1\na 2\nb 3\n", "a &Tbl{\n\t1\n}\na 4\n", "# note\na 5\n"},
        // A top-level name that reads as a member's path removes only that member.
        {"a &Arr{\n\tb 1 #<int>\n\tc 2\n}\n", "a\"][\"b 7\n"},
        // A name holding "\"]" extends the run past its block.
        {"a &Arr{\n\tb 1\n}\na\"]x 2\nz 3\n", "a 9\n"},
        // Names holding "[": the written key and the annotation fallback go by the text.
        {"k[1 &Tbl{ #<int>\n\t3\n}\n", "k &Arr{ #<str>(p)\n\tq[ p\n}\nk[1 5\n"},
        // Repeated top-level keys in the winning file remove several runs.
        {"d 1\nd &Arr{\n\te 2\n}\nd 3\n", "d 4\nd 5\n"},
        // Revision entries and empty files on the path.
        {"", "pf_revision_time 1\nr 2\n", ""},
    };
    for (const auto &layers : cases) {
        SCOPED_TRACE(layers.back());
        EXPECT_EQ(differenceFor(layers), "");
    }
}

// A copy shares what was read but edits on its own, both ways.
TEST(Differential, CopiesEditIndependently) {
    TempDir dir;
    TeskPf original(dir.write("c.pf", "a 1\nb 2 # two\n"), 0);
    TeskPf copy = original;
    copy.setValue("[\"a\"]", "9", 0);
    original.setComment("[\"b\"]", "# changed");
    EXPECT_EQ(original.getValue("[\"a\"]", nullptr, nullptr), "1");
    EXPECT_EQ(copy.getValue("[\"a\"]", nullptr, nullptr), "9");
    EXPECT_EQ(copy.getComment("[\"b\"]"), "# two");
    EXPECT_EQ(original.getComment("[\"b\"]"), "# changed");
    copy = original;
    EXPECT_EQ(copy.getComment("[\"b\"]"), "# changed");
    EXPECT_EQ(copy.getValue("[\"a\"]", nullptr, nullptr), "1");
}

// Many layers, each adding keys of its own and replacing some of the layer
// below: every key comes from the last layer defining it, in layer order.
TEST(Differential, ManyLayersMergeInOrder) {
    TempDir dir;
    const int layers = 40;
    std::string path;
    for (int layer = 0; layer < layers; ++layer) {
        std::string text = "shared " + std::to_string(layer) + "\n";
        for (int k = 0; k < 3; ++k)
            text += "k" + std::to_string(layer) + "_" + std::to_string(k) + " &Arr{\n\tv 1\n}\n";
        const std::string sub = "l" + std::to_string(layer);
        dir.write(sub + "/m.pf", text);
        path += (layer ? ":" : "") + dir.path() + "/" + sub;
    }
    ScopedEnv pfpath("PFPATH", path);
    TeskPf pf("m", 0);
    ASSERT_EQ(pf.size(), 1 + layers * 3 * 2);
    EXPECT_EQ(pf.getValue("[\"shared\"]", nullptr, nullptr), std::to_string(layers - 1));
    EXPECT_EQ(pf.getKey(1), "[\"k" + std::to_string(layers - 1) + "_0\"]");
    EXPECT_EQ(pf.getKey(pf.size() - 2), "[\"k0_2\"]");
    EXPECT_EQ(pf.getEntryIndex("[\"k0_2\"][\"v\"]"), pf.size() - 1);
}
