// teskpf set NAME KEY VALUE [--file FILE] [--check] [-o FILE] [--wait SECONDS]: change one
// value in place.
#include <teskpf/classic.h>

#include "command.h"
#include "edit_source.h"
#include "entries.h"
#include "param_files.h"
#include "tool_error.h"

namespace teskpf_tool {

namespace {

// With --check, refuses (exit 1) the edit made in `editor` when KEY, read as
// it would be after it, fails the annotation in effect.
void requireValid(const CommandLine &line, const teskpf::Editor &editor, const std::string &key) {
    if (!line.has("--check")) return;
    const teskpf::Verdict verdict = teskpf::checkEdit(line.positional[0], editor.name(), editor.text(), key);
    if (!verdict.ok) throw ToolError("set: " + verdict.message + "; nothing written", kExitFailed);
}

// --file FILE: set KEY in FILE, adding it there when FILE lacks it.
void setInFile(const CommandLine &line, const std::string &key, const std::string &value,
               const teskpf::LockWait &wait) {
    teskpf::Editor editor = openForEditing("set", line.value("--file"), false, wait);
    editAndSave("set", editor, [&](teskpf::Editor &e) {
        if (e.lineOf(key) >= 0)
            e.setValue(key, value);
        else
            e.add(key, value);
        requireValid(line, e, key);
    });
}

[[noreturn]] void throwIsBlock(const std::string &key) {
    throw ToolError("set: " + key + " is a block; only plain values can be set", kExitError);
}

// -o FILE: the merged entries with KEY set, saved to FILE.
void setToOutput(const CommandLine &line, const std::string &key, const std::string &value,
                 const teskpf::LockWait &wait) {
    LockedMergedSource source = lockMergedSourceOf(line.positional[0], key, wait);
    if (isBlockOpening(source.pf, source.index)) throwIsBlock(key);
    // The edit is tried on the source file first, so that -o refuses what an
    // in-place edit refuses.
    teskpf::Editor editor = openForEditing("set", source.file, true);
    editor.setValueAtLine(source.line, value);
    requireValid(line, editor, key);
    source.pf.setValue(source.index, value, 0);
    writeToOutput(source.pf, line.value("-o"));
}

int runSet(const CommandLine &line) {
    const std::string &name = line.positional[0];
    const std::string key = keyPathArgument(line.positional[1]);
    const std::string &value = line.positional[2];
    // A line end would split the value into lines of their own.
    if (value.find_first_of("\n\r") != std::string::npos) throw UsageError("set: VALUE must be one line", "set");
    if (line.has("--file") && line.has("-o")) throw UsageError("set: choose one of --file and -o", "set");
    const teskpf::LockWait wait = lockWaitOf(line, "set");
    if (line.has("--file")) {
        setInFile(line, key, value, wait);
        return kExitOk;
    }
    if (line.has("-o")) {
        setToOutput(line, key, value, wait);
        return kExitOk;
    }
    LockedSource source = lockSourceOf(name, key, wait);
    if (source.opens_block) throwIsBlock(key);
    teskpf::Editor editor = openForEditing("set", source.file, true);
    editAndSave("set", editor, [&](teskpf::Editor &e) {
        e.setValueAtLine(source.line, value);
        requireValid(line, e, key);
    });
    return kExitOk;
}

}  // namespace

Command setCommand() {
    return {"set",
            "set NAME KEY VALUE [--file FILE] [--check] [-o FILE] [--wait SECONDS]",
            "change the value of KEY in place",
            "Changes the value on the one line that supplies the value of KEY in\n"
            "effect (the last file on PFPATH that has it), in that file only; every\n"
            "other byte of every file stays as it is, except that a top-level\n"
            "pf_revision_time value in the edited file gets the current time. With\n"
            "--file, FILE is edited instead (e.g. a site override layer), and KEY\n"
            "is added there as the last member of its block when FILE lacks it.\n"
            "The file is locked while it is read, edited and saved atomically;\n"
            "with --wait, a lock another editor holds for longer than SECONDS\n"
            "(a decimal number, 0 to try once) gives exit status 2 and writes\n"
            "nothing, where without it the wait lasts until the lock is free.\n"
            "With --check, a VALUE that fails the annotation in effect (as 'teskpf\n"
            "check' would see it after the edit, added keys included) gives exit\n"
            "status 1 and writes nothing. A VALUE that would not read back as\n"
            "given (a tab, white space at either end, a leading \"&Arr\"/\"&Tbl\", an\n"
            "empty list member or one starting with \"}\") and a KEY that opens a\n"
            "block give exit status 2 and write nothing; a missing KEY gives exit\n"
            "status 1. With -o, the merged entries with the new value are saved to\n"
            "exactly FILE instead, regenerated as 'teskpf fmt' writes them. A VALUE\n"
            "starting with \"-\" other than a number goes after \"--\".\n",
            {{{"--file", true, true}, {"--check", false}, {"-o", true, true}, {"--wait", true}},
             {"NAME", "KEY", "VALUE"},
             3,
             false},
            runSet,
            "teskpf set station '[\"digitizer\"][\"sample_rate\"]' 200"};
}

}  // namespace teskpf_tool
