// What the language features share: the document a request names, its
// outline, and positions and ranges between the client's (line, character)
// and byte offsets into a text.
#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include <teskpf/layer_text.h>
#include <teskpf/outline.h>
#include <nlohmann/json.hpp>

#include "workspace.h"

namespace teskpf_lsp {

// One text and its outline, with conversions between byte offsets and the
// client's positions.
class OutlinedText {
public:
    // Null when `text` does not read as a parameter file.
    static std::optional<OutlinedText> of(std::string text, PositionEncoding encoding);

    const std::string &text() const { return text_; }
    const teskpf::Outline &outline() const { return outline_; }
    long lineCount() const { return static_cast<long>(outline_.lines.size()); }
    // The text of line `line` without its line break ("\n" or "\r\n").
    std::string_view lineText(long line) const;
    // The leading blanks and tabs of line `line`.
    std::string_view indentation(long line) const;
    // The line holding byte `offset`.
    long lineOf(std::size_t offset) const;

    // The byte offset of a protocol Position; null when it is no position
    // of this text (a missing or malformed one, a line beyond the last).
    std::optional<std::size_t> offsetOf(const nlohmann::json &position) const;
    nlohmann::json position(std::size_t offset) const;
    nlohmann::json range(std::size_t begin, std::size_t end) const;
    nlohmann::json range(teskpf::TextRange range) const { return this->range(range.begin, range.end); }
    // Lines `first` to `last` whole, with their line breaks: what removing
    // them removes.
    teskpf::TextRange linesRange(long first, long last) const;

    // The last line of `entry`: its own, or the "}" closing the block it
    // opens (the text's last line while that stays open).
    long lastLineOf(const teskpf::OutlineEntry &entry) const;

    // The member whose line holds `offset`, or null.
    const teskpf::OutlineEntry *memberAt(std::size_t offset) const;

private:
    OutlinedText(std::string text, teskpf::Outline outline, PositionEncoding encoding)
        : text_(std::move(text)), outline_(std::move(outline)), encoding_(encoding) {}
    std::string text_;
    teskpf::Outline outline_;
    PositionEncoding encoding_;
};

// The member a request's position stands on (on its key or its value, ends
// included), with its document's layers.
struct KeyAtPosition {
    const TextDocument *document = nullptr;
    std::vector<teskpf::LayerText> layers;
    std::size_t layer = 0;  // the document's place among them
    OutlinedText text;
    std::size_t entry = 0;   // in text.outline().entries
    std::size_t offset = 0;  // the position's byte offset

    const teskpf::OutlineEntry &member() const { return text.outline().entries[entry]; }
};
// Null for an unknown document, one that does not read, a position outside
// it or on no key or value.
std::optional<KeyAtPosition> keyAtPosition(const Workspace &workspace, const nlohmann::json &params);

// A Location of the name (see nameRange) of the member on 1-based line
// `line` of the file `path`; null when the file cannot be read or has no
// member there.
nlohmann::json definitionLocation(const Workspace &workspace, const std::string &path, long line);

// `text` as a Markdown code span.
std::string codeSpan(std::string_view text);

// The open document a request names and its text read; null for an
// unknown document or one that does not read.
struct RequestedText {
    const TextDocument *document = nullptr;
    OutlinedText text;
};
std::optional<RequestedText> requestedText(const Workspace &workspace, const nlohmann::json &params);

// The open document params["textDocument"]["uri"] names, or null.
const TextDocument *documentOf(const Workspace &workspace, const nlohmann::json &params);

// The range of a member's name: its key, or its value for a list member.
teskpf::TextRange nameRange(const teskpf::OutlineEntry &entry);

// A TextEdit replacing `range` by `new_text`.
nlohmann::json textEdit(const nlohmann::json &range, const std::string &new_text);

}  // namespace teskpf_lsp
