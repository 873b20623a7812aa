#include "workspace.h"

#include <sys/stat.h>

#include <cctype>
#include <cerrno>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <system_error>

#include <teskpf/diagnostics.h>
#include <teskpf/error.h>
#include <teskpf/search.h>

namespace teskpf_lsp {

namespace {

namespace fs = std::filesystem;

int hexDigit(char c) {
    if (c >= '0' && c <= '9') return c - '0';
    if (c >= 'a' && c <= 'f') return c - 'a' + 10;
    if (c >= 'A' && c <= 'F') return c - 'A' + 10;
    return -1;
}

// The number of bytes of the character starting at `at`: an invalid byte
// counts as a character of its own.
std::size_t characterLength(std::string_view line, std::size_t at) {
    const std::size_t length = teskpf::utf8SequenceLength(line, at);
    return length == 0 ? 1 : length;
}

// UTF-16 code units of a character of `bytes` bytes: two for the four-byte
// sequences beyond the Basic Multilingual Plane, one for the rest (an invalid
// byte included).
long utf16Units(std::size_t bytes) { return bytes == 4 ? 2 : 1; }

}  // namespace

const TextDocument *Workspace::find(const std::string &uri) const {
    auto it = documents.find(uri);
    return it == documents.end() ? nullptr : &it->second;
}

const TextDocument *Workspace::findPath(const std::string &path) const {
    if (path.empty()) return nullptr;
    for (const auto &[uri, document] : documents)
        if (document.path == path) return &document;
    for (const auto &[uri, document] : documents)
        if (!document.path.empty() && sameFile(document.path, path)) return &document;
    return nullptr;
}

std::vector<teskpf::LayerText> Workspace::layersOf(const TextDocument &document, std::size_t *index) const {
    if (index) *index = 0;
    if (document.path.empty()) return {{document.uri, document.text}};
    const teskpf::LayerStack stack = teskpf::layerStack(document.path, search_path_);
    std::vector<teskpf::LayerText> layers;
    layers.reserve(stack.files.size());
    for (std::size_t i = 0; i < stack.files.size(); ++i) {
        const std::string &file = stack.files[i];
        if (i == stack.index) {
            layers.push_back({file, document.text});
            continue;
        }
        const TextDocument *open = findPath(file);
        if (open)
            layers.push_back({file, open->text});
        else
            layers.push_back({file, std::nullopt});
    }
    if (index) *index = stack.index;
    return layers;
}

std::string Workspace::textOf(const std::string &path) const {
    if (const TextDocument *open = findPath(path)) return open->text;
    std::ifstream in(path, std::ios::binary);
    if (!in) {
        const int error = errno;
        throw teskpf::IoError("cannot read " + path + ": " + std::generic_category().message(error), path,
                              std::error_code(error, std::generic_category()));
    }
    std::ostringstream text;
    text << in.rdbuf();
    if (in.bad()) throw teskpf::IoError("cannot read " + path, path, std::make_error_code(std::errc::io_error));
    return text.str();
}

std::string Workspace::uriOf(const std::string &path) const {
    if (const TextDocument *open = findPath(path)) return open->uri;
    return fileUri(path);
}

// The same spelling, the same inode, or, for files that do not exist yet,
// the same normalised absolute path.
bool sameFile(const std::string &a, const std::string &b) {
    if (a == b) return true;
    struct stat sa {};
    struct stat sb {};
    const bool a_exists = ::stat(a.c_str(), &sa) == 0;
    const bool b_exists = ::stat(b.c_str(), &sb) == 0;
    if (a_exists && b_exists) return sa.st_dev == sb.st_dev && sa.st_ino == sb.st_ino;
    if (a_exists || b_exists) return false;
    std::error_code error;
    const fs::path ca = fs::weakly_canonical(a, error);
    if (error) return false;
    const fs::path cb = fs::weakly_canonical(b, error);
    return !error && ca == cb;
}

std::string pathOfUri(const std::string &uri) {
    static const std::string scheme = "file://";
    if (uri.size() < scheme.size()) return "";
    for (std::size_t i = 0; i < scheme.size(); ++i)
        if (std::tolower(static_cast<unsigned char>(uri[i])) != scheme[i]) return "";
    std::size_t at = scheme.size();
    // Only the local host: "file:///x" and "file://localhost/x".
    const std::size_t slash = uri.find('/', at);
    if (slash == std::string::npos) return "";
    const std::string host = uri.substr(at, slash - at);
    if (!host.empty() && host != "localhost") return "";
    std::string path;
    for (at = slash; at < uri.size(); ++at) {
        const char c = uri[at];
        if (c == '?' || c == '#') break;
        if (c == '%' && at + 2 < uri.size()) {
            const int high = hexDigit(uri[at + 1]);
            const int low = hexDigit(uri[at + 2]);
            if (high >= 0 && low >= 0) {
                path += static_cast<char>(high * 16 + low);
                at += 2;
                continue;
            }
        }
        path += c;
    }
    // A NUL byte names no file.
    if (path.find('\0') != std::string::npos) return "";
    return path;
}

std::string fileUri(const std::string &path) {
    std::error_code error;
    fs::path absolute = fs::absolute(path, error);
    const std::string full = error ? path : absolute.lexically_normal().string();
    static const char hex[] = "0123456789ABCDEF";
    std::string uri = "file://";
    for (unsigned char c : full) {
        const bool plain = std::isalnum(c) || c == '/' || c == '-' || c == '.' || c == '_' || c == '~';
        if (plain) {
            uri += static_cast<char>(c);
        } else {
            uri += '%';
            uri += hex[c >> 4];
            uri += hex[c & 15];
        }
    }
    return uri;
}

std::size_t byteOffset(std::string_view line, long character, PositionEncoding encoding) {
    if (character <= 0) return 0;
    std::size_t at = 0;
    long units = 0;
    while (at < line.size()) {
        const std::size_t length = characterLength(line, at);
        units += encoding == PositionEncoding::Utf8 ? static_cast<long>(length) : utf16Units(length);
        if (units > character) return at;
        at += length;
        if (units == character) return at;
    }
    return line.size();
}

long characterOffset(std::string_view line, std::size_t byte, PositionEncoding encoding) {
    if (byte > line.size()) byte = line.size();
    if (encoding == PositionEncoding::Utf8) return static_cast<long>(byte);
    long units = 0;
    for (std::size_t at = 0; at < byte;) {
        const std::size_t length = characterLength(line, at);
        units += utf16Units(length);
        at += length;
    }
    return units;
}

std::size_t lineStart(std::string_view text, long line) {
    std::size_t at = 0;
    for (long i = 0; i < line; ++i) {
        const std::size_t end = text.find('\n', at);
        if (end == std::string_view::npos) return text.size();
        at = end + 1;
    }
    return at;
}

std::string_view lineAt(std::string_view text, std::size_t start) {
    if (start > text.size()) start = text.size();
    std::size_t end = text.find('\n', start);
    if (end == std::string_view::npos) end = text.size();
    if (end > start && text[end - 1] == '\r') --end;
    return text.substr(start, end - start);
}

std::size_t documentOffset(std::string_view text, long line, long character, PositionEncoding encoding) {
    if (line < 0) return 0;
    const std::size_t start = lineStart(text, line);
    if (start == text.size()) return start;
    return start + byteOffset(lineAt(text, start), character, encoding);
}

}  // namespace teskpf_lsp
