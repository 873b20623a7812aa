#include "BlockParser.h"

#include <charconv>
#include <limits>
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

bool opens(std::string_view value, std::string_view marker) { return value.substr(0, 5) == marker; }

// `prefix` followed by a number: "file.pf:12", or "[3]" with brackets. The
// text is assembled in place so that it is allocated once, at its exact size.
std::string withNumber(std::string_view prefix, long number, std::string_view open = {},
                       std::string_view close = {}) {
    char digits[24];
    size_t count = static_cast<size_t>(std::to_chars(digits, digits + sizeof digits, number).ptr - digits);
    std::string text(prefix.size() + open.size() + count + close.size(), '\0');
    char *out = text.data();
    for (std::string_view part : {prefix, open, std::string_view(digits, count), close}) {
        part.copy(out, part.size());
        out += part.size();
    }
    return text;
}

Entry makeEntry(std::string source, const std::string &level_text, std::string key, std::string_view value,
                const LineFields &fields) {
    Entry entry;
    entry.reserve(6);
    entry.push_back(std::move(source));
    entry.push_back(level_text);
    entry.push_back(std::move(key));
    entry.emplace_back(value);
    entry.emplace_back(fields.comment);
    entry.emplace_back(fields.constraints);
    return entry;
}

}  // namespace

size_t keyPathBudget(size_t file_bytes) {
    const size_t floor = size_t{256} << 20;
    return floor + 16 * file_bytes;
}

EntryList parseBlock(const BlockStart &start, const std::string &fname, int &iline, LineReader &lines,
                     bool keep_comments, ConstraintTables &constraints) {
    EntryList result;
    if (lines.empty()) return result;

    const size_t budget = keyPathBudget(lines.bytes());
    size_t key_bytes = 0;
    result.reserve(lines.remainingLines());
    std::vector<OpenBlock> open;
    open.push_back({start.key_prefix, std::to_string(start.level), start.level, start.is_list, 0});

    LineFields fields;
    std::string registered;  // the constraint text registered last
    bool registered_any = false;
    std::string source_prefix = fname + ":";
    while (!open.empty() && !lines.empty()) {
        if (iline == std::numeric_limits<int>::max())
            throw fname + ": more than " + std::to_string(iline) + " lines; the line counter cannot go on";
        std::string_view line = trimmed(lines.next());
        ++iline;
        if (!line.empty() && line[0] == '}') {
            open.pop_back();
            continue;
        }
        OpenBlock &block = open.back();
        std::string source = withNumber(source_prefix, iline - 1);
        lexLine(line, block.is_list, fields);

        if (fields.key.empty() && fields.value.empty()) {
            if (keep_comments)
                result.push_back(makeEntry(std::move(source), block.level_text, "", "", fields));
            continue;
        }
        if (!block.is_list && fields.key.empty())
            throw "Cannot parse line '" + std::string(line) + "' in pf string - Arr must have a key";

        // Neighbouring lines mostly carry the same annotation: parse a text once.
        if (!registered_any || fields.constraints != registered) {
            registered.assign(fields.constraints);
            registerConstraints(constraints, registered);
            registered_any = true;
        }

        std::string key_path;
        if (block.is_list) {
            key_path = withNumber(block.key_prefix, block.position++, "[", "]");
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
            result.push_back(makeEntry(std::move(source), block.level_text, std::move(key_path), fields.value,
                                       fields));
            continue;
        }
        const int inner_level = block.level + 1;
        result.push_back(makeEntry(std::move(source), block.level_text, key_path, list_block ? "&Tbl" : "&Arr",
                                   fields));
        // `block` may dangle after this push.
        open.push_back({std::move(key_path), std::to_string(inner_level), inner_level, list_block, 0});
    }
    return result;
}

}  // namespace teskpf
