// What the outline of a document gives: its symbols (blocks and lists as a
// tree), folding ranges for blocks, and formatting that re-indents lines to
// their nesting level.
#include "feature_groups.h"
#include "feature_support.h"

namespace teskpf_lsp {

namespace {

// The protocol's SymbolKind values used here.
constexpr int kPropertyKind = 7;
constexpr int kObjectKind = 19;  // an "&Arr{" block
constexpr int kArrayKind = 18;   // an "&Tbl{" list

nlohmann::json symbolOf(const OutlinedText &text, const teskpf::OutlineEntry &entry) {
    const std::string_view source = text.text();
    const teskpf::TextRange name_range = nameRange(entry);
    std::string name = entry.key.empty() ? "[" + std::to_string(entry.position) + "]"
                                         : std::string(source.substr(entry.key.begin, entry.key.end - entry.key.begin));
    const long last_line = text.lastLineOf(entry);
    const std::size_t line_begin = text.outline().lines[static_cast<std::size_t>(entry.line)].begin;
    const std::size_t end =
        text.outline().lines[static_cast<std::size_t>(last_line)].begin + text.lineText(last_line).size();
    nlohmann::json symbol = {
        {"name", name},
        {"kind", entry.block == teskpf::OutlineBlock::Arr   ? kObjectKind
                 : entry.block == teskpf::OutlineBlock::Tbl ? kArrayKind
                                                            : kPropertyKind},
        {"range", text.range(line_begin, end)},
        {"selectionRange", text.range(name_range)},
    };
    if (entry.block == teskpf::OutlineBlock::None && !entry.key.empty())
        symbol["detail"] = std::string(source.substr(entry.value.begin, entry.value.end - entry.value.begin));
    if (entry.block != teskpf::OutlineBlock::None) symbol["children"] = nlohmann::json::array();
    return symbol;
}

}  // namespace

nlohmann::json documentSymbols(const Workspace &workspace, const nlohmann::json &params) {
    const std::optional<RequestedText> requested = requestedText(workspace, params);
    if (!requested) return nullptr;
    const OutlinedText *text = &requested->text;
    // Entries come in file order, each block's members right after it: a
    // stack of the symbols still open builds the tree in one pass.
    const std::vector<teskpf::OutlineEntry> &entries = text->outline().entries;
    nlohmann::json top = nlohmann::json::array();
    std::vector<std::pair<long, nlohmann::json>> open;  // (entry index, symbol)
    const auto closeUntil = [&](long parent) {
        while (!open.empty() && open.back().first != parent) {
            nlohmann::json done = std::move(open.back().second);
            open.pop_back();
            (open.empty() ? top : open.back().second["children"]).push_back(std::move(done));
        }
    };
    for (std::size_t i = 0; i < entries.size(); ++i) {
        closeUntil(entries[i].parent);
        nlohmann::json symbol = symbolOf(*text, entries[i]);
        if (entries[i].block != teskpf::OutlineBlock::None)
            open.emplace_back(static_cast<long>(i), std::move(symbol));
        else
            (open.empty() ? top : open.back().second["children"]).push_back(std::move(symbol));
    }
    closeUntil(-1);
    return top;
}

nlohmann::json foldingRanges(const Workspace &workspace, const nlohmann::json &params) {
    const std::optional<RequestedText> requested = requestedText(workspace, params);
    if (!requested) return nullptr;
    const OutlinedText *text = &requested->text;
    nlohmann::json ranges = nlohmann::json::array();
    for (const teskpf::OutlineEntry &entry : text->outline().entries) {
        if (entry.block == teskpf::OutlineBlock::None) continue;
        const long end = text->lastLineOf(entry);
        if (end > entry.line) ranges.push_back({{"startLine", entry.line}, {"endLine", end}});
    }
    return ranges;
}

// Each line read as a member, a comment or a "}" gets the indentation of its
// nesting level: options.tabSize blanks a level (a tab with insertSpaces
// false). Blank lines and the lines after a top-level "}" stay as they are,
// and nothing after the indentation changes.
nlohmann::json formatting(const Workspace &workspace, const nlohmann::json &params) {
    const std::optional<RequestedText> requested = requestedText(workspace, params);
    if (!requested) return nullptr;
    const OutlinedText *text = &requested->text;
    const nlohmann::json options = params.value("options", nlohmann::json::object());
    long tab_size = 4;
    if (options.is_object() && options.contains("tabSize") && options["tabSize"].is_number_integer())
        tab_size = std::max(0L, std::min(16L, options["tabSize"].get<long>()));
    const bool spaces = !options.is_object() || options.value("insertSpaces", true);
    const std::string unit = spaces ? std::string(static_cast<std::size_t>(tab_size), ' ') : std::string("\t");

    nlohmann::json edits = nlohmann::json::array();
    for (long line = 0; line < text->lineCount(); ++line) {
        const teskpf::OutlineLine &info = text->outline().lines[static_cast<std::size_t>(line)];
        const std::string_view indentation = text->indentation(line);
        if (info.kind == teskpf::OutlineLineKind::Unread || indentation.size() == text->lineText(line).size()) continue;
        std::string wanted;
        for (int level = 0; level < info.level; ++level) wanted += unit;
        if (indentation == wanted) continue;
        edits.push_back(textEdit(text->range(info.begin, info.begin + indentation.size()), wanted));
    }
    return edits;
}

}  // namespace teskpf_lsp
