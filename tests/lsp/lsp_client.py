"""A small client of `teskpf lsp` for the protocol tests: starts the server,
frames messages, and reads what it sends with a deadline on every wait."""

import json
import os
import queue
import subprocess
import threading
import time

DEFAULT_TIMEOUT = 20.0


def tool():
    """The teskpf program under test: $TESKPF_TOOL, else `teskpf` on PATH."""
    return os.environ.get("TESKPF_TOOL", "teskpf")


def frame(body):
    """`body` (bytes) as one framed message."""
    return b"Content-Length: %d\r\n\r\n" % len(body) + body


class Client:
    """One running server. Messages it sends are read by a thread into a
    queue; `request` returns the response to its id, and every notification
    seen meanwhile is kept for `wait_for_notification`."""

    def __init__(self, env=None, cwd=None, args=("lsp",)):
        full_env = dict(os.environ)
        full_env.update(env or {})
        self.process = subprocess.Popen(
            [tool(), *args], stdin=subprocess.PIPE, stdout=subprocess.PIPE,
            stderr=subprocess.PIPE, env=full_env, cwd=cwd)
        self.messages = queue.Queue()
        self.notifications = []
        self.responses = {}
        self.errors_without_id = []  # answers to messages the server could not read
        self.next_id = 0
        self.stderr = b""
        self._reader = threading.Thread(target=self._read, daemon=True)
        self._reader.start()
        self._errors = threading.Thread(target=self._read_stderr, daemon=True)
        self._errors.start()

    # Reading ---------------------------------------------------------------
    def _read(self):
        out = self.process.stdout
        try:
            while True:
                length = None
                while True:
                    line = out.readline()
                    if not line:
                        return
                    line = line.rstrip(b"\r\n")
                    if not line:
                        break
                    name, _, value = line.partition(b":")
                    if name.strip().lower() == b"content-length":
                        length = int(value.strip())
                body = out.read(length)
                if len(body) < length:
                    return
                self.messages.put(json.loads(body))
        finally:
            self.messages.put(None)

    def _read_stderr(self):
        self.stderr = self.process.stderr.read()

    def _next(self, deadline):
        remaining = deadline - time.monotonic()
        if remaining <= 0:
            raise TimeoutError("no message from the server in time")
        try:
            message = self.messages.get(timeout=remaining)
        except queue.Empty:
            raise TimeoutError("no message from the server in time") from None
        if message is None:
            self.messages.put(None)  # the end stays visible
            raise EOFError("the server closed its output")
        if "method" in message and "id" not in message:
            self.notifications.append(message)
        elif "id" in message and "method" not in message:
            if message["id"] is None:
                self.errors_without_id.append(message)
            self.responses[json.dumps(message["id"])] = message
        return message

    # Writing ---------------------------------------------------------------
    def send_bytes(self, data):
        self.process.stdin.write(data)
        self.process.stdin.flush()

    def send(self, message):
        self.send_bytes(frame(json.dumps(message).encode()))

    def notify(self, method, params=None):
        message = {"jsonrpc": "2.0", "method": method}
        if params is not None:
            message["params"] = params
        self.send(message)

    def request(self, method, params=None, timeout=DEFAULT_TIMEOUT):
        """Sends a request and returns the whole response (with "result" or
        "error")."""
        self.next_id += 1
        request_id = self.next_id
        message = {"jsonrpc": "2.0", "id": request_id, "method": method}
        if params is not None:
            message["params"] = params
        self.send(message)
        return self.response(request_id, timeout)

    def response(self, request_id, timeout=DEFAULT_TIMEOUT):
        """The response with id `request_id` (None for a response to no
        request), waiting for it."""
        key = json.dumps(request_id)
        deadline = time.monotonic() + timeout
        while key not in self.responses:
            self._next(deadline)
        return self.responses.pop(key)

    def wait_for_notification(self, method, predicate=lambda params: True, timeout=DEFAULT_TIMEOUT):
        """The first notification `method` whose params satisfy `predicate`,
        taken from those seen so far and then as they come."""
        deadline = time.monotonic() + timeout
        seen = 0
        while True:
            while seen < len(self.notifications):
                message = self.notifications[seen]
                if message["method"] == method and predicate(message.get("params")):
                    del self.notifications[seen]
                    return message["params"]
                seen += 1
            self._next(deadline)

    def diagnostics(self, uri, version=None, timeout=DEFAULT_TIMEOUT):
        """The next diagnostics published for `uri` (of `version` if given)."""
        return self.wait_for_notification(
            "textDocument/publishDiagnostics",
            lambda p: p["uri"] == uri and (version is None or p.get("version") == version), timeout)

    # Life cycle ------------------------------------------------------------
    def initialize(self, capabilities=None, options=None):
        params = {"processId": None, "rootUri": None, "capabilities": capabilities or {}}
        if options is not None:
            params["initializationOptions"] = options
        response = self.request("initialize", params)
        self.notify("initialized", {})
        return response

    def open(self, uri, text, version=1):
        self.notify("textDocument/didOpen", {"textDocument": {
            "uri": uri, "languageId": "teskpf", "version": version, "text": text}})

    def wait(self, timeout=DEFAULT_TIMEOUT):
        """The exit status, once the server has ended (killed after `timeout`)."""
        try:
            return self.process.wait(timeout)
        except subprocess.TimeoutExpired:
            self.process.kill()
            self.process.wait()
            raise

    def close(self):
        """Ends the input and the process, whatever state it is in."""
        try:
            self.process.stdin.close()
        except OSError:
            pass
        try:
            self.process.wait(DEFAULT_TIMEOUT)
        except subprocess.TimeoutExpired:
            self.process.kill()
            self.process.wait()
        self._reader.join(DEFAULT_TIMEOUT)
        self._errors.join(DEFAULT_TIMEOUT)

    def __enter__(self):
        return self

    def __exit__(self, *exc):
        self.close()
