// One rule for what an argument names: every row of tests/data/arguments/table
// (PFPATH, argument, files read) holds for every reader, the tool's commands,
// teskpf::Document::load, teskpf::namedFiles itself and the classic
// constructor. Each file of the layout carries a key tag_T naming it, so
// that readers that print only keys or values still show which files they
// read.
#include <gtest/gtest.h>

#include <algorithm>
#include <fstream>
#include <functional>
#include <set>
#include <sstream>

#include <teskpf/document.h>
#include <teskpf/error.h>
#include <teskpf/search.h>

#include "run_tool.h"
#include "test_support.h"

using namespace test_support;
using tool_run::runTool;

namespace {

struct Row {
    std::string pfpath, argument;
    std::vector<std::string> files;  // as the rule spells them; empty for none
    int line;
};

const char *const kTags[] = {"here", "site", "other", "notes"};

// The layout the table's rows are read in.
void writeLayout(const TempDir &dir) {
    const std::pair<const char *, const char *> files[] = {{"station.pf", "here"},
                                                           {"site-override/station.pf", "site"},
                                                           {"other/station.pf", "other"},
                                                           {"notes.conf", "notes"}};
    for (const auto &[file, tag] : files)
        dir.write(file, std::string("tag_") + tag + "\t1\nbad_" + tag + "\tx\t#<int>\nshared\t" + tag + "\n");
    fs::create_directories(dir.path() + "/sub");
}

std::string replaced(std::string text, const std::string &from, const std::string &to) {
    for (size_t at = text.find(from); at != std::string::npos; at = text.find(from, at + to.size()))
        text.replace(at, from.size(), to);
    return text;
}

std::vector<Row> readTable(const std::string &dir) {
    std::ifstream in(TESKPF_TEST_DATA_DIR "/arguments/table");
    std::vector<Row> rows;
    std::string line;
    for (int number = 1; std::getline(in, line); ++number) {
        if (line.empty() || line[0] == '#') continue;
        std::istringstream words(replaced(line, "{dir}", dir));
        Row row{"", "", {}, number};
        words >> row.pfpath >> row.argument;
        for (std::string file; words >> file;)
            if (file != "-") row.files.push_back(file);
        rows.push_back(row);
    }
    return rows;
}

// The tags of the files named in `paths` (relative to `dir`), in order.
std::vector<std::string> tagsOf(const std::string &dir, const std::vector<std::string> &paths) {
    std::vector<std::string> tags;
    for (const std::string &path : paths) {
        const std::string text = readText(path[0] == '/' ? path : dir + "/" + path);
        tags.push_back(text.substr(4, text.find('\t') - 4));
    }
    return tags;
}

// The tags whose key tag_T occurs in `text`.
std::vector<std::string> tagsIn(const std::string &text) {
    std::vector<std::string> tags;
    for (const char *tag : kTags)
        if (text.find(std::string("tag_") + tag) != std::string::npos) tags.push_back(tag);
    return tags;
}

// The message of the teskpf::Error `action` throws; "" when it throws none.
std::string messageOf(const std::function<void()> &action) {
    try {
        action();
    } catch (const teskpf::Error &error) {
        return error.what();
    }
    return "";
}

std::string sourceFileOf(const std::string &source) { return source.substr(0, source.rfind(':')); }

std::vector<std::string> sorted(std::vector<std::string> items) {
    std::sort(items.begin(), items.end());
    items.erase(std::unique(items.begin(), items.end()), items.end());
    return items;
}

// A reader's view of one row: the files it read, as paths (exact) or as
// tags (which files, whatever the spelling).
struct Read {
    std::vector<std::string> paths;
    std::vector<std::string> tags;
    bool exact = false;  // paths as read, in order
};

using Reader = std::function<Read(const Row &, const std::string &dir)>;

Read ofPaths(const std::string &dir, std::vector<std::string> paths) { return Read{paths, tagsOf(dir, paths), true}; }

// Tool readers: "" output when the tool refused the argument.
std::string toolOut(const std::vector<std::string> &args, const Row &row, const std::string &dir) {
    const tool_run::ToolRun run = runTool(args, dir, row.pfpath);
    return run.status == 0 || run.status == 1 ? run.out : "";
}

const std::vector<std::pair<std::string, Reader>> &readers() {
    static const std::vector<std::pair<std::string, Reader>> all = {
        {"teskpf files",
         [](const Row &row, const std::string &dir) {
             std::vector<std::string> paths;
             const std::vector<std::string> out = lines(toolOut({"files", row.argument}, row, dir));
             for (size_t i = 1; i < out.size() && out[i][0] != '#'; ++i) paths.push_back(out[i]);
             return ofPaths(dir, paths);
         }},
        {"teskpf explain",
         [](const Row &row, const std::string &dir) {
             const std::string prefix = "files, lowest precedence first: ";
             std::vector<std::string> paths;
             for (const std::string &line : lines(toolOut({"explain", row.argument, "shared"}, row, dir)))
                 if (line.rfind(prefix, 0) == 0) {
                     std::istringstream words(line.substr(prefix.size()));
                     for (std::string path; words >> path;) paths.push_back(path);
                 }
             return ofPaths(dir, paths);
         }},
        {"teskpf show",
         [](const Row &row, const std::string &dir) {
             std::vector<std::string> paths;
             for (const std::string &line : lines(toolOut({"show", row.argument}, row, dir)))
                 paths.push_back(line.substr(0, line.find(':')));
             return Read{{}, tagsOf(dir, sorted(paths))};
         }},
        {"teskpf get",
         [](const Row &row, const std::string &dir) {
             Read read;
             for (const char *tag : kTags)
                 if (runTool({"get", row.argument, std::string("tag_") + tag}, dir, row.pfpath).status == 0)
                     read.tags.push_back(tag);
             return read;
         }},
        {"teskpf keys",
         [](const Row &row, const std::string &dir) {
             return Read{{}, tagsIn(toolOut({"keys", row.argument}, row, dir))};
         }},
        {"teskpf fmt",
         [](const Row &row, const std::string &dir) {
             return Read{{}, tagsIn(toolOut({"fmt", row.argument}, row, dir))};
         }},
        {"teskpf check",
         [](const Row &row, const std::string &dir) {
             std::vector<std::string> paths;
             const std::string key = "\"file\": \"";
             const std::string out = toolOut({"check", "--format", "json", row.argument}, row, dir);
             for (size_t at = out.find(key); at != std::string::npos; at = out.find(key, at + 1)) {
                 const size_t start = at + key.size();
                 paths.push_back(out.substr(start, out.find('"', start) - start));
             }
             return Read{{}, tagsOf(dir, sorted(paths))};
         }},
        {"teskpf set -o",
         [](const Row &row, const std::string &dir) {
             TempDir out;
             runTool({"set", row.argument, "shared", "new", "-o", out.path() + "/merged.pf"}, dir, row.pfpath);
             std::ifstream merged(out.path() + "/merged.pf");
             return Read{{}, tagsIn(std::string(std::istreambuf_iterator<char>(merged), {}))};
         }},
        {"teskpf::Document::load",
         [](const Row &row, const std::string &dir) {
             ScopedCwd cwd(dir);
             ScopedEnv pfpath("PFPATH", row.pfpath);
             try {
                 return ofPaths(dir, teskpf::Document::load(row.argument).files());
             } catch (const teskpf::IoError &) {
                 return Read{{}, {}, true};
             }
         }},
        {"teskpf::namedFiles",
         [](const Row &row, const std::string &dir) {
             ScopedCwd cwd(dir);
             ScopedEnv pfpath("PFPATH", row.pfpath);
             return ofPaths(dir, teskpf::namedFiles(row.argument).files);
         }},
        {"TeskPf(name, 0)",
         [](const Row &row, const std::string &dir) {
             ScopedCwd cwd(dir);
             ScopedEnv pfpath("PFPATH", row.pfpath);
             const TeskPf pf(row.argument, 0);
             std::vector<std::string> paths;
             for (int i = 0; i < pf.size(); ++i) paths.push_back(sourceFileOf(pf.getSource(i)));
             return Read{{}, tagsOf(dir, sorted(paths))};
         }},
    };
    return all;
}

TEST(Arguments, EveryReaderReadsTheFilesTheTableSays) {
    TempDir dir;
    writeLayout(dir);
    const std::vector<Row> rows = readTable(dir.path());
    ASSERT_GE(rows.size(), 10u);
    for (const Row &row : rows) {
        const std::vector<std::string> tags = tagsOf(dir.path(), row.files);
        for (const auto &[reader, read] : readers()) {
            // check's own extension: a directory stands for the *.pf files below it.
            if (reader == "teskpf check" && fs::is_directory(dir.path() + "/" + row.argument)) continue;
            const Read got = read(row, dir.path());
            const std::string where =
                "table line " + std::to_string(row.line) + ": PFPATH=" + row.pfpath + " " + reader + " " + row.argument;
            if (got.exact) {
                EXPECT_EQ(got.paths, row.files) << where;
                EXPECT_EQ(got.tags, tags) << where;
            } else {
                // Readers that see merged keys or sources see which files, not their order.
                EXPECT_EQ(sorted(got.tags), sorted(tags)) << where;
            }
        }
        // unset edits the file that wins: the last one the argument names.
        const tool_run::ToolRun unset = runTool({"unset", row.argument, "shared"}, dir.path(), row.pfpath);
        EXPECT_EQ(unset.status, row.files.empty() ? 2 : 0) << row.line << unset.err;
        for (const std::string &file : row.files) {
            const std::string path = file[0] == '/' ? file : dir.path() + "/" + file;
            const bool edited = readText(path).find("shared") == std::string::npos;
            EXPECT_EQ(edited, file == row.files.back()) << "table line " << row.line << ": unset " << file;
        }
        writeLayout(dir);
    }
}

// The one file an editor is given must be named alone; several or none is an
// IoError saying so (set --file and Python's edit go through it).
TEST(Arguments, AnEditorNeedsOneFile) {
    TempDir dir;
    writeLayout(dir);
    ScopedCwd cwd(dir.path());
    ScopedEnv pfpath("PFPATH", ".:site-override");
    EXPECT_EQ(teskpf::namedFile("./station"), "./station.pf");
    EXPECT_EQ(teskpf::namedFile("notes.conf"), "notes.conf");
    EXPECT_EQ(messageOf([] { teskpf::namedFile("station.pf"); }),
              "'station.pf' names 2 files along PFPATH=.:site-override (./station.pf, site-override/station.pf); "
              "name one of them as a path");
    EXPECT_EQ(messageOf([] { teskpf::namedFile("nope"); }),
              "no parameter file named 'nope' along PFPATH=.:site-override");
    EXPECT_EQ(messageOf([] { teskpf::namedFile("sub"); }), "'sub' is a directory, not a parameter file");
    EXPECT_EQ(messageOf([] { teskpf::namedFile("./sub"); }), "'./sub' is a directory, not a parameter file");
    const tool_run::ToolRun set =
        runTool({"set", "--file", "station.pf", "station", "shared", "x"}, dir.path(), ".:site-override");
    EXPECT_EQ(set.status, 2);
    EXPECT_EQ(set.err,
              "teskpf: set: 'station.pf' names 2 files along PFPATH=.:site-override (./station.pf, "
              "site-override/station.pf); name one of them as a path\n");
    EXPECT_EQ(
        runTool({"set", "--file", "./station.pf", "station", "shared", "x"}, dir.path(), ".:site-override").status, 0);
    EXPECT_NE(readText(dir.path() + "/station.pf").find("shared\tx"), std::string::npos);
}

// Why the files are the ones named, as `teskpf files` heads its list.
TEST(Arguments, TheReasonSaysHowTheFilesWereFound) {
    TempDir dir;
    writeLayout(dir);
    ScopedCwd cwd(dir.path());
    ScopedEnv pfpath("PFPATH", ".:site-override");
    const std::pair<const char *, const char *> cases[] = {
        {"station",
         "'station' is a name (no \"/\"): every file of that name along PFPATH=.:site-override, lowest "
         "precedence first"},
        {"./station", "'./station' is a path (it has a \"/\"): that file alone"},
        {"notes.conf",
         "'notes.conf' finds no parameter file along PFPATH=.:site-override: the readable file itself, "
         "alone"},
        {"./notes.conf", "'./notes.conf' finds no parameter file at that path: the readable file itself, alone"},
        {"nope", "no parameter file named 'nope' along PFPATH=.:site-override"},
        {"x/nope", "no parameter file named 'x/nope' at that path"},
    };
    for (const auto &[argument, why] : cases) EXPECT_EQ(teskpf::namedFiles(argument).why, why) << argument;
    EXPECT_EQ(teskpf::namedFiles("station").form, teskpf::NamedFiles::Form::Name);
    EXPECT_EQ(teskpf::namedFiles("./notes.conf").form, teskpf::NamedFiles::Form::Path);
    EXPECT_TRUE(teskpf::namedFiles("./notes.conf").itself);
    EXPECT_FALSE(teskpf::namedFiles("./station").itself);
}

// The case on the shipped examples: the override's port, 18001, for
// the name with its suffix, from every reader.
TEST(Arguments, TheExamplesNameWithItsSuffixReadsBothLayers) {
    TempDir dir;
    fs::copy(TESKPF_EXAMPLES_DIR, dir.path(), fs::copy_options::recursive);
    const std::string port = "[\"telemetry\"][\"port\"]";
    EXPECT_EQ(runTool({"get", "station.pf", port}, dir.path(), ".:site-override").out, "18001\n");
    EXPECT_EQ(runTool({"get", "./station.pf", port}, dir.path(), ".:site-override").out, "18000\n");
    ScopedCwd cwd(dir.path());
    ScopedEnv pfpath("PFPATH", ".:site-override");
    EXPECT_EQ(teskpf::Document::load("station.pf").find(port).text(), "18001");
}

}  // namespace
