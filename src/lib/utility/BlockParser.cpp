#include "BlockParser.h"

#include <vector>

#include "ConstraintParser.h"
#include "LineLexer.h"

namespace teskpf {

namespace {

struct OpenBlock {
    std::string key_prefix;
    std::string level_text;
    int level;
    bool is_list;
    int position;  // next list position (list blocks only)
};

bool opens(const std::string &value, const char *marker) { return value.compare(0, 5, marker) == 0; }

Entry makeEntry(std::string source, const std::string &level_text, std::string key, std::string value,
                std::string comment, std::string constraints) {
    Entry entry;
    entry.reserve(6);
    entry.push_back(std::move(source));
    entry.push_back(level_text);
    entry.push_back(std::move(key));
    entry.push_back(std::move(value));
    entry.push_back(std::move(comment));
    entry.push_back(std::move(constraints));
    return entry;
}

}  // namespace

size_t keyPathBudget(size_t file_bytes) {
    const size_t floor = size_t{256} << 20;
    return floor + 16 * file_bytes;
}

EntryList parseBlock(const BlockStart &start, const std::string &fname, int &iline,
                     const Table<std::string> &lines, bool keep_comments, ConstraintTables &constraints) {
    EntryList result;
    const long line_count = static_cast<long>(lines.size());
    if (iline >= line_count) return result;

    size_t file_bytes = 0;
    for (const std::string &line : lines) file_bytes += line.size() + 1;
    const size_t budget = keyPathBudget(file_bytes);
    size_t key_bytes = 0;

    result.reserve(static_cast<size_t>(line_count - iline));
    std::vector<OpenBlock> open;
    open.push_back({start.key_prefix, std::to_string(start.level), start.level, start.is_list, 0});

    LineFields fields;
    std::string source_prefix = fname + ":";
    while (!open.empty() && iline < line_count) {
        std::string_view line = trimmed(lines[static_cast<size_t>(iline)]);
        ++iline;
        if (!line.empty() && line[0] == '}') {
            open.pop_back();
            continue;
        }
        OpenBlock &block = open.back();
        std::string source = source_prefix + std::to_string(iline - 1);
        lexLine(line, block.is_list, fields);

        if (fields.key.empty() && fields.value.empty()) {
            if (keep_comments)
                result.push_back(makeEntry(std::move(source), block.level_text, "", "", std::move(fields.comment),
                                           std::move(fields.constraints)));
            continue;
        }
        if (!block.is_list && fields.key.empty())
            throw "Cannot parse line '" + std::string(line) + "' in pf string - Arr must have a key";

        registerConstraints(constraints, fields.constraints);

        std::string key_path;
        if (block.is_list) {
            key_path = block.key_prefix + "[" + std::to_string(block.position++) + "]";
        } else {
            key_path.reserve(block.key_prefix.size() + fields.key.size() + 4);
            key_path.append(block.key_prefix).append("[\"").append(fields.key).append("\"]");
        }
        key_bytes += key_path.size();
        if (key_bytes > budget)
            throw fname + ":" + std::to_string(iline - 1) + ": key paths exceed " + std::to_string(budget) +
                " bytes; blocks are nested too deeply";

        const bool list_block = opens(fields.value, "&Tbl{");
        const bool arr_block = !list_block && opens(fields.value, "&Arr{");
        if (!list_block && !arr_block) {
            result.push_back(makeEntry(std::move(source), block.level_text, std::move(key_path),
                                       std::move(fields.value), std::move(fields.comment),
                                       std::move(fields.constraints)));
            continue;
        }
        const int inner_level = block.level + 1;
        result.push_back(makeEntry(std::move(source), block.level_text, key_path, list_block ? "&Tbl" : "&Arr",
                                   std::move(fields.comment), std::move(fields.constraints)));
        // `block` may dangle after this push.
        open.push_back({std::move(key_path), std::to_string(inner_level), inner_level, list_block, 0});
    }
    return result;
}

}  // namespace teskpf
