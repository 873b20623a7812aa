#include <teskpf/key_source.h>

#include <teskpf/search.h>

#include "store/EntryStore.h"

namespace teskpf {

std::optional<KeySource> findKeySource(std::string_view name, std::string_view key_path) {
    const std::vector<std::string> files = parameterFiles(name);
    const std::optional<detail::KeySupplier> found = detail::keySupplier(files, key_path);
    if (!found) return std::nullopt;
    return KeySource{files[found->file], static_cast<long>(found->line), found->opens_block};
}

}  // namespace teskpf
