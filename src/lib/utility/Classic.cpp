#include <teskpf/classic.h>
#include <teskpf/error.h>
#include <teskpf/search.h>

#include <sys/stat.h>

#include "parsing/ReadFile.h"
#include "store/AnnotationInEffect.h"

namespace teskpf {

namespace detail {

// The entries behind a classic handle; null for a handle that holds none.
struct ClassicStore {
    static const Store *of(const TeskPf &pf) { return pf.store.get(); }
};

}  // namespace detail

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
bool opensBlock(const TeskPf &pf, int index) {
    return index >= 0 && index < pf.size() &&
           detail::ClassicStore::of(pf)->entryOf(static_cast<size_t>(index)).opensBlock();
}

int annotatedEntry(const TeskPf &pf, int index) {
    if (index < 0 || index >= pf.size()) return -1;
    return detail::ClassicStore::of(pf)->annotatedEntry(static_cast<size_t>(index));
}

Verdict checkInEffect(const TeskPf &pf, int index, const std::string *proposal) {
    const detail::Store *store = detail::ClassicStore::of(pf);
    if (!store) return failed("no such key");
    return verdictIn(*store, index, proposal);
}

Verdict checkEdit(const std::string &name, const std::string &path, std::string_view text, const std::string &key) {
    // The files below `path`; all of them when it is not on the path.
    const std::vector<std::string> files = parameterFiles(name);
    size_t below = 0;
    while (below < files.size() && !sameFile(files[below], path)) ++below;
    // A file that cannot be read is an error; files that do not parse or
    // merge give a failed verdict with the reason.
    std::vector<ParsedFile> parsed;
    try {
        for (size_t i = 0; i <= below; ++i) {
            FileText read = i < below ? readFileOrThrow(files[i]) : FileText(text);
            parsed.emplace_back(i < below ? files[i] : path, std::move(read));
        }
        const detail::Store store(std::move(parsed));
        return verdictIn(store, store.find(key), nullptr);
    } catch (const IoError &) {
        throw;
    } catch (const Error &error) {
        return failed(error.what());
    }
}

}  // namespace teskpf
