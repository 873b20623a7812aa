#include "edit_source.h"

#include <cmath>
#include <filesystem>

#include "entries.h"
#include "param_files.h"
#include "teskpf/convert.h"
#include "teskpf/error.h"
#include "teskpf/key_path.h"
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
// The lock on `file`; a failure to take it (a timeout among them) is the
// command's error, as for an editor opened with --file.
teskpf::FileLock lockFile(const std::string &command, const std::string &file, const teskpf::LockWait &wait) {
    try {
        return teskpf::FileLock(file, wait);
    } catch (const teskpf::Error &error) {
        throw ToolError(command + ": " + error.what(), kExitError);
    }
}

teskpf::FileLock lockWhereFound(const std::string &command, const std::function<Place()> &find,
                                const teskpf::LockWait &wait) {
    Place place = find();
    for (;;) {
        teskpf::FileLock lock = lockFile(command, place.file, wait);
        Place now = find();
        if (now == place) return lock;
        place = std::move(now);
    }
}

}  // namespace

LockedSource lockSourceOf(const std::string &command, const std::string &name, const std::string &key,
                          const teskpf::LockWait &wait) {
    teskpf::KeySource source;
    teskpf::FileLock lock = lockWhereFound(
        command,
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

namespace {

// The key paths of the blocks on the way to `key`, outermost first; none
// when `key` is not a key path.
std::vector<std::string> enclosingPaths(const std::string &key) {
    std::vector<teskpf::KeyPathComponent> components;
    try {
        components = teskpf::parseKeyPath(key);
    } catch (const teskpf::KeyPathError &) {
        return {};
    }
    std::vector<std::string> paths;
    for (size_t d = 1; d < components.size(); ++d)
        paths.push_back(teskpf::formatKeyPath({components.begin(), components.begin() + static_cast<long>(d)}));
    return paths;
}

}  // namespace

LockedTarget lockSetTargetOf(const std::string &command, const std::string &name, const std::string &key,
                             const teskpf::LockWait &wait) {
    std::string file;
    long line = -1;
    bool opens_block = false;
    teskpf::FileLock lock = lockWhereFound(
        command,
        [&] {
            const std::vector<std::string> files = teskpf::parameterFiles(name);
            if (files.empty()) throwNoParameterFile(name);
            if (std::optional<teskpf::KeySource> found = teskpf::findKeySource(name, key)) {
                file = std::move(found->file);
                line = found->line;
                opens_block = found->opens_block;
                return Place{file, line};
            }
            // Added where it takes effect: into the innermost block in effect
            // on its way, in the file that supplies that block.
            file = files.back();
            line = -1;
            opens_block = false;
            const std::vector<std::string> blocks = enclosingPaths(key);
            for (size_t d = blocks.size(); d-- > 0;) {
                if (std::optional<teskpf::KeySource> block = teskpf::findKeySource(name, blocks[d])) {
                    file = std::move(block->file);
                    break;
                }
            }
            return Place{file, line};
        },
        wait);
    return {std::move(file), line, opens_block, std::move(lock)};
}

void refuseHidingAddition(const std::string &name, const std::string &key, const teskpf::Editor &editor) {
    // The outermost block the addition creates in the file.
    std::string created;
    for (const std::string &block : enclosingPaths(key)) {
        if (editor.lineOf(block) < 0) {
            created = block;
            break;
        }
    }
    if (created.empty()) return;
    const std::optional<teskpf::KeySource> supplier = teskpf::findKeySource(name, created);
    if (!supplier || !supplier->opens_block) return;
    // Only a file later on the search than the supplier hides its block.
    const std::vector<std::string> files = teskpf::parameterFiles(name);
    long mine = -1, theirs = -1;
    for (size_t i = 0; i < files.size(); ++i) {
        std::error_code error;
        if (theirs < 0 && files[i] == supplier->file) theirs = static_cast<long>(i);
        if (std::filesystem::equivalent(files[i], editor.name(), error)) mine = static_cast<long>(i);
    }
    if (mine < 0 || theirs < 0 || mine < theirs) return;
    throw ToolError("set: adding " + key + " to '" + editor.name() + "' would create the block " + created +
                        " there and so hide the rest of " + created + " in '" + supplier->file +
                        "'; add it there (without --file) or copy the block first; nothing written",
                    kExitError);
}

LockedMergedSource lockMergedSourceOf(const std::string &command, const std::string &name, const std::string &key,
                                      const teskpf::LockWait &wait) {
    std::optional<TeskPf> pf;
    int index = -1;
    Place place;
    teskpf::FileLock lock = lockWhereFound(
        command,
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
