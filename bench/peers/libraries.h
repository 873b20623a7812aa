// The loaders compared: each reads one whole file into memory its own way.
#pragma once

#include <functional>
#include <memory>
#include <string>
#include <vector>

namespace teskpf_bench {

struct Library {
    std::string name;
    std::string extension;  // of the file it reads (see formats())
    // Loads the file; the document lives as long as the result. Throws on a
    // parse error.
    std::function<std::shared_ptr<void>(const std::string &path)> load;
};

// Two baselines on the parameter file (the floor: read it and count lines; a
// naive split of every line into key and value), TeskPf, then the peers.
const std::vector<Library> &libraries();

}  // namespace teskpf_bench
