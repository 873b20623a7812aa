// teskpf::Editor: each edit changes the bytes it means to and no others, and
// an edit whose result would not read back as asked is refused unchanged.
#include <fcntl.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <fstream>
#include <random>

#include <gtest/gtest.h>

#include "../fuzz/edit_invariant.h"
#include "parsing/ParsedFile.h"
#include "teskpf/editor.h"
#include "teskpf/error.h"
#include "teskpf/save.h"
#include "test_support.h"

using namespace test_support;
using teskpf::Editor;

namespace {

struct EditCase {
    std::string before;
    std::function<void(Editor &)> edit;
    std::string after;
};

void expectEdits(const std::vector<EditCase> &cases) {
    for (size_t i = 0; i < cases.size(); ++i) {
        Editor editor = Editor::fromText("case.pf", cases[i].before);
        cases[i].edit(editor);
        EXPECT_EQ(editor.text(), cases[i].after) << "case " << i;
        EXPECT_EQ(editor.changed(), cases[i].before != cases[i].after) << "case " << i;
    }
}

}  // namespace

TEST(Editor, SetValueChangesOnlyTheValueBytes) {
    expectEdits({
        {"a  1   # c\r\nb\t2\r\n", [](Editor &e) { e.setValue("[\"a\"]", "10"); }, "a  10   # c\r\nb\t2\r\n"},
        {"  k = x\n", [](Editor &e) { e.setValue("[\"k\"]", "y z"); }, "  k y z\n"},
        {"k\n", [](Editor &e) { e.setValue("[\"k\"]", "v"); }, "k\tv\n"},
        {"k #<int>  <int> c\n", [](Editor &e) { e.setValue("[\"k\"]", "1 2"); }, "k\t1 2 #<int>  <int> c\n"},
        {"k v\n", [](Editor &e) { e.setValue("[\"k\"]", "a#b"); }, "k a\\#b\n"},
        {"k v\n", [](Editor &e) { e.setValue("[\"k\"]", ""); }, "k \n"},
        {"arr[0]\tx\n", [](Editor &e) { e.setValue("[\"arr[0]\"]", "y"); }, "arr[0]\ty\n"},
        {"k 1\nk 2\n", [](Editor &e) { e.setValue("[\"k\"]", "3"); }, "k 1\nk 3\n"},  // the last one, as lookups
        {"l &Tbl{\n    a   # first\n\tb\n}\n", [](Editor &e) { e.setValue("[\"l\"][0]", "z"); },
         "l &Tbl{\n    z   # first\n\tb\n}\n"},
        {"a 1\n}\nb 2\n", [](Editor &e) { e.setValue("[\"a\"]", "5"); }, "a 5\n}\nb 2\n"},  // after a stray }
        {std::string("a 1\0junk\nb 2", 12), [](Editor &e) { e.setValue("[\"b\"]", "3"); },
         std::string("a 1\0junk\nb 3", 12)},
        {"k 1\nk 2\n", [](Editor &e) { e.setValueAtLine(0, "9"); }, "k 9\nk 2\n"},
        {"k v\n", [](Editor &e) { e.setValue("[\"k\"]", "v"); }, "k v\n"},  // same value: unchanged
    });
}

TEST(Editor, SetComment) {
    expectEdits({
        {"k v\n", [](Editor &e) { e.setComment("[\"k\"]", "note"); }, "k v\t#note\n"},
        {"k v   # old\r\n", [](Editor &e) { e.setComment("[\"k\"]", "# new "); }, "k v   #new\r\n"},
        {"k 1 #<int> old\n", [](Editor &e) { e.setComment("[\"k\"]", "new"); }, "k 1 #<int> new\n"},
        {"k 1 #<int> old\n", [](Editor &e) { e.setComment("[\"k\"]", "<float> f"); }, "k 1 #<float> f\n"},
        {"k 1 #<int> old\n", [](Editor &e) { e.setComment("[\"k\"]", ""); }, "k 1 #<int>\n"},
        {"k 1 \t# old\n", [](Editor &e) { e.setComment("[\"k\"]", ""); }, "k 1\n"},
        {"k\n", [](Editor &e) { e.setComment("[\"k\"]", "c"); }, "k\t#c\n"},
        {"b &Arr{\n}\n", [](Editor &e) { e.setComment("[\"b\"]", "block"); }, "b &Arr{\t#block\n}\n"},
    });
}

TEST(Editor, AddAndRemoveShapes) {
    const char nested[] = "top 1\nb &Arr{\r\n    x  1   # one\r\n    y  2\r\n    # trailing note\r\n}\r\n";
    expectEdits({
        {nested, [](Editor &e) { e.add("[\"b\"][\"z\"]", "3"); },
         "top 1\nb &Arr{\r\n    x  1   # one\r\n    y  2\r\n    z  3\r\n    # trailing note\r\n}\r\n"},
        {nested, [](Editor &e) { e.add("[\"b\"][\"z\"]", "3", "three"); },
         "top 1\nb &Arr{\r\n    x  1   # one\r\n    y  2\r\n    z  3   #three\r\n    # trailing note\r\n}\r\n"},
        {nested, [](Editor &e) { e.add("[\"c\"]", "v"); },
         "top 1\nb &Arr{\r\n    x  1   # one\r\n    y  2\r\n    # trailing note\r\n}\r\nc v\r\n"},
        {nested, [](Editor &e) { e.add("[\"b\"][\"n\"][\"m\"][\"k\"]", "v"); },
         "top 1\nb &Arr{\r\n    x  1   # one\r\n    y  2\r\n    n &Arr{\r\n        m &Arr{\r\n            k  v\r\n"
         "        }\r\n    }\r\n    # trailing note\r\n}\r\n"},
        {nested, [](Editor &e) { e.remove("[\"b\"]"); }, "top 1\n"},
        {nested, [](Editor &e) { e.remove("[\"b\"][\"x\"]"); },
         "top 1\nb &Arr{\r\n    y  2\r\n    # trailing note\r\n}\r\n"},
        {"e &Arr{\n}\n", [](Editor &e) { e.add("[\"e\"][\"k\"]", "v"); }, "e &Arr{\n\tk\tv\n}\n"},
        {"\te &Arr{\n\t  # only a note\n\t}\n", [](Editor &e) { e.add("[\"e\"][\"k\"]", "v"); },
         "\te &Arr{\n\t  # only a note\n\t\tk\tv\n\t}\n"},
        {"l &Tbl{\n  a\n  &Arr{\n    q 1\n  }\n}\nz 1\n", [](Editor &e) { e.add("[\"l\"][2]", "c"); },
         "l &Tbl{\n  a\n  &Arr{\n    q 1\n  }\n  c\n}\nz 1\n"},
        {"l &Tbl{\n  a\n}\n", [](Editor &e) { e.add("[\"l\"][1][\"k\"]", "v"); },
         "l &Tbl{\n  a\n  &Arr{\n    k\tv\n  }\n}\n"},
        // Without a sibling, the file's own indentation and separators.
        {"t 1\nd &Arr{\n  h x # c\n}\ne &Arr{\n}\n", [](Editor &e) { e.add("[\"e\"][\"k\"]", "v", "w"); },
         "t 1\nd &Arr{\n  h x # c\n}\ne &Arr{\n  k v #w\n}\n"},
        {"d &Arr{\n\th\tx\n}\n", [](Editor &e) { e.add("[\"n\"][\"k\"]", "v"); },
         "d &Arr{\n\th\tx\n}\nn &Arr{\n\tk\tv\n}\n"},
        {"l &Tbl{\n  a\n  b\n}\n", [](Editor &e) { e.remove("[\"l\"][0]"); }, "l &Tbl{\n  b\n}\n"},
        {"a 1\n}\nlost 2\n", [](Editor &e) { e.add("[\"n\"]", "v"); }, "a 1\nn v\n}\nlost 2\n"},
        {"# only\n}\nlost 2\n", [](Editor &e) { e.add("[\"n\"]", "v"); }, "# only\nn\tv\n}\nlost 2\n"},
        {"a 1", [](Editor &e) { e.add("[\"n\"]", "v"); }, "a 1\nn v\n"},
        {"", [](Editor &e) { e.add("[\"n\"]", "v"); }, "n\tv\n"},
        {"a 1\nb 2", [](Editor &e) { e.remove("[\"b\"]"); }, "a 1\n"},
        {"o &Arr{\n  i &Tbl{\n    x\n  } after\n} more\nz 1\n", [](Editor &e) { e.remove("[\"o\"]"); }, "z 1\n"},
        {"o &Arr{\n  i 1\n", [](Editor &e) { e.remove("[\"o\"]"); }, ""},  // unclosed: to the end
    });
}

// Each row: the file, the edit, the start of the refusal's message, and the
// 1-based line of the entry it concerns (0: none). The text must stay as it was.
TEST(Editor, RefusesEditsThatWouldNotReadBack) {
    const char file[] = "k v\nb &Arr{\n  x 1\n}\nl &Tbl{\n  a\n}\n";
    struct Case {
        std::function<void(Editor &)> edit;
        std::string message;
        long line;
    };
    const std::vector<Case> cases = {
        {[](Editor &e) { e.setValue("[\"k\"]", "a\nb"); }, "a line break", 1},
        {[](Editor &e) { e.setValue("[\"k\"]", "a\rb"); }, "a line break", 1},
        {[](Editor &e) { e.setValue("[\"k\"]", std::string("a\0b", 3)); }, "a NUL byte", 1},
        {[](Editor &e) { e.setValue("[\"k\"]", "a\tb"); }, "a tab", 1},
        {[](Editor &e) { e.setValue("[\"k\"]", " a"); }, "white space", 1},
        {[](Editor &e) { e.setValue("[\"k\"]", "a "); }, "white space", 1},
        {[](Editor &e) { e.setValue("[\"k\"]", "&Arr{"); }, "a value starting with", 1},
        {[](Editor &e) { e.setValue("[\"k\"]", "&Tbl{x"); }, "a value starting with", 1},
        {[](Editor &e) { e.setValue("[\"k\"]", "&Arr"); }, "a value starting with", 1},
        {[](Editor &e) { e.setValue("[\"l\"][0]", "}"); }, "a list member starting with", 6},
        {[](Editor &e) { e.setValue("[\"l\"][0]", ""); }, "an empty list member", 6},
        {[](Editor &e) { e.setValue("[\"b\"]", "1"); }, "it opens a block", 2},
        {[](Editor &e) { e.setValue("[\"nope\"]", "1"); }, "there is no key", 0},
        {[](Editor &e) { e.setValueAtLine(3, "1"); }, "line 4 holds no key", 0},
        {[](Editor &e) { e.setValueAtLine(99, "1"); }, "line 100 holds no key", 0},
        {[](Editor &e) { e.setComment("[\"k\"]", "two\nlines"); }, "a line break", 1},
        {[](Editor &e) { e.add("[\"k\"]", "1"); }, "the key is already there", 1},
        {[](Editor &e) { e.add("[\"k\"][\"x\"]", "1"); }, "[\"k\"] is not an \"&Arr{\" block", 1},
        {[](Editor &e) { e.add("[\"b\"][0]", "1"); }, "[\"b\"] is not a list block", 2},
        {[](Editor &e) { e.add("[\"l\"][5]", "1"); }, "a list member can only be added at the next position, [1]", 0},
        {[](Editor &e) { e.add("[\"l\"][1]", "}"); }, "a list member starting with", 0},
        {[](Editor &e) { e.add("[\"n\"][0]", "1"); }, "a new block is an", 0},
        {[](Editor &e) { e.add("[\"a b\"]", "1"); }, "white space in a key", 0},
        {[](Editor &e) { e.add("[\"a#\"]", "1"); }, "a \"#\" in a key", 0},
        {[](Editor &e) { e.add("[\"}\"]", "1"); }, "a line starting with", 0},
        {[](Editor &e) { e.add("gain", "1"); }, "it is not a key path", 0},
        // Reading writes list positions without leading zeros: [00] is not [0].
        {[](Editor &e) { e.add("[\"l\"][00]", "1"); }, "it is not a key path", 0},
        {[](Editor &e) { e.setValue("[\"l\"][00]", "1"); }, "there is no key", 0},
        {[](Editor &e) { e.remove("[\"l\"][00]"); }, "there is no key", 0},
        {[](Editor &e) { e.add("[0]", "1"); }, "the top level holds named keys", 0},
        {[](Editor &e) { e.remove("[\"nope\"]"); }, "there is no key", 0},
    };
    for (size_t i = 0; i < cases.size(); ++i) {
        Editor editor = Editor::fromText("f.pf", file);
        try {
            cases[i].edit(editor);
            ADD_FAILURE() << "case " << i << " was not refused";
        } catch (const teskpf::EditError &error) {
            const std::string message = error.what();
            EXPECT_NE(message.find(": " + cases[i].message), std::string::npos) << "case " << i << ": " << message;
            EXPECT_EQ(error.file(), "f.pf");
            EXPECT_EQ(error.line(), cases[i].line) << "case " << i << ": " << message;
        }
        EXPECT_EQ(editor.text(), file) << "case " << i;
        EXPECT_FALSE(editor.changed());
    }
}

TEST(Editor, ValueBeforeAnAdjacentCommentIsCheckedOnReading) {
    // "x\" right before "#" would escape the comment's "#": refused unchanged.
    Editor editor = Editor::fromText("f.pf", "a 1\nk v#c\n");
    try {
        editor.setValue("[\"k\"]", "x\\");
        ADD_FAILURE() << "not refused";
    } catch (const teskpf::EditError &error) {
        EXPECT_NE(std::string(error.what()).find("would not read back"), std::string::npos) << error.what();
        EXPECT_EQ(error.line(), 2);
    }
    EXPECT_EQ(editor.text(), "a 1\nk v#c\n");
}

TEST(Editor, SaveRefreshesTopLevelRevisionTimeInPlace) {
    TempDir dir;
    const std::string path =
        dir.write("r.pf", "a 1\npf_revision_time   12  # kept\nb &Arr{\n  pf_revision_time 5\n}\n");
    PinnedClock clock(1800000000.75);
    Editor editor = Editor::open(path);
    editor.setValue("[\"a\"]", "2");
    editor.save();
    EXPECT_FALSE(editor.changed());
    EXPECT_EQ(readText(path), "a 2\npf_revision_time   1800000000  # kept\nb &Arr{\n  pf_revision_time 5\n}\n");
    EXPECT_EQ(editor.text(), readText(path));
}

TEST(Editor, OpenAndSaveErrors) {
    TempDir dir;
    try {
        Editor::open(dir.path() + "/missing.pf");
        ADD_FAILURE();
    } catch (const teskpf::IoError &error) {
        EXPECT_EQ(error.code(), std::errc::no_such_file_or_directory);
    }
    EXPECT_THROW(Editor::openLocked(dir.path() + "/missing.pf"), teskpf::IoError);
    // openLocked holds the lock until save; saveAs writes exactly the name given.
    const std::string path = dir.write("l.pf", "a 1\n");
    Editor editor = Editor::openLocked(path);
    editor.setValue("[\"a\"]", "2");
    editor.saveAs(dir.path() + "/copy");
    EXPECT_EQ(readText(dir.path() + "/copy"), "a 2\n");
    EXPECT_EQ(readText(path), "a 1\n");
    EXPECT_FALSE(fs::exists(dir.path() + "/copy.pf"));
    teskpf::FileLock free_again(path);  // would block if the editor still held it
}

TEST(Editor, SaveRefusesAFileChangedSinceItWasRead) {
    TempDir dir;
    // Another writer that takes no lock: replacing by rename (as sed -i does),
    // rewriting in place with another size, or with the same size later.
    const std::vector<std::function<void(const std::string &)>> writers = {
        [&](const std::string &path) {
            dir.write("new.pf", "a 9\n");
            fs::rename(dir.path() + "/new.pf", path);
        },
        [&](const std::string &path) { std::ofstream(path, std::ios::trunc) << "a 99\n"; },
        [&](const std::string &path) {
            std::ofstream(path, std::ios::trunc) << "a 9\n";
            const timespec later[2] = {{0, UTIME_OMIT}, {2000000000, 5}};
            ASSERT_EQ(utimensat(AT_FDCWD, path.c_str(), later, 0), 0);
        },
    };
    for (size_t i = 0; i < writers.size(); ++i) {
        const std::string path = dir.write("f.pf", "a 1\n");
        Editor editor = Editor::open(path);
        editor.setValue("[\"a\"]", "2");
        const std::string theirs = (writers[i](path), readText(path));
        try {
            editor.save();
            ADD_FAILURE() << "writer " << i << ": saved over the other writer's change";
        } catch (const teskpf::IoError &error) {
            EXPECT_EQ(std::string(error.what()),
                      "cannot write '" + path + "': it changed since it was read; not overwritten")
                << "writer " << i;
        }
        EXPECT_EQ(readText(path), theirs) << "writer " << i;
        EXPECT_EQ(std::distance(fs::directory_iterator(dir.path()), fs::directory_iterator()), 1) << "writer " << i;
    }
    // Unchanged since read, or since the editor's own save: saved.
    const std::string path = dir.write("f.pf", "a 1\n");
    Editor editor = Editor::open(path);
    editor.setValue("[\"a\"]", "2");
    editor.save();
    editor.setValue("[\"a\"]", "3");
    editor.save();
    EXPECT_EQ(readText(path), "a 3\n");
}

TEST(Editor, DeepKeyPathsAreBoundedByTheReadingBudget) {
    // In a child with 1 GiB of address space: the path of 15,000 components
    // would give the file about 600 MB of key paths, beyond the budget, and
    // is refused at once; 2,000 are added.
    auto deep = [](size_t depth) {
        std::string path;
        for (size_t i = 0; i < depth; ++i) path += "[\"" + std::to_string(i % 10) + "\"]";
        return path;
    };
    const pid_t child = fork();
    ASSERT_GE(child, 0);
    if (child == 0) {
        if (!limitAddressSpace(rlim_t{1} << 30)) _exit(3);
        try {
            Editor editor = Editor::fromText("d.pf", "a 1\n");
            try {
                editor.add(deep(15000), "1");
                _exit(4);
            } catch (const teskpf::EditError &error) {
                if (std::string(error.what()).find(": key paths exceed") == std::string::npos) _exit(5);
            }
            editor.add(deep(2000), "1");
            if (editor.lineOf(deep(2000)) != 2000) _exit(6);
            _exit(0);
        } catch (...) {
            _exit(7);
        }
    }
    int status = 0;
    ASSERT_EQ(waitpid(child, &status, 0), child);
    ASSERT_TRUE(WIFEXITED(status)) << "the child died of signal " << WTERMSIG(status);
    EXPECT_EQ(WEXITSTATUS(status), 0);
}

// Random files from a small generator and random edits: after each accepted
// edit every line outside the edited ones is byte for byte the same, and the
// other entries read back the same.
namespace {

std::string randomFile(std::mt19937 &rng) {
    static const char *const keys[] = {"a", "b", "arr[0]", "pf_revision_time", "k"};
    static const char *const values[] = {"1", "x y", "a\\#b", "", "&Arr", "}"};
    static const char *const gaps[] = {" ", "\t", "   ", " \t "};
    static const char *const comments[] = {"", "# c", "#<int>", "#<int>  <int> w", "#"};
    static const char *const ends[] = {"\n", "\r\n"};
    auto pick = [&](auto &list) { return std::string(list[rng() % std::size(list)]); };
    std::string text;
    std::vector<bool> open;  // true for a list block
    const int lines = static_cast<int>(rng() % 14);
    for (int i = 0; i < lines; ++i) {
        std::string indent(open.size(), rng() % 3 ? '\t' : ' ');
        const auto kind = rng() % 10;
        const bool in_list = !open.empty() && open.back();
        std::string line;
        if (kind == 0 && !open.empty()) {
            line = indent.substr(1) + "}" + (rng() % 4 ? "" : " tail");
            open.pop_back();
        } else if (kind == 1 && open.size() < 3) {
            line =
                indent + (in_list ? "" : pick(keys) + " ") + (rng() % 2 ? "&Arr{" : "&Tbl{") + (rng() % 5 ? "" : " x");
            open.push_back(line.back() == '{' ? line[line.size() - 4] == 'T' : line[line.size() - 6] == 'T');
        } else if (kind == 2) {
            line = indent + pick(comments);
        } else if (kind == 3 && open.empty() && rng() % 3 == 0) {
            line = "}";
        } else {
            std::string value = pick(values);
            if (in_list && (value.empty() || value == "}")) value = "m";
            line = indent + (in_list ? "" : pick(keys) + pick(gaps)) + value;
            if (std::string c = pick(comments); !c.empty()) line += pick(gaps) + c;
        }
        if (rng() % 25 == 0) line += std::string("\0z", 2);
        text += line + pick(ends);
    }
    if (!text.empty() && rng() % 4 == 0) text.pop_back();
    return text;
}

}  // namespace

TEST(Editor, RandomEditsKeepEverythingElse) {
    std::mt19937 rng(20240607);
    static const char *const new_values[] = {"v", "a#b", "", "}x", "&Tbl{", "two words", " pad", "t\tab", "\\"};
    int accepted = 0;
    for (int iteration = 0; iteration < 3000; ++iteration) {
        const std::string before = randomFile(rng);
        std::optional<Editor> editor;
        try {
            editor.emplace(Editor::fromText("p", before));
        } catch (const teskpf::Error &) {
            continue;  // a key-less line in an associative block
        }
        teskpf::ParsedFile parsed("p", before);
        std::vector<long> lines;
        for (const teskpf::FileEntry &e : parsed.entries())
            if (e.kind != teskpf::EntryKind::Note) lines.push_back(static_cast<long>(e.line));
        if (lines.empty()) continue;
        const long line = lines[rng() % lines.size()];
        const std::string value = new_values[rng() % std::size(new_values)];
        const auto op = rng() % 3;
        try {
            if (op == 0) editor->setValueAtLine(line, value);
            if (op == 1) editor->setCommentAtLine(line, value);
            if (op == 2) editor->removeAtLine(line);
        } catch (const teskpf::EditError &) {
            ASSERT_EQ(editor->text(), before) << "a refused edit changed the text";
            continue;
        }
        ++accepted;
        using edit_invariant::entriesOf, edit_invariant::linesOf;
        const std::vector<std::string> old_lines = linesOf(before), new_lines = linesOf(editor->text());
        const std::vector<std::string> old_entries = entriesOf(before), new_entries = entriesOf(editor->text());
        if (op == 2) {
            // Removal takes out a run of whole lines starting at `line`, and the entries on them.
            const size_t removed = old_lines.size() - new_lines.size();
            ASSERT_GT(removed, 0u) << before;
            std::vector<std::string> expected = old_lines;
            expected.erase(expected.begin() + line, expected.begin() + line + static_cast<long>(removed));
            if (!expected.empty() && !new_lines.empty() && static_cast<size_t>(line) == expected.size() &&
                expected.back().back() != '\n')
                continue;
            EXPECT_EQ(new_lines, expected) << before;
            EXPECT_LT(new_entries.size(), old_entries.size());
            continue;
        }
        ASSERT_EQ(new_lines.size(), old_lines.size()) << before;
        for (size_t i = 0; i < old_lines.size(); ++i) {
            if (static_cast<long>(i) == line) continue;
            ASSERT_EQ(new_lines[i], old_lines[i]) << before;
        }
        ASSERT_EQ(new_entries.size(), old_entries.size()) << before;
        size_t differing = 0;
        for (size_t i = 0; i < old_entries.size(); ++i) differing += new_entries[i] != old_entries[i];
        EXPECT_LE(differing, 1u) << before;
    }
    EXPECT_GT(accepted, 1000);
}

namespace {

// Every field of two parses, for comparing a parse changed in place with a
// fresh one: "" when they are the same, else what differs first.
std::string parseDifference(const teskpf::ParsedFile &a, const teskpf::ParsedFile &b) {
    if (a.text() != b.text()) return "text";
    if (a.lineCount() != b.lineCount() || a.strayCloseLine() != b.strayCloseLine()) return "lines";
    if (a.entries().size() != b.entries().size()) return "entry count";
    const auto span = [](teskpf::Span s) { return std::make_pair(s.begin, s.size); };
    for (size_t i = 0; i < a.entries().size(); ++i) {
        const teskpf::FileEntry &x = a.entries()[i], &y = b.entries()[i];
        if (x.line != y.line || x.line_begin != y.line_begin || x.parent != y.parent || x.position != y.position ||
            x.level != y.level || x.kind != y.kind || x.value_verbatim != y.value_verbatim ||
            span(x.key) != span(y.key) || span(x.value) != span(y.value) || span(x.comment) != span(y.comment) ||
            x.constraints_size != y.constraints_size)
            return "entry " + std::to_string(i);
    }
    if (a.notes().size() != b.notes().size()) return "note count";
    for (size_t i = 0; i < a.notes().size(); ++i) {
        const teskpf::LayoutNote &x = a.notes()[i], &y = b.notes()[i];
        if (x.kind != y.kind || x.line != y.line || x.line_begin != y.line_begin || span(x.span) != span(y.span) ||
            x.entry != y.entry)
            return "note " + std::to_string(i);
    }
    return "";
}

}  // namespace

// An edit within one line that keeps its kind changes the parse in place:
// the result must be exactly what reading the edited text gives, and an
// edit it declines must change nothing. Random edits of value, comment and
// any part of a line, on every file of tests/data.
TEST(ParsedFile, ChangedInPlaceReadsAsAFreshParse) {
    std::mt19937 rng(20250101);
    static const char *const replacements[] = {"7",     "",   "a#b",   "\\#x",    "two words", " pad ",
                                               "t\tab", "}",  "&Arr{", "&Tbl{ x", "#<int>",    "# c",
                                               "k v",   "\r", "\n",    "x\n}",    "[\"q\"]"};
    size_t in_place = 0, declined = 0, files = 0;
    for (const auto &file : fs::recursive_directory_iterator(TESKPF_TEST_DATA_DIR)) {
        if (!file.is_regular_file()) continue;
        const std::string text = readText(file.path().string());
        std::optional<teskpf::ParsedFile> original;
        try {
            original.emplace("f", text);
        } catch (const std::string &) {
            continue;
        }
        ++files;
        for (size_t index = 0; index < original->entries().size(); ++index) {
            const teskpf::FileEntry &e = original->entries()[index];
            const std::string_view line = original->lineText(e);
            for (int trial = 0; trial < 6; ++trial) {
                size_t begin = e.line_begin, end = e.line_begin;
                if (trial == 0 && e.value.size) {
                    begin = e.value.begin, end = e.value.end();
                } else if (trial == 1 && e.comment.size) {
                    begin = e.comment.begin, end = e.comment.end();
                } else {
                    begin += rng() % (line.size() + 1);
                    end = begin + rng() % (e.line_begin + line.size() - begin + 1);
                }
                std::string replacement = replacements[rng() % std::size(replacements)];
                if (rng() % 4 == 0) replacement = std::string("x\0y", 3);
                teskpf::ParsedFile edited("f", text);
                if (!edited.replaceInLine(index, begin, end, replacement)) {
                    ++declined;
                    ASSERT_EQ(parseDifference(edited, *original), "") << file.path() << " line " << e.line;
                    continue;
                }
                ++in_place;
                std::string expected = text;
                expected.replace(begin, end - begin, replacement);
                ASSERT_EQ(parseDifference(edited, teskpf::ParsedFile("f", expected)), "")
                    << file.path() << " line " << e.line << ": [" << begin << ", " << end << ") -> " << replacement;
            }
        }
    }
    EXPECT_GT(files, 50u);
    EXPECT_GT(in_place, 1000u);
    EXPECT_GT(declined, 1000u);
}

// A shared text is never changed in place: the copy would see the edit.
TEST(ParsedFile, SharedTextIsNotChangedInPlace) {
    teskpf::ParsedFile parsed("f", std::string_view("a 1\nb 2\n"));
    const teskpf::ParsedFile copy = parsed;
    EXPECT_FALSE(parsed.replaceInLine(0, 2, 3, "7"));
    EXPECT_EQ(copy.text(), "a 1\nb 2\n");
}
