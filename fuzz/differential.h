// Differential check of the classic handle and of teskpf::Document against
// the reference model of tests/support/Reference.h, which shares no reading,
// merging, checking or writing code with the library. All read the same layered files;
// every query must answer alike.
#pragma once

#include <cstdint>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include <teskpf/document.h>
#include <teskpf/error.h>

#include "TeskPf.h"
#include "support/Reference.h"

namespace differential {

constexpr size_t kMaxLayers = 3;
constexpr char kFileName[] = "layered.pf";

// The input as layers: the first byte picks how many directories hold a file
// (1 to kMaxLayers); the rest is cut at each byte 0x01 into the files' texts.
inline std::vector<std::string> decodeLayers(const uint8_t *data, size_t size) {
    std::vector<std::string> layers;
    if (size == 0) return layers;
    const size_t count = 1 + data[0] % kMaxLayers;
    layers.emplace_back();
    for (size_t i = 1; i < size; ++i) {
        if (data[i] == 0x01 && layers.size() < count)
            layers.emplace_back();
        else
            layers.back().push_back(static_cast<char>(data[i]));
    }
    return layers;
}

// Writes layer i to DIR_i/kFileName (DIRS are the search path, in order) and
// removes the file from the directories beyond the layers. Returns the files
// written, in search-path order.
inline std::vector<std::string> writeLayers(const std::vector<std::filesystem::path> &dirs,
                                            const std::vector<std::string> &layers) {
    std::vector<std::string> files;
    for (size_t i = 0; i < dirs.size(); ++i) {
        const std::filesystem::path file = dirs[i] / kFileName;
        std::error_code ignored;
        if (i >= layers.size()) {
            std::filesystem::remove(file, ignored);
            continue;
        }
        std::ofstream(file, std::ios::binary | std::ios::trunc) << layers[i];
        files.push_back(file.string());
    }
    return files;
}

// The reference model's reading of the files: the entries, their lookup and
// the annotation texts that parse, by text.
struct Reference {
    reference::Annotations annotations;
    EntryList list;
    reference::Lookup lookup;
    std::map<std::string, reference::Constraints> tables;

    explicit Reference(const std::vector<std::string> &files)
        : list(reference::load(files, annotations)), lookup(list) {
        for (const std::string &text : annotations) {
            reference::Constraints constraints;
            if (reference::parseConstraints(text, constraints)) tables.emplace(text, std::move(constraints));
        }
    }

    int find(const std::string &key) const { return lookup.find(key); }

    // The constraints in effect for entry i: its own, else its enclosing block's.
    const reference::Constraints *table(int i) const {
        std::string text = list[static_cast<size_t>(i)][reference::kConstraints];
        if (text.empty()) {
            const std::string enclosing = reference::enclosingKey(list[static_cast<size_t>(i)][reference::kKey]);
            if (enclosing.empty()) return nullptr;
            int parent = find(enclosing);
            if (parent < 0) return nullptr;
            text = list[static_cast<size_t>(parent)][reference::kConstraints];
        }
        auto found = tables.find(text);
        return found == tables.end() ? nullptr : &found->second;
    }

    // The verdict on `value` as entry i's, and the types of its constraints.
    bool check(int i, const std::string &value, Table<int> &types) const {
        const reference::Constraints *constraints = table(i);
        types.clear();
        if (!constraints) return true;
        for (const reference::Constraint &c : *constraints) types.push_back(c.type);
        return reference::satisfies(value, *constraints);
    }
};

// Texts that query a handle: every key path, the text before its last "[",
// the path with a bit more or less, and the empty key.
inline std::vector<std::string> queriesOf(const EntryList &list) {
    std::vector<std::string> queries{"", "[", "[\"", "[0]"};
    for (const Entry &entry : list) {
        const std::string &key = entry[reference::kKey];
        queries.push_back(key);
        queries.push_back(reference::enclosingKey(key));
        queries.push_back(key + "[0]");
        if (!key.empty()) queries.push_back(key.substr(0, key.size() - 1));
    }
    return queries;
}

// The texts written with the revision line's time cut off: the two handles
// may read the clock in different seconds.
inline std::string withoutRevisionTime(std::string text) {
    const std::string line = "pf_revision_time\t";
    size_t at = text.rfind(line);
    if (at != std::string::npos && (at == 0 || text[at - 1] == '\n')) text.resize(at + line.size());
    return text;
}

// Whether `name` is the name of the entry with key path `key` at `level`:
// "" for a list item (a path ending in [N]) and the document's notes, else
// the key as written, which the path holds as its block's path followed by
// ["NAME"].
inline bool nameFits(std::string_view name, const std::string &key, int level, const Reference &reference) {
    if (name.empty()) {
        const size_t open = key.rfind('[');
        return key.empty() || (open != std::string::npos && open + 2 < key.size() && key.back() == ']' &&
                               key.find_first_not_of("0123456789", open + 1) == key.size() - 1);
    }
    const std::string tail = "[\"" + std::string(name) + "\"]";
    if (key.size() < tail.size() || key.compare(key.size() - tail.size(), tail.size(), tail) != 0) return false;
    const std::string block = key.substr(0, key.size() - tail.size());
    return block.empty() ? level == 0 : reference.find(block) >= 0;
}

// The document of the same files against the reference: every query finds
// the entry the reference finds, with the same fields, and the document, as
// loaded and after a set(), writes what the reference writes.
inline std::string compareDocument(const std::string &name, const Reference &reference) {
    std::optional<teskpf::Document> document;
    try {
        document.emplace(teskpf::Document::load(name));
    } catch (const teskpf::Error &error) {
        return std::string("the document does not load: ") + error.what();
    }
    const EntryList &list = reference.list;
    for (const std::string &query : queriesOf(list)) {
        const teskpf::Node node = document->find(query);
        const int found = reference.find(query);
        if (static_cast<bool>(node) != (found >= 0)) return "Document::find differs for " + query;
        if (!node) continue;
        const Entry &entry = list[static_cast<size_t>(found)];
        const teskpf::Source source = node.source();
        if (node.keyPath() != entry[reference::kKey] || node.text() != entry[reference::kValue] ||
            node.comment() != entry[reference::kComment] || node.annotation() != entry[reference::kConstraints] ||
            !nameFits(node.name(), entry[reference::kKey], node.level(), reference) ||
            std::to_string(node.level()) != entry[reference::kLevel] ||
            source.file + ":" + std::to_string(source.line - 1) != entry[reference::kSource])
            return "a node's field differs for " + query;
    }
    if (withoutRevisionTime(document->toString()) != withoutRevisionTime(reference::generate(list, 0)))
        return "Document::to_string differs";

    // The last value set to a text that reads back (escapes and all).
    const std::string value = "v\\#1 x";
    for (size_t i = list.size(); i-- > 0;) {
        const std::string &key = list[i][reference::kKey];
        const teskpf::Node node = document->find(key);
        if (key.empty() || !node.isValue()) continue;
        try {
            document->set(key, value);
        } catch (const teskpf::Error &error) {
            return "Document::set refused " + key + ": " + error.what();
        }
        EntryList edited = list;
        edited[static_cast<size_t>(reference.find(key))][reference::kValue] = value;
        if (node.text() != value ||
            withoutRevisionTime(document->toString()) != withoutRevisionTime(reference::generate(edited, 0)))
            return "Document::set differs for " + key;
        break;
    }
    return "";
}

// An entry record as one text, its fields joined by "|".
inline std::string shown(const Entry &entry) {
    std::string text;
    for (size_t i = 0; i < entry.size(); ++i) text += (i ? "|" : "") + entry[i];
    return text;
}

// TeskPf's destructor is not virtual; a final class lets it be owned safely.
struct Handle final : TeskPf {
    using TeskPf::TeskPf;
};

// "" when the handle and the reference agree on everything asked, else what
// differs first. `files` are the files the search path finds for `name`, in
// its order.
inline std::string compare(const std::string &name, const std::vector<std::string> &files) {
    std::string handle_error, reference_error;
    std::optional<Handle> handle;
    std::unique_ptr<Reference> reference;
    try {
        handle.emplace(name, 0);
    } catch (const std::string &message) {
        handle_error = message;
    }
    try {
        reference = std::make_unique<Reference>(files);
    } catch (const std::string &message) {
        reference_error = message;
    }
    if (handle_error != reference_error)
        return "load errors differ: '" + handle_error + "' vs '" + reference_error + "'";
    if (!handle) return "";

    const EntryList &list = reference->list;
    if (handle->size() != static_cast<int>(list.size())) return "sizes differ";
    const EntryList read = handle->getList();
    for (size_t i = 0; i < read.size(); ++i)
        if (read[i] != list[i])
            return "getList differs at entry " + std::to_string(i) + ": " + shown(read[i]) + " vs " + shown(list[i]);
    for (int i = 0; i < handle->size(); ++i) {
        const Entry &entry = list[static_cast<size_t>(i)];
        const std::string at = " at entry " + std::to_string(i);
        if (handle->getEntry(i) != entry) return "getEntry differs" + at;
        if (handle->getKey(i) != entry[reference::kKey] || handle->getComment(i) != entry[reference::kComment] ||
            handle->getSource(i) != entry[reference::kSource])
            return "a field differs" + at;
        bool ok = false;
        Table<int> types, expected_types;
        const std::string value = handle->getValue(i, &ok, &types);
        if (value != entry[reference::kValue]) return "getValue differs" + at;
        if (TeskPf::escapeValue(value) != reference::escapeValue(value) ||
            TeskPf::unescapeValue(entry[reference::kComment]) != reference::unescapeValue(entry[reference::kComment]))
            return "escaping differs" + at;
        if (ok != reference->check(i, value, expected_types) || types != expected_types) return "verdict differs" + at;
        std::string other = "1 x";
        if (handle->checkValue(i, &other, nullptr) != reference->check(i, other, expected_types))
            return "checkValue of another value differs" + at;
        bool parsed = false;
        if (handle->getConstraints(i, &parsed) != entry[reference::kConstraints] ||
            parsed != (reference->tables.count(entry[reference::kConstraints]) > 0))
            return "getConstraints differs" + at;
    }
    for (const std::string &query : queriesOf(list)) {
        if (handle->getEntryIndex(query) != reference->find(query)) return "getEntryIndex differs for " + query;
        if (TeskPf::key2Pfkey(query) != reference::key2Pfkey(query) ||
            TeskPf::key2Perl(query) != reference::key2Perl(query))
            return "a key conversion differs for " + query;
        const Table<std::string> components = TeskPf::key2Table(query);
        if (std::vector<std::string>(components.begin(), components.end()) != reference::key2Table(query))
            return "key2Table differs for " + query;
    }
    if (withoutRevisionTime(handle->getPfString()) != withoutRevisionTime(reference::generate(list, 0)))
        return "getPfString differs";

    // Edits: a copy edits on its own, and both write what the reference writes.
    if (handle->size() > 0) {
        TeskPf copy = *handle;
        const int last = handle->size() - 1;
        copy.setValue(last, "v#1\tx", 0);
        copy.setComment(0, "# edited");
        if (handle->getEntry(last) != list[static_cast<size_t>(last)]) return "editing a copy changed the original";
        EntryList edited = list;
        if (edited[static_cast<size_t>(last)][reference::kValue] != "v#1\tx")
            edited[static_cast<size_t>(last)][reference::kValue] = "v#1\tx";
        edited[0][reference::kComment] = "# edited";
        if (copy.getList() != edited) return "edited entries differ";
        if (withoutRevisionTime(copy.getPfString()) != withoutRevisionTime(reference::generate(edited, 0)))
            return "edited text differs";
    }
    return compareDocument(name, *reference);
}

}  // namespace differential
