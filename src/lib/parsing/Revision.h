// The revision entry: a top-level "pf_revision_time" whose value every write
// refreshes with the current time.
#pragma once

#include <climits>
#include <cmath>
#include <string>
#include <string_view>

#include "parsing/ParsedFile.h"
#include "pf_clock.h"

namespace teskpf {

// The name of the revision entry (at the top level only).
inline constexpr std::string_view kRevisionName = "pf_revision_time";

// Whether `entry` of `parsed` is the revision entry: a top-level member, of
// any kind, named kRevisionName. Writing replaces it with a fresh revision
// line at the end.
inline bool isRevisionEntry(const ParsedFile &parsed, const FileEntry &entry) {
    return entry.kind != EntryKind::Note && entry.parent < 0 && parsed.key(entry) == kRevisionName;
}

// The revision value for now: the integer part of the platform clock.
inline std::string revisionTime() {
    double now = std::trunc(std_now());
    int seconds = now >= INT_MAX ? INT_MAX : now <= INT_MIN ? INT_MIN : static_cast<int>(now);
    return std::to_string(seconds);
}

}  // namespace teskpf
