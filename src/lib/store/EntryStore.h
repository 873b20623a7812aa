// What a classic handle and a document hold: the parsed files, shared and
// never changed, and the merged entry list as small records pointing into
// them. Every text field of an entry is derived from its file when asked; key
// paths are found through a hash index that confirms candidates against the
// files' text.
#pragma once

#include <cstdint>
#include <mutex>
#include <optional>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

#include "checks/AnnotationRule.h"
#include "checks/ValueCheck.h"
#include "internal/pf_search_path.h"
#include "parsing/ParsedFile.h"
#include "store/KeyPathIndex.h"

namespace teskpf::detail {

// An entry of the merged list: the file it was read from and its place there.
struct StoredEntry {
    uint32_t file;
    uint32_t entry;
};

// The hash of every member's key path text (0 for a note), each made from
// its block's hash and its own component, in `hashes`: linear in the file
// however deep its blocks. Adds the bytes the paths take as text to
// `key_bytes` and stops at the first member that takes them beyond `budget`:
// returns that member's index, or -1 when none does.
int32_t keyPathHashes(const ParsedFile &file, size_t &key_bytes, size_t budget, std::vector<uint64_t> &hashes);

// Whether entry `a` of `file_a` and entry `b` of `file_b` have the same key
// path text: compared by structure from the last component back, by the texts
// when a name holds "[", "]" or '"' and may alias another path.
bool sameKeyPath(const ParsedFile &file_a, size_t a, const ParsedFile &file_b, size_t b);

// The file at `path` parsed as a layer of the merge: empty when it cannot be
// read. Throws a std::string for a key-less line.
ParsedFile readForMerge(const std::string &path);
// The same for a file found by openParameterFiles: read from its descriptor,
// closed once read, or by its path when it has none.
ParsedFile readForMerge(pf_open_file &file);

// Where a Store of a search list finds a key path.
struct KeySupplier {
    size_t file;       // index in the search list
    uint32_t line;     // 0-based line of the entry
    bool opens_block;  // the entry opens a block
};

// What Store(search_list).find(key) finds, read one file at a time, so that
// one file's parse is held at a time (all of them when a top-level name holds
// "[", "]" or '"'); none when it finds nothing. Throws a std::string for a
// key-less line, at the file Store would; key paths are not built, so there is
// no budget for them.
std::optional<KeySupplier> keySupplier(const std::vector<std::string> &search_list, std::string_view key);

class Store {
public:
    // Reads the files of a search list, the last winning each top-level key
    // (see TeskPf's constructor). Throws Error for a key-less line and for key
    // paths beyond keyPathBudget of the bytes read.
    explicit Store(const std::vector<std::string> &search_list);
    // The same for the files of a search list already open (see
    // openParameterFiles), each closed once read.
    explicit Store(std::vector<pf_open_file> search_list);
    // Merges files already read and parsed (lowest precedence first) the same
    // way. Throws Error for key paths beyond keyPathBudget.
    explicit Store(std::vector<ParsedFile> parsed);

    size_t size() const { return entries.size(); }

    const ParsedFile &fileOf(size_t index) const { return files[entries[index].file]; }
    // The files read, the one of highest precedence first (id 0), and the id
    // of the file entry `index` was read from.
    size_t fileCount() const { return files.size(); }
    const ParsedFile &file(size_t id) const { return files[id]; }
    size_t fileIdOf(size_t index) const { return entries[index].file; }
    const FileEntry &entryOf(size_t index) const { return fileEntry(entries[index]); }
    bool isNote(size_t index) const { return entryOf(index).kind == EntryKind::Note; }

    std::string source(size_t index) const;
    std::string keyPath(size_t index) const;
    // The key as written on the entry's line, as key2Pfkey gives it from the path.
    std::string_view writtenKey(size_t index, std::string &buffer) const;
    bool isRevisionEntry(size_t index) const;
    std::string_view value(size_t index, std::string &buffer) const;
    std::string_view comment(size_t index, std::string &buffer) const;
    std::string_view constraints(size_t index) const { return fileOf(index).constraints(entryOf(index)); }

    // Index of the last entry whose key path equals `key`; -1 when none.
    int find(std::string_view key) const;
    // The entry whose constraints apply when entry `index` has none of its
    // own: the last entry holding the key path before its last "["; -1 when none.
    int enclosingEntry(size_t index) const;
    // The entry whose annotation applies to entry `index` (see
    // AnnotationRule.h); -1 when none does.
    int annotatedEntry(size_t index) const {
        return teskpf::annotatedEntry(
            static_cast<int>(index), [&](int i) { return constraints(static_cast<size_t>(i)); },
            [&](int i) { return enclosingEntry(static_cast<size_t>(i)); });
    }
    // An annotation text parsed and prepared for checking values; null when
    // the text was not registered (not read on any member line of the files
    // read, or malformed). The first call registers and parses the texts of
    // all the files, each distinct text once, so that loading a file whose
    // values are never checked parses none; safe from threads that share the
    // store.
    const AnnotationCheck *annotationCheck(std::string_view text) const;

    // Calls visit(index, key_path) for every entry in order; the path is
    // built in one growing string.
    template <typename Visit>
    void forEachWithPath(Visit visit) const;

private:
    // Adds the files from the last to the first; fileAt(i) gives file i
    // parsed and is called just before the file is added.
    template <typename FileAt>
    void load(size_t count, FileAt fileAt);
    const FileEntry &fileEntry(StoredEntry at) const { return files[at.file].entries()[at.entry]; }
    void addFile(ParsedFile file, bool keep_notes, size_t &key_bytes, size_t &file_bytes);
    void registerConstraints(const ParsedFile &file) const;
    std::vector<uint64_t> pathHashes(const ParsedFile &file, size_t &key_bytes, size_t budget) const;
    void append(StoredEntry at, uint64_t hash);
    void mergeFile(uint32_t file_id, const std::vector<uint64_t> &hashes);
    void mergeByText(uint32_t file_id, const std::vector<uint32_t> &members, const std::vector<int32_t> &previous,
                     const KeyPathIndex &file_index, std::vector<bool> &removed);
    uint64_t hashOf(StoredEntry at) const;
    bool pathEquals(StoredEntry at, std::string_view key) const;
    bool samePath(StoredEntry a, StoredEntry b) const;
    void appendPath(std::string &out, StoredEntry at) const;
    bool nameHasBracket(size_t index) const;

    std::vector<ParsedFile> files;
    std::vector<StoredEntry> entries;
    KeyPathIndex key_index;
    int32_t last_note = -1;          // what the empty key finds
    bool top_level_by_text = false;  // a top-level name holds "[", "]" or '"', or repeats
    // Filled on the first annotationCheck; views into `files`.
    mutable std::unordered_map<std::string_view, AnnotationCheck> constraint_tables;
    mutable std::once_flag constraints_registered;
};

template <typename Visit>
void Store::forEachWithPath(Visit visit) const {
    std::string path;
    std::vector<size_t> block_ends;  // path length at the end of each open block's component
    for (size_t i = 0; i < entries.size(); ++i) {
        const FileEntry &entry = entryOf(i);
        if (entry.kind == EntryKind::Note) {
            visit(i, std::string_view());
            continue;
        }
        const size_t level = static_cast<size_t>(entry.level);
        block_ends.resize(level);
        path.resize(level == 0 ? 0 : block_ends.back());
        fileOf(i).appendComponent(path, entries[i].entry);
        if (entry.opensBlock()) block_ends.push_back(path.size());
        visit(i, std::string_view(path));
    }
}

}  // namespace teskpf::detail
