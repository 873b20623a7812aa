#include "detail/HomeDirectory.h"

#include <pwd.h>
#include <unistd.h>
#include <cstdlib>

namespace teskpf {

namespace {

std::string homeDirectory(const std::string &name) {
    // The record lives in storage shared by the process: copy the text at once.
    const struct passwd *record = getpwuid(getuid());
    if (record && record->pw_dir && record->pw_dir[0] != '\0') return record->pw_dir;
    const char *home = std::getenv("HOME");
    if (home && home[0] != '\0') return home;
    throw "TeskPf: cannot expand '~' in '" + name + "': the current user has no home directory";
}

}  // namespace

void expandHome(std::string &name) {
    if (name.empty() || name[0] != '~') return;
    name.replace(0, 1, homeDirectory(name));
}

}  // namespace teskpf
