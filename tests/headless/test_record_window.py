"""kelmora-record writes the same format from a running field's web addresses. A field without a window has the same."""
import http.server
import os
import signal
import subprocess
import sys
import tempfile
import threading
import time

import harness
from harness import HANG, GameTest, lines_of, members_of, replay

RECORD = os.path.join(os.path.dirname(os.path.abspath(__file__)), "..", "..", "contest", "kelmora-record")
ROOT = os.path.join(os.path.dirname(os.path.abspath(__file__)), "..", "..")
WINDOW = os.environ.get("KELMORA", os.path.join(harness.TREE, "kelmora"))


def open_bytes(path):
    with open(path, "rb") as file:
        return file.read()


def is_listening(port):
    return bool(subprocess.run(["ss", "-Htln", "sport = :%d" % port], capture_output=True, text=True, check=True).stdout)


class FromTheWeb(GameTest):
    def test_it_tells_what_browsers_are_told(self):
        game = self.game("--pace", "real", "--coins", 7, "-s", 3, viewer=True)
        path = os.path.join(game.folder.name, "window.gz")
        with game.join() as program:
            program.ask("c")
            program.ask("n " + 'An"n'.encode().hex())
            recorder = subprocess.Popen([sys.executable, RECORD, "--url", "http://127.0.0.1:%d" % game.viewer_port, path])
            try:
                while recorder.poll() is None and not (os.path.exists(path) and os.path.getsize(path)):
                    program.ask("f 0")
                for _ in range(60):
                    program.ask("f 2")
                clock = program.clock()
                while program.clock() < clock + 400:  # the last changes have been fetched
                    pass
            finally:
                recorder.send_signal(signal.SIGINT)
            self.assertEqual(recorder.wait(timeout=HANG), 0)
        with open(path, "rb") as file:
            data = file.read()
        lines = lines_of(data)
        self.assertEqual((lines[0]["kelmora_record"], len(lines[0]["walls"])), (1, 4))
        full = lines[-1]["full"]
        [slot, turtle], = full["turtles"]
        self.assertEqual((slot, turtle["name"], turtle["kind"], turtle["y"]), (0, 'An"n', "turtle", 0))
        self.assertEqual(turtle["x"], 120)
        self.assertEqual(len(full["coins"]), 7)
        self.assertGreaterEqual(len(members_of(data)), 2)  # and one more every eight seconds
        # The sum of the changes equals the last full state.
        place = [0.0, 0.0]
        for line in lines[2:-1]:
            for told in [told for number, told in line.get("new", []) if number == 0]:
                place = [told["x"], told["y"]]
            for _, dx, dy, _ in line.get("m", []):
                place = [place[0] + dx / 4, place[1] + dy / 4]
        self.assertAlmostEqual(place[0], 120, delta=0.25)
        self.assertIn("pace window", replay(path).stdout)
        done = replay("--verify", path)
        self.assertEqual(done.returncode, 1)
        self.assertIn("no commands", done.stdout)

    def test_the_window_is_recorded_the_same_way(self):
        if "libasan" in subprocess.run(["ldd", WINDOW], capture_output=True, text=True, timeout=HANG, check=True).stdout:
            self.skipTest("the recorder sees no difference, and the window takes long to start")
        with tempfile.TemporaryDirectory() as folder:
            window = subprocess.Popen([os.path.join(ROOT, "scripts", "with-display"), WINDOW], stdout=subprocess.DEVNULL,
                                      stderr=subprocess.DEVNULL, env=dict(os.environ, LIBGL_ALWAYS_SOFTWARE="1", HOME=folder))
            try:
                end = time.monotonic() + HANG
                while not all(is_listening(port) for port in (2222, 2280)):
                    self.assertIsNone(window.poll())
                    self.assertLess(time.monotonic(), end)
                    time.sleep(0.02)
                path = os.path.join(folder, "window.gz")
                with harness.Program(2222) as program:
                    program.ask("n " + b"Ann".hex())
                    program.ask("t e")
                    program.ask("j -100 50")
                    recorder = subprocess.Popen([sys.executable, RECORD, "--seconds", "3", path])
                    while recorder.poll() is None:
                        program.ask("f 0.25")
                    x, y = map(float, program.ask("q p").split()[:2])
                self.assertEqual(recorder.returncode, 0)
            finally:
                window.terminate()
                window.wait(timeout=HANG)
            lines = lines_of(open_bytes(path))
            moves = sum(len(line.get("m", [])) for line in lines)
            [_, turtle], = lines[-1]["full"]["turtles"]
            self.assertEqual((turtle["name"], turtle["y"]), ("Ann", 50))
            self.assertTrue(-100 < turtle["x"] <= x and y == 50, turtle)
            self.assertGreater(moves, 5)
            self.assertEqual(replay(path).returncode, 0)

    def test_answers_of_any_kind_make_a_record_that_can_be_read(self):
        turtle = ('{"tid":%s,"time":%s,"type":1,"name":"%s","team":0,"x":%s,"y":nan,"head":inf,"ttl":0,"bx":1,"by":1,"bttf":0,"score":%s,'
                  '"ncoin":0,"alive":true,"firing":true,')
        answers = {
            "/wall": ["[" * 200000, '[{"x1":%s,"y1":[],"x2":"a","y2":null},5]' % ("9" * 400), "\xff\0", "[" + "{}," * 5000 + "{}]"],
            "/coin": ["{", '[{"x":{},"y":1e999}]', "[[]]", "[" + "{}," * 5000 + "{}]"],
            "/turtle": [turtle % (0, 4, 'a"b\\\\\n', "1e999", 5), turtle % (29, "9" * 15, "x" * 900, "-" * 300, -5), turtle % (30, 8, "", "0", 0),
                        turtle % (0, "9" * 5000, "", "0", "9" * 5000), '"tid":1,"time":1,"type":1,"name":"' * 30000, ""]}
        asked = dict.fromkeys(answers, 0)

        class Hostile(http.server.BaseHTTPRequestHandler):
            protocol_version = "HTTP/1.1"

            def do_GET(self):
                kinds = answers[self.path]
                asked[self.path] += 1
                body = kinds[asked[self.path] % len(kinds)].encode("latin-1")
                self.send_response(200)
                self.send_header("Content-Length", str(len(body)))
                self.end_headers()
                self.wfile.write(body)

            def log_message(self, *_):
                pass
        with http.server.ThreadingHTTPServer(("127.0.0.1", 0), Hostile) as server, tempfile.TemporaryDirectory() as folder:
            server.handle_error = lambda *_: None
            threading.Thread(target=server.serve_forever, daemon=True).start()
            path = os.path.join(folder, "hostile.gz")
            for _ in range(4):
                recorder = subprocess.Popen([sys.executable, RECORD, "--url", "http://127.0.0.1:%d" % server.server_port, path],
                                            stderr=subprocess.PIPE, text=True)
                before = asked["/turtle"]
                while recorder.poll() is None and asked["/turtle"] < before + 12:
                    time.sleep(0.01)
                recorder.send_signal(signal.SIGTERM)
                said = recorder.communicate(timeout=HANG)[1]
                self.assertEqual((recorder.returncode, said), (0, ""))
                done = replay(path)
                self.assertEqual(done.returncode, 0, done.stderr)
            server.shutdown()

    def test_an_answer_without_an_end_is_none(self):
        class Endless(http.server.BaseHTTPRequestHandler):
            def do_GET(self):
                self.send_response(200)
                self.end_headers()
                try:
                    while True:
                        self.wfile.write(b" " * 65536)
                except OSError:
                    pass

            def log_message(self, *_):
                pass
        with http.server.ThreadingHTTPServer(("127.0.0.1", 0), Endless) as server:
            server.handle_error = lambda *_: None
            threading.Thread(target=server.serve_forever, daemon=True).start()
            done = subprocess.run([sys.executable, RECORD, "--url", "http://127.0.0.1:%d" % server.server_port, "/dev/null"],
                                  capture_output=True, text=True, timeout=HANG, check=False)
            self.assertEqual((done.returncode, done.stderr.count("\n")), (1, 1), done.stderr)
            server.shutdown()

    def test_a_wrong_address_is_one_line_and_exit_code_2(self):
        for url in ("localhost:2280", "http://localhost:99999", "http://", "https://localhost", "http://[::"):
            done = subprocess.run([sys.executable, RECORD, "--url", url, "/dev/null"], capture_output=True, text=True, timeout=HANG,
                                  check=False)
            self.assertEqual((done.returncode, done.stderr.count("\n")), (2, 1), done.stderr)

    def test_a_field_that_does_not_answer_is_one_line(self):
        done = subprocess.run([sys.executable, RECORD, "--url", "http://127.0.0.1:9", "/dev/null"], capture_output=True, text=True,
                              timeout=HANG, check=False)
        self.assertEqual((done.returncode, done.stderr.count("\n")), (1, 1))


if __name__ == "__main__":
    harness.main()
