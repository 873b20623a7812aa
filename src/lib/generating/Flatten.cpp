#include <teskpf/flatten.h>

#include <teskpf/search.h>

#include "files/FileSearch.h"
#include "generating/TextGenerator.h"
#include "store/AnnotationInEffect.h"
#include "store/EntryStore.h"

namespace teskpf {

std::string flattenedText(std::string_view name) {
    // Read and merged as the classic handle reads a name.
    const detail::Store store(openParameterFiles(homeExpanded(name)));
    detail::AnnotationInEffect in_effect(store);
    return generateText(store, detail::EditedTexts(), detail::EditedTexts(), &in_effect);
}

}  // namespace teskpf
