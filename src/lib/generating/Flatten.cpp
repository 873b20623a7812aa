#include <teskpf/flatten.h>

#include "generating/TextGenerator.h"
#include "store/AnnotationInEffect.h"
#include "store/Layers.h"
#include "teskpf/error.h"

namespace teskpf {

std::string flattenedText(std::string_view name) {
    const Layers layers = Layers::ofName(std::string(name));
    for (const Layer &layer : layers.files)
        if (!layer.parsed) throw Error(layer.parse_error);
    if (!layers.merged) throw Error("the files of '" + std::string(name) + "' do not read together");
    detail::AnnotationInEffect in_effect(*layers.merged);
    return generateText(*layers.merged, detail::EditedTexts(), detail::EditedTexts(), &in_effect);
}

}  // namespace teskpf
