// teskpf lsp: the language server, speaking the protocol on standard input
// and output.
#include <iostream>

#include <teskpf/search.h>

#include "command.h"
#include "lsp/server.h"
#include "lsp/transport.h"

namespace teskpf_tool {

namespace {

int runLsp(const CommandLine &) {
    teskpf_lsp::FileDescriptorInput input(0);
    std::istream in(&input);
    return teskpf_lsp::serve(in, std::cout, {teskpf::searchPath(), TESKPF_VERSION});
}

}  // namespace

Command lspCommand() {
    return {"lsp",
            "lsp",
            "run the language server for editors, on standard input and output",
            "Speaks the Language Server Protocol on standard input and output: an\n"
            "editor starts 'teskpf lsp' as the server of parameter files (*.pf)\n"
            "and shows, as you type, the problems 'teskpf check' reports. A file\n"
            "in a directory of the search path is checked as a layer of its name,\n"
            "with the lower layers from disk or, when open, from the editor. The\n"
            "search path is PFPATH, unless the editor sends the setting\n"
            "teskpf.path (in initializationOptions or the workspace settings:\n"
            "{\"teskpf\": {\"path\": \"DIR:DIR\"}}). Exit status 0 after the editor's\n"
            "shutdown request, 1 when the input ends or 'exit' comes without one.\n",
            {{}, {}, 0, false},
            runLsp,
            "PFPATH=/etc/pf:$HOME/pf teskpf lsp   # as an editor starts it"};
}

}  // namespace teskpf_tool
