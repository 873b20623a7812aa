#include "feature_support.h"

#include <algorithm>

#include <teskpf/error.h>

namespace teskpf_lsp {

std::optional<OutlinedText> OutlinedText::of(std::string text, PositionEncoding encoding) {
    try {
        teskpf::Outline outline = teskpf::outlineOf(text);
        return OutlinedText(std::move(text), std::move(outline), encoding);
    } catch (const teskpf::Error &) {
        return std::nullopt;
    }
}

std::string_view OutlinedText::lineText(long line) const {
    if (line < 0 || line >= lineCount()) return {};
    const std::string_view rest = std::string_view(text_).substr(outline_.lines[static_cast<std::size_t>(line)].begin);
    std::string_view own = rest.substr(0, rest.find('\n'));
    if (own.size() < rest.size() && !own.empty() && own.back() == '\r') own.remove_suffix(1);
    return own;
}

std::string_view OutlinedText::indentation(long line) const {
    const std::string_view own = lineText(line);
    return own.substr(0, std::min(own.size(), own.find_first_not_of(" \t")));
}

long OutlinedText::lineOf(std::size_t offset) const {
    const auto &lines = outline_.lines;
    const auto after =
        std::upper_bound(lines.begin(), lines.end(), offset,
                         [](std::size_t at, const teskpf::OutlineLine &line) { return at < line.begin; });
    return std::max(0L, static_cast<long>(after - lines.begin()) - 1);
}

std::optional<std::size_t> OutlinedText::offsetOf(const nlohmann::json &position) const {
    if (!position.is_object()) return std::nullopt;
    const auto line = position.find("line");
    const auto character = position.find("character");
    if (line == position.end() || character == position.end() || !line->is_number_integer() ||
        !character->is_number_integer())
        return std::nullopt;
    const long number = line->get<long>();
    if (number < 0 || number >= lineCount()) return std::nullopt;
    return outline_.lines[static_cast<std::size_t>(number)].begin +
           byteOffset(lineText(number), character->get<long>(), encoding_);
}

nlohmann::json OutlinedText::position(std::size_t offset) const {
    if (lineCount() == 0) return {{"line", 0}, {"character", 0}};
    const long line = lineOf(offset);
    const std::size_t begin = outline_.lines[static_cast<std::size_t>(line)].begin;
    // Within or after the line break: the start of the next line (one past
    // the last after a final line break).
    if (offset - begin > lineText(line).size()) return {{"line", line + 1}, {"character", 0}};
    return {{"line", line}, {"character", characterOffset(lineText(line), offset - begin, encoding_)}};
}

nlohmann::json OutlinedText::range(std::size_t begin, std::size_t end) const {
    return {{"start", position(begin)}, {"end", position(end)}};
}

teskpf::TextRange OutlinedText::linesRange(long first, long last) const {
    const std::size_t begin = outline_.lines[static_cast<std::size_t>(first)].begin;
    const std::size_t end =
        last + 1 < lineCount() ? outline_.lines[static_cast<std::size_t>(last + 1)].begin : text_.size();
    const std::size_t last_begin = outline_.lines[static_cast<std::size_t>(last)].begin;
    // The last line without a line break of its own: the break before the
    // lines goes instead, when there is one.
    if (end - last_begin == lineText(last).size() && first > 0)
        return {outline_.lines[static_cast<std::size_t>(first - 1)].begin + lineText(first - 1).size(), end};
    return {begin, end};
}

long OutlinedText::lastLineOf(const teskpf::OutlineEntry &entry) const {
    if (entry.block == teskpf::OutlineBlock::None) return entry.line;
    return entry.close_line >= 0 ? entry.close_line : lineCount() - 1;
}

const teskpf::OutlineEntry *OutlinedText::memberAt(std::size_t offset) const {
    if (lineCount() == 0) return nullptr;
    const teskpf::OutlineLine &line = outline_.lines[static_cast<std::size_t>(lineOf(offset))];
    return line.entry < 0 ? nullptr : &outline_.entries[static_cast<std::size_t>(line.entry)];
}

std::optional<RequestedText> requestedText(const Workspace &workspace, const nlohmann::json &params) {
    const TextDocument *document = documentOf(workspace, params);
    if (!document) return std::nullopt;
    std::optional<OutlinedText> text = OutlinedText::of(document->text, workspace.encoding());
    if (!text) return std::nullopt;
    return RequestedText{document, std::move(*text)};
}

std::optional<KeyAtPosition> keyAtPosition(const Workspace &workspace, const nlohmann::json &params) {
    std::optional<RequestedText> requested = requestedText(workspace, params);
    if (!requested) return std::nullopt;
    const TextDocument *document = requested->document;
    std::optional<OutlinedText> text = std::move(requested->text);
    const std::optional<std::size_t> offset = text->offsetOf(params.value("position", nlohmann::json()));
    if (!offset) return std::nullopt;
    const teskpf::OutlineEntry *entry = text->memberAt(*offset);
    const auto holds = [&](teskpf::TextRange range) {
        return !range.empty() && range.begin <= *offset && *offset <= range.end;
    };
    if (!entry || !(holds(entry->key) || holds(entry->value))) return std::nullopt;
    const std::size_t index = static_cast<std::size_t>(entry - text->outline().entries.data());
    KeyAtPosition at{document, {}, 0, std::move(*text), index, *offset};
    at.layers = workspace.layersOf(*document, &at.layer);
    return at;
}

nlohmann::json definitionLocation(const Workspace &workspace, const std::string &path, long line) {
    std::optional<OutlinedText> text;
    try {
        text = OutlinedText::of(workspace.textOf(path), workspace.encoding());
    } catch (const teskpf::Error &) {
        return nullptr;
    }
    if (!text || line < 1 || line > text->lineCount()) return nullptr;
    const long entry = text->outline().lines[static_cast<std::size_t>(line - 1)].entry;
    if (entry < 0) return nullptr;
    return {{"uri", workspace.uriOf(path)},
            {"range", text->range(nameRange(text->outline().entries[static_cast<std::size_t>(entry)]))}};
}

std::string codeSpan(std::string_view text) {
    // A run of backticks longer than any inside, and blanks when the text
    // starts or ends with one.
    std::size_t longest = 0;
    for (std::size_t at = 0, run = 0; at < text.size(); ++at) {
        run = text[at] == '`' ? run + 1 : 0;
        longest = std::max(longest, run);
    }
    const std::string fence(longest + 1, '`');
    const bool pad = !text.empty() && (text.front() == '`' || text.back() == '`');
    return fence + (pad ? " " : "") + std::string(text) + (pad ? " " : "") + fence;
}

const TextDocument *documentOf(const Workspace &workspace, const nlohmann::json &params) {
    if (!params.is_object()) return nullptr;
    const auto document = params.find("textDocument");
    if (document == params.end() || !document->is_object()) return nullptr;
    const auto uri = document->find("uri");
    if (uri == document->end() || !uri->is_string()) return nullptr;
    return workspace.find(uri->get<std::string>());
}

teskpf::TextRange nameRange(const teskpf::OutlineEntry &entry) { return entry.key.empty() ? entry.value : entry.key; }

nlohmann::json textEdit(const nlohmann::json &range, const std::string &new_text) {
    return {{"range", range}, {"newText", new_text}};
}

}  // namespace teskpf_lsp
