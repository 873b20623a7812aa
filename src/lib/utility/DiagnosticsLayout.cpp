// Rules about a file's structure: braces, block markers, keys.
#include <string>
#include <unordered_map>

#include "detail/BlockSyntax.h"
#include "detail/DiagnosticRules.h"

namespace teskpf {

namespace {

std::string plural(size_t count, const char *noun) {
    return std::to_string(count) + " " + noun + (count == 1 ? "" : "s");
}

void reportNote(const ParsedFile &parsed, const LayoutNote &note, FileReport &report) {
    const std::string key = note.entry >= 0 ? parsed.keyPath(static_cast<size_t>(note.entry)) : std::string();
    switch (note.kind) {
    case LayoutNoteKind::StrayClose: {
        const size_t ignored = parsed.lineCount() - note.line - 1;
        report.add(Severity::Error, "stray-close", note.line, note.line_begin, note.span.begin,
                   "'}' closes no block: reading stops here and the " + plural(ignored, "line") + " after it " +
                       (ignored == 1 ? "is" : "are") + " ignored; remove it or open the block it was meant to close");
        break;
    }
    case LayoutNoteKind::UnclosedBlock:
        report.add(Severity::Error, "unclosed-block", note.line, note.line_begin, note.span.begin,
                   "block " + key + " is still open at the end of the file; close it with a line '}'", key);
        break;
    case LayoutNoteKind::TextAfterOpen:
    case LayoutNoteKind::TextAfterClose: {
        const bool after_open = note.kind == LayoutNoteKind::TextAfterOpen;
        report.add(Severity::Warning, after_open ? "text-after-open" : "text-after-close", note.line,
                   note.line_begin, note.span.begin,
                   "text " + quoted(parsed.at(note.span)) +
                       (after_open ? " after the opening brace" : " after the closing '}'") +
                       " is dropped when reading; move it to a line of its own",
                   key);
        break;
    }
    case LayoutNoteKind::NulByte:
        report.add(Severity::Error, "nul-byte", note.line, note.line_begin, note.span.begin,
                   "a NUL byte: the rest of this line is not read; remove it");
        break;
    }
}

// A value that starts with "&Arr" or "&Tbl" but opens no block.
void checkMarker(const ParsedFile &parsed, size_t index, FileReport &report) {
    const FileEntry &entry = parsed.entries()[index];
    const std::string_view value = parsed.at(entry.value);
    for (std::string_view marker : {kArrMarker, kTblMarker}) {
        if (entry.kind != EntryKind::Value || value.substr(0, marker.size()) != marker) continue;
        report.add(Severity::Error, "marker-without-brace", entry.line, entry.line_begin, entry.value.begin,
                   "value " + quoted(value) + " starts with '" + std::string(marker) +
                       "' but opens no block: write '" + std::string(marker) +
                       "{' to open one, or escape the value otherwise",
                   parsed.keyPath(index));
    }
}

void checkKeyName(const ParsedFile &parsed, size_t index, FileReport &report) {
    const FileEntry &entry = parsed.entries()[index];
    const std::string_view key = parsed.key(entry);
    const size_t bad = key.find_first_of("[]\"");
    if (bad == std::string_view::npos) return;
    report.add(Severity::Warning, "key-syntax", entry.line, entry.line_begin,
               entry.key.begin + static_cast<uint32_t>(bad),
               "key " + quoted(key) + " holds '" + std::string(1, key[bad]) +
                   "', which key paths use as syntax: lookups of it are ambiguous; rename it",
               parsed.keyPath(index));
}

}  // namespace

void checkLayout(const ParsedFile &parsed, FileReport &report) {
    for (const LayoutNote &note : parsed.notes()) reportNote(parsed, note, report);

    const std::vector<FileEntry> &entries = parsed.entries();
    std::unordered_map<std::string, size_t> first_definition;
    std::vector<size_t> last_definition(entries.size());
    std::vector<bool> duplicate(entries.size(), false);  // reported
    std::vector<bool> redefined(entries.size(), false);  // inside a definition seen before, or one itself
    std::vector<std::string> paths(entries.size());
    for (size_t i = 0; i < entries.size(); ++i) {
        if (entries[i].kind == EntryKind::Note) continue;
        checkMarker(parsed, i, report);
        checkKeyName(parsed, i, report);
        paths[i] = parsed.keyPath(i);
        auto [at, inserted] = first_definition.emplace(paths[i], i);
        last_definition[at->second] = i;
        // Members of a block defined twice are covered by the block's report.
        const int32_t parent = entries[i].parent;
        const bool in_redefined = parent >= 0 && redefined[static_cast<size_t>(parent)];
        redefined[i] = !inserted || in_redefined;
        duplicate[i] = !inserted && !in_redefined;
    }
    for (size_t i = 0; i < entries.size(); ++i) {
        if (!duplicate[i]) continue;
        const size_t first = first_definition[paths[i]];
        const FileEntry &entry = entries[i];
        report.add(Severity::Error, "duplicate-key", entry.line, entry.line_begin, entry.key.begin,
                   paths[i] + " is already defined on line " + std::to_string(entries[first].line + 1) +
                       "; read alone, the last definition (line " +
                       std::to_string(entries[last_definition[first]].line + 1) +
                       ") is in effect, but layered with other files an earlier one can win; keep one",
                   paths[i]);
    }
}

}  // namespace teskpf
