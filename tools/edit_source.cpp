#include "edit_source.h"

#include <cmath>

#include "entries.h"
#include "param_files.h"
#include "teskpf/convert.h"
#include "teskpf/error.h"
#include "teskpf/search.h"
#include "tool_error.h"

namespace teskpf_tool {

LockedSource lockSourceOf(const std::string &name, const std::string &key, const teskpf::LockWait &wait) {
    // The file is known only after reading, and another editor may change
    // which file supplies the key before the lock is held: read again under
    // the lock until both reads agree.
    std::string source;
    {
        // Gone before the next read, so that one merged view is held at a time.
        const TeskPf first = loadParameterFile(name);
        source = first.getSource(requireEntry(first, key, name));
    }
    for (;;) {
        const std::string file = sourceFile(source);
        teskpf::FileLock lock(file, wait);
        TeskPf pf = loadParameterFile(name);
        const int index = requireEntry(pf, key, name);
        std::string now = pf.getSource(index);
        if (now == source) {
            const long line = std::stol(source.substr(file.size() + 1));
            return {std::optional<TeskPf>(std::move(pf)), index, file, line, std::move(lock)};
        }
        source = std::move(now);
    }
}

teskpf::LockWait lockWaitOf(const CommandLine &line, const std::string &command) {
    teskpf::LockWait wait;
    if (!line.has("--wait")) return wait;
    const std::string text = line.value("--wait");
    const std::optional<double> seconds = teskpf::to_float(text);
    if (!seconds || !std::isfinite(*seconds) || *seconds < 0)
        throw UsageError(command + ": --wait takes a number of seconds, not '" + text + "'", command);
    wait.timeout = std::chrono::duration<double>(*seconds);
    return wait;
}

teskpf::Editor openForEditing(const std::string &command, const std::string &file, bool locked,
                              const teskpf::LockWait &wait) {
    try {
        // A second lock on the file from this process would wait for the first.
        // A file not yet locked comes from the user (--file): the one file it names.
        return locked ? teskpf::Editor::open(file) : teskpf::Editor::openLocked(teskpf::namedFile(file), wait);
    } catch (const teskpf::Error &error) {
        throw ToolError(command + ": " + error.what(), kExitError);
    }
}

void editAndSave(const std::string &command, teskpf::Editor &editor,
                 const std::function<void(teskpf::Editor &)> &edit) {
    try {
        edit(editor);
    } catch (const teskpf::EditError &error) {
        throw ToolError(command + ": " + editor.name() + ": " + error.what() + "; nothing written", kExitError);
    }
    editor.save();
}

}  // namespace teskpf_tool
