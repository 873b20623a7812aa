#include "features.h"

namespace teskpf_lsp {

const std::vector<Feature> &features() {
    static const std::vector<Feature> all = {};
    return all;
}

}  // namespace teskpf_lsp
