#include <teskpf/classic.h>

#include "detail/AnnotationRule.h"

namespace teskpf {

int annotatedEntry(const TeskPf &pf, int index) {
    if (index < 0 || index >= pf.size()) return -1;
    return annotatedEntry(
        index, [&](int i) { return pf.getConstraints(i, nullptr); }, [&](int i) { return pf.getKey(i); },
        [&](std::string_view key) { return pf.getEntryIndex(std::string(key)); });
}

}  // namespace teskpf
