#include "store/EntryStore.h"
#include "parsing/Revision.h"

#include <algorithm>
#include <charconv>
#include <cstring>

#include "store/AliveEntries.h"
#include "syntax/ConstraintParser.h"
#include "syntax/KeyPath.h"
#include "teskpf/error.h"

namespace teskpf::detail {

namespace {

// Whether a name may make a key path text read differently from its
// structure: one holding "[", "]" or '"' can alias other paths.
bool plainName(std::string_view name) {
    for (char c : name)
        if (c == '[' || c == ']' || c == '"') return false;
    return true;
}

// The decimal digits of a line number.
std::string_view lineDigits(uint32_t line, char (&digits)[16]) {
    char *end = std::to_chars(digits, digits + sizeof digits, line).ptr;
    return std::string_view(digits, static_cast<size_t>(end - digits));
}

// Feeds entry `entry`'s key path component into `hash` and returns its
// length: ["name"] read from the file's text, or [position].
size_t feedComponent(PathHash &hash, const ParsedFile &file, const FileEntry &entry) {
    if (entry.position >= 0) {
        // Room for the widest position and the bytes feedPadded may read past it.
        char buffer[kListComponentRoom + 8] = {};
        char *end = buffer + kListComponentRoom;
        const size_t size = listComponentSize(entry.position);
        hash.feedPadded(writeListComponentBefore(end, entry.position), size);
        return size;
    }
    const std::string_view name = file.key(entry);
    hash.feedNamedPadded(name);
    return namedComponentSize(name);
}

}  // namespace

int32_t keyPathHashes(const ParsedFile &file, size_t &key_bytes, size_t budget, std::vector<uint64_t> &hashes) {
    struct Block {
        PathHash hash;
        size_t length;
    };
    const std::vector<FileEntry> &file_entries = file.entries();
    hashes.assign(file_entries.size(), 0);
    // blocks[l]: the block most recently opened at level l, which encloses
    // every member at level l + 1 that follows it.
    std::vector<Block> blocks;
    for (size_t i = 0; i < file_entries.size(); ++i) {
        const FileEntry &entry = file_entries[i];
        if (entry.kind == EntryKind::Note) continue;
        const size_t level = static_cast<size_t>(entry.level);
        Block block = level == 0 ? Block{PathHash(), 0} : blocks[level - 1];
        block.length += feedComponent(block.hash, file, entry);
        key_bytes += block.length;
        if (key_bytes > budget) return static_cast<int32_t>(i);
        hashes[i] = block.hash.value();
        if (!entry.opensBlock()) continue;
        if (level < blocks.size())
            blocks[level] = block;
        else
            blocks.push_back(block);
    }
    return -1;
}

bool sameKeyPath(const ParsedFile &file_a, size_t a, const ParsedFile &file_b, size_t b) {
    int32_t x = static_cast<int32_t>(a);
    int32_t y = static_cast<int32_t>(b);
    // From the last component on, plain components compare by structure; a
    // name that may alias sends the comparison to the texts.
    while (x >= 0 && y >= 0) {
        const FileEntry &ea = file_a.entries()[static_cast<size_t>(x)];
        const FileEntry &eb = file_b.entries()[static_cast<size_t>(y)];
        const bool named_a = ea.position < 0;
        const bool named_b = eb.position < 0;
        if ((named_a && !plainName(file_a.key(ea))) || (named_b && !plainName(file_b.key(eb))))
            return file_b.hasKeyPath(b, file_a.keyPath(a));
        if (named_a != named_b) return false;
        if (named_a ? file_a.key(ea) != file_b.key(eb) : ea.position != eb.position) return false;
        x = ea.parent;
        y = eb.parent;
    }
    return x < 0 && y < 0;
}

// ---- Loading ------------------------------------------------------------------

ParsedFile readForMerge(const std::string &path) {
    // A file that cannot be read contributes nothing.
    FileText text;
    int error = 0;
    readFileText(path, text, error);
    return ParsedFile(path, std::move(text));
}

ParsedFile readForMerge(pf_open_file &file) {
    if (file.fd < 0) return readForMerge(file.path);
    FileText text;
    int error = 0;
    readOpenFile(file.fd, file.info.st_size, text, error);
    file.close();
    return ParsedFile(std::move(file.path), std::move(text));
}

Store::Store(const std::vector<std::string> &search_list) {
    load(search_list.size(), [&](size_t i) { return readForMerge(search_list[i]); });
}

Store::Store(std::vector<pf_open_file> search_list) {
    load(search_list.size(), [&](size_t i) { return readForMerge(search_list[i]); });
}

Store::Store(std::vector<ParsedFile> parsed) {
    load(parsed.size(), [&](size_t i) { return std::move(parsed[i]); });
}

template <typename FileAt>
void Store::load(size_t count, FileAt fileAt) {
    size_t key_bytes = 0;
    size_t file_bytes = 0;
    // The last file comes first and wins; only its blank and comment lines are
    // kept.
    for (size_t i = count; i-- > 0;) {
        ParsedFile file = fileAt(i);
        file_bytes += file.text().size();
        addFile(std::move(file), i + 1 == count, key_bytes, file_bytes);
    }
    entries.shrink_to_fit();
}

void Store::addFile(ParsedFile file, bool keep_notes, size_t &key_bytes, size_t &file_bytes) {
    const std::vector<uint64_t> hashes = pathHashes(file, key_bytes, keyPathBudget(file_bytes));
    const uint32_t id = static_cast<uint32_t>(files.size());
    files.push_back(std::move(file));
    if (!keep_notes) {
        mergeFile(id, hashes);
        return;
    }
    const std::vector<FileEntry> &file_entries = files.back().entries();
    entries.reserve(file_entries.size());
    key_index.reserve(file_entries.size());
    for (size_t i = 0; i < file_entries.size(); ++i) {
        if (i + 8 < hashes.size()) key_index.prefetch(hashes[i + 8]);
        const StoredEntry at{id, static_cast<uint32_t>(i)};
        if (file_entries[i].kind == EntryKind::Note) {
            last_note = static_cast<int32_t>(entries.size());
            entries.push_back(at);
        } else {
            append(at, hashes[i]);
        }
    }
}

std::vector<uint64_t> Store::pathHashes(const ParsedFile &file, size_t &key_bytes, size_t budget) const {
    std::vector<uint64_t> hashes;
    const int32_t crossed = keyPathHashes(file, key_bytes, budget, hashes);
    if (crossed >= 0) {
        const long line = file.entries()[static_cast<size_t>(crossed)].line;
        throw Error(file.name() + ":" + std::to_string(line) + ": " + keyPathBudgetExceeded(budget), file.name(),
                    line + 1);
    }
    return hashes;
}

void Store::registerConstraints(const ParsedFile &file) const {
    // A file uses few annotation texts, over and over: the last few seen are
    // compared before the table is searched.
    constexpr size_t kRecent = 4;
    std::string_view recent[kRecent];
    size_t next_recent = 0;
    bool empty_seen = false;
    for (const FileEntry &entry : file.entries()) {
        if (entry.kind == EntryKind::Note) continue;
        const std::string_view text = file.constraints(entry);
        if (text.empty()) {
            if (empty_seen) continue;
            empty_seen = true;
        } else {
            if (std::find(std::begin(recent), std::end(recent), text) != std::end(recent)) continue;
            recent[next_recent++ % kRecent] = text;
        }
        if (constraint_tables.count(text) != 0) continue;
        std::optional<ConstraintTable> table = parseConstraintText(text);
        if (table) constraint_tables.emplace(text, AnnotationCheck(std::move(*table)));
    }
}

void Store::append(StoredEntry at, uint64_t hash) {
    const int32_t position = static_cast<int32_t>(entries.size());
    entries.push_back(at);
    const int32_t replaced = key_index.insert(
        hash, position, [&](int32_t stored, int32_t) { return samePath(entries[static_cast<size_t>(stored)], at); });
    const FileEntry &entry = fileEntry(at);
    if (entry.parent < 0 && (replaced >= 0 || !plainName(files[at.file].key(entry)))) top_level_by_text = true;
}

// Merges the members of file `file_id` behind the entries there are: each
// top-level entry there is removes the last run of the file that starts with
// an entry of its key path and goes on while the paths start with it.
void Store::mergeFile(uint32_t file_id, const std::vector<uint64_t> &hashes) {
    const ParsedFile &file = files[file_id];
    std::vector<uint32_t> members;
    for (size_t i = 0; i < file.entries().size(); ++i)
        if (file.entries()[i].kind != EntryKind::Note) members.push_back(static_cast<uint32_t>(i));
    if (members.empty()) return;

    // The file's own index: the last member of each path, and for each member
    // the one before it with the same path.
    KeyPathIndex file_index;
    file_index.reserve(members.size());
    std::vector<int32_t> previous(members.size());
    bool by_text = top_level_by_text;
    for (size_t k = 0; k < members.size(); ++k) {
        const StoredEntry at{file_id, members[k]};
        previous[k] = file_index.insert(hashes[members[k]], static_cast<int32_t>(k), [&](int32_t stored, int32_t) {
            return samePath(StoredEntry{file_id, members[static_cast<size_t>(stored)]}, at);
        });
        if (file.entries()[members[k]].position < 0 && !plainName(file.key(file.entries()[members[k]]))) by_text = true;
    }

    std::vector<bool> removed(members.size(), false);
    if (by_text) {
        mergeByText(file_id, members, previous, file_index, removed);
    } else {
        // Plain names and no repeated top-level key: a path matches only the
        // entry of the same structure, and a run is exactly one block. The
        // file loses the block of the last definition of each key there is.
        bool removing = false;
        for (size_t k = 0; k < members.size(); ++k) {
            const StoredEntry at{file_id, members[k]};
            if (fileEntry(at).parent < 0) {
                const uint64_t hash = hashes[at.entry];
                removing =
                    file_index.find(hash, [&](int32_t c) { return c == static_cast<int32_t>(k); }) >= 0 &&
                    key_index.find(hash, [&](int32_t c) { return samePath(entries[static_cast<size_t>(c)], at); }) >= 0;
            }
            removed[k] = removing;
        }
    }

    key_index.reserve(entries.size() + members.size());
    entries.reserve(entries.size() + members.size());
    for (size_t k = 0; k < members.size(); ++k) {
        if (k + 8 < members.size()) key_index.prefetch(hashes[members[k + 8]]);
        if (!removed[k]) append(StoredEntry{file_id, members[k]}, hashes[members[k]]);
    }
}

// The merge by the key path texts, for names that can alias paths and for
// repeated top-level keys: every top-level entry there is, in order, finds the
// last member of the file with its key path that is still there and removes
// the run from it on while the paths start with that key path.
void Store::mergeByText(uint32_t file_id, const std::vector<uint32_t> &members, const std::vector<int32_t> &previous,
                        const KeyPathIndex &file_index, std::vector<bool> &removed) {
    std::vector<std::string> paths(members.size());
    for (size_t k = 0; k < members.size(); ++k) appendPath(paths[k], StoredEntry{file_id, members[k]});
    AliveEntries alive(members.size());
    const int32_t count = static_cast<int32_t>(members.size());
    for (size_t i = 0; i < entries.size(); ++i) {
        const FileEntry &entry = entryOf(i);
        if (entry.kind == EntryKind::Note || entry.level > 0) continue;
        const std::string key = keyPath(i);
        PathHash hash;
        hash.feed(key);
        int32_t found = file_index.find(hash.value(), [&](int32_t c) { return paths[static_cast<size_t>(c)] == key; });
        while (found >= 0 && alive.isRemoved(found)) found = previous[static_cast<size_t>(found)];
        for (int32_t at = found;
             at >= 0 && at < count && paths[static_cast<size_t>(at)].compare(0, key.size(), key) == 0;
             at = alive.from(at))
            alive.remove(at);
    }
    for (size_t k = 0; k < members.size(); ++k) removed[k] = alive.isRemoved(static_cast<int>(k));
}

// ---- One key without the merged list ----------------------------------------------

namespace {

// The supplier by a merged list: for search lists in which a top-level name
// may stand for part of another path.
std::optional<KeySupplier> supplierByMerge(const std::vector<std::string> &search_list, std::string_view key) {
    const Store store(search_list);
    const int found = store.find(key);
    if (found < 0) return std::nullopt;
    const FileEntry &entry = store.entryOf(static_cast<size_t>(found));
    // The store numbers its files from the one of highest precedence.
    return KeySupplier{search_list.size() - 1 - store.fileIdOf(static_cast<size_t>(found)), entry.line,
                       entry.opensBlock()};
}

}  // namespace

// What the merge above gives for one key path, file by file from the last:
// with plain top-level names, a path text starts with its top-level entry's
// component, and a run the merge removes is exactly one block of that entry.
// Each definition of the key's top-level name merged so far removes the
// last one of the next file still there, so the first ones beyond that
// count survive, appended after everything merged so far; the lookup then
// finds the last surviving entry of the path in the last file that has one.
std::optional<KeySupplier> keySupplier(const std::vector<std::string> &search_list, std::string_view key) {
    if (key.empty()) return std::nullopt;
    std::optional<KeySupplier> found;
    size_t merged = 0;  // definitions of the key's top-level name merged so far
    std::string component;
    std::vector<size_t> definitions;
    for (size_t i = search_list.size(); i-- > 0;) {
        const ParsedFile file = readForMerge(search_list[i]);
        const std::vector<FileEntry> &entries = file.entries();
        definitions.clear();
        for (size_t e = 0; e < entries.size(); ++e) {
            const FileEntry &entry = entries[e];
            if (entry.parent >= 0 || entry.kind == EntryKind::Note) continue;
            if (!plainName(file.key(entry))) return supplierByMerge(search_list, key);
            component.clear();
            file.appendComponent(component, e);
            if (key.compare(0, component.size(), component) == 0) definitions.push_back(e);
        }
        if (definitions.size() <= merged) continue;
        const size_t surviving = definitions.size() - merged;
        const size_t end = merged == 0 ? entries.size() : definitions[surviving];
        for (size_t e = end; e-- > definitions.front();) {
            if (!file.hasKeyPath(e, key)) continue;
            found = KeySupplier{i, entries[e].line, entries[e].opensBlock()};
            break;
        }
        merged = definitions.size();
    }
    return found;
}

// ---- Key paths ------------------------------------------------------------------

uint64_t Store::hashOf(StoredEntry at) const {
    // The hash runs from the root, the chain from the entry: collect the chain
    // first, on the stack while it is short.
    const ParsedFile &file = files[at.file];
    constexpr size_t kShortChain = 32;
    int32_t short_chain[kShortChain];
    std::vector<int32_t> long_chain;
    size_t depth = 0;
    for (int32_t x = static_cast<int32_t>(at.entry); x >= 0; x = file.entries()[static_cast<size_t>(x)].parent) {
        if (depth < kShortChain)
            short_chain[depth] = x;
        else
            long_chain.push_back(x);
        ++depth;
    }
    PathHash hash;
    for (size_t i = depth; i-- > 0;) {
        const int32_t x = i < kShortChain ? short_chain[i] : long_chain[i - kShortChain];
        feedComponent(hash, file, file.entries()[static_cast<size_t>(x)]);
    }
    return hash.value();
}

bool Store::pathEquals(StoredEntry at, std::string_view key) const { return files[at.file].hasKeyPath(at.entry, key); }

bool Store::samePath(StoredEntry a, StoredEntry b) const {
    return sameKeyPath(files[a.file], a.entry, files[b.file], b.entry);
}

void Store::appendPath(std::string &out, StoredEntry at) const { out += files[at.file].keyPath(at.entry); }

bool Store::nameHasBracket(size_t index) const {
    const FileEntry &entry = entryOf(index);
    return entry.kind != EntryKind::Note && entry.position < 0 &&
           fileOf(index).key(entry).find('[') != std::string_view::npos;
}

// ---- Queries ------------------------------------------------------------------

std::string Store::source(size_t index) const {
    char digits[16];
    std::string_view line = lineDigits(entryOf(index).line, digits);
    const std::string &name = fileOf(index).name();
    std::string source;
    source.reserve(name.size() + 1 + line.size());
    source.append(name).append(":").append(line);
    return source;
}

std::string Store::keyPath(size_t index) const { return fileOf(index).keyPath(entries[index].entry); }

std::string_view Store::writtenKey(size_t index, std::string &buffer) const {
    const FileEntry &entry = entryOf(index);
    if (entry.kind == EntryKind::Note || entry.position >= 0) return {};
    if (!nameHasBracket(index)) return fileOf(index).key(entry);
    // The written key is read from the path text, whose last "[" may stand in the name.
    buffer = keyPath(index);
    return teskpf::writtenKey(buffer);
}

bool Store::isRevisionEntry(size_t index) const { return teskpf::isRevisionEntry(fileOf(index), entryOf(index)); }

std::string_view Store::value(size_t index, std::string &buffer) const {
    const FileEntry &entry = entryOf(index);
    if (entry.kind == EntryKind::Note) return {};
    return fileOf(index).value(entry, buffer);
}

std::string_view Store::comment(size_t index, std::string &buffer) const {
    return fileOf(index).comment(entryOf(index), buffer);
}

int Store::find(std::string_view key) const {
    if (key.empty()) return last_note;
    PathHash hash;
    hash.feed(key);
    return key_index.find(hash.value(), [&](int32_t c) { return pathEquals(entries[static_cast<size_t>(c)], key); });
}

int Store::enclosingEntry(size_t index) const {
    const FileEntry &entry = entryOf(index);
    if (entry.kind == EntryKind::Note) return -1;
    if (nameHasBracket(index)) {
        const std::string path = keyPath(index);
        std::string_view enclosing = enclosingKey(path);
        return enclosing.empty() ? -1 : find(enclosing);
    }
    // The text before the last "[" is the block's own path.
    if (entry.parent < 0) return -1;
    const StoredEntry block{entries[index].file, static_cast<uint32_t>(entry.parent)};
    return key_index.find(hashOf(block), [&](int32_t c) {
        const StoredEntry &candidate = entries[static_cast<size_t>(c)];
        return (candidate.file == block.file && candidate.entry == block.entry) || samePath(candidate, block);
    });
}

const AnnotationCheck *Store::annotationCheck(std::string_view text) const {
    std::call_once(constraints_registered, [this] {
        for (const ParsedFile &file : files) registerConstraints(file);
    });
    auto found = constraint_tables.find(text);
    return found == constraint_tables.end() ? nullptr : &found->second;
}

}  // namespace teskpf::detail
