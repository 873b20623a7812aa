// An owned file descriptor, closed when the object goes away.
#pragma once

#include <unistd.h>

#include <cerrno>
#include <utility>

namespace teskpf {

class UniqueFd {
public:
    UniqueFd() = default;
    explicit UniqueFd(int fd) : fd_(fd) {}
    ~UniqueFd() { reset(); }
    UniqueFd(UniqueFd &&other) noexcept : fd_(std::exchange(other.fd_, -1)) {}
    UniqueFd &operator=(UniqueFd &&other) noexcept {
        if (this != &other) {
            reset();
            fd_ = std::exchange(other.fd_, -1);
        }
        return *this;
    }
    UniqueFd(const UniqueFd &) = delete;
    UniqueFd &operator=(const UniqueFd &) = delete;

    int get() const { return fd_; }
    bool valid() const { return fd_ >= 0; }
    // Closes the descriptor now; answers close()'s errno, 0 when it succeeded
    // or nothing was open.
    int close() {
        if (fd_ < 0) return 0;
        int result = ::close(std::exchange(fd_, -1));
        return result == 0 ? 0 : errno;
    }
    void reset() { close(); }
    // Gives up ownership: answers the descriptor, which is no longer closed.
    int release() { return std::exchange(fd_, -1); }

private:
    int fd_ = -1;
};

}  // namespace teskpf
