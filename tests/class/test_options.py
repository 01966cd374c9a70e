"""The class server's command line: what is wrong is told in one line, with the exit code that says of which kind it is."""
import contextlib
import os
import socket
import subprocess
import tempfile
import unittest

from classroom import SERVER, Classroom, patience, wait_until

TAKEN, WRONG = 3, 2


def run(*options, before=()):
    return subprocess.run([*before, SERVER, "--no-qr", *options], capture_output=True, text=True, timeout=patience(120), stdin=subprocess.DEVNULL, check=False)


class Options(unittest.TestCase):
    def setUp(self):
        self.folder = self.enterContext(tempfile.TemporaryDirectory())

    def check(self, code, line, *options, **how):
        """It ends with this code, without a word on standard output, and with one line that begins so."""
        done = run("--port", "0", *options, **how)
        with self.subTest(options=options):
            self.assertEqual((done.returncode, done.stdout), (code, ""), done.stderr)
            self.assertEqual(done.stderr.count("\n"), 1, done.stderr)
            self.assertTrue(done.stderr.startswith("kelmora-class: " + line), done.stderr)

    def test_a_wrong_value_is_one_line_and_exit_code_2(self):
        file = os.path.join(self.folder, "file")
        with open(file, "w", encoding="utf-8"):
            pass
        for line, *options in (
                ("unknown option: --colour", "--colour"), ("unknown argument: more", "more"), ("option without its value: --code", "--code"),
                ("--port 65536: ", "--port", "65536"), ("--port '': ", "--port", ""),
                ("--listen foo: ", "--listen", "foo"), ("--listen ::: ", "--listen", "::"), ("--listen '': ", "--listen", ""),
                ("--listen 10.99.98.97: this machine has no such address", "--listen", "10.99.98.97"),
                ("--fields '': ", "--fields", ""), ("--fields a b:2222: ", "--fields", "a b:2222"), ("--fields :0: ", "--fields", ":0"),
                ("--fields: no machine has the name nobody.invalid", "--fields", "nobody.invalid:2222"),
                ("--fields: two are the same, 127.0.0.1:2222", "--fields", ":2222,:2223,127.0.0.1", "--viewer", "off"),
                ("--viewer '': ", "--viewer", ""), ("--viewer: no machine has the name nobody.invalid", "--viewer", "nobody.invalid"),
                ("--viewer: more addresses", "--viewer", "off,off"), ("--canvas '': ", "--canvas", ""), ("--canvas: more folders", "--canvas", "off,off"),
                ("--canvas %s: not a folder" % file, "--canvas", file), ("--turn-minutes x: ", "--turn-minutes", "x"), ("--code a: ", "--code", "a"),
                ("--root '': ", "--root", ""), ("--root /nowhere/at/all: no such folder", "--root", "/nowhere/at/all"),
                ("--root %s: no such folder" % file, "--root", file), ("--root %s: holds no pages" % self.folder, "--root", self.folder),
                ("--address a:80: ", "--address", "a:80"), ("--name \\x1b[2J: ", "--name", "\x1b[2J")):
            self.check(WRONG, line, *options)
        self.check(WRONG, "--port 80: only the administrator", "--port", "80", before=("setpriv", "--bounding-set", "-net_bind_service"))

    def test_the_help_is_no_error(self):
        for option in ("-h", "--help"):
            done = run(option)
            self.assertEqual((done.returncode, done.stderr), (0, ""))
            self.assertIn("--turn-minutes", done.stdout)

    def test_a_port_that_is_taken_is_exit_code_3(self):
        with contextlib.closing(socket.create_server(("127.0.0.1", 0))) as other:
            port = other.getsockname()[1]
            for address in ("0.0.0.0", "127.0.0.1"):
                self.check(TAKEN, "port %d is taken" % port, "--port", str(port), "--listen", address)

    def test_a_folder_that_is_not_there_yet_is_told_and_costs_nothing(self):
        canvas = os.path.join(self.folder, "later")
        with Classroom("--canvas", canvas, "--viewer", "off", "--listen", "127.0.0.1") as room:
            wait_until(lambda: room.line("kelmora-class: --canvas %s: no such folder" % canvas), 20, "the line about it")
            self.assertEqual(room.browser(host="localhost").get("/api/hello").status, 200)


if __name__ == "__main__":
    unittest.main()
