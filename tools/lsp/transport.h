// The language server's base protocol: messages framed by a header
// ("Content-Length: N", optionally "Content-Type: ...", each line ending in
// "\r\n", then an empty line) and N bytes of JSON.
#pragma once

#include <cstddef>
#include <istream>
#include <ostream>
#include <streambuf>
#include <string>
#include <vector>

namespace teskpf_lsp {

// The largest message read; a longer one is skipped.
constexpr std::size_t kMaxMessageBytes = std::size_t{64} << 20;

struct Message {
    enum class Kind {
        Body,       // `body` holds the content of a well-framed message
        Malformed,  // the header was unusable: `error` says why; reading resumed at the next header
        End,        // the input ended
    };
    Kind kind = Kind::End;
    std::string body;
    std::string error;
};

// Reads messages one after the other from `in`. A header that cannot be
// used (no Content-Length, a value that is no number, a line over 8 KiB,
// a message over kMaxMessageBytes) is reported once as Malformed; reading
// then skips to the next line that starts a header ("Content-Length:"), or,
// for a message that is too long but well framed, over its content.
class MessageReader {
public:
    explicit MessageReader(std::istream &in) : in_(in) {}
    Message next();

private:
    // Reads one line without its "\r\n" (or "\n"), keeping at most
    // kMaxHeaderLine bytes of it; false at the end of input.
    bool readLine(std::string &line, bool &too_long);
    // Skips lines until one starts a header, which it keeps in `pending_`.
    void resynchronise();

    std::istream &in_;
    std::string pending_;  // a header line already read
    bool has_pending_ = false;
    // What the previous call left to skip: bytes of a message too long, or
    // everything up to the next header.
    unsigned long long skip_bytes_ = 0;
    bool skip_ = false;
};

// Standard input (or any file descriptor) as a stream, read in large
// blocks: big messages arrive in few system calls.
class FileDescriptorInput : public std::streambuf {
public:
    explicit FileDescriptorInput(int fd) : fd_(fd), buffer_(std::size_t{1} << 16) {}

protected:
    int_type underflow() override;

private:
    int fd_;
    std::vector<char> buffer_;
};

// Writes `body` as one framed message and flushes.
void writeMessage(std::ostream &out, const std::string &body);

}  // namespace teskpf_lsp
