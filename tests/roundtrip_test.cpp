// Reading a parameter file and writing it back.
//
// What is written reads back into the same entries (all fields but the source)
// and writing that again gives the same text. Layout is normalised (blanks,
// indentation, text after "&Arr{"/"&Tbl{" and on closing lines). Inputs that do
// not survive:
// - values with leading/trailing blanks or tabs, or tabs inside (edits);
// - a list member with an empty value (edit): it becomes a blank line;
// - a list member whose value starts with "}" (edit): it closes the list;
// - a key whose last name holds "[": written without its key;
// - an annotation followed directly by "<": the comment gains a blank;
// - annotations two blanks apart: the second joins the annotations;
// - a comment not starting with "#" (edit): read back as part of the value;
// - a top-level pf_revision_time entry: moved last, value replaced by the
//   time of writing, comment dropped.
#include <algorithm>
#include <array>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "TeskPf.h"
#include "pf_clock.h"
#include "test_support.h"

namespace fs = std::filesystem;

namespace {

const char kRevisionKey[] = "[\"pf_revision_time\"]";

double fixedClock() { return 1700000000.25; }

std::string contentOf(const std::string &path) {
    std::stringstream out;
    out << std::ifstream(path, std::ios::binary).rdbuf();
    return out.str();
}

// Every field but the source, top-level revision entries left out.
std::vector<std::array<std::string, 5>> essentials(const TeskPf &pf) {
    std::vector<std::array<std::string, 5>> out;
    for (const Table<std::string> &e : pf.getList()) {
        if (e[FIELD_KEY] == kRevisionKey) continue;
        out.push_back({e[FIELD_LEVEL], e[FIELD_KEY], e[FIELD_VALUE], e[FIELD_COMMENT], e[FIELD_CONSTRAINTS]});
    }
    return out;
}

std::vector<std::string> pfFilesIn(const std::string &dir) {
    std::vector<std::string> files;
    if (!fs::is_directory(dir)) return files;
    for (const auto &e : fs::directory_iterator(dir))
        if (e.is_regular_file() && e.path().extension() == ".pf") files.push_back(e.path().string());
    std::sort(files.begin(), files.end());
    return files;
}

class RoundTrip : public ::testing::Test {
protected:
    void SetUp() override { pf_set_clock_for_testing(fixedClock); }
    void TearDown() override { pf_set_clock_for_testing(nullptr); }

    // Writes `pf` to a new file and reads it back.
    TeskPf rewritten(const TeskPf &pf) {
        std::string name = dir.path() + "/copy" + std::to_string(++copies);
        pf.write(name);
        return TeskPf(name, 0);
    }

    // Read, write, read again: same entries, same text.
    void expectStable(const std::string &path) {
        SCOPED_TRACE(path);
        TeskPf first(path, 0);
        TeskPf second = rewritten(first);
        EXPECT_EQ(essentials(second), essentials(first));
        EXPECT_EQ(second.getEntryIndex(kRevisionKey) >= 0, first.getEntryIndex(kRevisionKey) >= 0);
        EXPECT_EQ(second.getPfString(), first.getPfString());
    }

    test_support::TempDir dir;
    int copies = 0;
};

// Each NAME.pf of the data directory generates NAME.expected.pf byte for byte;
// every data and example file is stable.
TEST_F(RoundTrip, GoldenAndExampleFiles) {
    const std::string data = std::string(TESKPF_TEST_DATA_DIR) + "/roundtrip/";
    int compared = 0, stable = 0;
    for (const std::string &path : pfFilesIn(data)) {
        const std::string name = fs::path(path).stem().string();
        if (fs::path(name).extension() == ".expected") continue;
        EXPECT_EQ(TeskPf(path, 0).getPfString(), contentOf(data + name + ".expected.pf")) << name;
        ++compared;
    }
    std::vector<std::string> files = pfFilesIn(data);
    for (const std::string &example : pfFilesIn(TESKPF_EXAMPLES_DIR)) files.push_back(example);
    for (const std::string &path : files) {
        try {
            TeskPf probe(path, 0);
        } catch (const std::string &) {
            continue;  // files that show reading errors have nothing to write
        }
        expectStable(path);
        ++stable;
    }
    EXPECT_GE(compared, 3);
    EXPECT_GE(stable, 6);
}

// Canonical text: nested blocks of varying depth, annotations, escapes,
// comments and blank lines, as the generator itself lays them out.
std::string generatedFile(int groups) {
    std::string text = "# generated\n";
    for (int g = 0; g < groups; ++g) {
        const std::string k = "k" + std::to_string(g), n = std::to_string(g);
        text += "# group " + n + "\n";
        text += k + "\t" + std::to_string(g * 7 - 50) + "\t#<int> count\n";
        text += k + "f\t" + n + ".5e-3\t#<float> \n";
        text += k + "s\t" + (g % 2 ? "red" : "green") + "\t#<str>(red green) colour\n";
        text += k + "e\tv\\#" + n + " a\\\\#b  c\n";
        text += k + "b &Arr{\t# block " + n + "\n";
        text += "\tlist &Tbl{\t#<int> \n\t\t1\n\t\t2\t# two\n";
        std::string indent = "\t\t";
        for (int d = 0; d < g % 4; ++d, indent += "\t") text += indent + (d % 2 ? "x &Tbl{\n" : "&Arr{\n");
        text += indent + (g % 4 % 2 ? "x\t" : "") + "leaf " + n + "\n";
        for (int d = g % 4; d > 0; --d) {
            indent.pop_back();
            text += indent + "}\n";
        }
        text += "\t}\n\n\tempty &Tbl{\n\t}\n}\n";
    }
    return text;
}

TEST_F(RoundTrip, GeneratedFileWithThousandsOfEntries) {
    const std::string text = generatedFile(300);
    TeskPf pf(dir.write("big.pf", text), 0);
    ASSERT_GT(pf.size(), 3000);
    EXPECT_EQ(pf.getPfString(), text);
    EXPECT_EQ(pf.getLevel("[\"k3b\"][\"list\"][2][\"x\"][0][\"x\"]"), 5);
    expectStable(dir.path() + "/big.pf");
}

}  // namespace
