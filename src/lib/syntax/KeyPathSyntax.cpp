#include "syntax/KeyPathSyntax.h"

namespace teskpf::syntax {

namespace {

bool isDigit(char c) { return c >= '0' && c <= '9'; }

bool closesNameAt(std::string_view path, size_t at) { return path.compare(at, kNameClose.size(), kNameClose) == 0; }

bool opensNameAt(std::string_view path, size_t at) { return path.compare(at, kNameOpen.size(), kNameOpen) == 0; }

// A list component [n] starting at `at`: its position and where it ends, or
// the offset and text of its first error.
struct PositionRead {
    long position = -1;
    size_t end = 0;
    size_t error_offset = 0;
    std::string_view error;
};

PositionRead readPosition(std::string_view path, size_t at) {
    PositionRead read;
    size_t p = at + 1;
    if (p < path.size() && path[p] == '0' && p + 1 < path.size() && isDigit(path[p + 1])) {
        read.error_offset = p;
        read.error = "a list position without leading zeros";
        return read;
    }
    long position = 0;
    for (; p < path.size() && isDigit(path[p]); ++p) {
        position = position * 10 + (path[p] - '0');
        if (position > kMaxPosition) {
            read.error_offset = at + 1;
            read.error = "a list position of at most 2147483647";
            return read;
        }
    }
    if (p == at + 1) {
        read.error_offset = p;
        read.error = "a list position (decimal digits) or a quoted name";
        return read;
    }
    if (p == path.size() || path[p] != kPositionClose) {
        read.error_offset = p;
        read.error = "\"]\" after the list position";
        return read;
    }
    read.position = position;
    read.end = p + 1;
    return read;
}

// rest_parses[i]: whether path.substr(i) is a key path. Worked out from the
// end, so that a name can end at the first "\"]" that leaves a key path
// behind it; linear in the size of the path.
std::vector<bool> suffixesThatParse(std::string_view path) {
    const size_t n = path.size();
    std::vector<bool> rest_parses(n + 1, false);
    rest_parses[n] = true;
    // Whether some "\"]" at or after i + 2 has a key path behind it.
    bool close_ahead = false;
    for (size_t i = n; i-- > 0;) {
        const size_t close = i + kNameOpen.size();
        if (close < n && closesNameAt(path, close) && rest_parses[close + kNameClose.size()]) close_ahead = true;
        if (path[i] != kPositionOpen) continue;
        if (opensNameAt(path, i))
            rest_parses[i] = close_ahead;
        else {
            const PositionRead read = readPosition(path, i);
            rest_parses[i] = read.error.empty() && rest_parses[read.end];
        }
    }
    return rest_parses;
}

}  // namespace

ParsedPath parse(std::string_view path) {
    ParsedPath parsed;
    const std::vector<bool> rest_parses = suffixesThatParse(path);
    // Past a name that no good "\"]" ends, reading goes on from its first
    // "\"]" only to find where the error is; no later name has a good one.
    bool good_close_ahead = rest_parses[0];
    for (size_t at = 0; at < path.size();) {
        if (path[at] != kPositionOpen) {
            parsed.error_offset = at;
            parsed.error = "\"[\" starting a component";
            return parsed;
        }
        if (opensNameAt(path, at)) {
            const size_t begin = at + kNameOpen.size();
            size_t first_close = std::string_view::npos, close = std::string_view::npos;
            for (size_t c = path.find(kNameClose, begin); c != std::string_view::npos;
                 c = path.find(kNameClose, c + 1)) {
                if (first_close == std::string_view::npos) first_close = c;
                if (!good_close_ahead) break;
                if (rest_parses[c + kNameClose.size()]) {
                    close = c;
                    break;
                }
            }
            if (first_close == std::string_view::npos) {
                parsed.error_offset = path.size();
                parsed.error = "\"\\\"]\" closing the name";
                return parsed;
            }
            if (close == std::string_view::npos) close = first_close;
            parsed.components.push_back({path.substr(begin, close - begin), -1});
            at = close + kNameClose.size();
        } else {
            const PositionRead read = readPosition(path, at);
            if (!read.error.empty()) {
                parsed.error_offset = read.error_offset;
                parsed.error = read.error;
                return parsed;
            }
            parsed.components.push_back({{}, read.position});
            at = read.end;
        }
    }
    return parsed;
}

std::string print(const std::vector<Component> &components) {
    size_t size = 0;
    for (const Component &c : components)
        size += c.isPosition() ? listComponentSize(c.position) : namedComponentSize(c.name);
    std::string path;
    path.reserve(size);
    for (const Component &c : components) {
        if (c.isPosition())
            appendListComponent(path, c.position);
        else
            appendNamedComponent(path, c.name);
    }
    return path;
}

namespace {

bool endsDottedName(char c) { return c == '.' || c == kPositionOpen || c == '{' || c == ']' || c == ' ' || c == '\t'; }

// Reads "[n]" components at `at` into `path`; false (with the error set) when
// one is malformed.
bool readPositions(std::string_view key, size_t &at, std::string &path, ArgumentPath &read) {
    while (at < key.size() && key[at] == kPositionOpen) {
        const PositionRead position = readPosition(key, at);
        if (!position.error.empty()) {
            read.error_offset = position.error_offset;
            read.error = position.error;
            return false;
        }
        appendListComponent(path, position.position);
        at = position.end;
    }
    return true;
}

// {name}{name}[n]...: a name runs to the first "}".
void readBraces(std::string_view key, ArgumentPath &read) {
    size_t at = 0;
    while (at < key.size()) {
        if (key[at] == '{') {
            const size_t close = key.find('}', at + 1);
            if (close == std::string_view::npos) {
                read.error_offset = key.size();
                read.error = "\"}\" closing the name";
                return;
            }
            appendNamedComponent(read.path, key.substr(at + 1, close - at - 1));
            at = close + 1;
        } else if (key[at] == kPositionOpen) {
            if (!readPositions(key, at, read.path, read)) return;
        } else {
            read.error_offset = at;
            read.error = "\"{\" opening a name or \"[\" opening a list position";
            return;
        }
    }
}

// name[n].name[n]...: names without '.', '[', '{', ']' or blanks.
void readDotted(std::string_view key, ArgumentPath &read) {
    size_t at = 0;
    while (true) {
        const size_t begin = at;
        while (at < key.size() && !endsDottedName(key[at])) ++at;
        if (at == begin) {
            read.error_offset = at;
            read.error = "a name (without '.', '[', '{', ']' or blanks)";
            return;
        }
        appendNamedComponent(read.path, key.substr(begin, at - begin));
        if (!readPositions(key, at, read.path, read)) return;
        if (at == key.size()) return;
        if (key[at] != '.') {
            read.error_offset = at;
            read.error = "\".\" before the next name, \"[\" or the end";
            return;
        }
        ++at;
    }
}

}  // namespace

ArgumentPath readArgument(std::string_view key) {
    ArgumentPath read;
    if (!key.empty() && key[0] == kPositionOpen) {
        read.path = std::string(key);
        const ParsedPath parsed = parse(key);
        read.error_offset = parsed.error_offset;
        read.error = parsed.error;
    } else if (!key.empty() && key[0] == '{') {
        readBraces(key, read);
    } else if (key.find_first_of(".[{") != std::string_view::npos) {
        readDotted(key, read);
    } else {
        appendNamedComponent(read.path, key);
    }
    return read;
}

std::string fromArgument(std::string_view key) {
    if (!key.empty() && key[0] == kPositionOpen) return std::string(key);
    ArgumentPath read = readArgument(key);
    if (read.ok()) return std::move(read.path);
    // Not a shorthand: the whole text names a top-level key, as before.
    std::string path;
    appendNamedComponent(path, key);
    return path;
}

}  // namespace teskpf::syntax
