// The reference model's block parser, file reading, merge and lookup.
#include <fstream>

#include "support/Reference.h"

namespace reference {

namespace {

// The lines of one file, taken from the front by every nesting level.
struct Lines {
    const std::vector<std::string> &lines;
    Annotations &annotations;
    size_t taken = 0;
};

bool startsWith(const std::string &text, const std::string &prefix) {
    return text.compare(0, prefix.size(), prefix) == 0;
}

// Reads one block (or a file's top level) up to its closing line or the end.
void parseBlock(int level, const std::string &prefix, bool in_list, const std::string &file_name, Lines &lines,
                bool keep_notes, EntryList &out) {
    int position = 0;
    while (lines.taken < lines.lines.size()) {
        const std::string line = trim(lines.lines[lines.taken++]);
        if (!line.empty() && line[0] == '}') return;
        const std::string source = file_name + ":" + std::to_string(lines.taken - 1);
        const LineFields fields = lexLine(line, in_list);
        Entry entry;
        for (const std::string &field :
             {source, std::to_string(level), std::string(), std::string(), fields.comment, fields.constraints})
            entry.push_back(field);
        if (fields.key.empty() && fields.value.empty()) {
            if (keep_notes) out.push_back(entry);
            continue;
        }
        if (!in_list && fields.key.empty()) throw "Cannot parse line '" + line + "' in pf string - Arr must have a key";
        lines.annotations.insert(fields.constraints);
        const std::string path =
            in_list ? prefix + "[" + std::to_string(position++) + "]" : prefix + "[\"" + fields.key + "\"]";
        entry[kKey] = path;
        if (startsWith(fields.value, "&Tbl{") || startsWith(fields.value, "&Arr{")) {
            const bool list = fields.value[1] == 'T';
            entry[kValue] = list ? "&Tbl" : "&Arr";
            out.push_back(entry);
            parseBlock(level + 1, path, list, file_name, lines, keep_notes, out);
        } else {
            entry[kValue] = fields.value;
            out.push_back(entry);
        }
    }
}

}  // namespace

EntryList parseLines(const std::string &file_name, const std::vector<std::string> &lines, bool keep_notes,
                     Annotations &annotations) {
    EntryList out;
    Lines from{lines, annotations};
    parseBlock(0, "", false, file_name, from, keep_notes, out);
    return out;
}

std::vector<std::string> readLines(const std::string &path) {
    std::vector<std::string> lines;
    std::ifstream in(path, std::ios::binary);
    for (std::string line; std::getline(in, line);) lines.push_back(line);
    return lines;
}

EntryList merge(const EntryList &winner, const EntryList &loser) {
    if (loser.empty()) return winner;
    if (winner.empty()) return loser;
    // Each entry of `loser` still in it; a key's entries, latest last.
    std::vector<bool> removed(loser.size(), false);
    std::map<std::string, std::vector<size_t>> with_key;
    for (size_t i = 0; i < loser.size(); ++i) with_key[loser[i][kKey]].push_back(i);

    EntryList result;
    for (const Entry &entry : winner) {
        result.push_back(entry);
        if (std::stoi(entry[kLevel]) > 0) continue;
        const std::string &key = entry[kKey];
        auto found = with_key.find(key);
        if (found == with_key.end()) continue;
        std::vector<size_t> &indices = found->second;
        while (!indices.empty() && removed[indices.back()]) indices.pop_back();
        if (indices.empty()) continue;
        // The run from the last entry with that key while the keys start with it.
        for (size_t at = indices.back(); at < loser.size(); ++at) {
            if (removed[at]) continue;
            if (!startsWith(loser[at][kKey], key)) break;
            removed[at] = true;
        }
    }
    for (size_t i = 0; i < loser.size(); ++i)
        if (!removed[i]) result.push_back(loser[i]);
    return result;
}

EntryList load(const std::vector<std::string> &files, Annotations &annotations) {
    EntryList merged;
    bool first = true;
    for (auto file = files.rbegin(); file != files.rend(); ++file) {
        merged = merge(merged, parseLines(*file, readLines(*file), first, annotations));
        first = false;
    }
    return merged;
}

Lookup::Lookup(const EntryList &list) {
    for (size_t i = 0; i < list.size(); ++i) last_[list[i][kKey]] = static_cast<int>(i);
}

int Lookup::find(const std::string &key) const {
    auto found = last_.find(key);
    return found == last_.end() ? -1 : found->second;
}

}  // namespace reference
