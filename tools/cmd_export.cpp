// teskpf export NAME [--typed] [--with-origin]: the merged document as JSON.
#include <iostream>

#include "command.h"
#include "json_output.h"
#include "param_files.h"
#include "tool_error.h"

namespace teskpf_tool {

namespace {

int runExport(const CommandLine &line) {
    const teskpf::Document document = loadDocument(line.positional[0]);
    printJson(nodeJson(document.root(), jsonOptions(line)), std::cout);
    return kExitOk;
}

}  // namespace

Command exportCommand() {
    return {"export",
            "export NAME [--typed] [--with-origin]",
            "print the merged document as JSON",
            "Prints the merged document (what 'teskpf show' lists) as one JSON\n"
            "object: an \"&Arr{\" block is an object, an \"&Tbl{\" list an array, a\n"
            "value a string. Keys keep file order; of a key repeated in a block\n"
            "the last definition counts. Comments are left out.\n"
            "  --typed        a value that passes an <int> or <float> annotation in\n"
            "                 effect becomes a number (an array of them for several\n"
            "                 fields), as Python's to_dict(typed=True) reads it\n"
            "  --with-origin  each value as {\"value\": ..., \"file\": ..., \"line\": N},\n"
            "                 N counted from 1\n"
            "'teskpf import' turns the JSON back into a parameter file.\n",
            {{{"--typed", false}, {"--with-origin", false}}, {"NAME"}, 1, false},
            runExport,
            "teskpf export station.pf --typed | jq '.digitizer.sample_rate'"};
}

}  // namespace teskpf_tool
