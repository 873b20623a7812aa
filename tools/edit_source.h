// Finding and locking the line that supplies a key's value in effect, for
// `teskpf set` and `teskpf unset`.
#pragma once

#include <functional>
#include <string>

#include <TeskPf.h>

#include "cli_args.h"
#include "teskpf/editor.h"
#include "teskpf/save.h"

namespace teskpf_tool {

// Throws ToolError (exit 1) saying that `where` has no `key`.
[[noreturn]] void throwNoKey(const std::string &key, const std::string &where);

// The line that supplies the value of `key` in effect for `name`, read while
// its file is locked, so that no other editor changes that file until the
// lock goes away.
struct LockedSource {
    std::string file;  // as the search for `name` lists it
    long line;         // 0-based
    bool opens_block;  // the line opens a block
    teskpf::FileLock lock;
};

// Waits for the lock as `wait` says. Throws ToolError: exit 2 when `name`
// resolves to no file or the lock is not had in time, exit 1 when it has no
// `key`. Reads one file at a time; no merged view is built.
LockedSource lockSourceOf(const std::string &command, const std::string &name, const std::string &key,
                          const teskpf::LockWait &wait);

// Where `teskpf set` puts KEY for `name`: the line that supplies its value in
// effect, or, when no file has it, the file it is added to: the one that
// supplies the longest block on its path that is in effect, else the last
// file of the search (a new top-level key). Locked as lockSourceOf locks.
struct LockedTarget {
    std::string file;
    long line;         // 0-based; -1 when KEY is to be added
    bool opens_block;  // the line opens a block
    teskpf::FileLock lock;
};
LockedTarget lockSetTargetOf(const std::string &command, const std::string &name, const std::string &key,
                             const teskpf::LockWait &wait);

// Throws ToolError (exit 2) when adding `key` to `editor`'s file would create
// a block there that a file earlier on the search for `name` supplies in
// effect: the new block would hide the rest of that one.
void refuseHidingAddition(const std::string &name, const std::string &key, const teskpf::Editor &editor);

// The same, with the merged view of `name` read under the lock, for output
// made from the merged entries.
struct LockedMergedSource {
    TeskPf pf;  // the merged view, read under the lock
    int index;  // the entry of the key in `pf`
    std::string file;
    long line;
    teskpf::FileLock lock;
};
LockedMergedSource lockMergedSourceOf(const std::string &command, const std::string &name, const std::string &key,
                                      const teskpf::LockWait &wait);

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
