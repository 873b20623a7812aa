// The temporary files of saves: their names, and the removal of those whose
// writer is gone.
#pragma once

#include <sys/types.h>

#include <string>

namespace teskpf {

// A fresh name ".TARGET.teskpf-RANDOM" for the temporary file of a save of
// `target` (a name in a directory), with TARGET shortened so that the whole
// fits NAME_MAX.
std::string tempNameFor(const std::string &target);

// Removes from the directory `dir` the temporary files of saves of `target`
// whose writer is gone. A writer holds flock(LOCK_EX) on its temporary file
// from before the file is known to be its own until the file is renamed or
// removed, so a file of that naming that can be locked at once has none: a
// process that was killed left it. Only regular files with one link, owned
// by the effective user or by `owner`, are removed, and only while the lock
// is held and the name still names the file locked. Errors are ignored: the
// save goes on either way.
void removeStaleTempFiles(int dir, const std::string &target, uid_t owner);

// Takes the lock that tells a save's temporary file `file`, just created as
// `name` in `dir`, from a leftover, and holds it as long as `file` (or a
// duplicate of it) stays open. False when a removal of leftovers took the
// file between its creation and the lock: the name is then gone, or another's.
bool lockNewTempFile(int dir, const std::string &name, int file);

}  // namespace teskpf
