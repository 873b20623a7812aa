#include <teskpf/classic.h>

#include "detail/AnnotationRule.h"

namespace teskpf {

int annotatedEntry(const TeskPf &pf, int index) {
    if (index < 0 || index >= pf.size()) return -1;
    return annotatedEntry(
        index, [&](int i) { return pf.getConstraints(i, nullptr); },
        [&](int i) {
            const std::string key = pf.getKey(i);
            const std::string_view enclosing = enclosingKey(key);
            return enclosing.empty() ? -1 : pf.getEntryIndex(std::string(enclosing));
        });
}

}  // namespace teskpf
