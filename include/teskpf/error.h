// The exceptions of the teskpf namespace. Every error the modern API, the
// editor, the diagnostics and the safe save report is a teskpf::Error, so
// `catch (const std::exception &)` sees it. (The classic class TeskPf keeps
// throwing std::string.)
#pragma once

#include <stdexcept>
#include <string>
#include <system_error>

#include <teskpf/export.h>

namespace teskpf {

// Base of all errors: the message, and the file and 1-based line it concerns
// where there is one (file() empty and line() 0 otherwise).
class TESKPF_API Error : public std::runtime_error {
public:
    explicit Error(const std::string &message, std::string file = {}, long line = 0)
        : std::runtime_error(message), file_(std::move(file)), line_(line) {}
    // The file the error concerns; "" when none.
    const std::string &file() const noexcept { return file_; }
    // The 1-based line the error concerns; 0 when none.
    long line() const noexcept { return line_; }

private:
    std::string file_;
    long line_;
};

// A file could not be read, written, locked or saved; code() says why
// (an errno value in std::generic_category, or a teskpf reason).
class TESKPF_API IoError : public Error {
public:
    IoError(const std::string &message, std::string file, std::error_code code)
        : Error(message, std::move(file)), code_(code) {}
    // The system's reason.
    std::error_code code() const noexcept { return code_; }

private:
    std::error_code code_;
};

// An edit was refused because its result would not read back as intended
// (a line break in a value, a block marker, ...); nothing was changed.
class TESKPF_API EditError : public Error {
public:
    using Error::Error;
};

}  // namespace teskpf
