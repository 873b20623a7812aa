"""Documents as the editor types them, and their diagnostics: the same as
`teskpf check` reports, in either position encoding, along the layers of
the search path with the editor's unsaved texts."""

import json
import os
import pathlib
import subprocess

import pytest

from lsp_client import Client, tool

LINT_DATA = pathlib.Path(__file__).resolve().parent.parent / "data" / "lint"
EMOJI_LINE = "net &Arr{ \u00e9\U0001F600x\n}\n"


def uri(path):
    return pathlib.Path(path).resolve().as_uri()


def summary(diagnostics):
    """(line, start character, end character, severity, code) of each."""
    return [(d["range"]["start"]["line"], d["range"]["start"]["character"], d["range"]["end"]["character"],
             d["severity"], d.get("code")) for d in diagnostics]


@pytest.fixture
def client(tmp_path):
    # An empty search path directory: documents elsewhere are checked alone.
    empty = tmp_path / "empty"
    empty.mkdir()
    with Client(env={"PFPATH": str(empty)}, cwd=tmp_path) as c:
        c.initialize()
        yield c


@pytest.mark.parametrize("case", sorted(p.name for p in LINT_DATA.glob("*.pf")))
def test_diagnostics_are_those_of_check(client, case):
    path = LINT_DATA / case
    expected = json.loads(subprocess.run([tool(), "check", "--format", "json", str(path)], capture_output=True,
                                         check=False).stdout)
    text = path.read_bytes().decode("utf-8", errors="surrogateescape")
    if any("\udc80" <= c <= "\udcff" for c in text):
        pytest.skip("the protocol carries text, not these bytes")
    client.open(uri(path), text, version=3)
    published = client.diagnostics(uri(path))
    assert published["version"] == 3
    got = [(d["range"]["start"]["line"] + 1, d["message"], d["code"], d["severity"], d["source"])
           for d in published["diagnostics"]]
    want = [(e["line"], e["message"], e["rule"], 1 if e["severity"] == "error" else 2, "teskpf") for e in expected]
    assert got == want


# (encoding offered by the client, encoding announced, end character of the
# diagnostic on a line with "é" and an emoji)
ENCODINGS = [
    (None, "utf-16", 14),
    (["utf-16"], "utf-16", 14),
    (["utf-32", "utf-8", "utf-16"], "utf-8", 17),
]


@pytest.mark.parametrize("offered,announced,end", ENCODINGS)
def test_position_encoding(tmp_path, offered, announced, end):
    capabilities = {"general": {"positionEncodings": offered}} if offered else {}
    with Client(env={"PFPATH": str(tmp_path)}, cwd="/") as client:
        result = client.initialize(capabilities)["result"]
        assert result["capabilities"]["positionEncoding"] == announced
        doc = uri(tmp_path / "sub" / "enc.pf")
        client.open(doc, EMOJI_LINE)
        assert summary(client.diagnostics(doc)["diagnostics"]) == [(0, 10, end, 2, "text-after-open")]
        # Replace "é😀" (3 UTF-16 units, 6 bytes) after "x " by "&Arr{": only
        # right when the range is counted in the agreed encoding.
        width = 6 if announced == "utf-8" else 3
        client.notify("textDocument/didOpen", {"textDocument": {
            "uri": doc + "2", "languageId": "teskpf", "version": 1, "text": "x \u00e9\U0001F600\nb 2\n"}})
        client.diagnostics(doc + "2")
        client.notify("textDocument/didChange", {
            "textDocument": {"uri": doc + "2", "version": 2},
            "contentChanges": [{"range": {"start": {"line": 0, "character": 2},
                                          "end": {"line": 0, "character": 2 + width}}, "text": "&Arr{"}]})
        assert summary(client.diagnostics(doc + "2", 2)["diagnostics"]) == [(0, 2, 7, 1, "unclosed-block")]


def closed(client, doc):
    """The diagnostics published for `doc` once closed: they have no version."""
    return client.wait_for_notification("textDocument/publishDiagnostics",
                                        lambda p: p["uri"] == doc and "version" not in p)


def change(client, doc, version, *changes):
    client.notify("textDocument/didChange", {"textDocument": {"uri": doc, "version": version},
                                             "contentChanges": list(changes)})
    return summary(client.diagnostics(doc, version)["diagnostics"])


def edit(line, start, end, text):
    return {"range": {"start": {"line": line, "character": start}, "end": {"line": line, "character": end}},
            "text": text}


def test_open_change_save_close(client, tmp_path):
    doc = uri(tmp_path / "doc.pf")
    client.open(doc, "a 1\nb 2\n")
    assert client.diagnostics(doc, 1)["diagnostics"] == []
    # Full text.
    assert change(client, doc, 2, {"text": "a 1\n}\nb 2\n"}) == [(1, 0, 1, 1, "stray-close")]
    # Incremental: two changes in one notification, applied in order.
    assert change(client, doc, 3, edit(1, 0, 1, "c &Arr{"), edit(2, 3, 3, " # x")) == [(1, 2, 7, 1, "unclosed-block")]
    # A change spanning lines, and positions beyond the end clamped.
    assert change(client, doc, 4, {"range": {"start": {"line": 1, "character": 0}, "end": {"line": 99, "character": 9}},
                                   "text": "}"}) == [(1, 0, 1, 1, "stray-close")]
    client.notify("textDocument/didSave", {"textDocument": {"uri": doc}})
    assert summary(client.diagnostics(doc, 4)["diagnostics"]) == [(1, 0, 1, 1, "stray-close")]
    client.notify("textDocument/didClose", {"textDocument": {"uri": doc}})
    assert closed(client, doc)["diagnostics"] == []
    # Changes to documents that are not open are ignored.
    client.notify("textDocument/didChange", {"textDocument": {"uri": doc, "version": 5},
                                             "contentChanges": [{"text": "}"}]})
    assert client.request("shutdown")["result"] is None
    assert not [n for n in client.notifications if n["method"] == "textDocument/publishDiagnostics"]


def test_a_document_that_is_no_file_is_checked_alone(client):
    client.open("untitled:Untitled-1", "}\n")
    assert summary(client.diagnostics("untitled:Untitled-1")["diagnostics"]) == [(0, 0, 1, 1, "stray-close")]


@pytest.fixture
def layered(tmp_path):
    """Two directories of a search path: base (lower) and site (higher), each
    with x.pf; the site's value is no int."""
    base, site = tmp_path / "base", tmp_path / "site"
    base.mkdir()
    site.mkdir()
    (base / "x.pf").write_text("workers\t8\n")
    (site / "x.pf").write_text("workers\tlots\n")
    return base, site


MISMATCH = [(0, 8, 12, 1, "value-mismatch")]
ANNOTATED = "workers\t8\t#<int>\n"


@pytest.mark.parametrize("how", ["initializationOptions", "relative", "PFPATH", "didChangeConfiguration"])
def test_layers_with_an_unsaved_lower_layer(tmp_path, layered, how):
    base, site = layered
    # Relative directories are taken from the server's working directory.
    path = "base:site" if how == "relative" else f"{base}:{site}"
    env = {"PFPATH": path if how == "PFPATH" else str(tmp_path)}
    options = {"teskpf": {"path": path}} if how in ("initializationOptions", "relative") else None
    low, high = uri(base / "x.pf"), uri(site / "x.pf")
    with Client(env=env, cwd=tmp_path) as client:
        client.initialize(options=options)
        client.open(high, (site / "x.pf").read_text())
        assert client.diagnostics(high)["diagnostics"] == []
        client.open(low, (base / "x.pf").read_text())
        client.diagnostics(low)
        # The lower layer gains an annotation in the editor, unsaved.
        client.notify("textDocument/didChange", {"textDocument": {"uri": low, "version": 2},
                                                 "contentChanges": [{"text": ANNOTATED}]})
        client.diagnostics(low, 2)
        if how == "didChangeConfiguration":
            # Only now are both directories on the search path.
            client.notify("workspace/didChangeConfiguration", {"settings": {"teskpf": {"path": path}}})
        # (Earlier publications for the higher layer, without the annotation, are passed over.)
        published = client.wait_for_notification(
            "textDocument/publishDiagnostics", lambda p: p["uri"] == high and p["diagnostics"])
        assert summary(published["diagnostics"]) == MISMATCH
        # The lower layer is named as found along the search path.
        lower = "base/x.pf" if how == "relative" else str(base / "x.pf")
        assert f"from {lower}:1," in published["diagnostics"][0]["message"]
        # Editing the higher layer re-checks the lower one too.
        client.notify("textDocument/didChange", {"textDocument": {"uri": high, "version": 7},
                                                 "contentChanges": [edit(0, 8, 12, "9")]})
        assert client.diagnostics(high, 7)["diagnostics"] == []
        client.diagnostics(low, 2)
        # Closing the unsaved lower layer: the higher one is checked against the disk again.
        client.notify("textDocument/didChange", {"textDocument": {"uri": high, "version": 8},
                                                 "contentChanges": [edit(0, 8, 9, "lots")]})
        assert summary(client.diagnostics(high, 8)["diagnostics"]) == MISMATCH
        client.notify("textDocument/didClose", {"textDocument": {"uri": low}})
        assert closed(client, low)["diagnostics"] == []
        assert client.diagnostics(high, 8)["diagnostics"] == []


def test_a_file_off_the_search_path_is_checked_alone(tmp_path, layered):
    base, site = layered
    other = tmp_path / "other"
    other.mkdir()
    (other / "x.pf").write_text("workers\tlots\n")
    with Client(env={"PFPATH": f"{base}:{site}"}, cwd=tmp_path) as client:
        client.initialize()
        client.open(uri(base / "x.pf"), ANNOTATED)
        client.diagnostics(uri(base / "x.pf"))
        client.open(uri(other / "x.pf"), "workers\tlots\n")
        assert client.diagnostics(uri(other / "x.pf"))["diagnostics"] == []
        # On the path, but not named NAME.pf.
        client.open(uri(site / "x.conf"), "workers\tlots\n")
        assert client.diagnostics(uri(site / "x.conf"))["diagnostics"] == []
        client.open(uri(site / "x.pf"), "workers\tlots\n")
        assert summary(client.diagnostics(uri(site / "x.pf"))["diagnostics"]) == MISMATCH


def test_a_message_of_20_megabytes(client, tmp_path):
    lines = ["k%07d value %d" % (i, i) for i in range(1_100_000)]
    lines[-1] = "}"
    text = "\n".join(lines) + "\n"
    assert len(text) > 20_000_000
    doc = uri(tmp_path / "big.pf")
    client.open(doc, text)
    assert summary(client.diagnostics(doc, timeout=120)["diagnostics"]) == [(len(lines) - 1, 0, 1, 1, "stray-close")]


def test_a_null_path_setting_restores_pfpath(tmp_path, layered):
    base, site = layered
    high = uri(site / "x.pf")
    with Client(env={"PFPATH": f"{base}:{site}"}, cwd=tmp_path) as client:
        client.initialize(options={"teskpf": {"path": str(site)}})
        client.open(uri(base / "x.pf"), ANNOTATED)
        client.open(high, "workers\tlots\n")
        assert client.diagnostics(high)["diagnostics"] == []
        # Settings without teskpf.path change nothing; a null one means PFPATH again.
        client.notify("workspace/didChangeConfiguration", {"settings": {"other": 1}})
        client.notify("workspace/didChangeConfiguration", {"settings": {"teskpf": {"path": None}}})
        assert summary(client.diagnostics(high)["diagnostics"]) == MISMATCH
