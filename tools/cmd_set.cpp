// teskpf set NAME KEY VALUE [-o FILE]: change one value and write the file.
#include "command.h"
#include "entries.h"
#include "param_files.h"
#include "tool_error.h"

namespace teskpf_tool {

namespace {

// Edits `key` in `file` alone. Writing the merged entries back instead would
// copy the keys of every other file on the path into it, and drop its comments
// when it is not the last file on the path.
void editInPlace(const std::string &file, const std::string &key, const std::string &value) {
    TeskPf own(file, 0);
    own.setValue(key, value, 0);
    std::string written = writeParameterFile(own, file);
    if (written != file)
        throw ToolError("'" + file + "' is unchanged: the library writes parameter files with a .pf suffix, so the "
                        "result went to '" + written + "'; use -o to choose the output",
                        kExitError);
}

int runSet(const CommandLine &line) {
    const std::string &name = line.positional[0];
    const std::string key = keyPathArgument(line.positional[1]);
    const std::string &value = line.positional[2];
    // A line end would split the value into lines of their own.
    if (value.find_first_of("\n\r") != std::string::npos) throw UsageError("set: VALUE must be one line", "set");

    TeskPf pf = loadParameterFile(name);
    int index = requireEntry(pf, key, name);
    if (isBlockOpening(pf, index))
        throw ToolError("set: " + key + " is a block; only plain values can be set", kExitError);
    if (line.has("-o")) {
        pf.setValue(index, value, 0);
        writeToOutput(pf, line.value("-o"));
    } else {
        editInPlace(sourceFile(pf.getSource(index)), key, value);
    }
    return kExitOk;
}

}  // namespace

Command setCommand() {
    return {"set",
            "set NAME KEY VALUE [-o FILE]",
            "change the value of KEY and write the file",
            "Without -o, the file that supplied KEY is rewritten (atomically) with\n"
            "the new value; the other files on PFPATH are not touched. With -o, the\n"
            "merged entries with the new value are written to FILE instead (\".pf\"\n"
            "is appended when FILE lacks it). The file is regenerated: indentation\n"
            "becomes tabs and a pf_revision_time line gets the current time. A\n"
            "missing KEY gives exit status 1 and writes nothing. The value is not\n"
            "checked; run 'teskpf check' afterwards. A VALUE starting with \"-\"\n"
            "other than a number goes after \"--\".\n",
            {{{"-o", true}}, {"NAME", "KEY", "VALUE"}, 3, false},
            runSet};
}

}  // namespace teskpf_tool
