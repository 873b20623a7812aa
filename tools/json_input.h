// Reading JSON for import: keys kept in their order, in time linear in the
// text.
#pragma once

#include <string>

#include "json_output.h"

namespace teskpf_tool {

// How deep import reads JSON: deeper nesting is refused, so that no later
// step (comparing, printing) recurses without bound.
inline constexpr size_t kMaxJsonDepth = 1000;

// `text` parsed as JSON, object keys in their order; a key given twice keeps
// its first place and its last value, as JSON readers usually do. Throws
// ToolError (exit 1) naming `file` when the text is not JSON or nests deeper
// than kMaxJsonDepth.
Json parseOrderedJson(const std::string &text, const std::string &file);

}  // namespace teskpf_tool
