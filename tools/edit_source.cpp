#include "edit_source.h"

#include <cmath>

#include "entries.h"
#include "param_files.h"
#include "teskpf/convert.h"
#include "teskpf/error.h"
#include "teskpf/key_source.h"
#include "teskpf/search.h"
#include "tool_error.h"

namespace teskpf_tool {

void throwNoKey(const std::string &key, const std::string &where) {
    throw ToolError("no key " + key + " in '" + where + "'", kExitFailed);
}

namespace {

struct Place {
    std::string file;
    long line = -1;
    bool operator==(const Place &other) const { return file == other.file && line == other.line; }
};

// Locks the file of the place `find` gives. The file is known only after
// reading, and another editor may change which line supplies the key before
// the lock is held: `find` runs again under the lock until both agree, and
// what it found last stands.
teskpf::FileLock lockWhereFound(const std::function<Place()> &find, const teskpf::LockWait &wait) {
    Place place = find();
    for (;;) {
        teskpf::FileLock lock(place.file, wait);
        Place now = find();
        if (now == place) return lock;
        place = std::move(now);
    }
}

}  // namespace

LockedSource lockSourceOf(const std::string &name, const std::string &key, const teskpf::LockWait &wait) {
    teskpf::KeySource source;
    teskpf::FileLock lock = lockWhereFound(
        [&] {
            if (teskpf::parameterFiles(name).empty()) throwNoParameterFile(name);
            std::optional<teskpf::KeySource> found = teskpf::findKeySource(name, key);
            if (!found) throwNoKey(key, name);
            source = std::move(*found);
            return Place{source.file, source.line};
        },
        wait);
    return {std::move(source.file), source.line, source.opens_block, std::move(lock)};
}

LockedMergedSource lockMergedSourceOf(const std::string &name, const std::string &key, const teskpf::LockWait &wait) {
    std::optional<TeskPf> pf;
    int index = -1;
    Place place;
    teskpf::FileLock lock = lockWhereFound(
        [&] {
            pf.reset();  // one merged view at a time
            pf.emplace(loadParameterFile(name));
            index = requireEntry(*pf, key, name);
            const std::string source = pf->getSource(index);
            place.file = sourceFile(source);
            place.line = std::stol(source.substr(place.file.size() + 1));
            return place;
        },
        wait);
    return {std::move(*pf), index, std::move(place.file), place.line, std::move(lock)};
}

teskpf::LockWait lockWaitOf(const CommandLine &line, const std::string &command) {
    teskpf::LockWait wait;
    if (!line.has("--wait")) return wait;
    const std::string text = line.value("--wait");
    const std::optional<double> seconds = teskpf::toFloat(text);
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
