// A file's text, handed out one line at a time.
#pragma once

#include <algorithm>
#include <string>
#include <string_view>

namespace teskpf {

// The lines of a text, split at each line feed (not included); a last line
// without a line feed counts too. Lines are taken from the front without
// copying or moving the rest.
class LineReader {
public:
    explicit LineReader(std::string text) : text(std::move(text)) {}

    bool empty() const { return position >= text.size(); }

    // Takes the next line; valid while the reader lives. Call only when not empty().
    std::string_view next() {
        size_t end = text.find('\n', position);
        if (end == std::string::npos) end = text.size();
        std::string_view line(text.data() + position, end - position);
        position = end + 1;
        return line;
    }

    // How many lines are left to take.
    size_t remainingLines() const {
        if (empty()) return 0;
        size_t feeds = static_cast<size_t>(std::count(text.begin() + static_cast<long>(position), text.end(), '\n'));
        return text.back() == '\n' ? feeds : feeds + 1;
    }

    // Size of the whole text in bytes.
    size_t bytes() const { return text.size(); }

private:
    std::string text;
    size_t position = 0;
};

// The content of the file at `path`. A file that cannot be opened, or is not
// a regular file, reads as empty.
std::string readFile(const std::string &path);

}  // namespace teskpf
