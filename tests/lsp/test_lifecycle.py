"""Life cycle and JSON-RPC: what the server answers to each request and
notification in each state, and to each malformed message."""

import json

import pytest

from lsp_client import Client, frame

PARSE_ERROR, INVALID_REQUEST, METHOD_NOT_FOUND, INVALID_PARAMS = -32700, -32600, -32601, -32602
NOT_INITIALIZED = -32002


def error_code(response):
    return response["error"]["code"] if "error" in response else None


def test_initialize_announces_document_sync_and_server():
    with Client() as client:
        result = client.initialize()["result"]
        sync = result["capabilities"]["textDocumentSync"]
        assert sync == {"openClose": True, "change": 2, "save": {"includeText": False}}
        assert result["serverInfo"]["name"] == "teskpf"


# (what happens first, the request then sent, the error code expected)
STATE_CASES = [
    ("nothing", "textDocument/hover", NOT_INITIALIZED),
    ("nothing", "shutdown", NOT_INITIALIZED),
    ("initialize", "initialize", INVALID_REQUEST),
    ("initialize", "no/such/method", METHOD_NOT_FOUND),
    ("initialize", "$/private", METHOD_NOT_FOUND),
    ("shutdown", "shutdown", INVALID_REQUEST),
    ("shutdown", "textDocument/hover", INVALID_REQUEST),
]


@pytest.mark.parametrize("before,method,code", STATE_CASES)
def test_requests_answered_by_state(before, method, code):
    with Client() as client:
        if before in ("initialize", "shutdown"):
            client.initialize()
        if before == "shutdown":
            assert client.request("shutdown")["result"] is None
        params = {"textDocument": {"uri": "file:///x.pf"}, "position": {"line": 0, "character": 0}}
        if method == "initialize":
            params = {"capabilities": {}}
        assert error_code(client.request(method, params)) == code


# (requests before exit, exit status)
EXIT_CASES = [
    (["initialize", "shutdown"], 0),
    (["initialize"], 1),
    ([], 1),
]


@pytest.mark.parametrize("requests,status", EXIT_CASES)
@pytest.mark.parametrize("ending", ["exit", "end of input"])
def test_exit_status(requests, status, ending):
    with Client() as client:
        for method in requests:
            if method == "initialize":
                client.initialize()
            else:
                client.request(method)
        if ending == "exit":
            client.notify("exit")
        else:
            client.process.stdin.close()
        assert client.wait() == status


def test_notifications_before_initialize_are_dropped_and_unknown_ones_ignored():
    with Client() as client:
        client.open("file:///early.pf", "}\n")
        client.initialize()
        client.notify("no/such/notification", {})
        client.notify("$/cancelRequest", {"id": 1})
        client.notify("$/setTrace", {"value": "off"})
        client.send({"jsonrpc": "2.0", "id": 99, "result": None})  # a response: nothing to answer
        client.open("file:///late.pf", "}\n")
        client.diagnostics("file:///late.pf")
        # Still answering, and nothing was published for the early document.
        assert error_code(client.request("no/such/method")) == METHOD_NOT_FOUND
        assert not [n for n in client.notifications if n["params"].get("uri") == "file:///early.pf"]
        assert not client.responses and not client.errors_without_id


# Message contents as sent, by the error code they get; each answer names the
# id 7 when the message has a usable id.
MALFORMED_BODIES = {
    PARSE_ERROR: [b"{not json", b'{"jsonrpc": "2.0", "id": 7, "method": "\xff\xfe"}'],
    INVALID_REQUEST: [
        # Not one request: a batch, an empty one, no object.
        b'[{"jsonrpc": "2.0", "id": 7, "method": "shutdown"}]', b"[]", b"42",
        # Not JSON-RPC 2.0.
        b'{"id": 7, "method": "shutdown"}', b'{"jsonrpc": "1.0", "id": 7, "method": "shutdown"}',
        b'{"jsonrpc": "2.0", "id": 7, "method": 3}', b'{"jsonrpc": "2.0", "id": {"a": 1}, "method": "shutdown"}',
        b'{"jsonrpc": "2.0", "id": 7, "method": "shutdown", "params": 5}',
        b'{"jsonrpc": "2.0", "id": 7, "method": "initialize", "params": "x"}',
    ],
    INVALID_PARAMS: [b'{"jsonrpc": "2.0", "id": 7, "method": "initialize", "params": []}'],
}


def usable_id(body):
    try:
        message = json.loads(body)
    except ValueError:
        return None
    if isinstance(message, dict) and isinstance(message.get("id"), (int, str)):
        return message["id"]
    return None


@pytest.mark.parametrize("code,body", [(code, body) for code, bodies in MALFORMED_BODIES.items() for body in bodies])
def test_malformed_messages_are_answered_and_the_server_goes_on(code, body):
    with Client() as client:
        client.send_bytes(frame(body))
        response = client.response(usable_id(body))
        assert error_code(response) == code
        # The server still works.
        assert "result" in client.initialize()


# Headers the server cannot use, followed by a good message: each gets one
# ParseError with id null, and the message after it is read.
MALFORMED_HEADERS = [
    b"Content-Type: application/json\r\n\r\n{}",
    b"Content-Length: abc\r\n\r\n{}",
    b"Content-Length: -2\r\n\r\n{}",
    b"Content-Length 12\r\n\r\n{}",
    b"X-Long: " + b"y" * 10000 + b"\r\n\r\n{}",
    b"Content-Length: 99999999999999999999999999\r\n\r\n{}",
    b"X: y\r\n" * 65 + b"\r\n{}",
]


@pytest.mark.parametrize("header", MALFORMED_HEADERS)
def test_malformed_headers_skip_to_the_next_message(header):
    with Client() as client:
        client.send_bytes(header + b"\r\n")
        response = client.response(None)
        assert error_code(response) == PARSE_ERROR
        assert "header" in response["error"]["message"]
        assert "result" in client.initialize()
        # One answer for the bad message: what followed it was skipped.
        assert len(client.errors_without_id) == 1


GOOD_HEADERS = [
    b"Content-Length: %d\r\n\r\n",
    b"content-LENGTH:%d\r\nContent-Type: application/vscode-jsonrpc; charset=utf-8\r\n\r\n",
    b"X-Other: 1\r\nContent-Length:  %d \r\n\r\n",
    b"\r\n\r\nContent-Length: %d\n\n",
]


@pytest.mark.parametrize("header", GOOD_HEADERS)
def test_headers_read(header):
    body = json.dumps({"jsonrpc": "2.0", "id": 7, "method": "initialize", "params": {"capabilities": {}}}).encode()
    with Client() as client:
        client.send_bytes(header % len(body) + body)
        assert "result" in client.response(7)


def test_a_message_over_the_limit_is_skipped_unread():
    limit = 64 << 20
    with Client() as client:
        client.send_bytes(b"Content-Length: %d\r\n\r\n" % (limit + 1))
        chunk = b" " * (1 << 20)
        for _ in range(64):
            client.send_bytes(chunk)
        client.send_bytes(b"x")
        response = client.response(None)
        assert error_code(response) == PARSE_ERROR
        assert "longer than" in response["error"]["message"]
        assert "result" in client.initialize()
        assert len(client.errors_without_id) == 1


def test_a_message_that_ends_early_ends_the_server():
    with Client() as client:
        client.send_bytes(b"Content-Length: 100\r\n\r\n{}")
        client.process.stdin.close()
        assert client.wait() == 1


def test_malformed_notification_params_are_logged_not_fatal():
    with Client() as client:
        client.initialize()
        client.notify("textDocument/didOpen", {"textDocument": {"uri": "file:///a.pf", "version": 1}})
        client.notify("textDocument/didChange", {"textDocument": {"uri": 5}, "contentChanges": []})
        log = client.wait_for_notification("window/logMessage")
        assert "didOpen" in log["message"]
        assert "result" in client.request("shutdown")
