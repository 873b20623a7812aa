#include <teskpf/classic.h>

#include "detail/ClassicAccess.h"

namespace teskpf {

// The store decides, as it does for checkValue, without copying annotation
// texts: a block's annotation may be long and serve many members.
int annotatedEntry(const TeskPf &pf, int index) {
    if (index < 0 || index >= pf.size()) return -1;
    return detail::ClassicAccess::store(pf)->annotatedEntry(static_cast<size_t>(index));
}

}  // namespace teskpf
