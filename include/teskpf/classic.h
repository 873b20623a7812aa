// Helpers over the classic TeskPf handle that follow the library's own rules,
// for programs (like the teskpf tool) that work with TeskPf.
#pragma once

#include <string>
#include <string_view>

#include <TeskPf.h>
#include <teskpf/export.h>
#include <teskpf/node.h>

namespace teskpf {

// The index of the entry whose annotation entry `index` is checked against
// by the classic checkValue: its own, else its enclosing block's (one level);
// -1 when none applies or the index is out of range.
TESKPF_API int annotatedEntry(const TeskPf &pf, int index);

// Whether entry `index` of `pf` opens a block (an associative or a list
// block); false for any other entry and an index out of range.
TESKPF_API bool opensBlock(const TeskPf &pf, int index);

// The verdict on entry `index` of `pf` against the annotation in effect, as
// every reader but the classic checkValue decides it (Node::check, `teskpf
// check`): its own, else its enclosing block's, else the one that applies to
// the same key path in the nearest lower file. `proposal`, when given, is
// checked instead of the stored value. An index out of range fails with the
// message "no such key".
TESKPF_API Verdict checkInEffect(const TeskPf &pf, int index, const std::string *proposal = nullptr);

// The verdict on `key` as it would read once the file `path` holds `text`:
// the files of `name` along PFPATH up to `path`, `path` read from `text` (on
// top when it is not on PFPATH); the files above it are left out, so that an
// entry `path` defines is the one checked. Fails with "no such key" when the
// key is not there and with the reason when the files do not read.
TESKPF_API Verdict checkEdit(const std::string &name, const std::string &path, std::string_view text,
                             const std::string &key);

}  // namespace teskpf
