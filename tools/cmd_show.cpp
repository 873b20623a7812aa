// teskpf show NAME [KEY] [--json]: the merged entries, one per line.
#include <iostream>

#include "command.h"
#include "entries.h"
#include "json_output.h"
#include "param_files.h"
#include "tool_error.h"

namespace teskpf_tool {

namespace {

// The names of an entry record's fields, in the order the record holds them.
const char *const kFieldNames[] = {"source", "level", "key", "value", "comment", "constraints"};

// A field of a text line: "\" doubled and ";" written "\;", so that "; "
// separates fields and nothing else.
std::string escapedField(const std::string &field) {
    std::string out;
    for (char c : field) {
        if (c == '\\' || c == ';') out += '\\';
        out += c;
    }
    return out;
}

int runShow(const CommandLine &line) {
    const std::string &name = line.positional[0];
    TeskPf pf = loadParameterFile(name);
    int first = 0;
    int last = pf.size();
    if (line.positional.size() > 1) {
        first = requireEntry(pf, keyPathArgument(line.positional[1]), name);
        last = first + 1;
    }
    const bool json = line.has("--json");
    Json entries = Json::array();
    for (int i = first; i < last; ++i) {
        const Table<std::string> record = pf.getEntry(i);
        Json entry = Json::object();
        std::string text;
        for (size_t field = 0; field < record.size(); ++field) {
            if (json && field == 1)
                entry[kFieldNames[field]] = std::stoi(record[field]);
            else if (json && field < std::size(kFieldNames))
                entry[kFieldNames[field]] = record[field];
            else
                text += (field == 0 ? "" : "; ") + escapedField(record[field]);
        }
        if (json)
            entries.push_back(std::move(entry));
        else
            std::cout << text << '\n';
    }
    if (json) printJson(entries, std::cout);
    return kExitOk;
}

}  // namespace

Command showCommand() {
    return {"show",
            "show NAME [KEY] [--json]",
            "list the merged entries, or the entry KEY",
            "One line per entry, in merged order, fields separated by \"; \":\n"
            "source (file:line, lines counted from 0); level; key path; value;\n"
            "comment; constraints. Inside a field \"\\\" is written \"\\\\\" and \";\" is\n"
            "written \"\\;\", so \"; \" only ever separates fields. Comment and blank\n"
            "lines are entries too (with an empty key). A missing KEY is reported\n"
            "on stderr (exit 1). With --json: one array of objects with the members\n"
            "source, level, key, value, comment and constraints, texts unescaped.\n",
            {{{"--json", false}}, {"NAME", "KEY"}, 1, false},
            runShow,
            "teskpf show station.pf '[\"digitizer\"][\"sample_rate\"]'"};
}

}  // namespace teskpf_tool
