// The entry list: one record of six text fields per entry, in file order.
#pragma once

#include <string>

#include "Table.h"

using Entry = Table<std::string>;
using EntryList = Table<Entry>;

namespace reference {

// The positions of the six fields of an entry record.
enum Field { kSource = 0, kLevel = 1, kKey = 2, kValue = 3, kComment = 4, kConstraints = 5 };

}  // namespace reference
