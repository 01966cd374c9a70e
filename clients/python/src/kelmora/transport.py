"""How lines travel: the few things that the library asks of a connection, and the usual one, over TCP.

`use()` gives all turtles from then on another kind of connection.
"""
from __future__ import annotations

import os
import sys
import time
from typing import Callable, Optional, Protocol

from .errors import BadValue, no_field

HOST = "localhost"
PORT = 2222
CONNECT_TIMEOUT = 5.0     # seconds
ANSWER_TIMEOUT = 20.0     # seconds for one answer; a paced command waits for the field's next frame at most
LONGEST_LINE = 1024       # bytes; the field's answers have at most 511


class Transport(Protocol):
    """A line to a field and the place of one turtle there.

    After each `send` as many answers are received as lines were sent. An EOFError says that the field has hung up, a
    TimeoutError that it is silent, another OSError that the connection is broken.
    """

    where: str  # where the field is, for messages

    def send(self, lines: str) -> None:
        """Sends one packet: one or more lines in ASCII, each ended by a line feed."""

    def receive(self) -> str:
        """The next answer, without its line feed."""

    def close(self) -> None:
        """Hangs up; calling it again does nothing."""


def address(host: Optional[str] = None, port: Optional[int] = None) -> tuple[str, int]:
    """The field's address: as given, else of KELMORA_HOST and KELMORA_PORT, else localhost and 2222."""
    host = host or os.environ.get("KELMORA_HOST", "").strip() or HOST
    number = port if port is not None else os.environ.get("KELMORA_PORT", "").strip() or PORT
    try:
        port = int(number)
    except (TypeError, ValueError):
        port = 0
    if not 1 <= port <= 65535:
        raise BadValue("The field's port is %r: it has to be a number from 1 to 65535, usually 2222 (look at "
                       "KELMORA_PORT)." % (number,))
    return host, port


class SocketTransport:
    """A TCP connection to a field.

    write, read -- send() and recv() of the socket
    pending     -- bytes that have been read and not yet been handed out
    """

    def __init__(self, host: Optional[str] = None, port: Optional[int] = None, timeout: Optional[float] = None,
                 source: Optional[str] = None) -> None:
        """Connects; raises NoField when nobody listens there.

        timeout -- seconds to wait for an answer, 20 when not given
        source  -- this machine's address to connect from, any when not given
        """
        import socket  # here, so that the library can be imported where there are no sockets
        host, port = address(host, port)
        self.where = "%s:%d" % (host, port)
        self.timeout = ANSWER_TIMEOUT if timeout is None else float(timeout)
        self.pending = b""
        # A private field admits 127.0.0.1 and no other name of this machine.
        target = "127.0.0.1" if host == "localhost" else host
        try:
            self._socket = socket.create_connection((target, port), CONNECT_TIMEOUT, (source, 0) if source else None)
        except (OSError, UnicodeError) as error:
            raise no_field(self.where, getattr(error, "strerror", None) or error) from error
        self._socket.setsockopt(socket.IPPROTO_TCP, socket.TCP_NODELAY, 1)
        self.write, self.read = self._socket.send, self._socket.recv
        self._wait(self.timeout)

    def _wait(self, seconds: float) -> None:
        """Bounds the next waits. The system's own time-out saves Python a call before each one of its own."""
        if sys.platform == "win32":
            self._socket.settimeout(seconds)
        else:
            import socket
            import struct
            bound = struct.pack("@ll", int(seconds), int(seconds % 1 * 1e6))
            self._socket.settimeout(None)
            self._socket.setsockopt(socket.SOL_SOCKET, socket.SO_RCVTIMEO, bound)
            self._socket.setsockopt(socket.SOL_SOCKET, socket.SO_SNDTIMEO, bound)

    def send(self, lines: str) -> None:
        self.send_rest(lines.encode("ascii"))

    def send_rest(self, packet: bytes) -> None:
        """Sends the bytes, however often it takes."""
        try:
            while packet:
                packet = packet[self.write(packet):]
        except BlockingIOError:
            raise TimeoutError from None

    def receive(self) -> str:
        deadline = time.monotonic() + self.timeout
        if not self.pending:
            self._read()
        if b"\n" not in self.pending:
            try:
                self._read_on(deadline)
            finally:
                self._wait(self.timeout)
        line, _, self.pending = self.pending.partition(b"\n")
        return line.decode("latin-1")

    def _read(self) -> None:
        try:
            self.keep(self.read(4096))
        except BlockingIOError:
            raise TimeoutError from None

    def keep(self, piece: bytes) -> None:
        """Puts aside what has been read; nothing means that the field has hung up."""
        if not piece:
            raise EOFError
        self.pending += piece

    def _read_on(self, deadline: float) -> None:
        """Reads until the buffer holds a line, or more than a line can have."""
        while b"\n" not in self.pending and len(self.pending) <= LONGEST_LINE:
            left = deadline - time.monotonic()
            if left <= 0:
                raise TimeoutError
            self._wait(max(left, 0.001))
            self._read()

    def close(self) -> None:
        self._socket.close()


Factory = Callable[[], Transport]
_factory: Optional[Factory] = None
start_at_home = True


def use(factory: Optional[Factory] = None, home: bool = True) -> None:
    """Lets every turtle from now on talk through factory(), which returns a new Transport; None: over TCP again.

    home -- whether new turtles walk to the middle first, as lessons written for Python's turtle expect
    """
    global _factory, start_at_home
    _factory, start_at_home = factory, home


def connect(host: Optional[str] = None, port: Optional[int] = None, timeout: Optional[float] = None) -> Transport:
    """A new connection of the kind in use; an address given goes by TCP always."""
    if _factory is not None and host is None and port is None:
        return _factory()
    return SocketTransport(host, port, timeout)
