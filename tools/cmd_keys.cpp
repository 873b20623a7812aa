// teskpf keys NAME [--perl | --table | --json]: every key path.
#include <iostream>

#include "command.h"
#include "entries.h"
#include "json_output.h"
#include "param_files.h"
#include "tool_error.h"

namespace teskpf_tool {

namespace {

std::string joinedWithTabs(const Table<std::string> &components) {
    std::string joined;
    for (size_t i = 0; i < components.size(); ++i) joined += (i == 0 ? "" : "\t") + components[i];
    return joined;
}

int runKeys(const CommandLine &line) {
    const bool perl = line.has("--perl");
    const bool table = line.has("--table");
    const bool json = line.has("--json");
    if (perl + table + json > 1) throw UsageError("keys: choose one of --perl, --table and --json", "keys");
    TeskPf pf = loadParameterFile(line.positional[0]);
    Json paths = Json::array();
    for (int i = 0; i < pf.size(); ++i) {
        if (isCommentEntry(pf, i)) continue;
        const std::string key = pf.getKey(i);
        if (json)
            paths.push_back(key);
        else if (perl)
            std::cout << TeskPf::key2Perl(key) << '\n';
        else if (table)
            std::cout << joinedWithTabs(TeskPf::key2Table(key)) << '\n';
        else
            std::cout << key << '\n';
    }
    if (json) printJson(paths, std::cout);
    return kExitOk;
}

}  // namespace

Command keysCommand() {
    return {"keys",
            "keys NAME [--perl | --table | --json]",
            "list every key path",
            "Prints the key path of every entry in merged order, block openings\n"
            "included, e.g. [\"digitizer\"][\"filters\"][0][\"cutoff\"].\n"
            "  --perl   brace notation: {digitizer}{filters}[0]{cutoff}\n"
            "  --table  the components separated by tabs, names keeping their\n"
            "           quotes: \"digitizer\"<TAB>\"filters\"<TAB>0<TAB>\"cutoff\"\n"
            "  --json   one JSON array of the key paths\n",
            {{{"--perl", false}, {"--table", false}, {"--json", false}}, {"NAME"}, 1, false},
            runKeys,
            "teskpf keys station.pf --perl"};
}

}  // namespace teskpf_tool
