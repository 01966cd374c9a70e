"""A scripted field: checks what arrives against clients/vectors.json and sends the answers that stand there.

For the tests of every client library: `with ScriptedField(exchanges) as field:` listens on a free port, and
`field.trouble()` then tells whether anything arrived that is not in the script.
"""
import json
import os
import socket
import struct
import threading
import time

VECTORS = os.path.join(os.path.dirname(os.path.abspath(__file__)), "..", "..", "clients", "vectors.json")
PATIENCE = 60.0  # seconds that bound a hang


def load():
    with open(VECTORS, encoding="utf-8") as file:
        return json.load(file)


def same_number(a, b):
    return abs(a - b) <= 1e-6 * max(1.0, abs(a), abs(b))


def same_word(a, b):
    if a == b:
        return True
    try:
        return same_number(float(a), float(b))
    except ValueError:
        return False


def same_line(a, b):
    """Word by word: equal, or both numbers and close. Texts of names and writings compare without case."""
    if a[:2] in ("s ", "n "):
        return a.lower() == b.lower()
    ours, theirs = a.split(), b.split()
    return len(ours) == len(theirs) and all(map(same_word, ours, theirs))


def same_value(a, b):
    """Compares a returned value with the expected one, by the types of JSON."""
    if isinstance(b, bool) or b is None or isinstance(b, str):
        return type(a) is type(b) and a == b
    if isinstance(b, (int, float)):
        return not isinstance(a, bool) and isinstance(a, (int, float)) and same_number(a, b)
    if isinstance(b, list):
        return isinstance(a, (list, tuple)) and len(a) == len(b) and all(map(same_value, a, b))
    if isinstance(b, dict):
        return isinstance(a, dict) and a.keys() == b.keys() and all(same_value(a[key], b[key]) for key in b)
    return a == b


def exchanges_of(case, vectors):
    """All exchanges of a case in order, those of the start first."""
    found = list(case.get("hello", vectors["hello"]))
    for step in case["steps"]:
        found += step.get("exchanges", [])
    return found


class ScriptedField:
    """Serves one connection by the script, then sends nothing more and waits for the client to close."""

    def __init__(self, exchanges):
        self.exchanges = exchanges
        self.problem = None
        self.done = 0
        self.listener = socket.create_server(("127.0.0.1", 0))
        self.listener.settimeout(PATIENCE)
        self.port = self.listener.getsockname()[1]
        self.connection = None
        self.thread = threading.Thread(target=self._serve, daemon=True)

    def __enter__(self):
        self.thread.start()
        return self

    def __exit__(self, *unused):
        self.thread.join(PATIENCE)
        if self.thread.is_alive():
            self.problem = self.problem or "the script has not come to its end"
        self.listener.close()
        if self.connection:
            self.connection.close()

    def trouble(self):
        """What differed from the script; None when nothing did."""
        if self.problem is None and self.done < len(self.exchanges):
            return "only %d of %d exchanges came" % (self.done, len(self.exchanges))
        return self.problem

    def _serve(self):
        try:
            self.connection, _ = self.listener.accept()
            self.connection.settimeout(PATIENCE)
            self.connection.setsockopt(socket.IPPROTO_TCP, socket.TCP_NODELAY, 1)
            self._follow()
        except OSError as error:
            self.problem = self.problem or "the connection: %s" % error

    def _follow(self):
        pending = b""
        for exchange in self.exchanges:
            expected = exchange["send"]
            while pending.count(b"\n") < len(expected):
                piece = self.connection.recv(65536)
                if not piece:
                    if pending:
                        self.problem = "left over at the end: %r" % pending
                    return
                pending += piece
            *lines, pending = pending.split(b"\n")
            lines = [line.decode("latin-1") for line in lines]
            if pending or len(lines) != len(expected) or not all(map(same_line, lines, expected)):
                self.problem = "sent %r %r instead of %r" % (lines, pending, expected)
                self.connection.close()
                return
            self.done += 1
            raw = exchange.get("raw", "".join(line + "\n" for line in exchange.get("answer", [])))
            if raw:
                self.connection.sendall(raw.encode("latin-1"))
            end = exchange.get("then")
            if end == "reset":
                # Let the client receive what was sent before the reset, which would overtake it.
                time.sleep(0.05) if raw else None
                self.connection.setsockopt(socket.SOL_SOCKET, socket.SO_LINGER, struct.pack("ii", 1, 0))
            if end in ("reset", "close"):
                self.connection.close()
                return
        rest = pending + self._rest()
        if rest and self.problem is None:
            self.problem = "more was sent: %r" % rest

    def _rest(self):
        """What the client sends after the script until it closes."""
        rest = b""
        try:
            while piece := self.connection.recv(65536):
                rest += piece
        except ConnectionError:
            pass
        return rest
