// Texts changed in memory over a store's merged entries, by entry index: the
// classic handle's edited values and comments, the document's edited values.
// The files' text is never changed; readers and the writer look here first.
#pragma once

#include <string>
#include <string_view>
#include <unordered_map>

namespace teskpf::detail {

using EditedTexts = std::unordered_map<int, std::string>;

// The edited text of entry `index` when `edited` holds one, else what
// `stored()` gives.
template <class Stored>
std::string_view editedOr(const EditedTexts &edited, int index, Stored stored) {
    if (!edited.empty()) {
        auto found = edited.find(index);
        if (found != edited.end()) return found->second;
    }
    return stored();
}

}  // namespace teskpf::detail
