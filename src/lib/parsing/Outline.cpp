// The outline is read off the one parse of the text: every line that is no
// entry of it, before a top-level "}" stops reading, is a closing "}" of the
// innermost block still open.
#include "teskpf/outline.h"

#include "parsing/ParsedFile.h"

namespace teskpf {

namespace {

TextRange rangeOf(Span span) { return {span.begin, span.end()}; }

OutlineBlock blockOf(EntryKind kind) {
    return kind == EntryKind::ArrOpen   ? OutlineBlock::Arr
           : kind == EntryKind::TblOpen ? OutlineBlock::Tbl
                                        : OutlineBlock::None;
}

}  // namespace

Outline outlineOf(std::string_view text, const std::string &name) {
    const ParsedFile parsed(name, text);
    Outline outline;
    outline.lines.resize(parsed.lineCount());
    for (size_t pos = 0, line = 0; line < outline.lines.size(); ++line) {
        outline.lines[line].begin = pos;
        const size_t eol = text.find('\n', pos);
        pos = eol == std::string_view::npos ? text.size() : eol + 1;
    }
    const size_t read_lines =
        parsed.strayCloseLine() < 0 ? outline.lines.size() : static_cast<size_t>(parsed.strayCloseLine());
    for (size_t line = read_lines; line < outline.lines.size(); ++line)
        outline.lines[line].kind = OutlineLineKind::Unread;

    // Each ParsedFile entry's index in outline.entries (notes have none).
    std::vector<long> member_of(parsed.entries().size(), -1);
    std::vector<long> open;  // the blocks open, as indexes in outline.entries
    size_t next_line = 0;
    // Lines up to `end` that hold no entry close the innermost open block.
    const auto closeUpTo = [&](size_t end) {
        for (; next_line < end; ++next_line) {
            OutlineLine &closing = outline.lines[next_line];
            closing.kind = OutlineLineKind::Close;
            if (open.empty()) continue;  // cannot happen: reading stops at a top-level "}"
            OutlineEntry &opening = outline.entries[static_cast<size_t>(open.back())];
            opening.close_line = static_cast<long>(next_line);
            closing.level = opening.level;
            closing.block = opening.parent;
            open.pop_back();
        }
    };
    for (size_t i = 0; i < parsed.entries().size(); ++i) {
        const FileEntry &entry = parsed.entries()[i];
        closeUpTo(entry.line);
        OutlineLine &line = outline.lines[entry.line];
        line.level = entry.level;
        line.block = entry.parent < 0 ? -1 : member_of[static_cast<size_t>(entry.parent)];
        next_line = entry.line + 1;
        if (entry.kind == EntryKind::Note) continue;

        line.kind = OutlineLineKind::Member;
        line.entry = static_cast<long>(outline.entries.size());
        member_of[i] = line.entry;
        OutlineEntry member;
        member.line = static_cast<long>(entry.line);
        member.level = entry.level;
        member.parent = line.block;
        member.position = entry.position;
        if (member.parent >= 0) member.key_path = outline.entries[static_cast<size_t>(member.parent)].key_path;
        parsed.appendComponent(member.key_path, i);
        member.key = rangeOf(entry.key);
        member.value = rangeOf(entry.value);
        member.comment = rangeOf(entry.comment);
        if (entry.constraints_size > 0)
            member.annotation = {entry.comment.begin + 1, entry.comment.begin + 1 + entry.constraints_size};
        member.block = blockOf(entry.kind);
        if (member.block != OutlineBlock::None) open.push_back(line.entry);
        outline.entries.push_back(std::move(member));
    }
    closeUpTo(read_lines);
    return outline;
}

}  // namespace teskpf
