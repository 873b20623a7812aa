// What the editor may write: the values, comments and key names that read
// back exactly as given.
#pragma once

#include <string>
#include <string_view>

#include "teskpf/editor.h"

namespace teskpf {

// Why `value` cannot be written as the value of a member (a list member when
// `list_member` is set) and read back unchanged; "" when it can.
std::string valueProblem(std::string_view value, bool list_member);

// Why `comment` cannot be written on a line; "" when it can.
std::string commentProblem(std::string_view comment);

// keyNameProblem, why a name cannot be a key, is public: <teskpf/editor.h>.

}  // namespace teskpf
