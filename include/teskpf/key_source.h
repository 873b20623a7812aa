// Which file and line supply the value of a key path, found without loading
// the merged view of all the files.
#pragma once

#include <optional>
#include <string>
#include <string_view>

#include <teskpf/export.h>

namespace teskpf {

// The line the value of a key path in effect is read from.
struct KeySource {
    std::string file;          // as parameterFiles() lists it
    long line = 0;             // 0-based, as Editor::lineOf and Editor::setValueAtLine count
    bool opens_block = false;  // the line opens an "&Arr{" or "&Tbl{" block
};

// Where the value of `key_path` (e.g. ["net"]["port"]) in effect for `name`
// comes from: the entry that Document::find and the classic handle's lookup
// give, found by reading the files of parameterFiles(name) one at a time, so
// that one file's parse is held at a time (all of them, merged, when a
// top-level name holds "[", "]" or '"' and may stand for part of another
// path). None when no file supplies it, or there is no file. A file that
// cannot be read contributes nothing, as for the classic handle. Throws Error
// for a file that does not parse, with the message reading `name` gives, and
// when "~" cannot be expanded.
TESKPF_API std::optional<KeySource> findKeySource(std::string_view name, std::string_view key_path);

}  // namespace teskpf
