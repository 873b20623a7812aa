// JSON out and in: export, get/show/keys/files --json, check --format json
// and import, run as a user runs them.
#include <gtest/gtest.h>

#include <nlohmann/json.hpp>

#include <filesystem>

#include "tool/run_tool.h"

namespace {

using Json = nlohmann::ordered_json;
using tool_run::runTool;
using tool_run::ToolRun;

const std::string kStation = TESKPF_EXAMPLES_DIR "/station.pf";

Json jsonOf(const ToolRun &run) {
    EXPECT_EQ(run.status, 0) << run.err;
    return Json::parse(run.out);
}

TEST(Json, ExportKeepsFileOrderAndShapes) {
    const Json json = jsonOf(runTool({"export", kStation}, ".", ""));
    std::vector<std::string> keys;
    for (const auto &[key, value] : json.items()) keys.push_back(key);
    ASSERT_GE(keys.size(), 3u);
    EXPECT_EQ(keys[0], "station");
    EXPECT_EQ(keys[1], "network");
    EXPECT_EQ(json["digitizer"]["channels"], Json({"HHZ", "HHN", "HHE", "LHZ"}));
    EXPECT_EQ(json["digitizer"]["filters"][1]["name"], "highpass");
    EXPECT_EQ(json["sensor"]["orientation"], "0 90");
}

TEST(Json, ARepeatedNameKeepsItsFirstPlaceAndLastValue) {
    test_support::TempDir dir;
    dir.write("dup.pf", "b &Arr{\n c &Arr{\n  x 1\n }\n d 4\n c &Arr{\n  y 2\n }\n}\n");
    EXPECT_EQ(jsonOf(runTool({"export", "dup.pf"}, dir.path(), ".")).dump(), R"({"b":{"c":{"y":"2"},"d":"4"}})");
}

TEST(Json, TypedConvertsByTheAnnotationInEffect) {
    const Json json = jsonOf(runTool({"export", kStation, "--typed"}, ".", ""));
    EXPECT_EQ(json["digitizer"]["sample_rate"], 100);
    EXPECT_EQ(json["sensor"]["orientation"], Json({0, 90}));
    EXPECT_EQ(json["digitizer"]["filters"][1]["cutoff"], 0.01);
    EXPECT_EQ(json["station"], "KBS1");  // no number annotation: text
}

TEST(Json, WithOriginNamesFileAndLineFromOne) {
    test_support::TempDir dir;
    dir.write("o.pf", "# top\nport 80 #<int>\nnet &Arr{\n  host h\n}\n");
    const Json json = jsonOf(runTool({"export", "o.pf", "--with-origin", "--typed"}, dir.path(), "."));
    EXPECT_EQ(json["port"], Json({{"value", 80}, {"file", "./o.pf"}, {"line", 2}}));
    EXPECT_EQ(json["net"]["host"]["line"], 4);
}

TEST(Json, GetPrintsValueBlockOrList) {
    EXPECT_EQ(jsonOf(runTool({"get", kStation, "station", "--json"}, ".", "")), "KBS1");
    EXPECT_EQ(jsonOf(runTool({"get", kStation, "[\"digitizer\"][\"channels\"]", "--json"}, ".", "")).size(), 4u);
    EXPECT_TRUE(jsonOf(runTool({"get", kStation, "digitizer", "--json"}, ".", "")).is_object());
    const ToolRun missing = runTool({"get", kStation, "nothing", "--json"}, ".", "");
    EXPECT_EQ(missing.status, 1);
    EXPECT_EQ(runTool({"get", kStation, "station", "--typed"}, ".", "").status, 2);
}

TEST(Json, ShowEscapesTheFieldSeparator) {
    test_support::TempDir dir;
    dir.write("n.pf", "note a; b\\ # c; d\n");
    const ToolRun text = runTool({"show", "n.pf"}, dir.path(), ".");
    EXPECT_EQ(text.out, "./n.pf:0; 0; [\"note\"]; a\\; b\\\\; # c\\; d; \n");
    const Json json = jsonOf(runTool({"show", "n.pf", "--json"}, dir.path(), "."));
    EXPECT_EQ(json[0]["value"], "a; b\\");
    EXPECT_EQ(json[0]["comment"], "# c; d");
    EXPECT_EQ(json[0]["level"], 0);
}

TEST(Json, KeysFilesAndCheckAreJson) {
    const Json keys = jsonOf(runTool({"keys", kStation, "--json"}, ".", ""));
    EXPECT_EQ(keys[0], "[\"station\"]");
    const Json files = jsonOf(runTool({"files", kStation, "--json"}, ".", ""));
    EXPECT_EQ(files["keys"]["[\"station\"]"], kStation);
    test_support::TempDir dir;
    // A message and a file name holding quotes, a control byte and invalid UTF-8.
    dir.write("t\"\x01\xff.pf", "gain 1\ngain 2\n");
    const ToolRun check = runTool({"check", "--format", "json", "t\"\x01\xff.pf"}, dir.path(), ".");
    const Json diagnostics = Json::parse(check.out.substr(0, check.out.rfind(']') + 1));
    ASSERT_EQ(diagnostics.size(), 1u);
    EXPECT_EQ(diagnostics[0]["file"], "./t\"\x01\xEF\xBF\xBD.pf");
    EXPECT_EQ(diagnostics[0]["rule"], "duplicate-key");
}

// What a parameter file cannot hold, refused with its place in the JSON.
TEST(Json, ImportRefusesWhatCannotBeRepresented) {
    const std::pair<const char *, const char *> cases[] = {
        {R"([1])", "cannot represent .: the JSON must be an object"},
        {R"({"a": {"b c": 1}})", "cannot represent .a[\"b c\"]: a key with a blank"},
        {R"({"": 1})", "cannot represent .[\"\"]: an empty key"},
        {R"({"a#b": 1})", "a key with '#'"},
        {R"({"a[0]": 1})", "a key with '['"},
        {R"({"}": 1})", "a key starting with '}'"},
        {R"({"l": [1, "x\ny"]})", "cannot represent .l[1]: a value with a line break"},
        {R"({"v": " x"})", "blanks at either end"},
        {R"({"v": null})", "null has no parameter-file value"},
        {R"({"l": [""]})", "an empty list item"},
        {R"({"v": "} x"})", "a value starting with '}'"},
        {R"({"v": "&Arr{"})", "a value that opens a block"},
        {R"({"pf_revision_time": {}})", "a block pf_revision_time"},
        {R"({"a": )", "is not JSON"},
        {R"({"a": [1] [2]})", "is not JSON"},
    };
    test_support::TempDir dir;
    for (auto [json, message] : cases) {
        dir.write("in.json", json);
        const ToolRun run = runTool({"import", "in.json", "-o", "out.pf"}, dir.path(), ".");
        EXPECT_EQ(run.status, 1) << json;
        EXPECT_NE(run.err.find(message), std::string::npos) << json << " -> " << run.err;
        EXPECT_FALSE(std::filesystem::exists(dir.path() + "/out.pf")) << json;
    }
}

// A key given twice keeps its first place and takes its last value; nesting
// past the reading depth is refused before anything recurses on it.
TEST(Json, ImportKeepsKeyOrderAndBoundsTheDepth) {
    test_support::TempDir dir;
    dir.write("twice.json", R"({"b": 1, "a": {"x": 1}, "b": 2, "c": 3})");
    const ToolRun twice = runTool({"import", "twice.json"}, dir.path(), ".");
    EXPECT_EQ(twice.status, 0) << twice.err;
    EXPECT_EQ(twice.out, "b\t2\na &Arr{\n\tx\t1\n}\nc\t3\n");
    const std::string deep = R"({"a": )" + std::string(2000, '[') + "1" + std::string(2000, ']') + "}";
    dir.write("deep.json", deep);
    const ToolRun refused = runTool({"import", "deep.json"}, dir.path(), ".");
    EXPECT_EQ(refused.status, 1);
    EXPECT_NE(refused.err.find("nests deeper than 1000 levels"), std::string::npos) << refused.err;
}

// Every example and test file that exports comes back as the same JSON
// through import (pf_revision_time gets the time of writing).
TEST(Json, ExportImportExportGivesTheSameJson) {
    size_t tried = 0;
    std::vector<std::string> files{kStation};
    for (const auto &entry : std::filesystem::recursive_directory_iterator(TESKPF_TEST_DATA_DIR))
        if (entry.is_regular_file() && entry.path().extension() == ".pf") files.push_back(entry.path());
    test_support::TempDir dir;
    for (const std::string &file : files) {
        const ToolRun first = runTool({"export", file}, ".", "");
        if (first.status != 0) continue;
        dir.write("in.json", first.out);
        const ToolRun imported = runTool({"import", "in.json", "-o", "out.pf"}, dir.path(), ".");
        if (imported.status != 0) {
            // Only what the format cannot hold is refused, never silently changed.
            EXPECT_NE(imported.err.find("cannot represent"), std::string::npos) << file << ": " << imported.err;
            continue;
        }
        Json before = Json::parse(first.out), after = jsonOf(runTool({"export", "out.pf"}, dir.path(), "."));
        before.erase("pf_revision_time");
        after.erase("pf_revision_time");
        EXPECT_EQ(before, after) << file;
        ++tried;
    }
    EXPECT_GT(tried, 20u);
}

}  // namespace
