// The outline of a text and the word lists of annotations, as an editor's
// assistance uses them. The outline cases are files: tests/data/outline/
// NAME.pf and NAME.expected, one line of the expected outline per line of
// text (TESKPF_UPDATE_EXPECTED=1 rewrites the expected files).
#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <sstream>

#include <teskpf/outline.h>
#include <teskpf/words.h>

namespace fs = std::filesystem;

namespace {

std::string readText(const fs::path &path) {
    std::ifstream in(path, std::ios::binary);
    std::ostringstream out;
    out << in.rdbuf();
    return out.str();
}

// A part of the text in single quotes, control bytes as \xNN.
std::string shown(std::string_view text, teskpf::TextRange range) {
    std::string out = "'";
    for (char c : text.substr(range.begin, range.end - range.begin)) {
        if (static_cast<unsigned char>(c) < 0x20) {
            char hex[8];
            std::snprintf(hex, sizeof hex, "\\x%02x", static_cast<unsigned char>(c));
            out += hex;
        } else {
            out += c;
        }
    }
    return out + "'";
}

std::string dump(std::string_view text, const teskpf::Outline &outline) {
    static const char *const kinds[] = {"member", "note", "close", "unread"};
    std::ostringstream out;
    for (size_t i = 0; i < outline.lines.size(); ++i) {
        const teskpf::OutlineLine &line = outline.lines[i];
        out << i << " @" << line.begin << ' ' << kinds[static_cast<int>(line.kind)] << " L" << line.level;
        if (line.block >= 0) out << " in#" << line.block;
        if (line.entry >= 0) {
            const teskpf::OutlineEntry &e = outline.entries[static_cast<size_t>(line.entry)];
            out << " #" << line.entry << ' ' << e.key_path << " parent=" << e.parent;
            if (e.position >= 0) out << " position=" << e.position;
            if (e.line != static_cast<long>(i) || e.level != line.level) out << " MISMATCHED LINE";
            if (!e.key.empty()) out << " key=" << shown(text, e.key);
            out << " value=" << shown(text, e.value);
            if (!e.comment.empty()) out << " comment=" << shown(text, e.comment);
            if (!e.annotation.empty()) out << " annotation=" << shown(text, e.annotation);
            if (e.block != teskpf::OutlineBlock::None)
                out << (e.block == teskpf::OutlineBlock::Arr ? " arr" : " tbl") << " close=" << e.close_line;
        }
        out << '\n';
    }
    return out.str();
}

TEST(Outline, DataFiles) {
    const fs::path dir = fs::path(TESKPF_TEST_DATA_DIR) / "outline";
    const bool update = std::getenv("TESKPF_UPDATE_EXPECTED") != nullptr;
    size_t cases = 0;
    for (const auto &file : fs::directory_iterator(dir)) {
        if (file.path().extension() != ".pf") continue;
        ++cases;
        const std::string text = readText(file.path());
        const std::string actual = dump(text, teskpf::outlineOf(text, file.path().string()));
        fs::path expected_path = file.path();
        expected_path.replace_extension(".expected");
        if (update) std::ofstream(expected_path, std::ios::binary) << actual;
        EXPECT_EQ(actual, readText(expected_path)) << file.path();
    }
    EXPECT_GE(cases, 6u);
}

TEST(Words, AllowedWords) {
    struct Case {
        const char *annotation;
        size_t field;
        std::vector<std::string> words;
    } cases[] = {
        {"<str>(low high)", 0, {"low", "high"}},
        {"<str>(low  high )", 0, {"low", "high"}},
        {"<int> <str>(a b)", 1, {"a", "b"}},
        {"<int> <str>(a b)", 0, {}},  // another type
        {"<str>(a b)", 1, {}},        // no such field
        {"<str>", 0, {}},             // any word
        {"<str>(a b", 0, {}},         // does not parse
        {"<strings>(a b)", 0, {}},    // unknown type
        {"", 0, {}},
    };
    for (const Case &c : cases) EXPECT_EQ(teskpf::allowedWords(c.annotation, c.field), c.words) << c.annotation;
}

TEST(Words, NearestWord) {
    const std::vector<std::string> words = {"fast", "slow", "medium"};
    struct Case {
        const char *value;
        const char *nearest;
    } cases[] = {
        {"fats", "fast"},                       // two replacements
        {"slwo", "slow"},                       // two replacements beat fast's three
        {"medum", "medium"},                    // one insertion
        {"fastest", "fast"},                    // three deletions
        {"", "fast"},                           // four insertions: fast and slow tie, the earlier wins
        {"slow", "slow"},    {"FAST", "fast"},  // no case folding, yet the nearest still
    };
    for (const Case &c : cases) EXPECT_EQ(teskpf::nearestWord(c.value, words), c.nearest) << c.value;
    EXPECT_EQ(teskpf::nearestWord("x", {}), "");
}

}  // namespace
