#include "peer_formats.h"

namespace teskpf_bench {

const std::vector<Format> &formats() {
    static const std::vector<Format> all = {{"pf", toPfText}, {"ini", toIni},   {"cfg", toLibconfig},
                                            {"yaml", toYaml}, {"toml", toToml}, {"info", toInfo}};
    return all;
}

std::string contentPath(const std::string &dir, size_t lines, const std::string &extension) {
    return dir + "/" + std::to_string(lines) + "." + extension;
}

}  // namespace teskpf_bench
