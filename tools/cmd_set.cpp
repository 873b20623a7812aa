// teskpf set NAME KEY VALUE [--file FILE] [--check] [-o FILE] [--wait SECONDS]: change one
// value in place.
#include <iostream>

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

// Says on standard error where an added key went.
void reportAdded(const std::string &key, const teskpf::Editor &editor) {
    std::cerr << "teskpf: set: added " << key << " to '" << editor.name() << "', line " << editor.lineOf(key) + 1
              << '\n';
}

// --file FILE: set KEY in FILE, adding it there when FILE lacks it, unless
// that would hide part of a block a lower layer supplies.
void setInFile(const CommandLine &line, const std::string &key, const std::string &value,
               const teskpf::LockWait &wait) {
    teskpf::Editor editor = openForEditing("set", line.value("--file"), false, wait);
    const bool adding = editor.lineOf(key) < 0;
    if (adding) refuseHidingAddition(line.positional[0], key, editor);
    editAndSave("set", editor, [&](teskpf::Editor &e) {
        if (adding)
            e.add(key, value);
        else
            e.setValue(key, value);
        requireValid(line, e, key);
    });
    if (adding) reportAdded(key, editor);
}

[[noreturn]] void throwIsBlock(const std::string &key) {
    throw ToolError("set: " + key + " is a block; only plain values can be set", kExitError);
}

// -o FILE: the merged entries with KEY set, saved to FILE.
void setToOutput(const CommandLine &line, const std::string &key, const std::string &value,
                 const teskpf::LockWait &wait) {
    LockedMergedSource source = lockMergedSourceOf("set", line.positional[0], key, wait);
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
    LockedTarget target = lockSetTargetOf("set", name, key, wait);
    if (target.opens_block) throwIsBlock(key);
    teskpf::Editor editor = openForEditing("set", target.file, true);
    editAndSave("set", editor, [&](teskpf::Editor &e) {
        if (target.line < 0)
            e.add(key, value);
        else
            e.setValueAtLine(target.line, value);
        requireValid(line, e, key);
    });
    if (target.line < 0) reportAdded(key, editor);
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
            "pf_revision_time value in the edited file gets the current time. A\n"
            "VALUE equal to the one there changes nothing: the file is not\n"
            "rewritten. A KEY no file has is added where it takes effect, as the\n"
            "last member of its block, indented as the file indents: into the\n"
            "innermost block on its way that is in effect, in the file that\n"
            "supplies that block, or, when there is none, to the last file on\n"
            "PFPATH; standard error says which file and line. With --file, FILE\n"
            "is edited instead (e.g. a site override layer), and KEY is added\n"
            "there when FILE lacks it; an addition that would create a block in\n"
            "FILE that a file earlier on PFPATH supplies (hiding the rest of that\n"
            "block) gives exit status 2 and writes nothing.\n"
            "The file is locked while it is read, edited and saved atomically;\n"
            "with --wait, a lock another editor holds for longer than SECONDS\n"
            "(a decimal number, 0 to try once) gives exit status 2 and writes\n"
            "nothing, where without it the wait lasts until the lock is free.\n"
            "With --check, a VALUE that fails the annotation in effect (as 'teskpf\n"
            "check' would see it after the edit, added keys included) gives exit\n"
            "status 1 and writes nothing. A VALUE that would not read back as\n"
            "given (a tab, white space at either end, a leading \"&Arr\"/\"&Tbl\", an\n"
            "empty list member or one starting with \"}\") and a KEY that opens a\n"
            "block give exit status 2 and write nothing. With -o, the merged\n"
            "entries with the new value are saved to exactly FILE instead,\n"
            "regenerated as 'teskpf fmt' writes them; there a missing KEY gives\n"
            "exit status 1 (nothing is added). A VALUE\n"
            "starting with \"-\" other than a number goes after \"--\".\n",
            {{{"--file", true, true}, {"--check", false}, {"-o", true, true}, {"--wait", true}},
             {"NAME", "KEY", "VALUE"},
             3,
             false},
            runSet,
            "teskpf set station '[\"digitizer\"][\"sample_rate\"]' 200"};
}

}  // namespace teskpf_tool
