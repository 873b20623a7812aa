// The layers of a name flattened into the text of one parameter file.
#pragma once

#include <string>
#include <string_view>

#include <teskpf/export.h>

namespace teskpf {

// The merged entries of the files `name` reads, read and written as the
// classic handle reads and writes them, except that every value line
// without an annotation of its own and outside an annotated block gets the
// annotation in effect for it, that of the lower file's definition it
// overrides: the text alone is checked as strictly as the layers are. ""
// when there are no entries. Throws Error for a file that does not parse,
// with the message reading `name` gives.
TESKPF_API std::string flattenedText(std::string_view name);

}  // namespace teskpf
