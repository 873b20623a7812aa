// Helpers over the classic TeskPf handle that follow the library's own rules,
// for programs (like the teskpf tool) that work with TeskPf.
#pragma once

#include <TeskPf.h>
#include <teskpf/export.h>

namespace teskpf {

// The index of the entry whose annotation entry `index` is checked against:
// its own, else its enclosing block's (one level); -1 when none applies or
// the index is out of range.
TESKPF_API int annotatedEntry(const TeskPf &pf, int index);

}  // namespace teskpf
