// The layers of a name flattened into the text of one parameter file.
#pragma once

#include <string>
#include <string_view>

#include <teskpf/export.h>

namespace teskpf {

// The merged entries of the files `name` reads (parameterFiles), written as
// the classic writer writes them, except that every value line without an
// annotation of its own and outside an annotated block gets the annotation in
// effect for it, that of the lower file's definition it overrides: the text
// alone is checked as strictly as the layers are. Throws IoError when there
// is no file or one cannot be read, Error when one does not parse or they do
// not read together.
TESKPF_API std::string flattenedText(std::string_view name);

}  // namespace teskpf
