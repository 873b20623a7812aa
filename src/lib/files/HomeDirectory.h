// Expansion of a leading "~" in file names.
#pragma once

#include <string>

namespace teskpf {

// Replaces a leading "~" (that one character only: "~bob/x" becomes
// HOME + "bob/x") by the home directory of the process's real user: the user
// database entry's directory, else $HOME. Throws Error when neither exists.
// Other names are left alone.
void expandHome(std::string &name);

}  // namespace teskpf
