// Which annotation a value is checked against, for every reader beyond the
// classic checkValue: the entry's own, else its enclosing block's (the rule
// of AnnotationRule.h), else the one that applies to the same key path in the
// nearest lower file that has one: an override keeps the rule of the
// definition it replaces. For a member the lower file lacks, the own
// annotation of the block it replaced there. The one home of that policy:
// checks, explanations, Node::check, typed reads and the tool all ask it.
#pragma once

#include <memory>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

#include <teskpf/node.h>

#include "store/EntryStore.h"

namespace teskpf::detail {

// The entry whose annotation applies, and how it was reached. Valid while the
// AnnotationInEffect that found it lives: a lower file's store is its.
struct FoundAnnotation {
    AnnotationOrigin origin = AnnotationOrigin::None;
    const Store *store = nullptr;  // holds the entry: the merged store, or a lower file read alone
    int entry = -1;
    const AnnotationCheck *check = nullptr;  // the text prepared; null when none applies or it does not parse

    // The annotation text; "" when none applies.
    std::string_view text() const;
    // The file (as the store names it) and 1-based line of the entry; {"", 0} when none.
    Source where() const;
};

class AnnotationInEffect {
public:
    explicit AnnotationInEffect(const Store &merged) : merged_(merged) {}
    AnnotationInEffect(const AnnotationInEffect &) = delete;
    AnnotationInEffect &operator=(const AnnotationInEffect &) = delete;

    // The annotation in effect for entry `index` of the merged store. A lower
    // file is read alone once, the first time it is needed.
    FoundAnnotation of(size_t index);

private:
    // File `id` of the merged store merged alone; null when that fails.
    const Store *alone(size_t id);
    // `found` with its check: looked up by text once per annotated entry, so
    // that a long block annotation is not hashed again for every member.
    FoundAnnotation prepared(FoundAnnotation found);

    const Store &merged_;
    std::vector<std::unique_ptr<const Store>> alone_;                        // by file id
    std::vector<bool> tried_;                                                // by file id
    std::unordered_map<const FileEntry *, const AnnotationCheck *> checks_;  // by annotated entry
};

// The verdict on `value` of the entry at `key_path` against `found`; a block
// opening (`is_value` false) passes unless the annotation does not parse.
Verdict verdictOf(const FoundAnnotation &found, const std::string &key_path, std::string_view value, bool is_value);

}  // namespace teskpf::detail
