// Rules about the bytes of a file: text or not, byte-order mark, NUL bytes.
#include <algorithm>

#include "diagnostics/DiagnosticRules.h"

namespace teskpf {

namespace {

bool isControl(unsigned char byte) {
    return (byte < 0x20 && byte != '\t' && byte != '\n' && byte != '\r' && byte != '\f' && byte != '\v') ||
           byte == 0x7f;
}

struct ByteCensus {
    size_t suspect = 0;  // control bytes and bytes of invalid UTF-8
    size_t first_suspect = std::string_view::npos;
    size_t lines = 0;           // lines in the text
    size_t lines_with_nul = 0;  // lines holding a NUL byte
};

ByteCensus countSuspectBytes(std::string_view text) {
    ByteCensus census;
    bool nul_on_line = false;
    for (size_t at = 0; at < text.size();) {
        if (text[at] == '\0') nul_on_line = true;
        if (text[at] == '\n' || at + 1 == text.size()) {
            ++census.lines;
            census.lines_with_nul += nul_on_line;
            nul_on_line = false;
        }
        size_t length = utf8SequenceLength(text, at);
        if (length == 0 || (length == 1 && isControl(static_cast<unsigned char>(text[at])))) {
            if (census.suspect++ == 0) census.first_suspect = at;
            ++at;
        } else {
            at += length;
        }
    }
    return census;
}

// 0-based line of `offset` and the offset where that line begins.
std::pair<uint32_t, uint32_t> lineOf(std::string_view text, size_t offset) {
    std::string_view before = text.substr(0, offset);
    size_t begin = before.rfind('\n');
    return {static_cast<uint32_t>(std::count(before.begin(), before.end(), '\n')),
            static_cast<uint32_t>(begin == std::string_view::npos ? 0 : begin + 1)};
}

}  // namespace

bool checkText(std::string_view text, FileReport &report) {
    // A quarter of the bytes not being text, or NUL bytes on most lines, mark
    // a binary file: one error stands for all of them.
    ByteCensus census = countSuspectBytes(text);
    if (census.suspect > 0 && (census.suspect * 4 >= text.size() || census.lines_with_nul * 2 > census.lines)) {
        auto [line, begin] = lineOf(text, census.first_suspect);
        report.add(Severity::Error, "not-text", line, begin, static_cast<uint32_t>(census.first_suspect),
                   std::to_string(census.suspect) + " of " + std::to_string(text.size()) +
                       " bytes are control bytes or invalid UTF-8: this is not a parameter file; check the name");
        return false;
    }
    if (text.substr(0, 3) == "\xEF\xBB\xBF")
        report.add(Severity::Error, "byte-order-mark", 0, 0, 0,
                   "the file starts with a UTF-8 byte-order mark, which becomes part of the first key; save the "
                   "file without it");
    return true;
}

size_t utf8SequenceLength(std::string_view text, size_t at) {
    const unsigned char lead = static_cast<unsigned char>(text[at]);
    size_t length = lead < 0x80 ? 1 : (lead >> 5) == 6 ? 2 : (lead >> 4) == 14 ? 3 : (lead >> 3) == 30 ? 4 : 0;
    if (length == 0 || lead == 0xc0 || lead == 0xc1 || lead > 0xf4 || at + length > text.size()) return 0;
    for (size_t i = 1; i < length; ++i)
        if ((static_cast<unsigned char>(text[at + i]) & 0xc0) != 0x80) return 0;
    return length;
}

}  // namespace teskpf
