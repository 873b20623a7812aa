#include "detail/LayeredEntries.h"

#include "detail/BlockParser.h"
#include "detail/Merge.h"

namespace teskpf {

EntryList layeredEntries(const std::vector<ParsedFile> &files, ConstraintTables &constraints) {
    EntryList merged;
    bool winner = true;
    for (auto file = files.rbegin(); file != files.rend(); ++file) {
        EntryList entries = entryRecords(*file, winner, constraints);
        if (winner)
            merged = std::move(entries);
        else if (!entries.empty())
            merged = mergeEntryLists(merged, entries);
        winner = false;
    }
    return merged;
}

}  // namespace teskpf
