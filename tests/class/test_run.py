"""scripts/run --class: what it starts, what it says, and that it ends all of it.

The script builds in build/release; it is up to date here. The pages need not be there.
"""
import os
import re
import signal
import subprocess
import tempfile
import unittest
import urllib.request

from classroom import LAN, Browser, add_lan_address, patience, wait_until
from harness import CLIENT_PORT, VIEWER_PORT, is_listening

RUN = os.path.join(os.path.dirname(os.path.abspath(__file__)), "..", "..", "scripts", "run")
CLASS_PORT = 2288


class Script:
    def __init__(self, *options):
        add_lan_address()
        self.output = tempfile.TemporaryFile("w+")
        environment = {name: value for name, value in os.environ.items() if name != "DISPLAY"}
        self.process = subprocess.Popen([RUN, "--class", *options], env=environment, stdin=subprocess.DEVNULL,
                                        stdout=self.output, stderr=self.output)

    def __enter__(self):
        return self

    def __exit__(self, *unused):
        if self.process.poll() is None:
            self.process.send_signal(signal.SIGTERM)
        self.process.wait(timeout=patience(60))
        self.output.close()

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
            self.assertEqual(script.process.wait(timeout=patience(60)), 130)
            for port in (CLIENT_PORT, VIEWER_PORT, CLASS_PORT):
                wait_until(lambda: not is_listening(port), 20, "port %d to be free" % port)

    def test_a_wrong_option_ends_everything_with_one_clear_line(self):
        with Script("--prot", "1") as script:
            self.assertEqual(script.process.wait(timeout=patience(400)), 2, script.said())
            self.assertTrue(re.search(r"^kelmora-class: unknown option: --prot$", script.said(), re.M), script.said())
            self.assertFalse(is_listening(CLIENT_PORT))

    def test_help_starts_nothing(self):
        with Script("--help") as script:
            self.assertEqual(script.process.wait(timeout=patience(400)), 0, script.said())
            self.assertIn("usage: kelmora-class", script.said())


if __name__ == "__main__":
    unittest.main()
