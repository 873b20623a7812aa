#include "files/HomeDirectory.h"

#include <pwd.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <vector>

#include "teskpf/error.h"

namespace teskpf {

namespace {

// The user database's home directory of the real user; "" when there is no
// record or it has none. getpwuid_r fills a buffer of ours, so threads never
// share the record as they would with getpwuid.
std::string databaseHome() {
    const long suggested = sysconf(_SC_GETPW_R_SIZE_MAX);
    std::vector<char> buffer(suggested > 0 ? static_cast<size_t>(suggested) : 1024);
    struct passwd entry;
    struct passwd *record = nullptr;
    for (;;) {
        const int error = getpwuid_r(getuid(), &entry, buffer.data(), buffer.size(), &record);
        if (error == ERANGE && buffer.size() < (size_t{1} << 24)) {
            buffer.resize(buffer.size() * 2);
            continue;
        }
        if (error == EINTR) continue;
        if (error != 0 || !record || !record->pw_dir) return "";
        return record->pw_dir;
    }
}

std::string homeDirectory(const std::string &name) {
    std::string home = databaseHome();
    if (!home.empty()) return home;
    const char *variable = std::getenv("HOME");
    if (variable && variable[0] != '\0') return variable;
    throw Error("TeskPf: cannot expand '~' in '" + name + "': the current user has no home directory");
}

}  // namespace

void expandHome(std::string &name) {
    if (name.empty() || name[0] != '~') return;
    name.replace(0, 1, homeDirectory(name));
}

}  // namespace teskpf
