// Random edits of random files through teskpf::Editor. The first input byte
// picks the edit, the second the line, the third the new text (from a small
// table that includes texts the editor must refuse); the rest is the file.
// A refused edit must leave the text unchanged. After a value or comment
// edit every other line is byte for byte the same and every other entry
// reads back the same; after a removal the other lines are kept in order.
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <optional>
#include <string>
#include <vector>

#include "edit_invariant.h"
#include "parsing/ParsedFile.h"
#include "teskpf/editor.h"
#include "teskpf/error.h"

using edit_invariant::entriesOf;
using edit_invariant::linesOf;

namespace {

[[noreturn]] void fail(const char *what, const std::string &before, const std::string &after) {
    std::fprintf(stderr, "fuzz_edit: %s\n--- before:\n%s\n--- after:\n%s\n", what, before.c_str(), after.c_str());
    std::abort();
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
    static const char *const texts[] = {"v",     "a#b", "",        "}x",     "&Tbl{", "two words", " pad",
                                        "t\tab", "\\",  "<int> c", "#<int>", "x\ny",  "\\#",       "&Arrx"};
    if (size < 3) return 0;
    const unsigned op = data[0] % 4;
    const long line = data[1];
    const std::string text_arg = texts[data[2] % (sizeof texts / sizeof texts[0])];
    const std::string before(reinterpret_cast<const char *>(data + 3), size - 3);
    std::optional<teskpf::Editor> editor;
    try {
        editor.emplace(teskpf::Editor::fromText("fuzz.pf", before));
    } catch (const teskpf::Error &) {
        return 0;  // does not parse
    }
    try {
        if (op == 0) editor->setValueAtLine(line, text_arg);
        if (op == 1) editor->setCommentAtLine(line, text_arg);
        if (op == 2) editor->removeAtLine(line);
        if (op == 3) editor->add("[\"" + std::string(data[1] % 2 ? "k" : "n") + "\"][\"m\"]", text_arg, "c");
    } catch (const teskpf::EditError &) {
        if (editor->text() != before) fail("a refused edit changed the text", before, editor->text());
        return 0;
    }
    const std::string &after = editor->text();
    const std::vector<std::string> old_lines = linesOf(before), new_lines = linesOf(after);
    if (op == 0 || op == 1) {
        if (new_lines.size() != old_lines.size()) fail("the line count changed", before, after);
        for (size_t i = 0; i < old_lines.size(); ++i)
            if (static_cast<long>(i) != line && new_lines[i] != old_lines[i])
                fail("another line changed", before, after);
        const std::vector<std::string> old_entries = entriesOf(before), new_entries = entriesOf(after);
        if (new_entries.size() != old_entries.size()) fail("the entry count changed", before, after);
        size_t differing = 0;
        for (size_t i = 0; i < old_entries.size(); ++i) differing += new_entries[i] != old_entries[i];
        if (differing > 1) fail("another entry changed", before, after);
    } else if (op == 2) {
        // Removal: a run of lines goes; those before it and after it are kept.
        if (new_lines.size() >= old_lines.size()) fail("a removal removed no line", before, after);
        const size_t removed = old_lines.size() - new_lines.size();
        for (size_t i = 0; i + 1 < new_lines.size(); ++i) {
            const size_t from = static_cast<long>(i) < line ? i : i + removed;
            if (new_lines[i] != old_lines[from]) fail("a kept line changed", before, after);
        }
    } else if (entriesOf(after).size() <= entriesOf(before).size()) {
        fail("an addition added no entry", before, after);
    }
    return 0;
}
