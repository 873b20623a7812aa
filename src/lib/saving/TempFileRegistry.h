// The temporary files that saves are writing right now, listed where a
// signal handler can remove them (see removeTempFilesOnSignal).
#pragma once

#include <string>

namespace teskpf {

// Lists the file `name` in the directory `dir` for as long as the object
// lives. The list has a fixed number of places, taken without locks or
// allocation; when all are taken the file is simply not listed.
class TempFileRegistration {
public:
    TempFileRegistration(int dir, const std::string &name);
    ~TempFileRegistration();
    TempFileRegistration(const TempFileRegistration &) = delete;
    TempFileRegistration &operator=(const TempFileRegistration &) = delete;

private:
    int slot_;  // the place taken; -1 when none
};

}  // namespace teskpf
