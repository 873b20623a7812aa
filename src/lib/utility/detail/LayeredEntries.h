// The entry list of a set of files of one name, merged the way every reader
// merges them.
#pragma once

#include <vector>

#include "detail/ConstraintParser.h"
#include "detail/EntryList.h"
#include "detail/ParsedFile.h"

namespace teskpf {

// The entry records of `files` (lowest precedence first): the last file is
// taken whole, with its blank and comment lines; each earlier file adds the
// top-level keys the later ones lack (see mergeEntryLists). Every annotation
// text is registered in `constraints`. Throws a std::string as entryRecords
// does.
EntryList layeredEntries(const std::vector<ParsedFile> &files, ConstraintTables &constraints);

}  // namespace teskpf
