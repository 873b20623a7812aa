"""The language features over the protocol: a search path of two layers,
base (lower) and site (higher), each with st.pf; the site layer open in the
editor. Each case sends one request and compares the response."""

import pytest

from lsp_client import Client

BASE = ("gain 3 #<int>\n"
        "mode fast #<str>(fast slow)\n"
        "chan &Arr{\n"
        "  rate 100\n"
        "  label main\n"
        "}\n")
SITE = ("gain 4\n"
        "mode fsat\n"
        "chan &Arr{\n"
        "  rate 200\n"
        "  \n"
        "}\n")


def pos(line, character):
    return {"line": line, "character": character}


def rng(line, start, end, end_line=None):
    return {"start": pos(line, start), "end": pos(line if end_line is None else end_line, end)}


@pytest.fixture
def layers(tmp_path):
    base, site = tmp_path / "base", tmp_path / "site"
    base.mkdir()
    site.mkdir()
    (base / "st.pf").write_text(BASE)
    (site / "st.pf").write_text(SITE)
    return (base / "st.pf").as_uri(), (site / "st.pf").as_uri(), f"{base}:{site}"


@pytest.fixture
def client(tmp_path, layers):
    _, site, path = layers
    with Client(env={"PFPATH": path}, cwd=tmp_path) as c:
        c.initialize()
        c.open(site, SITE)
        c.diagnostics(site)
        yield c


def result(client, method, params):
    response = client.request(method, params)
    assert "error" not in response, response
    return response["result"]


def at(uri, line, character, **more):
    return {"textDocument": {"uri": uri}, "position": pos(line, character), **more}


def test_capabilities(tmp_path):
    with Client(cwd=tmp_path) as c:
        capabilities = c.initialize()["result"]["capabilities"]
    assert capabilities["hoverProvider"] is True
    assert capabilities["definitionProvider"] is True
    assert capabilities["referencesProvider"] is True
    assert capabilities["renameProvider"] == {"prepareProvider": True}
    assert capabilities["completionProvider"]["triggerCharacters"] == ["<", " "]
    assert capabilities["documentSymbolProvider"] is True
    assert capabilities["foldingRangeProvider"] is True
    assert capabilities["documentFormattingProvider"] is True
    assert capabilities["codeActionProvider"] == {"codeActionKinds": ["quickfix"]}


def test_hover(client, layers, tmp_path):
    _, site, _ = layers
    hover = result(client, "textDocument/hover", at(site, 0, 1))
    assert hover["range"] == rng(0, 0, 4)
    assert hover["contents"]["kind"] == "markdown"
    text = hover["contents"]["value"]
    assert text.startswith('`["gain"]` = `4`\n\nIn effect: `%s/site/st.pf:1`' % tmp_path)
    assert "Annotation: `<int>` from `%s/base/st.pf:1`" % tmp_path in text
    assert "Overrides:\n- `3` at `%s/base/st.pf:1`" % tmp_path in text
    assert result(client, "textDocument/hover", at(site, 4, 2)) is None


def test_definition_and_references(client, layers):
    base, site, _ = layers
    assert result(client, "textDocument/definition", at(site, 3, 3)) == [{"uri": base, "range": rng(3, 2, 6)}]
    assert result(client, "textDocument/references", at(site, 3, 3, context={"includeDeclaration": True})) == [
        {"uri": base, "range": rng(3, 2, 6)}, {"uri": site, "range": rng(3, 2, 6)}]


def test_rename(client, layers):
    base, site, _ = layers
    assert result(client, "textDocument/prepareRename", at(site, 2, 1)) == {"range": rng(2, 0, 4),
                                                                           "placeholder": "chan"}
    edit = result(client, "textDocument/rename", at(site, 2, 1, newName="channel"))
    assert edit == {"changes": {base: [{"range": rng(2, 0, 4), "newText": "channel"}],
                                site: [{"range": rng(2, 0, 4), "newText": "channel"}]}}
    refused = client.request("textDocument/rename", at(site, 2, 1, newName="two words"))
    assert refused["error"]["code"] == -32602
    assert "white space" in refused["error"]["message"]


@pytest.mark.parametrize("line,character,labels", [
    (1, 9, ["fast", "slow"]),  # the words of the annotation in effect
    (4, 2, ["label"]),         # keys the base layer defines in the block
])
def test_completion(client, layers, line, character, labels):
    _, site, _ = layers
    items = result(client, "textDocument/completion", at(site, line, character))
    assert [item["label"] for item in items] == labels


def test_annotation_keywords(client, tmp_path):
    uri = (tmp_path / "alone.pf").as_uri()
    client.open(uri, "x 1 #<")
    items = result(client, "textDocument/completion", at(uri, 0, 6))
    assert [item["label"] for item in items] == ["str", "int", "float", "color", "font", "regex"]
    assert items[0]["textEdit"] == {"range": rng(0, 6, 6), "newText": "str"}


def test_symbols_and_folding(client, layers):
    _, site, _ = layers
    symbols = result(client, "textDocument/documentSymbol", {"textDocument": {"uri": site}})
    assert [(s["name"], s["kind"]) for s in symbols] == [("gain", 7), ("mode", 7), ("chan", 19)]
    assert symbols[2]["range"] == rng(2, 0, 1, end_line=5)
    assert [c["name"] for c in symbols[2]["children"]] == ["rate"]
    assert result(client, "textDocument/foldingRange", {"textDocument": {"uri": site}}) == [
        {"startLine": 2, "endLine": 5}]


def test_formatting(client, tmp_path):
    uri = (tmp_path / "alone.pf").as_uri()
    client.open(uri, "a &Arr{\nb 1 # keep   this\n      }\n")
    edits = result(client, "textDocument/formatting",
                   {"textDocument": {"uri": uri}, "options": {"tabSize": 2, "insertSpaces": True}})
    assert edits == [{"range": rng(1, 0, 0), "newText": "  "}, {"range": rng(2, 0, 6), "newText": ""}]


def test_code_actions(client, layers):
    _, site, _ = layers
    diagnostic = {"range": rng(1, 5, 9), "code": "value-mismatch", "message": "value 'fsat' ..."}
    actions = result(client, "textDocument/codeAction", {"textDocument": {"uri": site}, "range": rng(1, 5, 9),
                                                         "context": {"diagnostics": [diagnostic]}})
    assert actions == [
        {"title": "Replace 'fsat' with 'fast'", "kind": "quickfix", "diagnostics": [diagnostic], "isPreferred": True,
         "edit": {"changes": {site: [{"range": rng(1, 5, 9), "newText": "fast"}]}}},
        {"title": "Disable value-mismatch for this line", "kind": "quickfix", "diagnostics": [diagnostic],
         "edit": {"changes": {site: [{"range": rng(1, 0, 0),
                                      "newText": "# teskpf-disable-next-line value-mismatch\n"}]}}},
    ]


@pytest.mark.parametrize("method", ["hover", "definition", "references", "prepareRename", "completion"])
def test_unknown_documents_and_positions(client, layers, method):
    _, site, _ = layers
    assert result(client, "textDocument/" + method, at("file:///nowhere/x.pf", 0, 0)) is None
    assert result(client, "textDocument/" + method, at(site, 99, 0)) in (None, [])
