// The layers of a name given by the caller: each file's path and, for a file
// the caller holds in memory (an editor's unsaved buffer), its text.
#pragma once

#include <optional>
#include <string>

namespace teskpf {

struct LayerText {
    std::string path;                 // the file, as diagnostics and explanations report it
    std::optional<std::string> text;  // its text; none: read the file at `path`
};

}  // namespace teskpf
