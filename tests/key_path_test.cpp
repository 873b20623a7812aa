// The key-path syntax: parse and print as tables, errors with their offsets,
// and the round trip over every entry that reading builds from tests/data.
#include <gtest/gtest.h>

#include <teskpf/key_path.h>

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <optional>

#include "parsing/ParsedFile.h"
#include "syntax/KeyPathSyntax.h"

namespace {

using teskpf::syntax::Component;

Component name(std::string_view n) { return {n, -1}; }
Component at(long position) { return {{}, position}; }

std::string show(const std::vector<Component> &components) {
    std::string shown;
    for (const Component &c : components)
        shown += c.isPosition() ? "#" + std::to_string(c.position) + " " : "'" + std::string(c.name) + "' ";
    return shown;
}

TEST(KeyPathSyntax, ParsesAndPrintsBack) {
    const struct {
        std::string_view text;
        std::vector<Component> components;
    } rows[] = {
        {"", {}},
        {"[\"a\"]", {name("a")}},
        {"[\"chan\"][\"list\"][1][\"x\"]", {name("chan"), name("list"), at(1), name("x")}},
        {"[0][10][2147483647]", {at(0), at(10), at(2147483647)}},
        {"[\"\"]", {name("")}},
        {"[\"a b\\#\"]", {name("a b\\#")}},
        // Names holding '"' or ']': a name ends at the first "\"]" that leaves a key path behind.
        {"[\"a\"]b\"]", {name("a\"]b")}},
        {"[\"\"\"]", {name("\"")}},
        {"[\"]\"]", {name("]")}},
        {"[\"a\"][0\"]", {name("a\"][0")}},
        {"[\"a\"][00\"][1]", {name("a\"][00"), at(1)}},
        {"[\"a\"]\"][\"b\"]", {name("a\"]"), name("b")}},
        // A name holding "\"][" reads as two components: its path is theirs.
        {"[\"x\"][\"y\"]", {name("x"), name("y")}},
    };
    for (const auto &row : rows) {
        const teskpf::syntax::ParsedPath parsed = teskpf::syntax::parse(row.text);
        EXPECT_TRUE(parsed.ok()) << row.text << ": " << parsed.error << " at " << parsed.error_offset;
        EXPECT_EQ(show(parsed.components), show(row.components)) << row.text;
        EXPECT_EQ(teskpf::syntax::print(row.components), row.text);
    }
}

TEST(KeyPathSyntax, ErrorsSayWhere) {
    const struct {
        std::string_view text;
        size_t offset;
    } rows[] = {
        {"a", 0},    {"[\"a\"", 4},   {"[\"a\"]x", 5},    {"[]", 1},           {"[x]", 1},          {"[1", 2},
        {"[-1]", 1}, {"[00]", 1},     {"[01]", 1},        {"[0x1]", 2},        {"[2147483648]", 1}, {"[\"l\"][00]", 6},
        {"[1]]", 3}, {"[\"a\"]]", 5}, {"[\"a\"][\"b", 8}, {"[\"a\"]b\"]x", 5},
    };
    for (const auto &row : rows) {
        const teskpf::syntax::ParsedPath parsed = teskpf::syntax::parse(row.text);
        EXPECT_FALSE(parsed.ok()) << row.text;
        EXPECT_EQ(parsed.error_offset, row.offset) << row.text << ": " << parsed.error;
    }
}

TEST(KeyPathSyntax, PublicFunctions) {
    const std::vector<teskpf::KeyPathComponent> parsed = teskpf::parseKeyPath("[\"a\"][3]");
    ASSERT_EQ(parsed.size(), 2u);
    EXPECT_EQ((std::vector<std::string>{parsed[0].name, std::to_string(parsed[1].position)}),
              (std::vector<std::string>{"a", "3"}));
    EXPECT_EQ(teskpf::formatKeyPath(parsed), "[\"a\"][3]");
    try {
        teskpf::parseKeyPath("[\"l\"][00]");
        ADD_FAILURE() << "no error";
    } catch (const teskpf::KeyPathError &error) {
        EXPECT_EQ(error.offset(), 6u);
        EXPECT_STREQ(error.what(), "not a key path: expected a list position without leading zeros at offset 6");
    }
    EXPECT_THROW(teskpf::formatKeyPath({{"", 2147483648L}}), teskpf::KeyPathError);
    const std::pair<std::string_view, std::string_view> arguments[] = {
        {"gain", "[\"gain\"]"}, {"[\"a\"][0]", "[\"a\"][0]"}, {"[nonsense", "[nonsense"}, {"", "[\"\"]"}};
    for (auto [argument, path] : arguments) EXPECT_EQ(teskpf::keyPathArgument(argument), path) << argument;
}

// Every key path reading builds from the files of tests/data parses, back
// into the components reading built it from, and prints as the same text.
TEST(KeyPathSyntax, RoundTripOverTestData) {
    size_t paths = 0, odd_names = 0;
    for (const auto &file : std::filesystem::recursive_directory_iterator(TESKPF_TEST_DATA_DIR)) {
        if (!file.is_regular_file()) continue;
        std::ifstream in(file.path(), std::ios::binary);
        const std::string text((std::istreambuf_iterator<char>(in)), std::istreambuf_iterator<char>());
        std::optional<teskpf::ParsedFile> parsed;
        try {
            parsed.emplace(file.path().string(), text);
        } catch (...) {
            continue;  // a file that does not read (nested too deeply) has no paths
        }
        const auto &entries = parsed->entries();
        for (size_t i = 0; i < entries.size(); ++i) {
            if (entries[i].kind == teskpf::EntryKind::Note) continue;
            std::vector<Component> built;  // what reading built the path from, last first
            bool aliases = false;
            for (int32_t e = static_cast<int32_t>(i); e >= 0; e = entries[static_cast<size_t>(e)].parent) {
                const teskpf::FileEntry &entry = entries[static_cast<size_t>(e)];
                built.push_back(entry.position >= 0 ? at(entry.position) : name(parsed->key(entry)));
                aliases |= parsed->key(entry).find("\"][") != std::string_view::npos;
                odd_names += parsed->key(entry).find_first_of("\"]") != std::string_view::npos;
            }
            std::reverse(built.begin(), built.end());
            const std::string path = parsed->keyPath(i);
            const teskpf::syntax::ParsedPath read = teskpf::syntax::parse(path);
            ASSERT_TRUE(read.ok()) << file.path() << ": " << path;
            EXPECT_EQ(teskpf::syntax::print(read.components), path) << file.path();
            EXPECT_EQ(teskpf::syntax::print(built), path) << file.path();
            if (!aliases) {
                EXPECT_EQ(show(read.components), show(built)) << file.path() << ": " << path;
            }
            ++paths;
        }
    }
    EXPECT_GT(paths, 500u);
    EXPECT_GT(odd_names, 0u);  // names holding '"' or ']' are among them
}

}  // namespace

// The forms a KEY argument may take, and where a malformed one goes wrong.
TEST(KeyPathSyntax, ArgumentForms) {
    const std::pair<std::string_view, std::string_view> read[] = {
        {"gain", R"(["gain"])"},
        {R"(q"]b)", R"(["q"]b"])"},
        {R"(["a"][0]["b"])", R"(["a"][0]["b"])"},
        {"{a}[0]{b}", R"(["a"][0]["b"])"},
        {"{a.b}{c d}", R"(["a.b"]["c d"])"},
        {"a.b", R"(["a"]["b"])"},
        {"servers[0].name", R"(["servers"][0]["name"])"},
        {"l[1][2]", R"(["l"][1][2])"},
    };
    for (auto [argument, path] : read) {
        EXPECT_EQ(teskpf::parseKeyArgument(argument), path) << argument;
        EXPECT_EQ(teskpf::keyPathArgument(argument), path) << argument;
    }
    const std::pair<std::string_view, size_t> malformed[] = {
        {"[a][b]", 1}, {"a..b", 2}, {"a.", 2},   {".a", 0},    {"a[x]", 2},    {"a[01]", 2},
        {"a b.c", 1},  {"{a", 2},   {"{a}b", 3}, {"a[0]b", 4}, {R"(["a")", 4},
    };
    for (auto [argument, offset] : malformed) {
        try {
            teskpf::parseKeyArgument(argument);
            ADD_FAILURE() << argument << ": no error";
        } catch (const teskpf::KeyPathError &error) {
            EXPECT_EQ(error.offset(), offset) << argument << ": " << error.what();
        }
    }
    // Leniently, a malformed shorthand is the top-level key of the whole text.
    EXPECT_EQ(teskpf::keyPathArgument("a..b"), R"(["a..b"])");
    EXPECT_EQ(teskpf::keyPathArgument("[nonsense"), "[nonsense");
}
