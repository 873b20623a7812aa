// The classic handle and the document against the reference model of
// tests/support/ (compared by fuzz/differential.h): the inputs the
// differential fuzzer keeps (tests/data/fuzz-regressions/differential-*),
// hand-written layered files whose key paths alias, and random files full of
// odd white space, NULs, stray braces and annotations.
#include <fstream>
#include <iterator>
#include <random>

#include <gtest/gtest.h>

#include "../fuzz/differential.h"
#include "test_support.h"

using namespace test_support;

namespace {

// A search path of kMaxLayers directories, set while the object lives.
class SearchPath {
public:
    SearchPath() : pfpath_("PFPATH", makeDirectories()) {}

    // Writes the layers into the directories and returns the difference the
    // comparison finds.
    std::string differenceFor(const std::vector<std::string> &layers) const {
        return differential::compare(differential::kFileName, differential::writeLayers(dirs_, layers));
    }

private:
    std::string makeDirectories() {
        std::string path;
        for (size_t i = 0; i < differential::kMaxLayers; ++i) {
            dirs_.push_back(std::filesystem::path(dir_.path()) / ("layer" + std::to_string(i)));
            std::filesystem::create_directories(dirs_.back());
            path += (i ? ":" : "") + dirs_.back().string();
        }
        return path;
    }

    TempDir dir_;
    std::vector<std::filesystem::path> dirs_;
    ScopedEnv pfpath_;
};

}  // namespace

TEST(Differential, FuzzRegressionsAgreeWithTheReference) {
    const std::filesystem::path regressions = std::string(TESKPF_TEST_DATA_DIR) + "/fuzz-regressions";
    const SearchPath search;
    int replayed = 0;
    for (const auto &file : std::filesystem::directory_iterator(regressions)) {
        if (file.path().filename().string().rfind("differential-", 0) != 0) continue;
        SCOPED_TRACE(file.path().string());
        std::ifstream in(file.path(), std::ios::binary);
        const std::string bytes((std::istreambuf_iterator<char>(in)), std::istreambuf_iterator<char>());
        ++replayed;
        EXPECT_EQ(search.differenceFor(
                      differential::decodeLayers(reinterpret_cast<const uint8_t *>(bytes.data()), bytes.size())),
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
    const SearchPath search;
    for (const auto &layers : cases) {
        SCOPED_TRACE(layers.back());
        EXPECT_EQ(search.differenceFor(layers), "");
    }
}

namespace {

// Random files: lines of a few pieces, keys and values separated by blanks,
// tabs or other white space (carriage returns, form feeds, vertical tabs),
// block openings with and without text after the brace, closing lines with
// text after them (also at the top level), list members, annotations well and
// badly formed, escapes, NULs, and line ends of "\n", "\r\n", a lone "\r" or
// none.
std::string randomFile(std::mt19937 &random) {
    const std::vector<std::string> keys = {"a", "b", "c", "pf_revision_time", "k[1", "a\"][\"b", "x\\#y", "&Arr{", ""};
    const std::vector<std::string> values = {"1",     "x y",     "&Arr{", "&Tbl{",  "&Arr{ junk", "&Tbl{}", "&Arr",
                                             "v\\#1", "a\\\\#b", "}",     "-2.5e3", "{",          ""};
    const std::vector<std::string> comments = {
        "",      "#",           "# note",  "#<int>",  "#<int> words", "#<str>(a b) pick", "#<int> <float>",
        "#<int", "#<str><int>", "# <int>", "#<int>x", "#\t<float>\r"};
    const std::vector<std::string> spaces = {" ",   "\t",  "\r",   "\f", "\v",
                                             "\r ", " \r", "\t\v", "  ", std::string(1, '\0')};
    const std::vector<std::string> ends = {"\n", "\n", "\n", "\r\n", "\r", ""};
    const auto pick = [&](const std::vector<std::string> &from) {
        return from[std::uniform_int_distribution<size_t>(0, from.size() - 1)(random)];
    };
    std::string text;
    const int lines = std::uniform_int_distribution<int>(0, 10)(random);
    for (int line = 0; line < lines; ++line) {
        if (random() % 3 == 0) text += pick(spaces);  // indentation
        switch (random() % 8) {
        case 0: text += "}" + (random() % 2 ? pick(spaces) + pick(keys) : std::string()); break;
        case 1: text += pick(values); break;  // a list member, or a key-less line
        case 2: break;                        // blank or comment-only
        default: text += pick(keys) + pick(spaces) + pick(values) + (random() % 4 ? "" : pick(spaces) + pick(values));
        }
        if (random() % 2) text += pick(spaces) + pick(comments);
        if (random() % 3 == 0) text += pick(spaces);
        text += pick(ends);
    }
    return text;
}

// The text with its control characters shown as C escapes, a line per line.
std::string printable(const std::string &text) {
    std::string out;
    for (char c : text) {
        switch (c) {
        case '\n': out += "\\n\n"; break;
        case '\r': out += "\\r"; break;
        case '\t': out += "\\t"; break;
        case '\v': out += "\\v"; break;
        case '\f': out += "\\f"; break;
        case '\0': out += "\\0"; break;
        default: out += c;
        }
    }
    return out;
}

}  // namespace

TEST(Differential, RandomFilesAgreeWithTheReference) {
    const SearchPath search;
    std::mt19937 random(20240611);
    for (int round = 0; round < 1500; ++round) {
        std::vector<std::string> layers(1 + random() % differential::kMaxLayers);
        for (std::string &layer : layers) layer = randomFile(random);
        const std::string difference = search.differenceFor(layers);
        if (!difference.empty()) {
            std::string shown;
            for (const std::string &layer : layers) shown += "--- layer ---\n" + printable(layer) + "\n";
            FAIL() << "round " << round << ": " << difference << "\n" << shown;
        }
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
