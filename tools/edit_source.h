// Finding and locking the line that supplies a key's value in effect, for
// `teskpf set` and `teskpf unset`.
#pragma once

#include <functional>
#include <optional>
#include <string>

#include "TeskPf.h"
#include "cli_args.h"
#include "teskpf/editor.h"
#include "teskpf/save.h"

namespace teskpf_tool {

// The entry of `key` in the merged view of `name`, read while the file that
// supplies it is locked, so that no other editor changes that file until the
// lock goes away.
struct LockedSource {
    std::optional<TeskPf> pf;  // the merged view, read under the lock; reset it to free its memory
    int index;                 // the entry of the key in `pf`
    std::string file;          // the file that supplied it, as the source names it
    long line;                 // its 0-based line in that file
    teskpf::FileLock lock;
};

// Waits for the lock as `wait` says. Throws ToolError: exit 2 when `name`
// resolves to no file or the lock is not had in time, exit 1 when it has no
// `key`.
LockedSource lockSourceOf(const std::string &name, const std::string &key, const teskpf::LockWait &wait);

// How long --wait SECONDS lets `command` wait for a lock; without it, until
// the lock is held. Throws UsageError for a value that is not a number of
// seconds.
teskpf::LockWait lockWaitOf(const CommandLine &line, const std::string &command);

// An editor on `file`, holding its lock (waited for as `wait` says) unless
// `locked` says the caller holds it already; a `file` not locked yet is the
// user's and stands for the one file it names (teskpf::namedFile). Throws ToolError (exit 2) when it
// cannot be read or locked.
teskpf::Editor openForEditing(const std::string &command, const std::string &file, bool locked,
                              const teskpf::LockWait &wait = {});

// Runs `edit` on `editor` and saves it; a refused edit becomes ToolError
// (exit 2) "COMMAND: FILE: cannot ...: REASON", and nothing is written.
void editAndSave(const std::string &command, teskpf::Editor &editor, const std::function<void(teskpf::Editor &)> &edit);

}  // namespace teskpf_tool
