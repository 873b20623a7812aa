// Builds classic handles over files the library has read already, so that a
// caller holding the parses does not read the files again.
#pragma once

#include <memory>
#include <string>
#include <vector>

#include "TeskPf.h"
#include "detail/EntryStore.h"

namespace teskpf::detail {

struct ClassicAccess {
    // The handle `name` would give if it found exactly `files` (lowest
    // precedence first). Throws a std::string as the classic constructor does
    // for key paths nested too deeply.
    static TeskPf fromParsed(std::vector<ParsedFile> files, std::string name) {
        return TeskPf(std::make_shared<const Store>(std::move(files)), std::move(name));
    }
    // The entries behind a handle; null for a handle that holds none.
    static const Store *store(const TeskPf &pf) { return pf.store.get(); }
};

}  // namespace teskpf::detail
