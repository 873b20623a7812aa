// The entry list: one record of six text fields per entry, in file order.
#pragma once

#include <string>

#include "Table.h"

using Entry = Table<std::string>;
using EntryList = Table<Entry>;
