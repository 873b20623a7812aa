#include "FileLines.h"

#include <algorithm>
#include <fstream>
#include <sys/stat.h>

namespace teskpf {

Table<std::string> readLines(const std::string &path) {
    Table<std::string> lines;
    struct stat info;
    if (stat(path.c_str(), &info) != 0 || !S_ISREG(info.st_mode)) return lines;
    std::ifstream file(path, std::ios::binary);
    if (!file) return lines;
    std::string content((std::istreambuf_iterator<char>(file)), std::istreambuf_iterator<char>());

    lines.reserve(static_cast<size_t>(std::count(content.begin(), content.end(), '\n')) + 1);
    size_t start = 0;
    while (start < content.size()) {
        size_t end = content.find('\n', start);
        if (end == std::string::npos) end = content.size();
        lines.emplace_back(content, start, end - start);
        start = end + 1;
    }
    return lines;
}

}  // namespace teskpf
