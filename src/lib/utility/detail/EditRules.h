// What the editor may write: the values, comments and key names that read
// back exactly as given, and the components of a key path.
#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace teskpf {

// Why `value` cannot be written as the value of a member (a list member when
// `list_member` is set) and read back unchanged; "" when it can.
std::string valueProblem(std::string_view value, bool list_member);

// Why `comment` cannot be written on a line; "" when it can.
std::string commentProblem(std::string_view comment);

// Why `name` cannot be written as the key of a new member; "" when it can.
std::string keyNameProblem(std::string_view name);

// One component of a key path: ["name"] or [position].
struct PathComponent {
    std::string name;    // the name of a named component
    long position = -1;  // the list position, or -1 for a named component
};

// Splits a key path such as ["chan"]["list"][1]["x"] into its components: a
// name runs from "[\"" to the next "\"]", a position is decimal digits in
// "[...]" without leading zeros (as reading writes it, so that the components
// printed again give `path` byte for byte). Returns false for text of any
// other shape.
bool splitKeyPath(std::string_view path, std::vector<PathComponent> &components);

}  // namespace teskpf
