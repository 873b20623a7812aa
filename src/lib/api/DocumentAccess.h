// A Document made inside the library from parses it already holds, so that a
// reader that checks the files and loads them reads each file once.
#pragma once

#include <teskpf/document.h>

#include "store/Layers.h"

namespace teskpf::detail {

struct DocumentAccess {
    // The document of `layers`, as Document::load makes it from the same
    // files. Throws Error when a layer did not parse or they do not merge.
    static Document ofLayers(const Layers &layers);
};

}  // namespace teskpf::detail
