// What the language server knows of the editor's world: the documents open
// in it, the search path their layers are found along, and the position
// encoding agreed at initialisation.
#pragma once

#include <cstddef>
#include <map>
#include <string>
#include <string_view>
#include <vector>

#include <teskpf/layer_text.h>

namespace teskpf_lsp {

// How the client counts characters in a line: UTF-16 code units (the
// protocol's default) or bytes (UTF-8, when the client offers it).
enum class PositionEncoding { Utf16, Utf8 };

// A document open in the editor, with the editor's text.
struct TextDocument {
    std::string uri;   // as the client sent it
    std::string path;  // the file of a "file:" URI; "" for any other scheme
    std::string text;
    long version = 0;
};

class Workspace {
public:
    // The open document with `uri`, or null.
    const TextDocument *find(const std::string &uri) const;
    // The open document of the file `path`, or null.
    const TextDocument *findPath(const std::string &path) const;

    // The layers `document` is checked among, lowest precedence first (see
    // teskpf::layerStack): open ones with the editor's text, the others read
    // from disk. A document that is no file, or whose directory is not on the
    // search path, is a layer of its own. `*index` gets its place.
    std::vector<teskpf::LayerText> layersOf(const TextDocument &document, std::size_t *index = nullptr) const;

    // The text of the file `path`: the editor's when it is open, else read
    // from disk. Throws teskpf::IoError when it cannot be read.
    std::string textOf(const std::string &path) const;

    // The "file:" URI of `path`: the open document's URI when there is one.
    std::string uriOf(const std::string &path) const;

    PositionEncoding encoding() const { return encoding_; }
    // Whether hover text may be Markdown: yes unless the client lists the
    // formats it takes and Markdown is not among them.
    bool markdownHover() const { return markdown_hover_; }
    const std::string &searchPath() const { return search_path_; }

    // Changed by the server as the client opens, edits and configures.
    std::map<std::string, TextDocument> documents;  // by URI
    PositionEncoding encoding_ = PositionEncoding::Utf16;
    bool markdown_hover_ = true;
    std::string search_path_;  // PFPATH of the server's environment unless the client sets teskpf.path
};

// Positions within one line of text (without its line break).
// The byte offset of the character position `character` counted in
// `encoding`; the line's length when it lies beyond the end, and the start
// of a character when it falls inside one.
std::size_t byteOffset(std::string_view line, long character, PositionEncoding encoding);
// The character position of byte offset `byte`, counted in `encoding`.
long characterOffset(std::string_view line, std::size_t byte, PositionEncoding encoding);

// Lines of a whole document: they end at "\n" (a "\r" before it is part of
// the line break).
// The byte offset where line `line` (0-based) starts; the text's length
// when there is no such line.
std::size_t lineStart(std::string_view text, long line);
// The line starting at byte `start`, without its line break.
std::string_view lineAt(std::string_view text, std::size_t start);
// The byte offset of the position (`line`, `character`), clamped to the text.
std::size_t documentOffset(std::string_view text, long line, long character, PositionEncoding encoding);

// Whether the paths `a` and `b` name one file (any spelling of it).
bool sameFile(const std::string &a, const std::string &b);

// The file a "file:" URI names (percent-decoded; host empty or "localhost");
// "" for any other URI.
std::string pathOfUri(const std::string &uri);
// The "file:" URI of `path`, made absolute.
std::string fileUri(const std::string &path);

}  // namespace teskpf_lsp
