// The classic entry records: six text fields per entry (source, level, key
// path, value, comment, constraints), in file order. They are the plain
// reference model that the differential fuzzer and the tests hold the
// library's store against; the library itself does not use them.
#pragma once

#include <string>

#include "Array.h"
#include "TeskPf.h"
#include "detail/ParsedFile.h"
#include "support/EntryList.h"

namespace teskpf {

// Parsed constraint tables, keyed by their annotation text.
using ConstraintTables = Array<std::string, Table<TeskPf_Constraint>>;

// Parses `text` (see parseConstraintText) and stores its table in `tables`
// under the text itself, unless it is already there. Returns 0 when the text
// is stored, -1 when it is malformed (and then nothing is stored).
int registerConstraints(ConstraintTables &tables, const std::string &text);

// The entry records of `file`. Every member line's constraint text is
// registered in `constraints`. Blank and comment-only lines give records only
// when `keep_comments` is set. Throws a std::string when the key paths of the
// file grow beyond keyPathBudget of its bytes.
EntryList entryRecords(const ParsedFile &file, bool keep_comments, ConstraintTables &constraints);

// The text of an entry list, written with the library's TextWriter.
std::string generateText(const EntryList &list);

}  // namespace teskpf
