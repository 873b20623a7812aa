#include "files/ErrorText.h"

#include <string.h>

namespace teskpf {

namespace {

// strerror_r comes in two kinds: the GNU one answers the text (perhaps not in
// `buffer`), the POSIX one answers 0 and fills `buffer`.
[[maybe_unused]] const char *textOf(const char *answer, const char *) { return answer; }
[[maybe_unused]] const char *textOf(int answer, const char *buffer) { return answer == 0 ? buffer : nullptr; }

}  // namespace

std::string errorText(int code) {
    char buffer[256];  // strerror_r truncates to the size it is given
    buffer[0] = '\0';
    const char *text = textOf(strerror_r(code, buffer, sizeof buffer), buffer);
    if (!text || !*text) return "error " + std::to_string(code);
    return text;
}

}  // namespace teskpf
