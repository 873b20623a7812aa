// Turns entries back into parameter-file text.
#pragma once

#include <string>
#include <string_view>

#include "store/EditedTexts.h"

namespace teskpf {

// One entry as the generator sees it.
struct TextLine {
    int level = 0;          // nesting depth; below 0 is written at the top level
    bool revision = false;  // the top-level "pf_revision_time" entry
    std::string_view key;   // the key as written on its line (see writtenKey)
    std::string_view value;
    std::string_view comment;
    std::string_view constraints;
};

// Builds the text line by line: one line per entry, indented with one tab per
// level, the closing lines of blocks derived from the levels, and, when a
// revision entry was added, a fresh "pf_revision_time<TAB><now>" line last.
class TextWriter {
public:
    void add(const TextLine &line);
    // The text; the writer is empty afterwards.
    std::string finish();

private:
    void closeBlocks(int level);

    std::string out;
    std::string revision;
    std::string comment_buffer;
    int depth = 0;
};

namespace detail {
class Store;
class AnnotationInEffect;
}  // namespace detail

// The text of a store's merged entries, with the edited values and comments
// in place of what the files hold: what TeskPf::write and Document::save
// write. With `in_effect` (on `store`), a value line whose annotation in
// effect comes from a lower file's definition gets that annotation written
// on it, so that the text alone is checked as the layers are.
std::string generateText(const detail::Store &store, const detail::EditedTexts &values,
                         const detail::EditedTexts &comments, detail::AnnotationInEffect *in_effect = nullptr);

// The text of entries `first` to `last` (inclusive; an entry and its
// members), comment-only lines left out, indented from `first`'s level.
std::string generateEntries(const detail::Store &store, const detail::EditedTexts &values, size_t first, size_t last);

}  // namespace teskpf
