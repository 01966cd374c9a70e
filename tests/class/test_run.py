"""scripts/run --class: what it starts, what it says, and that it ends all of it.

The script builds in build/release; it is up to date here. The pages need not be there.
"""
import fcntl
import os
import pty
import re
import signal
import socket
import subprocess
import tempfile
import termios
import unittest
import urllib.request

from classroom import LAN, Browser, add_lan_address, patience, wait_until
from harness import CLIENT_PORT, VIEWER_PORT, is_listening

RUN = os.path.join(os.path.dirname(os.path.abspath(__file__)), "..", "..", "scripts", "run")
CLASS_PORT = 2288


def processes():
    """Command lines by process id of what runs in this network namespace."""
    found, here = {}, os.readlink("/proc/self/ns/net")
    for number in filter(str.isdigit, os.listdir("/proc")):
        try:
            if os.readlink("/proc/%s/ns/net" % number) == here:
                with open("/proc/%s/cmdline" % number, "rb") as line:
                    found[int(number)] = line.read().replace(b"\0", b" ").decode("latin-1")
        except OSError:  # it has ended meanwhile
            continue
    return {number: line for number, line in found.items() if line}


class Script:
    """The script, in a session of its own, as in a terminal; with `terminal` on one."""

    def __init__(self, *options, terminal=False):
        add_lan_address()
        self.before = set(processes())
        self.scratch = tempfile.TemporaryDirectory(prefix="kelmora-run-")
        environment = {name: value for name, value in os.environ.items() if name not in ("DISPLAY", "XAUTHORITY")}
        environment["TMPDIR"] = self.scratch.name
        self.output = tempfile.TemporaryFile("w+")
        self.terminal, end = pty.openpty() if terminal else (None, None)
        self.process = subprocess.Popen([RUN, "--class", *options], env=environment, stdin=end or subprocess.DEVNULL, start_new_session=True,
                                        stdout=self.output, stderr=self.output,
                                        preexec_fn=(lambda: fcntl.ioctl(0, termios.TIOCSCTTY, 0)) if terminal else None)
        if terminal:
            os.close(end)

    def __enter__(self):
        return self

    def __exit__(self, *unused):
        if self.process.poll() is None:
            self.process.send_signal(signal.SIGTERM)
        self.process.wait(timeout=patience(60))
        self.close_terminal()
        self.output.close()
        self.scratch.cleanup()

    def close_terminal(self):
        if self.terminal is not None:
            os.close(self.terminal)
        self.terminal = None

    def starts(self):
        wait_until(lambda: self.find(r"^Board: http://localhost:\d+/board$"), 400, self.said)

    def left(self):
        """Processes and files that it has left behind."""
        return [line for number, line in processes().items() if number not in self.before], os.listdir(self.scratch.name)

    def ends(self, code):
        """It ends with this code, and nothing of it is left."""
        if self.process.wait(timeout=patience(400)) != code:
            raise AssertionError("it ended with %d: %s" % (self.process.returncode, self.said()))
        wait_until(lambda: self.left() == ([], []), 20, lambda: "nothing to be left: %r" % (self.left(),))

    def said(self):
        self.output.seek(0)
        return self.output.read()

    def find(self, pattern):
        found = re.search(pattern, self.said(), re.M)
        if not found and self.process.poll() is not None:
            raise AssertionError("the script ended with %d: %s" % (self.process.returncode, self.said()))
        return found


class RunClass(unittest.TestCase):
    def test_field_and_class_start_and_end_together(self):
        with Script("--code", "my code", "--address", LAN) as script:
            wait_until(lambda: script.find(r"^Board: http://localhost:2288/board$"), 400, script.said)
            self.assertTrue(script.find(r"^Class code: MYCODE$"))
            self.assertTrue(script.find(r"^Class address: http://%s:2288/$" % re.escape(LAN)))
            child = Browser(CLASS_PORT)
            self.addCleanup(child.close)
            joined = child.post("/api/join", {"code": "mycode", "name": "Ann"})
            self.assertEqual(joined.status, 200)
            child.token = joined.json["token"]
            run = child.post("/api/run/begin", {}).json["run"]
            self.assertIn("OK @", child.post("/api/run/lines?run=%d" % run, "p d;f 50").text)
            # The field admits this machine only; the class server shows its painting.
            with self.assertRaises(OSError):
                urllib.request.urlopen("http://%s:%d/turtle" % (LAN, VIEWER_PORT), timeout=patience(20)).read()
            picture = wait_until(lambda: (lambda a: a if a.status == 200 else None)(child.get("/field/0/canvas.png")), 60, "the painting")
            self.assertEqual(picture.body[:4], b"\x89PNG")
            script.process.send_signal(signal.SIGINT)
            script.ends(130)
            for port in (CLIENT_PORT, VIEWER_PORT, CLASS_PORT):
                wait_until(lambda: not is_listening(port), 20, "port %d to be free" % port)

    def says_only(self, code, line, *options):
        """It ends with this code and one line, and starts nothing."""
        with Script(*options) as script:
            script.ends(code)
            said = [each for each in script.said().splitlines() if not each.startswith("Building")]
            self.assertEqual(said, [line])

    def test_a_wrong_option_is_told_in_one_clear_line(self):
        self.says_only(2, "kelmora-class: unknown option: --prot", "--prot", "1")
        self.says_only(2, "kelmora-class: --turn-minutes x: turns have 0 to 1440 minutes (0: no turns)", "--turn-minutes", "x")

    def test_what_only_the_running_server_finds_ends_everything(self):
        with Script("--listen", "10.99.98.97") as script:
            script.ends(2)
            self.assertIn("kelmora-class: --listen 10.99.98.97: this machine has no such address\n", script.said())

    def test_a_port_that_is_taken_is_told_in_one_clear_line(self):
        for port, *options in ((CLASS_PORT,), (3288, "--port", "3288"), (CLIENT_PORT, "--port=3288"), (VIEWER_PORT,)):
            with self.subTest(port=port), socket.create_server(("127.0.0.1", port)):
                self.says_only(3, "Port %d is taken already: is another field or class running?" % port, *options)

    def test_ctrl_c_ends_everything(self):
        for _ in range(3):  # all that it started may end at the same moment
            with Script(terminal=True) as script:
                script.starts()
                os.write(script.terminal, b"\x03")
                script.ends(130)

    def test_a_terminal_that_is_closed_ends_everything(self):
        with Script(terminal=True) as script:
            script.starts()
            script.close_terminal()
            script.ends(129)

    def test_a_signal_to_all_at_once_ends_everything(self):
        with Script() as script:
            script.starts()
            os.killpg(script.process.pid, signal.SIGTERM)
            script.ends(143)

    def test_the_field_goes_on_without_a_class_server(self):
        with Script() as script:
            script.starts()
            os.kill(next(number for number, line in processes().items() if "/kelmora-class " in line.split("--", 1)[0]), signal.SIGKILL)
            wait_until(lambda: script.find(r"^The class server has ended with 137; the field goes on"), 20, script.said)
            self.assertTrue(is_listening(CLIENT_PORT))
            script.process.send_signal(signal.SIGINT)
            script.ends(130)

    def test_help_starts_nothing(self):
        with Script("--help") as script:
            script.ends(0)
            self.assertIn("usage: kelmora-class", script.said())


if __name__ == "__main__":
    unittest.main()
