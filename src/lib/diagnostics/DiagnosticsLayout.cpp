// Rules about a file's structure: braces, block markers, keys.
#include <string>

#include "diagnostics/DiagnosticRules.h"
#include "parsing/Revision.h"
#include "store/EntryStore.h"
#include "syntax/BlockSyntax.h"
#include "syntax/KeyPath.h"

namespace teskpf {

namespace {

std::string plural(size_t count, const char *noun) {
    return std::to_string(count) + " " + noun + (count == 1 ? "" : "s");
}

// Every note but the unclosed blocks; the text after braces only with the
// key paths (`with_keys`).
void reportNote(const ParsedFile &parsed, const LayoutNote &note, bool with_keys, FileReport &report) {
    switch (note.kind) {
    case LayoutNoteKind::StrayClose: {
        const size_t ignored = parsed.lineCount() - note.line - 1;
        report.add(Severity::Error, "stray-close", note.line, note.line_begin, note.span.begin,
                   "'}' closes no block: reading stops here and the " + plural(ignored, "line") + " after it " +
                       (ignored == 1 ? "is" : "are") + " ignored; remove it or open the block it was meant to close");
        break;
    }
    case LayoutNoteKind::UnclosedBlock: break;  // see reportUnclosed
    case LayoutNoteKind::TextAfterOpen:
    case LayoutNoteKind::TextAfterClose: {
        if (!with_keys) break;
        const std::string key = note.entry >= 0 ? parsed.keyPath(static_cast<size_t>(note.entry)) : std::string();
        const bool after_open = note.kind == LayoutNoteKind::TextAfterOpen;
        report.add(Severity::Warning, after_open ? "text-after-open" : "text-after-close", note.line, note.line_begin,
                   note.span.begin,
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

// The blocks still open at the end of the file nest in one another: one error
// at the outermost, a top-level block, counts the others.
void reportUnclosed(const ParsedFile &parsed, FileReport &report) {
    const LayoutNote *outermost = nullptr;
    size_t inside = 0;
    for (const LayoutNote &note : parsed.notes()) {
        if (note.kind != LayoutNoteKind::UnclosedBlock) continue;
        if (parsed.entries()[static_cast<size_t>(note.entry)].parent < 0)
            outermost = &note;
        else
            ++inside;
    }
    if (!outermost) return;
    const std::string key = parsed.keyPath(static_cast<size_t>(outermost->entry));
    std::string message = "block " + key + " is still open at the end of the file";
    if (inside == 0)
        message += "; close it with a line '}'";
    else
        message += ", and so " + std::string(inside == 1 ? "is " : "are ") + plural(inside, "block") +
                   " inside it; close each with a line '}'";
    report.add(Severity::Error, "unclosed-block", outermost->line, outermost->line_begin, outermost->span.begin,
               std::move(message), key);
}

// A value that starts with "&Arr" or "&Tbl" but opens no block.
void checkMarker(const ParsedFile &parsed, size_t index, FileReport &report) {
    const FileEntry &entry = parsed.entries()[index];
    const std::string_view value = parsed.at(entry.value);
    for (std::string_view marker : {kArrMarker, kTblMarker}) {
        if (entry.kind != EntryKind::Value || value.substr(0, marker.size()) != marker) continue;
        report.add(Severity::Error, "marker-without-brace", entry.line, entry.line_begin, entry.value.begin,
                   "value " + quoted(value) + " starts with '" + std::string(marker) + "' but opens no block: write '" +
                       std::string(marker) + "{' to open one, or escape the value otherwise",
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

// A top-level block named like the revision entry: writing the file puts a
// revision line in place of its opening, so its members move up a level and
// its "}" closes nothing.
void checkRevisionBlock(const ParsedFile &parsed, size_t index, FileReport &report) {
    const FileEntry &entry = parsed.entries()[index];
    if (!entry.opensBlock() || !isRevisionEntry(parsed, entry)) return;
    report.add(Severity::Error, "revision-block", entry.line, entry.line_begin, entry.key.begin,
               "block " + quoted(kRevisionName) +
                   " has the name of the revision entry: writing the file replaces its opening with a revision "
                   "time, and its '}' then closes no block; rename the block",
               parsed.keyPath(index));
}

}  // namespace

void checkLayout(const ParsedFile &parsed, const std::vector<uint64_t> *hashes, FileReport &report) {
    for (const LayoutNote &note : parsed.notes()) reportNote(parsed, note, hashes != nullptr, report);
    reportUnclosed(parsed, report);
    if (!hashes) return;

    // A key defined twice: found by the hashes of the paths, confirmed by
    // their components, so that no path is built but the ones reported.
    const std::vector<FileEntry> &entries = parsed.entries();
    detail::KeyPathIndex first_definition;  // the first entry of each key path
    first_definition.reserve(entries.size());
    std::vector<int32_t> first_of(entries.size(), -1);  // of a duplicate reported
    std::vector<uint32_t> last_definition(entries.size());
    std::vector<bool> redefined(entries.size(), false);  // inside a definition seen before, or one itself
    for (size_t i = 0; i < entries.size(); ++i) {
        if (entries[i].kind == EntryKind::Note) continue;
        checkMarker(parsed, i, report);
        checkRevisionBlock(parsed, i, report);
        checkKeyName(parsed, i, report);
        const uint64_t hash = (*hashes)[i];
        auto same_path = [&](int32_t candidate) {
            return detail::sameKeyPath(parsed, static_cast<size_t>(candidate), parsed, i);
        };
        int32_t first = first_definition.find(hash, same_path);
        if (first < 0) {
            // A path not seen before: no slot holds it.
            first = static_cast<int32_t>(i);
            first_definition.insert(hash, first, [](int32_t, int32_t) { return false; });
        }
        last_definition[static_cast<size_t>(first)] = static_cast<uint32_t>(i);
        // Members of a block defined twice are covered by the block's report.
        const int32_t parent = entries[i].parent;
        const bool in_redefined = parent >= 0 && redefined[static_cast<size_t>(parent)];
        redefined[i] = first != static_cast<int32_t>(i) || in_redefined;
        if (first != static_cast<int32_t>(i) && !in_redefined) first_of[i] = first;
    }
    for (size_t i = 0; i < entries.size(); ++i) {
        if (first_of[i] < 0) continue;
        const size_t first = static_cast<size_t>(first_of[i]);
        const FileEntry &entry = entries[i];
        std::string path = parsed.keyPath(i);
        std::string message = path + " is already defined on line " + std::to_string(entries[first].line + 1) +
                              "; read alone, the last definition (line " +
                              std::to_string(entries[last_definition[first]].line + 1) +
                              ") is in effect, but layered with other files an earlier one can win; keep one";
        report.add(Severity::Error, "duplicate-key", entry.line, entry.line_begin, entry.key.begin, std::move(message),
                   std::move(path));
    }
}

bool checkKeyPaths(const ParsedFile &parsed, std::vector<uint64_t> &hashes, FileReport &report) {
    size_t key_bytes = 0;
    const size_t budget = keyPathBudget(parsed.text().size());
    const int32_t crossed = detail::keyPathHashes(parsed, key_bytes, budget, hashes);
    if (crossed < 0) return true;
    hashes.clear();
    const FileEntry &entry = parsed.entries()[static_cast<size_t>(crossed)];
    report.add(Severity::Error, "unreadable", entry.line, entry.line_begin, entry.line_begin,
               keyPathBudgetExceeded(budget) +
                   ": reading the file fails here, and its keys and annotations are not checked; nest fewer blocks");
    return false;
}

}  // namespace teskpf
