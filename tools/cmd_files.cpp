// teskpf files NAME: which files a name reads and which file supplied what.
#include <iostream>

#include <teskpf/search.h>

#include "command.h"
#include "entries.h"
#include "json_output.h"
#include "param_files.h"
#include "tool_error.h"

namespace teskpf_tool {

namespace {

// A top-level definition that a lookup finds: the one in effect.
bool isInEffectAtTop(const TeskPf &pf, int index) {
    const std::string key = pf.getKey(index);
    return pf.getLevel(index) == 0 && !key.empty() && pf.getEntryIndex(key) == index;
}

int runFiles(const CommandLine &line) {
    const std::string &name = line.positional[0];
    const teskpf::NamedFiles named = teskpf::namedFiles(name);
    if (named.files.empty()) throwNoParameterFile(name);
    TeskPf pf = loadParameterFile(name);
    if (line.has("--json")) {
        Json json = {{"why", named.why}, {"files", named.files}, {"keys", Json::object()}};
        for (int i = 0; i < pf.size(); ++i)
            if (isInEffectAtTop(pf, i)) json["keys"][pf.getKey(i)] = sourceFile(pf.getSource(i));
        printJson(json, std::cout);
        return kExitOk;
    }
    std::cout << "# " << named.why << (named.files.size() > 1 ? "; the last one wins each top-level key" : "") << '\n';
    for (const std::string &file : named.files) std::cout << file << '\n';
    std::cout << "# top-level keys and the file that supplied each\n";
    for (int i = 0; i < pf.size(); ++i) {
        if (!isInEffectAtTop(pf, i)) continue;
        std::cout << pf.getKey(i) << '\t' << sourceFile(pf.getSource(i)) << '\n';
    }
    return kExitOk;
}

}  // namespace

Command filesCommand() {
    return {"files",
            "files NAME [--json]",
            "show the files NAME reads and which file supplied each top-level key",
            "Says why NAME names the files it does (see 'teskpf help'), then lists\n"
            "them, lowest precedence first: for a top-level key defined in several\n"
            "files, the last file wins as a whole. Then one line per top-level\n"
            "key: the key path, a tab, and the file its definition comes from.\n"
            "Lines starting with \"#\" are headings. With --json: one object,\n"
            "{\"why\": ..., \"files\": [...], \"keys\": {KEY PATH: FILE, ...}}.\n",
            {{{"--json", false}}, {"NAME"}, 1, false},
            runFiles,
            "PFPATH=.:site-override teskpf files station"};
}

}  // namespace teskpf_tool
