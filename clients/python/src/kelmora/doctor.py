"""Looks at each step of the way to a field, and says in a line what is right or how to put it right."""
from __future__ import annotations

import os
import re
import socket
import time
import urllib.request
from typing import Optional

from .errors import KelmoraError, NoField, NotAdmitted
from .transport import SocketTransport, address
from .turtles import Turtle, leave

WEB_PORT = 2280
TIMEOUT = 20.0           # seconds for each answer
ELSEWHERE = "127.0.0.2"  # a name of this machine that a private field does not admit


class Doctor:
    """The checks, in the order in which one builds on another."""

    def __init__(self) -> None:
        self.trouble = 0
        self.host, self.port = "", 0
        self.is_local = False

    def right(self, what: str, text: str) -> None:
        print("ok     %-8s %s" % (what, text))

    def wrong(self, what: str, text: str) -> None:
        self.trouble += 1
        print("LOOK   %-8s %s" % (what, text))

    def check_address(self) -> bool:
        try:
            self.host, self.port = address()
            found = socket.getaddrinfo(machine(self.host), self.port, socket.AF_INET)
        except KelmoraError as error:
            self.wrong("address", str(error))
            return False
        except (OSError, UnicodeError):
            self.wrong("address", "No machine is known as %s: mend KELMORA_HOST, or give the machine's number, such as "
                                  "192.168.1.5." % self.host)
            return False
        ip = str(found[0][4][0])
        self.is_local = ip.startswith("127.")
        given = {"KELMORA_HOST", "KELMORA_PORT"} & set(os.environ)
        source = "from " + " and ".join(sorted(given)) if given else "the usual one"
        self.right("address", "%s port %d (%s, %s)" % (self.host, self.port, ip, source))
        return True

    def check_port(self) -> Optional[SocketTransport]:
        try:
            connection = SocketTransport(self.host, self.port, TIMEOUT)
        except NoField as error:
            self.wrong("port", str(error).replace(" `python -m kelmora doctor` looks closer.", ""))
            return None
        self.right("port", "something listens on port %d" % self.port)
        return connection

    def check_places(self, connection: SocketTransport) -> Optional[Turtle]:
        try:
            turtle = Turtle(transport=connection, home=False)
        except NotAdmitted:
            if self.is_local:
                self.wrong("places", "The field is full: its ten places are taken, or 30 turtles and zombies are on it. "
                                     "Wait until somebody leaves; the operator's key z takes zombies away.")
            else:
                self.wrong("places", "The field hangs up at once. It is private (the operator presses @ to make it "
                                     "public), or full.")
            return None
        except KelmoraError as error:
            self.wrong("places", str(error))
            return None
        self.right("places", "the field admits you; turtles on it, zombies and doughnuts included: %d" % turtle.turtles())
        return turtle

    def check_mode(self) -> None:
        if not self.is_local:
            self.right("mode", "public: the field admits other machines")
            return
        try:
            other = Turtle(transport=SocketTransport("127.0.0.1", self.port, TIMEOUT, source=ELSEWHERE), home=False)
        except NotAdmitted:
            self.right("mode", "private: programs of this machine alone; for others the operator presses @")
        except KelmoraError as error:
            self.wrong("mode", "This machine cannot look at itself from another address: %s" % error)
        else:
            self.right("mode", "public: the field admits other machines")
            leave(other)

    def check_clock(self, turtle: Turtle) -> None:
        first = turtle.ping()
        began = time.monotonic()
        time.sleep(0.5)
        rate = (turtle.ping() - first) / (time.monotonic() - began)
        if rate >= 5:
            self.right("clock", "%.0f ticks a second (about 120 while a turtle can move, 12 when none can)" % rate)
        else:
            self.wrong("clock", "The clock hardly runs: %.1f ticks a second. Is the field's machine free?" % rate)

    def check_page(self) -> str:
        url = "http://%s:%d/" % (machine(self.host), WEB_PORT)
        try:
            page = fetch(url).decode("utf-8", "replace")
        except (OSError, ValueError) as error:
            self.wrong("page", "No web page at %s (%s): another program may hold port %d on the field's machine."
                       % (url, error, WEB_PORT))
            return ""
        if "webGLStart" not in page:
            self.wrong("page", "What answers at %s is not the field's page: another program holds port %d."
                       % (url, WEB_PORT))
            return ""
        self.right("page", "%s shows the field in a browser" % url)
        return page

    def check_scripts(self, page: str) -> None:
        scripts = re.findall(r'src="([^"]+)"', page)
        if not scripts:
            self.wrong("scripts", "The page names no scripts: start the field with scripts/run, or with -js and their "
                                  "addresses.")
        for script in scripts:
            try:
                fetch(script)
            except (OSError, ValueError) as error:
                self.wrong("scripts", "The page's script %s does not come (%s): start the field with scripts/run, which "
                                      "serves it." % (script, error))
            else:
                self.right("scripts", "%s is served" % script)

    def check_files(self) -> None:
        found = [name for name in ("turtle.py", "kelmora.py") if os.path.exists(name)]
        if found:
            self.wrong("files", "Here is a file named %s: Python finds it instead of the library. Give it another name."
                       % found[0])
        else:
            self.right("files", "no file here is named turtle.py or kelmora.py")

    def run(self) -> int:
        self.check_files()
        if self.check_address():
            connection = self.check_port()
            if connection is not None:
                turtle = self.check_places(connection)
                self.check_mode()
                if turtle is not None:
                    self.check_clock(turtle)
                    leave(turtle)
            page = self.check_page()
            if page:
                self.check_scripts(page)
        print("All is well." if not self.trouble else "%d to look at." % self.trouble)
        return 1 if self.trouble else 0


def machine(host: str) -> str:
    """The host as a field that is private knows it."""
    return "127.0.0.1" if host == "localhost" else host


def fetch(url: str) -> bytes:
    """The first 64 KiB of what is there. No proxy is asked: a field is near."""
    opener = urllib.request.build_opener(urllib.request.ProxyHandler({}))
    with opener.open(url, timeout=TIMEOUT) as answer:
        return answer.read(65536)


def main() -> int:
    return Doctor().run()
