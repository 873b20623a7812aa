// The language features answered in-process: a workspace of two layers
// (base/st.pf, site/st.pf along base:site), the site layer open in the
// editor with the text each case gives. A table per feature; edits are
// applied to the texts and the results compared.
#include <gtest/gtest.h>

#include <algorithm>

#include <teskpf/diagnostics.h>

#include "lsp/feature_groups.h"
#include "lsp/features.h"
#include "lsp/workspace.h"
#include "test_support.h"

using nlohmann::json;
using test_support::TempDir;

namespace {

const char *const kBase =
    "# the base layer\n"
    "gain 3 #<int>\n"
    "mode fast #<str>(fast slow medium)\n"
    "chan &Arr{\n"
    "  rate 100\n"
    "  label main\n"
    "}\n"
    "list &Tbl{\n"
    "  one\n"
    "}\n";

const char *const kSite =
    "gain 4\n"
    "mode fsat\n"
    "chan &Arr{\n"
    "  rate 200\n"
    "  \n"
    "}\n"
    "extra x\n";

class Features : public ::testing::Test {
protected:
    Features() {
        base = dir.write("base/st.pf", kBase);
        site = dir.write("site/st.pf", kSite);
        workspace.search_path_ = dir.path() + "/base:" + dir.path() + "/site";
        open(site, kSite);
    }
    void open(const std::string &path, const std::string &text) {
        workspace.documents[teskpf_lsp::fileUri(path)] = {teskpf_lsp::fileUri(path), path, text, 1};
    }
    std::string uri(const std::string &path) const { return teskpf_lsp::fileUri(path); }
    json at(const std::string &path, long line, long character) const {
        return {{"textDocument", {{"uri", uri(path)}}}, {"position", {{"line", line}, {"character", character}}}};
    }
    // BASE and SITE in `text` replaced by the layers' paths.
    std::string paths(std::string text) const {
        for (auto [name, path] : {std::pair{"BASE", base}, std::pair{"SITE", site}})
            for (size_t at = text.find(name); at != std::string::npos; at = text.find(name, at + path.size()))
                text.replace(at, 4, path);
        return text;
    }
    std::string textOf(const std::string &path) const { return workspace.textOf(path); }

    TempDir dir;
    std::string base, site;
    teskpf_lsp::Workspace workspace;
};

// `text` with the TextEdits `edits` applied (positions in UTF-16, as the
// workspace's default encoding counts them).
std::string applied(std::string text, json edits) {
    const auto offset = [&](const json &position) {
        size_t begin = teskpf_lsp::lineStart(text, position["line"].get<long>());
        const std::string_view line = teskpf_lsp::lineAt(text, begin);
        return begin +
               teskpf_lsp::byteOffset(line, position["character"].get<long>(), teskpf_lsp::PositionEncoding::Utf16);
    };
    // From the last edit back, so that each applies to the text as sent.
    std::vector<std::pair<size_t, json>> sorted;
    for (json &edit : edits) sorted.emplace_back(offset(edit["range"]["start"]), edit);
    std::stable_sort(sorted.begin(), sorted.end(), [](auto &a, auto &b) { return a.first > b.first; });
    for (auto &[begin, edit] : sorted)
        text.replace(begin, offset(edit["range"]["end"]) - begin, edit["newText"].get<std::string>());
    return text;
}

TEST_F(Features, Hover) {
    open(base, kBase);
    struct Case {
        const char *file;
        long line, character;
        std::vector<const char *> says;  // what the Markdown holds; none: the answer is null
    } cases[] = {
        {"site",
         0,
         2,
         {"`[\"gain\"]` = `4`", "In effect: `SITE:1`", "Annotation: `<int>` from `BASE:2`",
          "Overrides:\n- `3` at `BASE:2`"}},
        {"site", 0, 5, {"`[\"gain\"]` = `4`"}},  // on the value
        {"base", 1, 0, {"In effect: `SITE:1`; this line (`3`) is overridden"}},
        {"site", 3, 3, {"`[\"chan\"][\"rate\"]` = `200`", "- `100` at `BASE:5`"}},
        {"base", 8, 3, {"`[\"list\"][0]` = `one`", "In effect: `BASE:9`"}},
        {"site", 6, 1, {"= `x`", "In effect: `SITE:7`"}},  // defined in this layer only
        {"site", 4, 2, {}},                                // a blank line
        {"site", 1, 9, {"`[\"mode\"]` = `fsat`"}},         // the end of the value
        {"site", 0, 6, {"`[\"gain\"]` = `4`"}},            // the end of the value
        {"site", 3, 1, {}},                                // the indentation before a key
        {"site", 40, 0, {}},                               // beyond the last line
    };
    for (const Case &c : cases) {
        SCOPED_TRACE(std::string(c.file) + ":" + std::to_string(c.line) + ":" + std::to_string(c.character));
        const json answer = teskpf_lsp::hover(workspace, at(c.file[0] == 's' ? site : base, c.line, c.character));
        if (c.says.empty()) {
            EXPECT_TRUE(answer.is_null()) << answer.dump();
            continue;
        }
        ASSERT_TRUE(answer.is_object());
        EXPECT_EQ(answer["contents"]["kind"], "markdown");
        const std::string markdown = answer["contents"]["value"];
        for (const char *says : c.says) EXPECT_NE(markdown.find(paths(says)), std::string::npos) << markdown;
    }
    EXPECT_TRUE(teskpf_lsp::hover(workspace, at(dir.path() + "/unknown.pf", 0, 0)).is_null());

    // A client that takes plain text only gets the same text without Markdown.
    workspace.markdown_hover_ = false;
    const json plain = teskpf_lsp::hover(workspace, at(site, 0, 2));
    EXPECT_EQ(plain["contents"]["kind"], "plaintext");
    EXPECT_NE(plain["contents"]["value"].get<std::string>().find(paths("[\"gain\"] = 4\n\nIn effect: SITE:1")),
              std::string::npos)
        << plain.dump();
}

TEST_F(Features, DefinitionReferencesRename) {
    struct Case {
        long line, character;
        const char *definition;  // "FILE:line:from-to" of each location, nearest layer first; "" for null
        const char *references;
        const char *renamed_base;  // base's text after renaming the key to "speed"; "" when unchanged
    } cases[] = {
        {0, 1, "BASE:1:0-4", "BASE:1:0-4 SITE:0:0-4", "gain"},
        {3, 4, "BASE:4:2-6", "BASE:4:2-6 SITE:3:2-6", "  rate"},
        {2, 0, "BASE:3:0-4", "BASE:3:0-4 SITE:2:0-4", "chan"},
        {6, 0, "", "SITE:6:0-5", ""},  // in no lower layer
    };
    const auto locations = [&](const json &answer) {
        std::string out;
        if (answer.is_null()) return out;
        for (const json &location : answer) {
            const std::string file = location["uri"] == uri(base)   ? "BASE"
                                     : location["uri"] == uri(site) ? "SITE"
                                                                    : "?";
            out += (out.empty() ? "" : " ") + file + ":" +
                   std::to_string(location["range"]["start"]["line"].get<long>()) + ":" +
                   std::to_string(location["range"]["start"]["character"].get<long>()) + "-" +
                   std::to_string(location["range"]["end"]["character"].get<long>());
        }
        return out;
    };
    for (const Case &c : cases) {
        SCOPED_TRACE(std::to_string(c.line) + ":" + std::to_string(c.character));
        EXPECT_EQ(locations(teskpf_lsp::definition(workspace, at(site, c.line, c.character))), c.definition);
        EXPECT_EQ(locations(teskpf_lsp::references(workspace, at(site, c.line, c.character))), c.references);
        json params = at(site, c.line, c.character);
        params["newName"] = "speed";
        const json changes = teskpf_lsp::rename(workspace, params)["changes"];
        std::string renamed_base = kBase;
        if (*c.renamed_base) {
            renamed_base = applied(kBase, changes[uri(base)]);
            EXPECT_NE(renamed_base.find(std::string(c.renamed_base).substr(0, 2) == "  " ? "  speed " : "speed "),
                      std::string::npos);
        }
        EXPECT_EQ(changes.contains(uri(base)), *c.renamed_base != '\0');
        // The site layer: its line now starts with the new name.
        const std::string renamed_site = applied(kSite, changes[uri(site)]);
        EXPECT_EQ(std::count(renamed_site.begin(), renamed_site.end(), '\n'), 7);
        EXPECT_NE(renamed_site.find("speed"), std::string::npos);
    }
}

TEST_F(Features, RenameRefusesWhatCannotBeAKeyAndListMembers) {
    for (const char *name : {"two words", "", "a#b", "}x", "&Tbl{"}) {
        json params = at(site, 0, 1);
        params["newName"] = name;
        try {
            teskpf_lsp::rename(workspace, params);
            ADD_FAILURE() << "renamed to '" << name << "'";
        } catch (const teskpf_lsp::RequestError &error) {
            EXPECT_EQ(error.code, -32602);
        }
    }
    open(base, kBase);
    EXPECT_TRUE(teskpf_lsp::prepareRename(workspace, at(base, 8, 3)).is_null());  // a list member
    const json prepared = teskpf_lsp::prepareRename(workspace, at(site, 3, 2));
    EXPECT_EQ(prepared["placeholder"], "rate");
    EXPECT_EQ(prepared["range"]["start"]["character"], 2);
}

TEST_F(Features, Completion) {
    struct Case {
        const char *text;  // the site layer
        long line, character;
        const char *labels;  // the labels offered, in order; "null" for a null answer
    } cases[] = {
        {kSite, 1, 9, "fast slow medium"},       // the value's words
        {kSite, 1, 5, "fast slow medium"},       // at the start of the value
        {kSite, 4, 2, "label"},                  // a key in the block: rate is here already
        {"gain 4\n\n", 1, 0, "mode chan list"},  // a top-level key
        {"gain 4\nla", 1, 2, "mode chan list"},  // a key being typed
        {"x 1 #<", 0, 6, "str int float color font regex"},
        {"x 1 #<str> <fl", 0, 14, "str int float color font regex"},
        {"x 1 #<str>(a b) <", 0, 17, "str int float color font regex"},
        {"pair 1 o #<int> <str>(on off)", 0, 8, "on off"},  // the second field's words
        {"pair 1 o #<int> <str>(on off)", 0, 6, ""},        // the first is an <int>
        {"# <", 0, 3, ""},                                  // after a blank: no annotation
        {"x 1 # note", 0, 9, ""},
        {"list &Tbl{\n  \n}\n", 1, 2, ""},                      // list members have no keys
        {"l &Tbl{ #<str>(aa bb)\n    aa\n}\n", 1, 4, "aa bb"},  // a list member's words
        {"l &Tbl{ #<str>(aa bb)\n    aa\n}\n", 1, 2, ""},       // its indentation: nothing
        {kSite, 12, 0, "null"},
    };
    for (const Case &c : cases) {
        SCOPED_TRACE(std::string(c.text) + " @" + std::to_string(c.line) + ":" + std::to_string(c.character));
        open(site, c.text);
        const json answer = teskpf_lsp::completion(workspace, at(site, c.line, c.character));
        std::string labels;
        if (answer.is_null()) labels = "null";
        for (const json &item : answer.is_null() ? json::array() : answer)
            labels += (labels.empty() ? "" : " ") + item["label"].get<std::string>();
        EXPECT_EQ(labels, c.labels);
    }
    // The edit replaces the word typed so far.
    open(site, "mode sl");
    const json item = teskpf_lsp::completion(workspace, at(site, 0, 7))[1];
    EXPECT_EQ(applied("mode sl", json::array({item["textEdit"]})), "mode slow");
}

TEST_F(Features, SymbolsAndFolding) {
    struct Case {
        const char *text;
        const char *symbols;  // name(kind)[children]
        const char *folds;    // start-end
    } cases[] = {
        {kBase, "gain(7) mode(7) chan(19)[rate(7) label(7)] list(18)[[0](7)]", "3-6 7-9"},
        {"a &Arr{\n  b &Tbl{\n    &Arr{\n      c 1\n    }\n  }\n}\nd 1\n", "a(19)[b(18)[[0](19)[c(7)]]] d(7)",
         "0-6 1-5 2-4"},
        {"a &Arr{\n  b 1\n", "a(19)[b(7)]", "0-1"},  // unclosed: to the end
        {"a &Arr{}\n", "a(19)[]", ""},
        {"", "", ""},
    };
    const std::function<std::string(const json &)> tree = [&](const json &symbols) {
        std::string out;
        for (const json &symbol : symbols) {
            out += (out.empty() ? "" : " ") + symbol["name"].get<std::string>() + "(" +
                   std::to_string(symbol["kind"].get<int>()) + ")";
            if (symbol.contains("children")) out += "[" + tree(symbol["children"]) + "]";
        }
        return out;
    };
    for (const Case &c : cases) {
        SCOPED_TRACE(c.text);
        open(site, c.text);
        const json params = {{"textDocument", {{"uri", uri(site)}}}};
        EXPECT_EQ(tree(teskpf_lsp::documentSymbols(workspace, params)), c.symbols);
        std::string folds;
        for (const json &fold : teskpf_lsp::foldingRanges(workspace, params))
            folds += (folds.empty() ? "" : " ") + std::to_string(fold["startLine"].get<long>()) + "-" +
                     std::to_string(fold["endLine"].get<long>());
        EXPECT_EQ(folds, c.folds);
    }
    const json symbols = teskpf_lsp::documentSymbols(workspace, {{"textDocument", {{"uri", uri(base)}}}});
    EXPECT_TRUE(symbols.is_null());  // not open
}

TEST_F(Features, Formatting) {
    struct Case {
        const char *text;
        json options;
        const char *formatted;
    } cases[] = {
        {"a &Arr{\nb 1 # c\n      # note\n\t}\n",
         {{"tabSize", 2}, {"insertSpaces", true}},
         "a &Arr{\n  b 1 # c\n  # note\n}\n"},
        {"a &Arr{\n  b &Tbl{\n x  y\n  }\n}\n",
         {{"tabSize", 4}, {"insertSpaces", false}},
         "a &Arr{\n\tb &Tbl{\n\t\tx  y\n\t}\n}\n"},
        {"  top 1\r\n   \r\nk   v\tw  \n",
         {{"tabSize", 2}, {"insertSpaces", true}},
         "top 1\r\n   \r\nk   v\tw  \n"},  // blank lines and what follows the indentation stay
        {"a 1\n}\n   b 2\n", {{"tabSize", 2}, {"insertSpaces", true}}, "a 1\n}\n   b 2\n"},  // not read
    };
    for (const Case &c : cases) {
        SCOPED_TRACE(c.text);
        open(site, c.text);
        const json edits =
            teskpf_lsp::formatting(workspace, {{"textDocument", {{"uri", uri(site)}}}, {"options", c.options}});
        EXPECT_EQ(applied(c.text, edits), c.formatted);
        for (const json &edit : edits) EXPECT_EQ(edit["range"]["start"]["character"], 0);  // indentation only
    }
}

TEST_F(Features, CodeActions) {
    struct Case {
        const char *text;
        const char *rule;
        long line, character;
        const char *fixed;  // the text after the first action, the fix when there is one
    } cases[] = {
        {"mode fsat\n", "value-mismatch", 0, 5, "mode fast\n"},  // the annotation from base
        {"a 1\n  a 2\nb 3\n", "duplicate-key", 1, 2, "a 1\nb 3\n"},
        {"a &Arr{\n  x 1\n}\na &Arr{\n  y 2\n}\n", "duplicate-key", 3, 0, "a &Arr{\n  x 1\n}\n"},
        {"a 1\na 2", "duplicate-key", 1, 0, "a 1"},
        {"top &Arr{ after\n}\n", "text-after-open", 0, 10, "top &Arr{\n  after\n}\n"},
        {"top &Arr{\n  k v\n  } tail\n", "text-after-close", 2, 4, "top &Arr{\n  k v\n  }\n  tail\n"},
        {"a &Arr{\n  b &Tbl{\n    x", "unclosed-block", 0, 2, "a &Arr{\n  b &Tbl{\n    x\n  }\n}\n"},
        {"  k\"ey v\n", "key-syntax", 0, 2, "  # teskpf-disable-next-line key-syntax\n  k\"ey v\n"},
    };
    // Whether checking the layers with `text` open reports `rule` in it.
    const auto reports = [&](const std::string &text, const std::string &rule) {
        open(site, text);
        for (const teskpf::Diagnostic &found : teskpf::checkLayers(workspace.layersOf(*workspace.find(uri(site)))))
            if (found.rule == rule && found.file == site) return true;
        return false;
    };
    int reported = 0;
    for (const Case &c : cases) {
        SCOPED_TRACE(std::string(c.rule) + ": " + c.text);
        open(site, c.text);
        const json diagnostic = {{"range",
                                  {{"start", {{"line", c.line}, {"character", c.character}}},
                                   {"end", {{"line", c.line}, {"character", c.character}}}}},
                                 {"code", c.rule},
                                 {"message", "m"}};
        const json actions = teskpf_lsp::codeActions(
            workspace, {{"textDocument", {{"uri", uri(site)}}}, {"context", {{"diagnostics", {diagnostic}}}}});
        ASSERT_FALSE(actions.empty());
        EXPECT_EQ(actions[0]["kind"], "quickfix");
        EXPECT_EQ(actions[0]["diagnostics"][0], diagnostic);
        std::string fixed = applied(c.text, actions[0]["edit"]["changes"][uri(site)]);
        EXPECT_EQ(fixed, c.fixed);
        // The last action silences the rule on the diagnostic's line: the
        // check that reported it there no longer does.
        const std::string silenced = applied(c.text, actions.back()["edit"]["changes"][uri(site)]);
        EXPECT_NE(silenced.find("# teskpf-disable-next-line " + std::string(c.rule) + "\n"), std::string::npos);
        if (reports(c.text, c.rule)) {
            ++reported;
            EXPECT_FALSE(reports(silenced, c.rule)) << silenced;
        }
    }
    EXPECT_GE(reported, 6);
    // A rule no directive can silence gets no directive.
    for (const char *rule : {"not-text", "bad-directive", "no-such-rule"}) {
        open(site, "a 1\n");
        const json diagnostic = {
            {"range", {{"start", {{"line", 0}, {"character", 0}}}, {"end", {{"line", 0}, {"character", 0}}}}},
            {"code", rule}};
        EXPECT_EQ(teskpf_lsp::codeActions(workspace, {{"textDocument", {{"uri", uri(site)}}},
                                                      {"context", {{"diagnostics", {diagnostic}}}}}),
                  json::array())
            << rule;
    }
}

TEST_F(Features, UnknownDocumentsAndPositionsAnswerNullOrEmpty) {
    const json unknown = {{"textDocument", {{"uri", "file:///nowhere/x.pf"}}},
                          {"position", {{"line", 0}, {"character", 0}}}};
    const json outside = at(site, 99, 0);
    const json malformed = {{"textDocument", 7}, {"position", "x"}};
    for (const teskpf_lsp::Feature &feature : teskpf_lsp::features()) {
        SCOPED_TRACE(feature.method);
        // Symbols, folding, formatting and code actions take no position.
        const bool positioned = feature.method.find("Symbol") == std::string::npos &&
                                feature.method.find("folding") == std::string::npos &&
                                feature.method.find("formatting") == std::string::npos &&
                                feature.method.find("codeAction") == std::string::npos;
        for (json params : {unknown, positioned ? outside : unknown, malformed, json()}) {
            params["newName"] = "fine";
            json answer;
            ASSERT_NO_THROW(answer = feature.answer(workspace, params));
            EXPECT_TRUE(answer.is_null() || answer.empty()) << answer.dump();
        }
    }
}

}  // namespace
