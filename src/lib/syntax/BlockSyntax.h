// The block syntax of parameter files: which values open a block and which
// lines close one. The one place that knows the markers.
#pragma once

#include <string>
#include <string_view>

namespace teskpf {

enum class BlockKind { None, Arr, Tbl };

// The value stored for a block opening.
inline constexpr std::string_view kArrMarker = "&Arr";
inline constexpr std::string_view kTblMarker = "&Tbl";

// The brace that follows a marker to open a block, and the one that starts a
// closing line.
inline constexpr char kOpenBrace = '{';
inline constexpr char kCloseBrace = '}';

// The block a value opens: one that begins with "&Arr{" or "&Tbl{" (anything
// after the brace is dropped on reading).
inline BlockKind blockOpenedBy(std::string_view value) {
    if (value.size() <= kArrMarker.size() || value[kArrMarker.size()] != kOpenBrace) return BlockKind::None;
    std::string_view marker = value.substr(0, kArrMarker.size());
    if (marker == kArrMarker) return BlockKind::Arr;
    if (marker == kTblMarker) return BlockKind::Tbl;
    return BlockKind::None;
}

// The text after the opening brace of a value that opens a block.
inline std::string_view textAfterOpening(std::string_view value) { return value.substr(kArrMarker.size() + 1); }

// Whether a trimmed line closes the innermost block: it begins with "}".
inline bool closesBlock(std::string_view trimmed_line) {
    return !trimmed_line.empty() && trimmed_line[0] == kCloseBrace;
}

// The value stored for an opening entry of `kind`.
inline std::string_view markerOf(BlockKind kind) { return kind == BlockKind::Tbl ? kTblMarker : kArrMarker; }

// The text that opens a block of `kind` on a line: "&Arr{" or "&Tbl{".
inline std::string openingOf(BlockKind kind) { return std::string(markerOf(kind)) + kOpenBrace; }

// Whether `value` is the value stored for a block opening.
inline bool isMarker(std::string_view value) { return value == kArrMarker || value == kTblMarker; }

}  // namespace teskpf
