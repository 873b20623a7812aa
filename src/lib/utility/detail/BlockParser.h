// The classic entry records of one parsed file: six text fields per entry
// (source, level, key path, value, comment, constraints), in file order.
#pragma once

#include <string>

#include "detail/ConstraintParser.h"
#include "detail/EntryList.h"
#include "detail/ParsedFile.h"

namespace teskpf {

// The entry records of `file`. Every member line's constraint text is
// registered in `constraints`. Blank and comment-only lines give records only
// when `keep_comments` is set. Throws a std::string when the key paths of the
// file grow beyond a size that only absurd nesting reaches (see keyPathBudget).
EntryList entryRecords(const ParsedFile &file, bool keep_comments, ConstraintTables &constraints);

// How many bytes of key paths a file of `file_bytes` bytes may produce. Key
// paths repeat their block's path, so deep nesting makes them grow with the
// square of the depth; this bound stops a hostile file from exhausting memory
// while leaving room for any realistic one.
size_t keyPathBudget(size_t file_bytes);

}  // namespace teskpf
