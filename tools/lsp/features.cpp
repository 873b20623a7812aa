#include "features.h"

#include "feature_groups.h"

namespace teskpf_lsp {

const std::vector<Feature> &features() {
    using nlohmann::json;
    static const std::vector<Feature> all = {
        {"textDocument/hover", "hoverProvider", true, hover},
        {"textDocument/definition", "definitionProvider", true, definition},
        {"textDocument/references", "referencesProvider", true, references},
        {"textDocument/rename", "renameProvider", {{"prepareProvider", true}}, rename},
        {"textDocument/prepareRename", "renameProvider", {{"prepareProvider", true}}, prepareRename},
        {"textDocument/completion", "completionProvider", {{"triggerCharacters", json::array({"<", " "})}}, completion},
        {"textDocument/documentSymbol", "documentSymbolProvider", true, documentSymbols},
        {"textDocument/foldingRange", "foldingRangeProvider", true, foldingRanges},
        {"textDocument/formatting", "documentFormattingProvider", true, formatting},
        {"textDocument/codeAction",
         "codeActionProvider",
         {{"codeActionKinds", json::array({"quickfix"})}},
         codeActions},
    };
    return all;
}

}  // namespace teskpf_lsp
