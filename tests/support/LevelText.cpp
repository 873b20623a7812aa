#include "support/LevelText.h"

#include <cerrno>
#include <climits>
#include <cstdlib>

namespace teskpf {

int parseLevel(const std::string &text) {
    const char *start = text.c_str();
    char *end = nullptr;
    errno = 0;
    long number = std::strtol(start, &end, 10);
    if (end == start) return -1;
    if (number > INT_MAX) return INT_MAX;
    if (number < INT_MIN) return INT_MIN;
    return static_cast<int>(number);
}

}  // namespace teskpf
