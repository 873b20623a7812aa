#include "FileLines.h"

#include <fstream>
#include <iterator>
#include <sys/stat.h>

namespace teskpf {

std::string readFile(const std::string &path) {
    struct stat info;
    if (stat(path.c_str(), &info) != 0 || !S_ISREG(info.st_mode)) return {};
    std::ifstream file(path, std::ios::binary);
    if (!file) return {};
    std::string content;
    content.resize(static_cast<size_t>(info.st_size));
    file.read(content.data(), static_cast<std::streamsize>(content.size()));
    content.resize(static_cast<size_t>(file.gcount()));
    // The size may have changed since stat: take whatever else there is.
    content.append(std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>());
    return content;
}

}  // namespace teskpf
