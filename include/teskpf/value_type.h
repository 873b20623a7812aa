// The types an annotation can ask for, in the order of their type codes
// ("<str>" 0 ... "<regex>" 5).
#pragma once

namespace teskpf {

// The type an annotation asks for.
enum class ValueType { Str, Int, Float, Color, Font, Regex };

}  // namespace teskpf
