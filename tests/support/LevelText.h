// The level field of an entry record: nesting depth as decimal text.
#pragma once

#include <string>

namespace teskpf {

// The number at the start of `text` (white space before it and an optional
// sign allowed, anything after it ignored), clamped to the int range;
// -1 when the text does not start with a number.
int parseLevel(const std::string &text);

}  // namespace teskpf
