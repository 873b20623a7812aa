// The word lists of "<str>(word word ...)" annotations, for an editor that
// offers the allowed words and suggests one for a value that is not allowed.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

#include <teskpf/export.h>

namespace teskpf {

// The words the annotation text `annotation` (e.g. "<str>(low high) <int>")
// allows for field `field` of a value (0 the first): the list of its
// <str>(...) group for that field. Empty when that group allows any text,
// when it asks for another type, when there is no such group and when the
// annotation does not parse.
TESKPF_API std::vector<std::string> allowedWords(std::string_view annotation, std::size_t field = 0);

// The word of `words` nearest to `value`: the fewest single-byte insertions,
// deletions and replacements that turn `value` into it, the earlier word on
// a tie. "" when `words` is empty.
TESKPF_API std::string nearestWord(std::string_view value, const std::vector<std::string> &words);

}  // namespace teskpf
