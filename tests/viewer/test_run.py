"""scripts/run: what it starts, what it prints, and that it ends all of it. Run inside scripts/in-namespace.

KELMORA names the program of build/release, which the script runs; program and scripts of the page are up to date here.
"""
import os
import re
import signal
import socket
import subprocess
import sys
import tempfile
import unittest
import urllib.request

HERE = os.path.dirname(os.path.abspath(__file__))
sys.path.insert(0, os.path.join(HERE, "..", "wire"))
import harness  # noqa: E402
from harness import CLIENT_PORT, VIEWER_PORT, is_listening, patience, wait_until  # noqa: E402

ROOT = os.path.join(HERE, "..", "..")
SCRIPT_PORT = 2281
READY = "Ctrl-C here"


def listening_addresses(port):
    """The addresses on which a port has listeners."""
    return [found.local.rsplit(":", 1)[0] for found in harness.tcp_sockets("sport = :%d" % port, listening=True)]


class Run:
    """The script from its start until the field is up, and its end by a signal."""

    def __init__(self, *options):
        self.output = tempfile.TemporaryFile("w+")
        environment = {name: value for name, value in os.environ.items() if name != "DISPLAY"}
        self.process = subprocess.Popen([os.path.join(ROOT, "scripts", "run"), *options], env=environment,
                                        stdin=subprocess.DEVNULL, stdout=self.output, stderr=self.output)

    def __enter__(self):
        try:
            wait_until(self.is_ready, 300, lambda: "the field to be up: " + self.said())
        except BaseException:
            self.end()
            raise
        return self

    def __exit__(self, *unused):
        self.end()

    def is_ready(self):
        if self.process.poll() is not None:
            raise AssertionError("the script ended with %d: %s" % (self.process.returncode, self.said()))
        return READY in self.said()

    def said(self):
        self.output.seek(0)
        return self.output.read()

    def end(self):
        if self.process.poll() is None:
            self.process.send_signal(signal.SIGTERM)
        self.process.wait(timeout=patience(60))
        self.output.close()
        return self.process.returncode


def scripts_of_page():
    with urllib.request.urlopen("http://127.0.0.1:%d/" % VIEWER_PORT, timeout=patience(harness.HANG)) as answer:
        return re.findall(r'src="([^"]*)"', answer.read().decode())


class Script(unittest.TestCase):
    def end(self, run):
        self.assertEqual(run.end(), 128 + signal.SIGTERM)
        for port in (CLIENT_PORT, VIEWER_PORT, SCRIPT_PORT):
            self.assertFalse(is_listening(port), port)

    def test_scripts_are_served_to_this_machine_alone(self):
        with Run() as run:
            self.assertIn("http://localhost:2280/", run.said())
            self.assertNotIn("public mode", run.said())
            wait_until(lambda: is_listening(SCRIPT_PORT), 20, "the script server")
            self.assertEqual(listening_addresses(SCRIPT_PORT), ["127.0.0.1"])
            for address in scripts_of_page():
                with urllib.request.urlopen(address, timeout=patience(harness.HANG)) as answer:
                    self.assertGreater(len(answer.read()), 1000)
            self.end(run)

    def test_share_serves_the_scripts_to_everybody_and_names_this_machine(self):
        with Run("--share") as run:
            self.assertRegex(run.said(), r"press @ in the window \(public mode\).*" + re.escape(socket.gethostname()))
            wait_until(lambda: is_listening(SCRIPT_PORT), 20, "the script server")
            self.assertEqual(listening_addresses(SCRIPT_PORT), ["0.0.0.0"])
            names = ["http://%s:2281/kelmora/script/%s" % (socket.gethostname(), name)
                     for name in ("kelmora.js", "three.min.js")]
            self.assertEqual(scripts_of_page(), names)
            for name in names:  # from another address of this machine
                path = name.split("2281")[1]
                with urllib.request.urlopen("http://127.0.0.2:2281" + path, timeout=patience(harness.HANG)) as answer:
                    self.assertGreater(len(answer.read()), 1000)
            self.end(run)

    def test_no_viewer_leaves_the_field_alone(self):
        with Run("--no-viewer") as run:
            self.assertFalse(is_listening(SCRIPT_PORT))
            with harness.Client() as turtle:
                turtle.do(".")
            self.end(run)


if __name__ == "__main__":
    harness.main()
