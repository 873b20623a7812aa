// The types an annotation can ask for, in the order of their type codes
// ("<str>" 0 ... "<regex>" 5).
#pragma once

#include <string_view>

#include <teskpf/export.h>

namespace teskpf {

// The type an annotation asks for.
enum class ValueType { Str, Int, Float, Color, Font, Regex };

// The keyword an annotation writes for `type`: "str", "int", ... "regex".
TESKPF_API std::string_view typeKeyword(ValueType type);

}  // namespace teskpf
