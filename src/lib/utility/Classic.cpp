#include <teskpf/classic.h>
#include <teskpf/search.h>

#include <sys/stat.h>

#include "detail/AnnotationInEffect.h"
#include "detail/BlockSyntax.h"
#include "detail/ClassicAccess.h"
#include "detail/ReadFile.h"

namespace teskpf {

namespace {

// Whether `a` and `b` name the same file: the same inode when both exist.
bool sameFile(const std::string &a, const std::string &b) {
    struct stat sa, sb;
    if (::stat(a.c_str(), &sa) != 0 || ::stat(b.c_str(), &sb) != 0) return a == b;
    return sa.st_dev == sb.st_dev && sa.st_ino == sb.st_ino;
}

Verdict failed(std::string message) {
    Verdict verdict;
    verdict.message = std::move(message);
    return verdict;
}

Verdict verdictIn(const detail::Store &store, int index, const std::string *proposal) {
    if (index < 0 || static_cast<size_t>(index) >= store.size()) return failed("no such key");
    const size_t at = static_cast<size_t>(index);
    std::string buffer;
    const std::string_view value = proposal ? std::string_view(*proposal) : store.value(at, buffer);
    return detail::verdictOf(detail::AnnotationInEffect(store).of(at), store.keyPath(at), value,
                             !store.entryOf(at).opensBlock());
}

}  // namespace

// The store decides, as it does for checkValue, without copying annotation
// texts: a block's annotation may be long and serve many members.
bool opensBlock(const TeskPf &pf, int index) { return isMarker(pf.getEntry(index).get(FIELD_VALUE)); }

int annotatedEntry(const TeskPf &pf, int index) {
    if (index < 0 || index >= pf.size()) return -1;
    return detail::ClassicAccess::store(pf)->annotatedEntry(static_cast<size_t>(index));
}

Verdict checkInEffect(const TeskPf &pf, int index, const std::string *proposal) {
    const detail::Store *store = detail::ClassicAccess::store(pf);
    if (!store) return failed("no such key");
    return verdictIn(*store, index, proposal);
}

Verdict checkEdit(const std::string &name, const std::string &path, std::string_view text, const std::string &key) {
    try {
        // The files below `path`; all of them when it is not on the path.
        const std::vector<std::string> files = parameterFiles(name);
        size_t below = 0;
        while (below < files.size() && !sameFile(files[below], path)) ++below;
        std::vector<ParsedFile> parsed;
        for (size_t i = 0; i < below; ++i) parsed.emplace_back(files[i], readFileOrThrow(files[i]));
        parsed.emplace_back(path, FileText(text));
        const detail::Store store(std::move(parsed));
        return verdictIn(store, store.find(key), nullptr);
    } catch (const std::string &message) {
        return failed(message);
    }
}

}  // namespace teskpf
