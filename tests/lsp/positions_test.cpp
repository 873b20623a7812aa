// Positions in lines and documents, in both encodings, and file URIs.
#include <gtest/gtest.h>

#include "lsp/workspace.h"

using teskpf_lsp::PositionEncoding;

namespace {

// "a" (1 byte), "é" (2 bytes, 1 UTF-16 unit), "😀" (4 bytes, 2 units),
// an invalid byte (1 byte, 1 unit), "b".
const std::string kLine =
    "a\xC3\xA9\xF0\x9F\x98\x80\xFF"
    "b";

struct Case {
    long character;
    PositionEncoding encoding;
    std::size_t byte;  // byteOffset
    long back;         // characterOffset of that byte
};

const Case kCases[] = {
    {0, PositionEncoding::Utf16, 0, 0},  {1, PositionEncoding::Utf16, 1, 1},
    {2, PositionEncoding::Utf16, 3, 2},  {3, PositionEncoding::Utf16, 3, 2},  // inside the emoji: its start
    {4, PositionEncoding::Utf16, 7, 4},  {5, PositionEncoding::Utf16, 8, 5},
    {6, PositionEncoding::Utf16, 9, 6},  {99, PositionEncoding::Utf16, 9, 6},  // beyond the end: clamped
    {-3, PositionEncoding::Utf16, 0, 0}, {2, PositionEncoding::Utf8, 1, 1},    // inside "é": its start
    {3, PositionEncoding::Utf8, 3, 3},   {5, PositionEncoding::Utf8, 3, 3},    // inside the emoji
    {7, PositionEncoding::Utf8, 7, 7},   {8, PositionEncoding::Utf8, 8, 8},
    {9, PositionEncoding::Utf8, 9, 9},   {1000, PositionEncoding::Utf8, 9, 9},
};

TEST(Positions, ByteAndCharacterOffsetsInBothEncodings) {
    for (const Case &c : kCases) {
        SCOPED_TRACE("character " + std::to_string(c.character) +
                     (c.encoding == PositionEncoding::Utf8 ? " utf-8" : " utf-16"));
        const std::size_t byte = teskpf_lsp::byteOffset(kLine, c.character, c.encoding);
        EXPECT_EQ(byte, c.byte);
        EXPECT_EQ(teskpf_lsp::characterOffset(kLine, byte, c.encoding), c.back);
    }
    EXPECT_EQ(teskpf_lsp::characterOffset(kLine, 500, PositionEncoding::Utf16), 6);
}

TEST(Positions, DocumentOffsetsClampToTheText) {
    const std::string text = "ab\r\n\xC3\xA9x\nlast";
    struct {
        long line, character;
        std::size_t offset;
    } cases[] = {{0, 0, 0}, {0, 2, 2}, {0, 9, 2},  // the "\r" belongs to the line break
                 {1, 1, 6}, {1, 2, 7}, {2, 4, 12}, {3, 0, 12}, {50, 3, 12}, {-1, 5, 0}};
    for (const auto &c : cases) {
        SCOPED_TRACE(std::to_string(c.line) + ":" + std::to_string(c.character));
        EXPECT_EQ(teskpf_lsp::documentOffset(text, c.line, c.character, PositionEncoding::Utf16), c.offset);
    }
}

TEST(Uris, FileUrisAndPathsRoundTrip) {
    const struct {
        std::string uri, path;
    } cases[] = {
        {"file:///tmp/a.pf", "/tmp/a.pf"},
        {"file://localhost/tmp/a.pf", "/tmp/a.pf"},
        {"FILE:///tmp/sp%20ace/%C3%A9.pf", "/tmp/sp ace/\xC3\xA9.pf"},
        {"file:///tmp/a%2", "/tmp/a%2"},
        {"file://server/share/a.pf", ""},
        {"untitled:Untitled-1", ""},
        {"file:///tmp/a%00b.pf", ""},
        {"file:", ""},
    };
    for (const auto &c : cases) {
        SCOPED_TRACE(c.uri);
        EXPECT_EQ(teskpf_lsp::pathOfUri(c.uri), c.path);
    }
    EXPECT_EQ(teskpf_lsp::fileUri("/tmp/sp ace/\xC3\xA9.pf"), "file:///tmp/sp%20ace/%C3%A9.pf");
    EXPECT_EQ(teskpf_lsp::pathOfUri(teskpf_lsp::fileUri("/a/b#c?.pf")), "/a/b#c?.pf");
}

}  // namespace
