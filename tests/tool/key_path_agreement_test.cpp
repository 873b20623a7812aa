// The tool (`teskpf get`), the editor and Document::find accept and reject
// the same key paths: one table (tests/agreement/key_paths.tsv, on
// key_paths.pf beside it) run through each. Python runs the same table
// (python/tests/test_key_paths.py).
#include <gtest/gtest.h>

#include <teskpf/document.h>
#include <teskpf/editor.h>
#include <teskpf/error.h>
#include <teskpf/key_path.h>

#include <fstream>
#include <sstream>

#include "tool/run_tool.h"

namespace {

const std::string kTable = TESKPF_TEST_DATA_DIR "/../agreement/key_paths";

struct Row {
    std::string key, expect;  // expect: value, block, missing or alias
};

std::vector<Row> readRows() {
    std::ifstream in(kTable + ".tsv");
    std::vector<Row> rows;
    for (std::string line; std::getline(in, line);) {
        if (line.empty() || line[0] == '#') continue;
        const size_t tab = line.find('\t');
        rows.push_back({line.substr(0, tab), line.substr(tab + 1)});
    }
    return rows;
}

TEST(KeyPathAgreement, EveryReaderAcceptsTheSamePaths) {
    const std::vector<Row> rows = readRows();
    ASSERT_GT(rows.size(), 10u);
    test_support::TempDir dir;
    const std::string file = dir.path() + "/key_paths.pf";
    std::filesystem::copy_file(kTable + ".pf", file);
    const teskpf::Document document = teskpf::Document::loadFile(file);
    for (const Row &row : rows) {
        const bool found = row.expect != "missing";
        const std::string path = teskpf::keyPathArgument(row.key);
        EXPECT_EQ(static_cast<bool>(document.find(path)), found) << "Document::find " << row.key;
        const tool_run::ToolRun get = tool_run::runTool({"get", file, row.key}, dir.path(), ".");
        // The tool names a malformed path a usage error; the others find nothing.
        bool malformed = false;
        try {
            teskpf::parseKeyArgument(row.key);
        } catch (const teskpf::KeyPathError &) {
            malformed = true;
        }
        EXPECT_EQ(get.status, found ? 0 : malformed ? 2 : 1) << "teskpf get " << row.key << ": " << get.err;
        if (row.expect == "block") continue;
        teskpf::Editor editor = teskpf::Editor::open(file);
        bool edited = true;
        try {
            editor.setValue(path, "42");
        } catch (const teskpf::EditError &) {
            edited = false;
        }
        EXPECT_EQ(edited, found) << "Editor::setValue " << row.key;
    }
}

}  // namespace
