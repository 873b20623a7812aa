#include "teskpf/editor.h"

#include <algorithm>
#include <cstdint>
#include <optional>

#include "editing/EditRules.h"
#include "files/FileIdentity.h"
#include "parsing/ParsedFile.h"
#include "parsing/ReadFile.h"
#include "parsing/Revision.h"
#include "saving/SaveTarget.h"
#include "store/EntryStore.h"
#include "syntax/BlockSyntax.h"
#include "syntax/KeyPath.h"
#include "syntax/LineLexer.h"
#include "teskpf/error.h"
#include "teskpf/save.h"

namespace teskpf {

namespace {

// Whether entry `a` of `before` reads as entry `b` of `after` does, apart from
// where it stands: what an edit must leave unchanged for every entry it does
// not mean to touch. `value` and `comment` compare the value and comment too.
bool sameRecord(const ParsedFile &before, size_t a, const ParsedFile &after, size_t b, bool value = true,
                bool comment = true) {
    const FileEntry &x = before.entries()[a];
    const FileEntry &y = after.entries()[b];
    if (x.level != y.level || x.kind != y.kind || before.key(x) != after.key(y)) return false;
    std::string buffer_x, buffer_y;
    if (value && before.value(x, buffer_x) != after.value(y, buffer_y)) return false;
    if (!comment) return true;
    return before.comment(x, buffer_x) == after.comment(y, buffer_y) && before.constraints(x) == after.constraints(y);
}

// The fields of one entry that an edit compares, copied out of its parse so
// that they outlive a change of its text.
struct Fields {
    int32_t level;
    EntryKind kind;
    std::string key, value, comment, constraints;
    bool operator==(const Fields &o) const {
        return level == o.level && kind == o.kind && key == o.key && value == o.value && comment == o.comment &&
               constraints == o.constraints;
    }
};

Fields fieldsOf(const ParsedFile &parsed, size_t index) {
    const FileEntry &e = parsed.entries()[index];
    std::string buffer;
    Fields fields{e.level, e.kind, std::string(parsed.key(e)), std::string(parsed.value(e, buffer)), {}, {}};
    fields.comment = std::string(parsed.comment(e, buffer));
    fields.constraints = std::string(parsed.constraints(e));
    return fields;
}

// Whether `after` reads as `before` with entries [first, first + removed)
// replaced by `inserted` others: every other entry unchanged, in order.
bool sameAround(const ParsedFile &before, const ParsedFile &after, size_t first, size_t removed, size_t inserted) {
    const size_t count = before.entries().size();
    if (after.entries().size() + removed != count + inserted) return false;
    for (size_t i = 0; i < first; ++i)
        if (!sameRecord(before, i, after, i)) return false;
    for (size_t i = first + removed; i < count; ++i)
        if (!sameRecord(before, i, after, i - removed + inserted)) return false;
    return true;
}

// The kinds and lines of the layout notes that tell where reading stops.
std::vector<std::pair<LayoutNoteKind, uint32_t>> layoutOf(const ParsedFile &parsed) {
    std::vector<std::pair<LayoutNoteKind, uint32_t>> out;
    for (const LayoutNote &note : parsed.notes()) out.emplace_back(note.kind, note.line);
    return out;
}

std::unique_ptr<ParsedFile> parse(const std::string &name, FileText text) {
    return std::make_unique<ParsedFile>(name, std::move(text));
}

// The last entry whose key path is `path`, or -1.
long lastWithPath(const ParsedFile &parsed, std::string_view path) {
    for (size_t i = parsed.entries().size(); i-- > 0;)
        if (parsed.hasKeyPath(i, path)) return static_cast<long>(i);
    return -1;
}

// Offset just past the line that starts at `begin` (its line feed included).
size_t nextLine(std::string_view text, size_t begin) {
    size_t eol = text.find('\n', begin);
    return eol == std::string_view::npos ? text.size() : eol + 1;
}

// The line break that ends the line holding `offset`'s previous byte, or the
// first line when `offset` is 0: "\r\n" or "\n".
std::string lineBreakBefore(std::string_view text, size_t offset) {
    size_t eol = offset > 0 ? text.rfind('\n', offset - 1) : text.find('\n');
    return eol != std::string_view::npos && eol > 0 && text[eol - 1] == '\r' ? "\r\n" : "\n";
}

std::string_view leadingWhiteSpace(std::string_view line) {
    return line.substr(0, static_cast<size_t>(trimmedWhiteSpace(line).data() - line.data()));
}

// The comment text written for `comment` (a leading "#" optional, white space
// at the ends dropped): "#words", or "" when there are none.
std::string commentText(std::string_view comment) {
    std::string_view words = trimmedWhiteSpace(comment);
    if (!words.empty() && words[0] == '#') words = trimmedWhiteSpace(words.substr(1));
    return words.empty() ? std::string() : "#" + std::string(words);
}

// `line`: the 1-based line of the entry the edit concerns; 0 when there is none.
[[noreturn]] void refuse(const std::string &name, const std::string &what, const std::string &why, long line = 0) {
    throw EditError("cannot " + what + ": " + why, name, line);
}

}  // namespace

struct Editor::State {
    std::string name;
    // The content, held once: the parse keeps the text it was read from.
    std::unique_ptr<ParsedFile> parsed;
    std::unique_ptr<FileLock> lock;
    // What the file was when read: a save refuses to replace another one.
    std::optional<FileIdentity> identity;
    bool changed = false;
    // The content as a string, built when Editor::text asks for it.
    mutable std::string text_copy;
    mutable bool text_copy_valid = false;

    std::string_view text() const { return parsed->text(); }

    const std::vector<FileEntry> &entries() const { return parsed->entries(); }
    const FileEntry &entry(size_t i) const { return entries()[i]; }
    // The 1-based line of entry `i`, as errors report it.
    long lineNumber(size_t i) const { return static_cast<long>(entry(i).line) + 1; }

    size_t indexOfPath(std::string_view path, const std::string &what) const {
        long found = lastWithPath(*parsed, path);
        if (found < 0) refuse(name, what, "there is no key " + std::string(path));
        return static_cast<size_t>(found);
    }

    size_t indexOfLine(long line, const std::string &what) const {
        auto it = std::lower_bound(entries().begin(), entries().end(), line,
                                   [](const FileEntry &e, long l) { return static_cast<long>(e.line) < l; });
        if (line < 0 || it == entries().end() || static_cast<long>(it->line) != line || it->kind == EntryKind::Note)
            refuse(name, what, "line " + std::to_string(line + 1) + " holds no key");
        return static_cast<size_t>(it - entries().begin());
    }

    // The number of entries inside the block opened by entry `index` (0 for
    // any other entry): they follow it and are nested deeper.
    size_t membersOf(size_t index) const {
        size_t end = index + 1;
        while (end < entries().size() && entry(end).level > entry(index).level) ++end;
        return end - index - 1;
    }

    // Offset just past the last line of entry `index`: its own line, or the
    // closing line of the block it opens (the end of the text when unclosed).
    size_t extentEnd(size_t index) const {
        const FileEntry &first = entry(index);
        const FileEntry &last = entry(index + membersOf(index));
        // Only closing lines follow the last member: those of the blocks still
        // open after it, down to and including this block's.
        int32_t closes = first.opensBlock() ? last.level + (last.opensBlock() ? 1 : 0) - first.level : 0;
        size_t end = nextLine(text(), last.line_begin);
        for (int32_t i = 0; i < closes; ++i) end = nextLine(text(), end);
        return end;
    }

    // Replaces text[begin, end) by `replacement`, re-reads the result and
    // checks it with `verify`; keeps the old text when that throws. `line`:
    // the 1-based line of the entry edited, for the error; 0 for none.
    template <typename Verify>
    void splice(size_t begin, size_t end, std::string_view replacement, const std::string &what, long line,
                Verify verify) {
        const std::string_view old = text();
        FileText next = FileText::withCapacity(old.size() - (end - begin) + replacement.size());
        char *out = next.data();
        old.copy(out, begin);
        replacement.copy(out + begin, replacement.size());
        old.copy(out + begin + replacement.size(), old.size() - end, end);
        next.resize(old.size() - (end - begin) + replacement.size());
        std::unique_ptr<ParsedFile> reread = parse(name, std::move(next));
        if ((reread->strayCloseLine() >= 0) != (parsed->strayCloseLine() >= 0) || !verify(*reread))
            refuse(name, what, "the result would not read back as asked", line);
        changed = changed || replacement != old.substr(begin, end - begin);
        parsed = std::move(reread);
        text_copy_valid = false;
    }

    // Replaces text[begin, end), within the line of entry `index`, by
    // `replacement`. When the line stays the same kind of line the parse is
    // changed in place (see ParsedFile::replaceInLine: every other entry then
    // reads as before by construction), `check(before, after)` judges the
    // entry's fields, and a refused edit is undone; otherwise the text is
    // re-read whole through splice and `verify`. In place, the text is never
    // held twice.
    template <typename Check, typename Verify>
    void spliceLine(size_t index, size_t begin, size_t end, std::string_view replacement, const std::string &what,
                    long line, Check check, Verify verify) {
        const Fields before = fieldsOf(*parsed, index);
        const std::string old_bytes(text().substr(begin, end - begin));
        if (!parsed->replaceInLine(index, begin, end, replacement)) {
            splice(begin, end, replacement, what, line, verify);
            return;
        }
        bool accepted = false;
        try {
            accepted = check(before, fieldsOf(*parsed, index));
        } catch (...) {
            accepted = false;
        }
        if (!accepted) {
            // The old bytes give the old line back, which reads as before;
            // the text shrinks back or grows within its buffer: no allocation.
            parsed->replaceInLine(index, begin, begin + replacement.size(), old_bytes);
            refuse(name, what, "the result would not read back as asked", line);
        }
        changed = changed || replacement != old_bytes;
        text_copy_valid = false;
    }

    void setValueAt(size_t index, std::string_view value, const std::string &what) {
        const FileEntry &e = entry(index);
        const long line = lineNumber(index);
        if (e.opensBlock()) refuse(name, what, "it opens a block; only plain values can be set", line);
        if (std::string problem = valueProblem(value, e.position >= 0); !problem.empty())
            refuse(name, what, problem, line);
        std::string written;
        size_t begin = e.value.begin, end = e.value.end();
        if (e.value.size == 0) {
            // A key without a value: the value goes after the key and a tab.
            begin = end = e.key.end();
            if (!value.empty()) written = "\t";
        }
        appendEscaped(written, value);
        const auto layout = layoutOf(*parsed);
        const auto check = [&](Fields before, const Fields &after) {
            before.value = std::string(value);
            return before == after;
        };
        spliceLine(index, begin, end, written, what, line, check, [&](const ParsedFile &reread) {
            std::string buffer;
            return sameAround(*parsed, reread, index, 1, 1) && sameRecord(*parsed, index, reread, index, false) &&
                   reread.value(reread.entries()[index], buffer) == value && layoutOf(reread) == layout;
        });
    }

    void setCommentAt(size_t index, std::string_view comment, const std::string &what) {
        const long line = lineNumber(index);
        if (std::string problem = commentProblem(comment); !problem.empty()) refuse(name, what, problem, line);
        const FileEntry &e = entry(index);
        std::string written = commentText(comment);
        std::string_view annotation =
            parsed->at(e.comment).substr(std::min<size_t>(1, e.comment.size), e.constraints_size);
        if (!annotation.empty() && written.compare(0, 2, "#<") != 0)
            written = "#" + std::string(annotation) + (written.empty() ? "" : " " + written.substr(1));
        size_t begin = e.comment.begin, end = e.comment.end();
        std::string replacement = written;
        if (e.comment.size == 0) {
            // After the value (or the key), one tab apart.
            begin = end = std::max(e.value.end(), e.key.end());
            if (!written.empty()) replacement.insert(0, "\t");
        } else if (written.empty()) {
            // No comment left: the white space before it goes too.
            while (begin > e.line_begin && (text()[begin - 1] == ' ' || text()[begin - 1] == '\t')) --begin;
        }
        const auto layout = layoutOf(*parsed);
        const auto check = [&](Fields before, const Fields &after) {
            before.comment = after.comment;
            before.constraints = after.constraints;
            return before == after && parsed->at(entry(index).comment) == written;
        };
        spliceLine(index, begin, end, replacement, what, line, check, [&](const ParsedFile &reread) {
            return sameAround(*parsed, reread, index, 1, 1) && sameRecord(*parsed, index, reread, index, true, false) &&
                   layoutOf(reread) == layout && reread.at(reread.entries()[index].comment) == written;
        });
    }

    void removeAt(size_t index, const std::string &what) {
        size_t count = 1 + membersOf(index);
        size_t begin = entry(index).line_begin, end = extentEnd(index);
        splice(begin, end, "", what, lineNumber(index),
               [&](const ParsedFile &reread) { return sameAround(*parsed, reread, index, count, 0); });
    }

    // One level of the file's indentation: what its first indented member
    // adds to the indentation of its block's opening line; a tab when no
    // member is indented.
    std::string indentUnit() const {
        for (const FileEntry &e : entries()) {
            if (e.parent < 0 || e.kind == EntryKind::Note) continue;
            const std::string_view own = leadingWhiteSpace(parsed->lineText(e));
            const std::string_view outer = leadingWhiteSpace(parsed->lineText(entry(static_cast<size_t>(e.parent))));
            if (own.size() > outer.size() && own.substr(0, outer.size()) == outer)
                return std::string(own.substr(outer.size()));
        }
        return "\t";
    }

    // The white space between the key and the value (`comment` false) or the
    // value and the comment of the file's first value line that has both;
    // a tab when none has.
    std::string firstGap(bool comment) const {
        for (const FileEntry &e : entries()) {
            if (e.kind != EntryKind::Value || !e.key.size || !e.value.size || (comment && !e.comment.size)) continue;
            const size_t begin = comment ? e.value.end() : e.key.end();
            const size_t end = comment ? e.comment.begin : e.value.begin;
            const std::string_view gap = text().substr(begin, end - begin);
            if (!gap.empty() && trimmedWhiteSpace(gap).empty()) return std::string(gap);
        }
        return "\t";
    }

    void add(std::string_view path, std::string_view value, std::string_view comment);
    void refreshRevision();
};

void Editor::State::add(std::string_view path, std::string_view value, std::string_view comment) {
    const std::string what = "add " + std::string(path);
    const syntax::ParsedPath parsed_path = syntax::parse(path);
    if (!parsed_path.ok() || parsed_path.components.empty())
        refuse(name, what, "it is not a key path such as [\"a\"][\"b\"][0]");
    const std::vector<syntax::Component> &components = parsed_path.components;
    if (components[0].position >= 0) refuse(name, what, "the top level holds named keys, not list positions");
    if (std::string problem = commentProblem(comment); !problem.empty()) refuse(name, what, problem);
    for (const syntax::Component &c : components)
        if (c.position < 0)
            if (std::string problem = keyNameProblem(c.name); !problem.empty()) refuse(name, what, problem);
    if (std::string problem = valueProblem(value, components.back().position >= 0); !problem.empty())
        refuse(name, what, problem);

    // The path's text is its components printed one after the other:
    // prefix_end[d] is where the first d + 1 of them end.
    std::vector<size_t> prefix_end(components.size());
    for (size_t d = 0, end = 0; d < components.size(); ++d) {
        end += components[d].position >= 0 ? listComponentSize(components[d].position)
                                           : namedComponentSize(components[d].name);
        prefix_end[d] = end;
    }
    // The key paths of the new entries are prefixes of the path: refused when
    // they would take the file's key paths beyond what reading allows.
    {
        const size_t budget = keyPathBudget(text().size() + path.size());
        size_t key_bytes = 0;
        std::vector<uint64_t> hashes;
        bool over = detail::keyPathHashes(*parsed, key_bytes, budget, hashes) >= 0;
        for (size_t d = components.size(); !over && d-- > 0;) {
            key_bytes += prefix_end[d];
            over = key_bytes > budget;
        }
        if (over) refuse(name, what, keyPathBudgetExceeded(budget));
    }
    // last_with[d]: the last entry whose key path is the path's first d + 1
    // components, or -1. One pass: an entry's path is a prefix of the path when
    // its block's is and its own component follows in the path's text.
    std::vector<long> last_with(components.size(), -1);
    {
        constexpr size_t kNoMatch = SIZE_MAX;
        std::vector<size_t> matched(entries().size(), kNoMatch);  // the length of path its key path equals
        for (size_t i = 0; i < entries().size(); ++i) {
            const FileEntry &e = entry(i);
            if (e.kind == EntryKind::Note) continue;
            const size_t from = e.parent < 0 ? 0 : matched[static_cast<size_t>(e.parent)];
            if (from == kNoMatch) continue;
            const size_t size = parsed->componentSize(e);
            if (size > path.size() - from) continue;
            const std::string_view upto = path.substr(0, from + size);
            if ((e.position >= 0 ? listComponentAtEnd(upto, e.position) : namedComponentAtEnd(upto, parsed->key(e))) !=
                size)
                continue;
            matched[i] = from + size;
            auto d = std::lower_bound(prefix_end.begin(), prefix_end.end(), matched[i]);
            if (d != prefix_end.end() && *d == matched[i]) last_with[static_cast<size_t>(d - prefix_end.begin())] = i;
        }
    }
    if (long there = last_with.back(); there >= 0)
        refuse(name, what, "the key is already there", lineNumber(static_cast<size_t>(there)));
    long parent = -1;
    size_t first_missing = 0;
    for (size_t i = components.size() - 1; i-- > 0;) {
        long found = last_with[i];
        if (found < 0) continue;
        const bool want_list = components[i + 1].position >= 0;
        const EntryKind kind = entry(static_cast<size_t>(found)).kind;
        if (kind != (want_list ? EntryKind::TblOpen : EntryKind::ArrOpen))
            refuse(name, what,
                   std::string(path.substr(0, prefix_end[i])) +
                       (want_list ? " is not a list block" : " is not an \"" + openingOf(BlockKind::Arr) + "\" block"),
                   lineNumber(static_cast<size_t>(found)));
        parent = found;
        first_missing = i + 1;
        break;
    }
    // Its members, the last of them, and whether a list position is the next one.
    long last_member = -1;
    long member_count = 0;
    for (size_t i = static_cast<size_t>(parent + 1); i < entries().size(); ++i) {
        if (parent >= 0 && entry(i).level <= entry(static_cast<size_t>(parent)).level) break;
        if (entry(i).parent == parent && entry(i).kind != EntryKind::Note) {
            last_member = static_cast<long>(i);
            ++member_count;
        }
    }
    for (size_t i = first_missing; i < components.size(); ++i) {
        long expected = i == first_missing ? member_count : 0;
        if (components[i].position >= 0 && components[i].position != expected)
            refuse(name, what,
                   "a list member can only be added at the next position, [" + std::to_string(expected) + "]");
        if (i > first_missing && components[i].position >= 0)
            refuse(name, what, "a new block is an \"" + openingOf(BlockKind::Arr) + "\" block, which holds named keys");
    }

    // Where the new lines go: after the last member, or before the closing
    // line of an empty block; at the top level, before a stray "}".
    size_t at = text().size();
    if (last_member >= 0) {
        at = extentEnd(static_cast<size_t>(last_member));
    } else if (parent >= 0) {
        // Only notes are inside: before the line after the last of them.
        const size_t p = static_cast<size_t>(parent);
        at = nextLine(text(), entry(p + membersOf(p)).line_begin);
    } else {
        for (const LayoutNote &note : parsed->notes())
            if (note.kind == LayoutNoteKind::StrayClose) at = note.line_begin;
    }

    // Layout copied from the sibling: indentation, separators, line break;
    // without a sibling, the file's own.
    const std::string unit = indentUnit();
    std::string indent = unit, key_gap, comment_gap;
    std::string line_break = lineBreakBefore(text(), at);
    if (last_member >= 0) {
        const FileEntry &sibling = entry(static_cast<size_t>(last_member));
        indent = std::string(leadingWhiteSpace(parsed->lineText(sibling)));
        if (sibling.key.size && sibling.value.size && sibling.kind == EntryKind::Value)
            key_gap = std::string(text().substr(sibling.key.end(), sibling.value.begin - sibling.key.end()));
        if (sibling.comment.size && sibling.value.size && sibling.kind == EntryKind::Value)
            comment_gap = std::string(text().substr(sibling.value.end(), sibling.comment.begin - sibling.value.end()));
        line_break = lineBreakBefore(text(), nextLine(text(), sibling.line_begin));
    } else if (parent >= 0) {
        indent = std::string(leadingWhiteSpace(parsed->lineText(entry(static_cast<size_t>(parent))))) + unit;
    } else {
        indent.clear();
    }
    if (trimmedWhiteSpace(key_gap).size() || key_gap.empty()) key_gap = firstGap(false);
    if (trimmedWhiteSpace(comment_gap).size() || comment_gap.empty()) comment_gap = firstGap(true);

    std::string lines;
    if (at == text().size() && !text().empty() && text().back() != '\n') lines.append(line_break);
    std::string level_indent = indent;
    std::vector<std::string> closings;
    for (size_t i = first_missing; i + 1 < components.size(); ++i) {
        lines.append(level_indent);
        if (components[i].position < 0) lines.append(components[i].name).append(" ");
        lines.append(openingOf(BlockKind::Arr)).append(line_break);
        closings.push_back(level_indent + kCloseBrace + line_break);
        level_indent.append(unit);
    }
    lines.append(level_indent);
    if (components.back().position < 0) {
        lines.append(components.back().name);
        if (!value.empty()) lines.append(key_gap);
    }
    appendEscaped(lines, value);
    if (std::string written = commentText(comment); !written.empty()) lines.append(comment_gap).append(written);
    lines.append(line_break);
    for (size_t i = closings.size(); i-- > 0;) lines.append(closings[i]);

    // The new entries come after those on the lines before `at`; the last
    // of them is the key added.
    const size_t added = components.size() - first_missing;
    const size_t first_new =
        static_cast<size_t>(std::lower_bound(entries().begin(), entries().end(), at,
                                             [](const FileEntry &e, size_t offset) { return e.line_begin < offset; }) -
                            entries().begin());
    splice(at, at, lines, what, 0, [&](const ParsedFile &reread) {
        if (!sameAround(*parsed, reread, first_new, 0, added)) return false;
        const size_t leaf = first_new + added - 1;
        std::string buffer;
        return reread.hasKeyPath(leaf, path) && reread.value(reread.entries()[leaf], buffer) == value;
    });
}

void Editor::State::refreshRevision() {
    for (size_t i = entries().size(); i-- > 0;) {
        const FileEntry &e = entry(i);
        if (e.kind == EntryKind::Value && isRevisionEntry(*parsed, e)) {
            setValueAt(i, revisionTime(), "refresh pf_revision_time");
            return;
        }
    }
}

Editor::Editor(std::string name, FileText text) : state_(std::make_unique<State>()) {
    state_->name = std::move(name);
    state_->parsed = parse(state_->name, std::move(text));
}

Editor::Editor(Editor &&) noexcept = default;
Editor &Editor::operator=(Editor &&) noexcept = default;
Editor::~Editor() = default;

Editor Editor::open(const std::string &path) {
    FileIdentity identity;
    FileText text = readFileOrThrow(path, &identity);
    Editor editor(path, std::move(text));
    editor.state_->identity = identity;
    return editor;
}

Editor Editor::openLocked(const std::string &path) { return openLocked(path, LockWait{}); }

Editor Editor::openLocked(const std::string &path, const LockWait &wait) {
    auto lock = std::make_unique<FileLock>(path, wait);
    Editor editor = open(path);
    editor.state_->lock = std::move(lock);
    return editor;
}

Editor Editor::fromText(const std::string &name, std::string text) { return Editor(name, FileText(text)); }

const std::string &Editor::text() const {
    if (!state_->text_copy_valid) {
        state_->text_copy = std::string(state_->text());
        state_->text_copy_valid = true;
    }
    return state_->text_copy;
}
bool Editor::changed() const { return state_->changed; }
const std::string &Editor::name() const { return state_->name; }

long Editor::lineOf(std::string_view key_path) const {
    long found = lastWithPath(*state_->parsed, key_path);
    return found < 0 ? -1 : static_cast<long>(state_->entry(static_cast<size_t>(found)).line);
}

void Editor::setValue(std::string_view key_path, std::string_view value) {
    const std::string what = "set " + std::string(key_path);
    state_->setValueAt(state_->indexOfPath(key_path, what), value, what);
}

void Editor::setValueAtLine(long line, std::string_view value) {
    const std::string what = "set the value on line " + std::to_string(line + 1);
    state_->setValueAt(state_->indexOfLine(line, what), value, what);
}

void Editor::setComment(std::string_view key_path, std::string_view comment) {
    const std::string what = "set the comment of " + std::string(key_path);
    state_->setCommentAt(state_->indexOfPath(key_path, what), comment, what);
}

void Editor::setCommentAtLine(long line, std::string_view comment) {
    const std::string what = "set the comment on line " + std::to_string(line + 1);
    state_->setCommentAt(state_->indexOfLine(line, what), comment, what);
}

void Editor::add(std::string_view key_path, std::string_view value, std::string_view comment) {
    state_->add(key_path, value, comment);
}

void Editor::remove(std::string_view key_path) {
    const std::string what = "remove " + std::string(key_path);
    state_->removeAt(state_->indexOfPath(key_path, what), what);
}

void Editor::removeAtLine(long line) {
    const std::string what = "remove line " + std::to_string(line + 1);
    state_->removeAt(state_->indexOfLine(line, what), what);
}

void Editor::save() {
    // Nothing changed since the file was read: it stays as it is, not even
    // its time changes.
    if (!state_->changed && state_->identity) {
        state_->lock.reset();
        return;
    }
    saveAs(state_->name);
}

void Editor::saveAs(const std::string &path) {
    state_->refreshRevision();
    // Only the file read is compared with what was read.
    const bool same_file = path == state_->name && state_->identity;
    FileIdentity written;
    saveFileChecked(path, state_->text(), same_file ? &*state_->identity : nullptr, &written);
    if (same_file) state_->identity = written;
    state_->changed = false;
    state_->lock.reset();
}

}  // namespace teskpf
