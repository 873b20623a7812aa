#include "support/EntryRecords.h"

#include <vector>

#include "detail/ConstraintParser.h"
#include "detail/KeyPath.h"
#include "detail/TextGenerator.h"
#include "support/LevelText.h"

namespace teskpf {

int registerConstraints(ConstraintTables &tables, const std::string &text) {
    if (tables.contains(text)) return 0;
    std::optional<Table<TeskPf_Constraint>> table = parseConstraintText(text);
    if (!table) return -1;
    tables.set(text, std::move(*table));
    return 0;
}

EntryList entryRecords(const ParsedFile &file, bool keep_comments, ConstraintTables &constraints) {
    const std::vector<FileEntry> &entries = file.entries();
    const size_t budget = keyPathBudget(file.text().size());
    size_t key_bytes = 0;

    EntryList result;
    result.reserve(entries.size());
    std::vector<std::string> block_paths;  // key paths of the blocks open around the current entry
    std::string registered;                // the constraint text registered last
    bool registered_any = false;
    std::string value_buffer;
    std::string comment_buffer;
    const std::string source_prefix = file.name() + ":";

    for (size_t i = 0; i < entries.size(); ++i) {
        const FileEntry &entry = entries[i];
        block_paths.resize(static_cast<size_t>(entry.level));
        if (entry.kind == EntryKind::Note && !keep_comments) continue;

        Entry record;
        record.reserve(6);
        record.push_back(source_prefix + std::to_string(entry.line));
        record.push_back(std::to_string(entry.level));
        std::string key_path;
        if (entry.kind != EntryKind::Note) {
            key_path = entry.level > 0 ? block_paths.back() : std::string();
            file.appendComponent(key_path, i);
            key_bytes += key_path.size();
            if (key_bytes > budget)
                throw file.name() + ":" + std::to_string(entry.line) + ": key paths exceed " + std::to_string(budget) +
                    " bytes; blocks are nested too deeply";
            // Neighbouring lines mostly carry the same annotation: parse a text once.
            std::string_view annotation = file.constraints(entry);
            if (!registered_any || annotation != registered) {
                registered.assign(annotation);
                registerConstraints(constraints, registered);
                registered_any = true;
            }
        }
        if (entry.opensBlock()) block_paths.push_back(key_path);
        record.push_back(std::move(key_path));
        record.emplace_back(entry.kind == EntryKind::Note ? std::string_view() : file.value(entry, value_buffer));
        record.emplace_back(file.comment(entry, comment_buffer));
        record.emplace_back(file.constraints(entry));
        result.push_back(std::move(record));
    }
    return result;
}

std::string generateText(const EntryList &list) {
    TextWriter writer;
    for (const Entry &entry : list) {
        TextLine line;
        line.level = parseLevel(entry[FIELD_LEVEL]);
        line.revision = entry[FIELD_KEY] == "[\"pf_revision_time\"]";
        line.key = writtenKey(entry[FIELD_KEY]);
        line.value = entry[FIELD_VALUE];
        line.comment = entry[FIELD_COMMENT];
        line.constraints = entry[FIELD_CONSTRAINTS];
        writer.add(line);
    }
    return writer.finish();
}

}  // namespace teskpf
