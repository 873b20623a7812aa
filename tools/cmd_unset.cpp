// teskpf unset NAME KEY [--file FILE] [--wait SECONDS]: remove a key in place.
#include "command.h"
#include "edit_source.h"
#include "entries.h"
#include "tool_error.h"

namespace teskpf_tool {

namespace {

int runUnset(const CommandLine &line) {
    const std::string &name = line.positional[0];
    const std::string key = keyPathArgument(line.positional[1]);
    const teskpf::LockWait wait = lockWaitOf(line, "unset");
    if (line.has("--file")) {
        const std::string file = line.value("--file");
        teskpf::Editor editor = openForEditing("unset", file, false, wait);
        if (editor.lineOf(key) < 0) throwNoKey(key, file);
        editAndSave("unset", editor, [&](teskpf::Editor &e) { e.remove(key); });
        return kExitOk;
    }
    LockedSource source = lockSourceOf("unset", name, key, wait);
    teskpf::Editor editor = openForEditing("unset", source.file, true);
    editAndSave("unset", editor, [&](teskpf::Editor &e) { e.removeAtLine(source.line); });
    return kExitOk;
}

}  // namespace

Command unsetCommand() {
    return {"unset",
            "unset NAME KEY [--file FILE] [--wait SECONDS]",
            "remove KEY in place",
            "Removes the line of KEY or, when KEY opens a block, the whole block\n"
            "down to its closing line, from the file that supplies KEY in effect\n"
            "(with --file, from FILE). Every other byte stays as it is, except that\n"
            "a top-level pf_revision_time value gets the current time. A lower\n"
            "file on PFPATH that also has KEY then supplies it. Later members of a\n"
            "list move up one position. The file is locked while it is read, edited\n"
            "and saved atomically; --wait SECONDS bounds the wait for that lock as\n"
            "for 'teskpf set' (exit status 2 when it passes). A missing KEY gives\n"
            "exit status 1.\n",
            {{{"--file", true, true}, {"--wait", true}}, {"NAME", "KEY"}, 2, false},
            runUnset,
            "teskpf unset --file site-override/station.pf station status"};
}

}  // namespace teskpf_tool
