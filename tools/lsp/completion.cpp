// Completion: the type keywords of an annotation after "#<", the words the
// annotation in effect allows in a value, and at a key the keys that lower
// layers define in the same block and this file does not.
#include <set>
#include <string_view>
#include <unordered_set>

#include <teskpf/error.h>
#include <teskpf/explain.h>
#include <teskpf/value_type.h>
#include <teskpf/words.h>

#include "feature_groups.h"
#include "feature_support.h"

namespace teskpf_lsp {

namespace {

// The protocol's CompletionItemKind values used here.
constexpr int kPropertyKind = 10;
constexpr int kValueKind = 12;
constexpr int kKeywordKind = 14;

bool isBlank(char c) { return c == ' ' || c == '\t'; }

nlohmann::json item(const std::string &label, int kind, const nlohmann::json &range) {
    return {{"label", label}, {"kind", kind}, {"textEdit", textEdit(range, label)}};
}

// Where the annotation type being typed starts: right after a "<" that
// begins the comment's annotation ("#<") or a later group of it (one
// character after a group's ">" or ")"), with only letters between it and
// `offset`. npos when the position is not there.
std::size_t annotationTypeStart(const OutlinedText &text, std::size_t line_begin, std::size_t offset,
                                std::size_t comment_begin) {
    const std::string_view before = std::string_view(text.text()).substr(line_begin, offset - line_begin);
    const std::size_t open = before.rfind('<');
    if (open == std::string_view::npos || line_begin + open <= comment_begin) return std::string_view::npos;
    for (char c : before.substr(open + 1))
        if (!std::isalpha(static_cast<unsigned char>(c))) return std::string_view::npos;
    const bool first_group = line_begin + open == comment_begin + 1;
    const bool later_group = open >= 2 && (before[open - 2] == '>' || before[open - 2] == ')');
    return first_group || later_group ? line_begin + open + 1 : std::string_view::npos;
}

nlohmann::json annotationTypes(const OutlinedText &text, std::size_t begin, std::size_t offset) {
    nlohmann::json items = nlohmann::json::array();
    for (teskpf::ValueType type : {teskpf::ValueType::Str, teskpf::ValueType::Int, teskpf::ValueType::Float,
                                   teskpf::ValueType::Color, teskpf::ValueType::Font, teskpf::ValueType::Regex})
        items.push_back(item(std::string(teskpf::typeKeyword(type)), kKeywordKind, text.range(begin, offset)));
    return items;
}

// The words allowed for the field of the value being typed at `offset`,
// whose text starts at `value_begin`.
nlohmann::json valueWords(const Workspace &workspace, const TextDocument &document, const OutlinedText &text,
                          const teskpf::OutlineEntry &entry, std::size_t value_begin, std::size_t offset) {
    std::size_t field = 0;
    std::size_t word_begin = value_begin;
    for (std::size_t at = value_begin; at < offset; ++at) {
        if (!isBlank(text.text()[at])) continue;
        if (at > word_begin) ++field;
        word_begin = at + 1;
    }
    std::string annotation;
    try {
        annotation = teskpf::explain(workspace.layersOf(document), entry.key_path).annotation;
    } catch (const teskpf::Error &) {
        return nullptr;
    }
    nlohmann::json items = nlohmann::json::array();
    for (const std::string &word : teskpf::allowedWords(annotation, field))
        items.push_back(item(word, kValueKind, text.range(word_begin, offset)));
    return items;
}

// The keys lower layers define in the block that line `line` stands in,
// other than those this file defines there.
nlohmann::json lowerKeys(const Workspace &workspace, const TextDocument &document, const OutlinedText &text, long line,
                         std::size_t key_begin, std::size_t offset) {
    const teskpf::Outline &outline = text.outline();
    const long block = outline.lines[static_cast<std::size_t>(line)].block;
    if (block >= 0 && outline.entries[static_cast<std::size_t>(block)].block == teskpf::OutlineBlock::Tbl)
        return nlohmann::json::array();  // list members have no keys
    std::size_t here = 0;
    const std::vector<teskpf::LayerText> layers = workspace.layersOf(document, &here);
    if (here == 0) return nlohmann::json::array();  // no lower layer to offer keys from
    const std::string block_path =
        block < 0 ? std::string() : outline.entries[static_cast<std::size_t>(block)].key_path;
    std::unordered_set<std::string_view> defined;
    for (const teskpf::OutlineEntry &entry : outline.entries)
        if (entry.parent == block && entry.line != line)
            defined.insert(std::string_view(text.text()).substr(entry.key.begin, entry.key.end - entry.key.begin));

    std::set<std::string> offered;
    nlohmann::json items = nlohmann::json::array();
    for (std::size_t i = 0; i < here && i < layers.size(); ++i) {
        std::optional<OutlinedText> lower;
        try {
            lower = OutlinedText::of(layers[i].text ? *layers[i].text : workspace.textOf(layers[i].path),
                                     workspace.encoding());
        } catch (const teskpf::Error &) {
            continue;
        }
        if (!lower) continue;
        const std::vector<teskpf::OutlineEntry> &entries = lower->outline().entries;
        for (const teskpf::OutlineEntry &entry : entries) {
            if (entry.key.empty()) continue;
            const std::string_view parent_path =
                entry.parent < 0 ? std::string_view() : entries[static_cast<std::size_t>(entry.parent)].key_path;
            if (parent_path != block_path) continue;
            const std::string key = lower->text().substr(entry.key.begin, entry.key.end - entry.key.begin);
            if (defined.count(key) || !offered.insert(key).second) continue;
            nlohmann::json offer = item(key, kPropertyKind, text.range(key_begin, offset));
            offer["detail"] = layers[i].path + ":" + std::to_string(entry.line + 1);
            items.push_back(std::move(offer));
        }
    }
    return items;
}

}  // namespace

nlohmann::json completion(const Workspace &workspace, const nlohmann::json &params) {
    const std::optional<RequestedText> requested = requestedText(workspace, params);
    if (!requested) return nullptr;
    const TextDocument *document = requested->document;
    const OutlinedText *text = &requested->text;
    const std::optional<std::size_t> offset = text->offsetOf(params.value("position", nlohmann::json()));
    if (!offset) return nullptr;
    const long line = text->lineOf(*offset);
    const teskpf::OutlineLine &info = text->outline().lines[static_cast<std::size_t>(line)];
    const std::string_view line_text = text->lineText(line);
    const std::size_t line_begin = info.begin;
    const std::size_t indent_end = line_begin + text->indentation(line).size();
    const teskpf::OutlineEntry *entry =
        info.entry < 0 ? nullptr : &text->outline().entries[static_cast<std::size_t>(info.entry)];

    // In a comment: the annotation's type keywords.
    std::size_t comment_begin = std::string_view::npos;
    if (entry && !entry->comment.empty())
        comment_begin = entry->comment.begin;
    else if (!entry && info.kind == teskpf::OutlineLineKind::Note && indent_end < line_begin + line_text.size() &&
             text->text()[indent_end] == '#')
        comment_begin = indent_end;
    if (comment_begin != std::string_view::npos && *offset > comment_begin) {
        const std::size_t type_begin = annotationTypeStart(*text, line_begin, *offset, comment_begin);
        return type_begin == std::string_view::npos ? nlohmann::json::array()
                                                    : annotationTypes(*text, type_begin, *offset);
    }
    if (info.kind == teskpf::OutlineLineKind::Unread || info.kind == teskpf::OutlineLineKind::Close)
        return nlohmann::json::array();

    // The indentation offers nothing.
    if (*offset < indent_end) return nlohmann::json::array();
    // After the key: the value's words. A list member's value is the whole line.
    if (entry && entry->block == teskpf::OutlineBlock::None) {
        if (entry->key.empty()) return valueWords(workspace, *document, *text, *entry, indent_end, *offset);
        if (*offset > entry->key.end) return valueWords(workspace, *document, *text, *entry, entry->key.end, *offset);
    }
    // At a key: the keys of lower layers.
    if (entry && *offset > entry->key.end) return nlohmann::json::array();
    return lowerKeys(workspace, *document, *text, line, indent_end, *offset);
}

}  // namespace teskpf_lsp
