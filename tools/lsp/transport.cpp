#include "transport.h"

#include <unistd.h>
#include <algorithm>

#include <cctype>
#include <cerrno>
#include <limits>

namespace teskpf_lsp {

namespace {

constexpr std::size_t kMaxHeaderLine = 8192;
constexpr std::size_t kMaxHeaderLines = 64;

bool startsWithIgnoringCase(const std::string &text, const std::string &prefix) {
    if (text.size() < prefix.size()) return false;
    for (std::size_t i = 0; i < prefix.size(); ++i)
        if (std::tolower(static_cast<unsigned char>(text[i])) != prefix[i]) return false;
    return true;
}

std::string trimmed(const std::string &text) {
    std::size_t begin = 0;
    std::size_t end = text.size();
    while (begin < end && (text[begin] == ' ' || text[begin] == '\t')) ++begin;
    while (end > begin && (text[end - 1] == ' ' || text[end - 1] == '\t')) --end;
    return text.substr(begin, end - begin);
}

// The value of a Content-Length header: decimal digits only. False when it
// is no such number; `overflow` when it does not fit in `length`.
bool parseLength(const std::string &value, unsigned long long &length, bool &overflow) {
    if (value.empty()) return false;
    length = 0;
    overflow = false;
    for (char c : value) {
        if (c < '0' || c > '9') return false;
        const unsigned digit = static_cast<unsigned>(c - '0');
        if (length > (static_cast<unsigned long long>(std::numeric_limits<long long>::max()) - digit) / 10)
            overflow = true;
        if (!overflow) length = length * 10 + digit;
    }
    return true;
}

}  // namespace

bool MessageReader::readLine(std::string &line, bool &too_long) {
    line.clear();
    too_long = false;
    std::streambuf *buffer = in_.rdbuf();
    bool any = false;
    for (;;) {
        const int c = buffer->sbumpc();
        if (c == std::char_traits<char>::eof()) {
            in_.setstate(std::ios::eofbit);
            return any;
        }
        any = true;
        if (c == '\n') break;
        if (line.size() < kMaxHeaderLine)
            line += static_cast<char>(c);
        else
            too_long = true;
    }
    if (!line.empty() && line.back() == '\r') line.pop_back();
    return true;
}

void MessageReader::resynchronise() {
    std::string line;
    bool too_long = false;
    while (readLine(line, too_long)) {
        if (startsWithIgnoringCase(line, "content-length:")) {
            pending_ = line;
            has_pending_ = true;
            return;
        }
    }
}

Message MessageReader::next() {
    if (skip_bytes_ > 0) {
        in_.ignore(static_cast<std::streamsize>(skip_bytes_));
        skip_bytes_ = 0;
    }
    if (skip_) {
        skip_ = false;
        resynchronise();
    }
    Message message;
    auto malformed = [&](std::string why) {
        message.kind = Message::Kind::Malformed;
        message.error = std::move(why);
        // Skipped on the next call, so that the answer need not wait for it.
        skip_ = true;
        return message;
    };
    std::string line;
    bool too_long = false;
    bool have_length = false;
    bool overflow = false;
    unsigned long long length = 0;
    std::size_t lines = 0;
    for (;;) {
        if (has_pending_) {
            line = std::move(pending_);
            has_pending_ = false;
        } else if (!readLine(line, too_long)) {
            // The end of input, in or before a header.
            message.kind = Message::Kind::End;
            return message;
        }
        if (line.empty()) {
            // Blank lines before a header are skipped; one after it ends it.
            if (lines == 0) continue;
            break;
        }
        if (too_long) return malformed("header line longer than 8192 bytes");
        if (++lines > kMaxHeaderLines) return malformed("more than 64 header lines");
        const std::size_t colon = line.find(':');
        if (colon == std::string::npos) return malformed("header line without ':'");
        const std::string name = line.substr(0, colon);
        const std::string value = trimmed(line.substr(colon + 1));
        if (startsWithIgnoringCase(name, "content-length") && name.size() == 14) {
            if (!parseLength(value, length, overflow)) return malformed("Content-Length is not a number: " + value);
            have_length = true;
        }
        // Content-Type and any other header are accepted and ignored.
    }
    if (!have_length) return malformed("header without Content-Length");
    if (overflow || length > kMaxMessageBytes) {
        // Well framed but too long: its content is skipped, unread, when its
        // length is known, else everything up to the next header.
        message.kind = Message::Kind::Malformed;
        message.error = "message longer than " + std::to_string(kMaxMessageBytes) + " bytes";
        if (overflow)
            skip_ = true;
        else
            skip_bytes_ = length;
        return message;
    }
    // Read in steps that double, so that a length the content never reaches
    // costs no more memory than the content that came.
    std::size_t got = 0;
    while (got < length) {
        const std::size_t step = std::min<std::size_t>(length - got, std::max<std::size_t>(got, 1 << 16));
        message.body.resize(got + step);
        in_.read(message.body.data() + got, static_cast<std::streamsize>(step));
        if (static_cast<std::size_t>(in_.gcount()) != step) {
            message.kind = Message::Kind::End;
            message.body.clear();
            return message;
        }
        got += step;
    }
    message.kind = Message::Kind::Body;
    return message;
}

FileDescriptorInput::int_type FileDescriptorInput::underflow() {
    if (gptr() < egptr()) return traits_type::to_int_type(*gptr());
    for (;;) {
        const ssize_t got = ::read(fd_, buffer_.data(), buffer_.size());
        if (got > 0) {
            setg(buffer_.data(), buffer_.data(), buffer_.data() + got);
            return traits_type::to_int_type(*gptr());
        }
        if (got < 0 && errno == EINTR) continue;
        return traits_type::eof();
    }
}

void writeMessage(std::ostream &out, const std::string &body) {
    out << "Content-Length: " << body.size() << "\r\n\r\n" << body;
    out.flush();
}

}  // namespace teskpf_lsp
