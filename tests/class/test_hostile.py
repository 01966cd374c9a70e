"""Hostile students, browsers and fields: nobody else is slowed down, nothing overruns, nothing hangs.

Time limits here are lower bounds on what must be slowed down, or only bound a hang.
"""
import contextlib
import json
import random
import re
import socket
import threading
import unittest

from classroom import CODE, LAN, Classroom, in_thread, instrumented, patience, raw_connection, time, wait_until


class FakeField:
    """A field that answers as `script(connection, line)` does, by default with OK; but nobody until `awake` is set."""

    def __init__(self, script=None, on_accept=None):
        self.script = script or (lambda connection, line: connection.sendall(b"OK @ 1 0\n"))
        self.on_accept = on_accept or (lambda connection: None)
        self.listener = socket.create_server(("127.0.0.1", 0), backlog=100)
        self.port = self.listener.getsockname()[1]
        self.lines, self.connections = [], []
        self.awake = threading.Event()
        self.awake.set()
        threading.Thread(target=self.accept, daemon=True).start()

    def accept(self):
        while True:
            try:
                connection, _ = self.listener.accept()
            except OSError:
                return
            self.connections.append(connection)
            threading.Thread(target=self.serve, args=(connection,), daemon=True).start()

    def serve(self, connection):
        with contextlib.suppress(OSError):
            self.on_accept(connection)
            with connection.makefile("rb") as lines:
                for raw in lines:
                    line = raw.decode("latin-1").rstrip("\n")
                    self.lines.append(line)
                    self.awake.wait(patience(60))
                    self.script(connection, line)

    def close(self):
        self.awake.set()
        with contextlib.suppress(OSError):
            self.listener.shutdown(socket.SHUT_RDWR)  # wakes the thread in accept
        self.listener.close()
        for connection in self.connections:
            connection.close()


class Hostile(unittest.TestCase):
    def classroom(self, field, *options):
        return self.enterContext(Classroom("--fields", "127.0.0.1:%d" % field.port, "--viewer", "off", *options))

    def fake_field(self, *scripts, **more):
        return self.enterContext(contextlib.closing(FakeField(*scripts, **more)))

    def assert_small(self, room, mebibytes):
        if not instrumented():
            self.assertLess(room.resident_kib(), mebibytes * 1024)

    def assert_works(self, room, student=None, count=30):
        """An honest student is still served."""
        student = student or room.student("Honest")
        student.begin()
        for _ in range(count):
            student.do("f 1")

    def test_half_requests_hold_nobody_up_and_are_ended(self):
        room = self.classroom(self.fake_field())
        halves = [raw_connection(room) for _ in range(150)]
        for k, sock in enumerate(halves):
            self.addCleanup(sock.close)
            sock.sendall((b"POST /api/run/lines?run=1 HTTP/1.1\r\nHost: %s\r\nContent-Length: 50\r\n\r\nf 1" % LAN.encode())[:20 + k])
        began = time.monotonic()
        self.assert_works(room)
        for sock in halves:
            sock.settimeout(patience(60))
            with contextlib.suppress(ConnectionError):
                while sock.recv(4096):
                    pass
        self.assertGreater(time.monotonic() - began, 5)  # an honest slow one has its ten seconds

    def test_bytes_one_by_one_do_not_lengthen_the_limit(self):
        room = self.classroom(self.fake_field())
        sock = raw_connection(room)
        self.addCleanup(sock.close)
        sock.sendall(b"GET /api/hello HTTP/1.1\r\nHost: x\r\nX: ")
        sock.settimeout(0.2)
        ended = False
        end = time.monotonic() + patience(60)
        while not ended and time.monotonic() < end:
            try:
                sock.sendall(b"a")
                ended = not sock.recv(100)
            except socket.timeout:
                pass
            except ConnectionError:
                ended = True
        self.assertTrue(ended)

    def test_a_flood_on_one_connection_is_slowed_down(self):
        room = self.classroom(self.fake_field())
        honest = room.student("Honest")
        sock = raw_connection(room)
        self.addCleanup(sock.close)
        count = 2000
        request = b"GET /api/hello HTTP/1.1\r\nHost: %s\r\n\r\n" % LAN.encode()
        began = time.monotonic()
        sender = in_thread(lambda: sock.sendall(request * count))

        def read_answers():
            seen, rest = 0, b""
            while seen < count:
                piece = sock.recv(65536)
                if not piece:
                    return seen
                rest += piece
                seen += rest.count(b"HTTP/1.1 200 OK")
                rest = rest[-14:]
            return seen
        reader = in_thread(read_answers)
        self.assert_works(room, honest)
        self.assertEqual(reader.result(120), count)
        sender.result()
        self.assertGreater(time.monotonic() - began, (count - 400) / 400 * 0.9)  # 400 at once, then 400 a second

    def test_a_flood_of_lines_is_slowed_down(self):
        room = self.classroom(self.fake_field())
        ann, honest = room.student("Ann"), room.student("Honest")
        ann.begin()
        began = time.monotonic()
        flood = in_thread(lambda: [ann.lines("q p;" * 256).status for _ in range(32)])
        self.assert_works(room, honest)
        self.assertEqual(set(flood.result(120)), {200})
        self.assertGreater(time.monotonic() - began, (32 * 256 - 2000) / 2000 * 0.9)

    def test_a_flood_in_a_pause_holds_one_request_a_student(self):
        room = self.classroom(self.fake_field())
        ann, honest = room.student("Ann"), room.student("Honest")
        ann.begin(practice=True)
        honest.begin()
        room.teacher().post("/api/desk/pause", {"paused": True})
        path = "/api/run/stop?run=%d" % ann.run
        workers = [ann.worker() for _ in range(50)]
        workers[0].send("GET", path)
        wait_until(lambda: next(s for s in room.desk()["sessions"] if s["name"] == "Ann")["held"], 20, "the program to be held")
        for before, worker in zip(workers, workers[1:]):
            worker.send("GET", path)
            self.assertEqual(before.receive().status, 202)
        # Who asks again at once without end is slowed down like any other.
        began = time.monotonic()
        for _ in range(1000):
            self.assertEqual(ann.get(path + "&wait=0").status, 202)
        self.assertGreater(time.monotonic() - began, (1000 - 400) / 400 * 0.9)
        # Who is held and hangs up costs nothing but that one request.
        workers[-1].close()
        room.teacher().post("/api/desk/pause", {"paused": False})
        self.assertEqual(ann.get(path).text, "0")
        honest.do("f 10")

    def test_one_address_cannot_take_all_connections(self):
        room = self.classroom(self.fake_field())
        first = room.browser(host="localhost")
        self.assertEqual(first.get("/api/hello").status, 200)
        mine = [raw_connection(room) for _ in range(300)]
        for sock in mine:
            self.addCleanup(sock.close)

        def ended():
            count = 0
            for sock in mine:
                sock.setblocking(False)
                with contextlib.suppress(BlockingIOError, ConnectionError):
                    count += sock.recv(1, socket.MSG_PEEK) == b""
            return count
        wait_until(lambda: ended() == 300 - 256, 30, "all but 256 to be closed")
        self.assertEqual(room.browser(host="localhost").get("/api/hello").status, 200)

    def test_three_hundred_sessions(self):
        room = self.classroom(self.fake_field())
        people = []
        browsers = [room.browser() for _ in range(3)]
        for k in range(300):
            browser = browsers[k % 3]
            joined = browser.post("/api/join", {"code": CODE, "name": "Child %d" % k})
            self.assertEqual(joined.status, 200)
            people.append(joined.json)
        self.assertEqual(browser.post("/api/join", {"code": CODE, "name": "Too many"}).json["error"], "full")
        self.assertEqual(len(room.desk()["sessions"]), 300)
        self.assertEqual(people[-1]["queue"]["place"], 290)
        self.assertGreater(people[-1]["queue"]["wait_s"], people[11]["queue"]["wait_s"])
        for k, someone in enumerate(people):
            browser = browsers[k % 3]
            browser.token = someone["token"]
            self.assertEqual(browser.post("/api/beat", {"doing": "idle", "said": "x" * 400}).status, 200)
            self.assertEqual(browser.ask("PUT", "/api/program", {"language": "python", "text": "x" * 60000}).status, 204)
        first = room.browser()
        first.token = people[0]["token"]
        run = first.post("/api/run/begin", {}).json["run"]
        self.assertEqual(first.post("/api/run/lines?run=%d" % run, "f 1").text, "OK @ 1 0\n")
        self.assertEqual(room.teacher().get("/api/desk/programs.zip").status, 200)
        self.assert_small(room, 150)

    def test_what_is_too_large_is_refused(self):
        room = self.classroom(self.fake_field())
        ann = room.student("Ann")
        ann.begin()
        self.assertEqual(ann.lines("x" * 16384).status, 200)
        self.assertEqual(ann.lines("x" * 16385).status, 413)
        ann = room.student("Bob")
        for head, body in ((b"Content-Length: 99999999999\r\n", b""), (b"Content-Length: 16385\r\n", b"y" * 16385),
                           (b"Transfer-Encoding: chunked\r\n", b"4000\r\n" + b"y" * 16384 + b"\r\n1\r\ny\r\n0\r\n\r\n"),
                           (b"X: " + b"y" * 9000 + b"\r\n", b"")):
            sock = raw_connection(room)
            self.addCleanup(sock.close)
            sock.sendall(b"POST /api/beat HTTP/1.1\r\nHost: %s\r\nKelmora: 1\r\n" % LAN.encode() + head + b"\r\n" + body)
            sock.settimeout(patience(60))
            answer = sock.recv(65536)
            self.assertIn(b" 413 ", answer.split(b"\r\n")[0], head[:40])
        self.assert_works(room, ann)

    def test_no_bytes_bring_the_server_down(self):
        room = self.classroom(self.fake_field())
        chance = random.Random(4)
        good = b"POST /api/join HTTP/1.1\r\nHost: %s\r\nKelmora: 1\r\nContent-Length: 27\r\n\r\n{\"code\":\"WRONG\",\"name\":\"A\"}" % LAN.encode()
        for k in range(150):
            data = bytearray(good)
            for _ in range(chance.randrange(1, 8)):
                data[chance.randrange(len(data))] = chance.randrange(256)
            if k % 3 == 0:
                data = bytearray(chance.randbytes(chance.randrange(300)))
            with raw_connection(room) as sock, contextlib.suppress(ConnectionError):
                sock.sendall(data)
                sock.shutdown(socket.SHUT_WR)
                sock.settimeout(patience(60))
                while sock.recv(4096):
                    pass
        deep = room.browser(host="localhost")
        self.assertEqual(deep.post("/api/join", "[" * 16000).status, 400)
        self.assertEqual(deep.post("/api/join", '{"a":' * 3000).status, 400)
        for body in ('{"name":{"a":1}}', '{"name":["a"]}', json.dumps({str(k): k for k in range(33)}), "{} {}", "[]", "7", '"x"', "{"):
            self.assertEqual(deep.post("/api/join", body).status, 400, body)
        self.assert_works(room, room.student("Honest", host="localhost"))

    def test_a_reader_that_does_not_read(self):
        room = self.classroom(self.fake_field())
        with open(room.root + "/large.bin", "wb") as file:
            file.write(bytes(8 << 20))
        for _ in range(20):
            sock = raw_connection(room)
            self.addCleanup(sock.close)
            sock.sendall(b"GET /large.bin HTTP/1.1\r\nHost: %s\r\n\r\n" % LAN.encode())
        self.assert_works(room)
        self.assert_small(room, 150)  # one copy of the file, not twenty

    def test_names_do_not_reach_the_terminal_as_they_are(self):
        room = self.classroom(self.fake_field())
        room.student("Zoë")
        line = wait_until(lambda: room.line("Zo"), 20, "the line")
        self.assertEqual(line, "Zo\\xc3\\xab has joined from " + LAN)

    def raw_statuses(self, room, raw, peer=LAN):
        """Status codes of the answers to raw bytes; the server must end the connection."""
        with socket.create_connection((peer, room.port), timeout=patience(60)) as sock:
            sock.sendall(raw)
            answers = b""
            with contextlib.suppress(ConnectionError):
                while piece := sock.recv(65536):
                    answers += piece
        return [int(status) for status in re.findall(rb"HTTP/1\.1 (\d\d\d) ", answers)]

    def test_unusual_requests_open_no_side_door(self):
        room = self.classroom(self.fake_field())
        here = b"%s:%d" % (LAN.encode(), room.port)
        desk = b"GET /api/desk/state HTTP/1.1"
        hello = b"GET /api/hello HTTP/1.1"
        join = b"POST /api/join HTTP/1.1"
        for first, headers, body, status, peer in (
                (hello, [b"Host: " + here], b"", 200, LAN),
                (hello, [], b"", 421, LAN),
                (hello, [b"Host: evil.example"], b"", 421, LAN),
                # This machine, but under two names.
                (desk, [b"Host: localhost"], b"", 200, "127.0.0.1"),
                (desk, [b"Host: localhost", b"Host: evil.example"], b"", 421, "127.0.0.1"),
                (desk, [b"Host: evil.example", b"Host: localhost"], b"", 421, "127.0.0.1"),
                (desk, [b"Host: localhost", b"Host: localhost"], b"", 421, "127.0.0.1"),
                # Who says that it is another one.
                (desk, [b"Host: localhost", b"X-Forwarded-For: 127.0.0.1", b"Forwarded: for=127.0.0.1"], b"", 403, LAN),
                (desk, [b"Host: localhost", b"Origin: null"], b"", 403, "127.0.0.1"),
                (desk, [b"Host: localhost", b"Origin:"], b"", 403, "127.0.0.1"),
                (desk, [b"Host: localhost", b"Origin: http://localhost", b"Origin: http://evil.example"], b"", 403, "127.0.0.1"),
                # The same page by other paths.
                (b"GET /desk.html HTTP/1.1", [b"Host: " + here], b"", 403, LAN),
                (b"GET /board.html.gz HTTP/1.1", [b"Host: " + here], b"", 403, LAN),
                (b"GET /%64esk HTTP/1.1", [b"Host: " + here], b"", 404, LAN),
                (b"GET //desk HTTP/1.1", [b"Host: " + here], b"", 404, LAN),
                (b"GET /v/../desk.html HTTP/1.1", [b"Host: " + here], b"", 404, LAN),
                (b"GET http://" + here + b"/api/hello HTTP/1.1", [b"Host: " + here], b"", 200, LAN),
                (b"GET http://localhost/api/desk/state HTTP/1.1", [b"Host: " + here], b"", 404, LAN),
                (b"GET http://evil.example/api/hello HTTP/1.1", [b"Host: " + here], b"", 404, LAN),
                # Where a body ends.
                (join, [b"Host: " + here, b"Kelmora: 1", b"Transfer-Encoding: chunked"], b"2\r\n{}\r\n0\r\n\r\n", 403, LAN),
                (join, [b"Host: " + here, b"Kelmora: 1", b"Transfer-Encoding: chunked", b"Content-Length: 2"], b"2\r\n{}\r\n0\r\n\r\n", 400, LAN),
                (join, [b"Host: " + here, b"Kelmora: 1", b"Transfer-Encoding: gzip"], b"{}", 400, LAN),
                (join, [b"Host: " + here, b"Kelmora: 1", b"Content-Length: 2", b"Content-Length: 3"], b"{}", 400, LAN),
                (join, [b"Host: " + here, b"Kelmora: 1", b"Content-Length: -2"], b"{}", 400, LAN),
                # Methods.
                (b"GET /api/join HTTP/1.1", [b"Host: " + here], b"", 405, LAN),
                (b"DELETE /api/program HTTP/1.1", [b"Host: " + here, b"Kelmora: 1"], b"", 405, LAN),
                (b"NONE /api/none HTTP/1.1", [b"Host: " + here, b"Kelmora: 1"], b"", 404, LAN),
                (b"TRACE / HTTP/1.1", [b"Host: " + here], b"", 405, LAN)):
            raw = b"\r\n".join([first, *headers, b"Connection: close", b"", body])
            self.assertEqual(self.raw_statuses(room, raw, peer), [status], raw)
        one = b"GET /api/hello HTTP/1.1\r\nHost: " + here
        self.assertEqual(self.raw_statuses(room, (one + b"\r\n\r\n") * 3 + one + b"\r\nConnection: close\r\n\r\n"), [200] * 4)
        self.assert_works(room)

    def test_values_of_a_wrong_kind_change_nothing(self):
        room = self.classroom(self.fake_field())
        ann, teacher = room.student("Ann"), room.teacher()
        program = {"language": "python", "title": "Mine", "text": "forward(1)"}
        self.assertEqual(ann.ask("PUT", "/api/program", program).status, 204)
        before = room.desk()
        for value in (True, 7, -1, 1.5, [], {}, "\0", ["x"], None):
            for key in ("language", "title", "text"):
                if not isinstance(value, str) or key == "language":
                    self.assertEqual(ann.ask("PUT", "/api/program", {**program, key: value}).json["error"], "bad", (key, value))
                    self.assertEqual(teacher.post("/api/desk/starter", {**program, key: value}).status, 400, (key, value))
            for path, key in (("remove", "id"), ("rename", "id"), ("pause", "paused"), ("stop", "id"), ("rule", "key"), ("code", "code"),
                              ("turns", "minutes"), ("start", "start"), ("field", "do")):
                if (path, value) in (("pause", True), ("turns", 1.5), ("turns", 7)):
                    continue
                self.assertIn(teacher.post("/api/desk/" + path, {key: value, "allowed": True}).status, (400, 404), (path, value))
        for body in (b'{"minutes":1e999}', b'{"minutes":NaN}', b'{"minutes":-0.1}', b'{"minutes":1441}', b"\0", b'{"minutes":"\xff"}'):
            self.assertEqual(teacher.ask("POST", "/api/desk/turns", body).status, 400, body)
        after = room.desk()
        for seen in (before, after):
            seen["sessions"][0].pop("seen_s")
        self.assertEqual(before, after)
        self.assertEqual(ann.get("/api/program").json, program)

    def test_large_bodies_count_as_many_requests(self):
        room = self.classroom(self.fake_field())
        ann, honest = room.student("Ann"), room.student("Honest")
        text = "\n" * 65536  # 128 KiB as JSON: 17 requests
        began = time.monotonic()
        flood = in_thread(lambda: {ann.ask("PUT", "/api/program", {"text": text}).status for _ in range(60)})
        self.assert_works(room, honest)
        self.assertEqual(flood.result(120), {204})
        self.assertGreater(time.monotonic() - began, (60 * 17 - 400) / 400 * 0.9)

    # Requests for lines.

    def test_a_request_that_is_sent_again_is_carried_out_once(self):
        field = self.fake_field()
        room = self.classroom(field)
        ann = room.student("Ann")
        again = ann.worker()
        ann.begin()

        def ask(browser, number, lines):
            return browser.post("/api/run/lines?run=%d&n=%d" % (ann.run, number), lines)
        self.assertEqual(ask(ann, 1, "f 10;f 11").text, "OK @ 1 0\n" * 2)
        self.assertEqual(ask(again, 1, "f 10;f 11").text, "OK @ 1 0\n" * 2)
        self.assertEqual(field.lines.count("f 10"), 1)
        # The same while the field has not answered: the answer goes to the later one.
        field.awake.clear()
        first = in_thread(lambda: ask(ann, 2, "f 20"))
        wait_until(lambda: "f 20" in field.lines, 20, "the step to reach the field")
        second = in_thread(lambda: ask(again, 2, "f 20"))
        self.assertEqual(first.result().status, 202)
        field.awake.set()
        self.assertEqual(second.result().text, "OK @ 1 0\n")
        self.assertEqual(field.lines.count("f 20"), 1)
        self.assertEqual(ask(again, 1, "f 10").status, 409)  # late
        self.assertEqual(ask(ann, 3, "c a").status, 403)
        self.assertEqual(ask(ann, 3, "f 30").status, 200)  # nothing was carried out
        before = ann.run
        ann.begin()
        self.assertEqual(ask(ann, 1, "f 40").status, 200)
        self.assertEqual(ann.post("/api/run/lines?run=%d&n=4" % before, "f 50").json["reason"], "replaced")
        self.assertEqual([line for line in field.lines if line[0] == "f"], ["f 10", "f 11", "f 20", "f 30", "f 40"])

    def test_a_rule_holds_for_lines_that_wait(self):
        field = self.fake_field()
        room = self.classroom(field)
        ann, teacher = room.student("Ann"), room.teacher()
        ann.begin()
        teacher.post("/api/desk/pause", {"paused": True})
        firing = in_thread(lambda: ann.lines("f 10;x"))
        wait_until(lambda: room.desk()["sessions"][0]["held"], 20, "the lines to be held")
        teacher.post("/api/desk/rule", {"key": "x", "allowed": False})
        teacher.post("/api/desk/pause", {"paused": False})
        self.assertEqual(firing.result().json["command"], "x")
        ann.do("f 1")
        self.assertNotIn("x", field.lines)
        self.assertNotIn("f 10", field.lines)

    # Fields that misbehave.

    def test_a_field_that_restarts_ends_the_runs_on_it(self):
        field = self.fake_field()
        room = self.classroom(field)
        ann = room.student("Ann")
        worker = ann.worker()
        ann.begin()
        field.connections[-1].shutdown(socket.SHUT_RDWR)  # between two commands
        wait_until(lambda: worker.get("/api/run/stop?run=%d" % ann.run).text == "2", 20, "the end of the run")
        self.assertEqual(ann.lines("f 10").json["reason"], "field")
        self.assertNotIn("f 10", field.lines)  # another turtle would have made this step
        self.assert_works(room, ann)

    def test_a_field_that_answers_too_much_or_too_little(self):
        for said in (b"OK @ 1 0\nOK @ 1 0\n", b"OK @ 1 0\nOK @", b"OK @ 1", b"\0\xff" * 600, b"\n\n\n"):
            def script(connection, line, said=said):
                connection.sendall(said if line[0] == "f" else b"OK @ 1 0\n")
                if said == b"OK @ 1" and line[0] == "f":
                    connection.shutdown(socket.SHUT_RDWR)
            room = self.classroom(self.fake_field(script))
            ann = room.student("Ann")
            ann.begin()
            self.assertEqual(ann.lines("f 1").status, 503, said)
            self.assertEqual(ann.lines("q p").json["reason"], "field", said)
            ann.begin()

    def test_a_field_that_is_down_gets_nobody_while_another_is_up(self):
        gone, good = FakeField(), self.fake_field()
        gone.close()
        room = self.enterContext(Classroom("--fields", "127.0.0.1:%d,127.0.0.1:%d" % (gone.port, good.port), "--viewer", "off,off"))
        people = [room.student("P%d" % k) for k in range(4)]
        wait_until(lambda: [p.me()["seat"]["field"] for p in people] == [1] * 4, 30, "everybody to be moved")
        for p in people:
            self.assert_works(room, p, 1)
        late = room.student("Late")
        # The other field may be tried once more meanwhile.
        wait_until(lambda: late.me().get("seat", {}).get("field") == 1, 30, "Late to be seated on the field that is up")
        self.assertEqual([f["ok"] for f in room.desk()["fields"]], [False, True])

    def test_a_field_that_is_silent(self):
        field = self.fake_field(lambda connection, line: connection.sendall(b"OK @ 1 0\n") if line[0] != "f" else None)
        room = self.classroom(field)
        ann = room.student("Ann")
        ann.begin()
        began = time.monotonic()
        slow = in_thread(lambda: ann.lines("f 1"))
        bob = room.student("Bob")  # is not held up
        bob.begin()
        answer = slow.result(120)
        self.assertEqual((answer.status, answer.json["error"]), (504, "field"))
        self.assertGreater(time.monotonic() - began, 15)
        self.assertEqual(ann.lines("f 1").json["reason"], "field")
        ann.begin()

    def test_a_field_that_never_answers_holds_up_no_other(self):
        frozen, good = self.fake_field(), self.fake_field()
        room = self.enterContext(Classroom("--fields", "127.0.0.1:%d,127.0.0.1:%d" % (frozen.port, good.port), "--viewer", "off,off"))
        people = [room.student("P%d" % k) for k in range(8)]
        of_frozen = [p for p in people if p.state["seat"]["field"] == 0]
        of_good = [p for p in people if p.state["seat"]["field"] == 1]
        self.assertEqual((len(of_frozen), len(of_good)), (4, 4))
        wait_until(lambda: len(frozen.lines) == 4, 20, "the names to arrive")
        frozen.awake.clear()
        starts = [in_thread(p.begin) for p in of_frozen]
        wait_until(lambda: frozen.lines.count("q t") == 4, 20, "the starts to reach the field")
        for p in of_good:
            self.assert_works(room, p, 3)  # few: the others may wait for 20 s
        self.assertTrue(all(start.is_alive() for start in starts))
        frozen.awake.set()
        for start in starts:
            start.result()
        for p in of_frozen:
            p.do("f 1")

    def test_a_start_that_is_not_answered_lets_the_next_one_go_on(self):
        def script(connection, line):
            if line != "c" or connection is not field.connections[0]:
                connection.sendall(b"OK @ 1 0\n")
        field = self.fake_field(script)
        room = self.classroom(field)
        ann = room.student("Ann")
        wait_until(lambda: field.lines, 20, "Ann's turtle")
        others = [room.student("P%d" % k) for k in range(3)]
        hung = in_thread(lambda: ann.post("/api/run/begin", {}))
        wait_until(lambda: "c" in field.lines, 20, "Ann's start")
        for p in others:
            self.assert_works(room, p, 3)
        self.assertTrue(hung.is_alive())
        field.connections[0].shutdown(socket.SHUT_RDWR)
        self.assertEqual(hung.result().status, 503)
        self.assert_works(room, ann)

    def test_a_storm_of_starts_costs_others_nothing(self):
        field = self.fake_field()
        room = self.classroom(field)
        ann, honest = room.student("Ann"), room.student("Honest")
        wait_until(lambda: len(field.lines) == 2, 20, "both names")
        field.awake.clear()
        storm = [ann.worker() for _ in range(100)]
        for worker in storm:
            worker.send("POST", "/api/run/begin", "{}")
        wait_until(lambda: "q t" in field.lines, 20, "the first start")
        for _ in range(3):
            honest.me()  # what was sent before has been read by then
        field.awake.set()
        self.assert_works(room, honest)
        told = [worker.receive() for worker in storm]
        for answer in told:
            self.assertTrue(answer.status == 200 or answer.json["error"] in ("run_over", "busy"), answer)
        # Only runs that were not replaced while they waited have reached the field.
        self.assertLess(field.lines.count("c"), 60)
        self.assert_works(room, ann)

    def test_a_field_that_hangs_up(self):
        def hang_up(connection, line):
            if line.startswith("f"):
                connection.shutdown(socket.SHUT_RDWR)
            else:
                connection.sendall(b"OK @ 1 0\n")
        room = self.classroom(self.fake_field(hang_up))
        ann = room.student("Ann")
        ann.begin()
        self.assertEqual(ann.lines("q p;f 1").status, 503)
        ann.begin()  # on a new connection
        ann.do("q p")

    def test_a_field_that_is_full(self):
        room = self.classroom(self.fake_field(on_accept=lambda connection: connection.shutdown(socket.SHUT_RDWR)))
        ann = room.student("Ann")
        answer = ann.post("/api/run/begin", {})
        self.assertEqual((answer.status, answer.json["error"]), (503, "field"))
        self.assertFalse(room.desk()["fields"][0]["ok"])

    def test_a_field_that_is_not_there(self):
        field = FakeField()
        field.close()
        room = self.classroom(field)
        ann = room.student("Ann")
        self.assertEqual(ann.post("/api/run/begin", {}).status, 503)
        answer = room.teacher().post("/api/desk/field", {"do": "painting"}).json
        self.assertEqual((answer["done"], len(answer["failed"])), ([], 1))

    def test_a_field_that_talks_without_end(self):
        def flood(connection, line):
            for _ in range(10000):
                connection.sendall(b"x" * 4096)
        room = self.classroom(self.fake_field(flood))
        ann = room.student("Ann")
        self.assertEqual(ann.post("/api/run/begin", {}).status, 503)
        self.assert_small(room, 100)

    def test_a_page_server_that_misbehaves(self):
        def garbage(connection, line):
            connection.sendall(b"HTTP/1.1 200 OK\r\nContent-Length: 99999999\r\n\r\n" + b"[" * 4096)
            connection.shutdown(socket.SHUT_RDWR)
        page = self.fake_field(garbage)
        field = self.fake_field()
        room = self.enterContext(Classroom("--fields", "127.0.0.1:%d" % field.port, "--viewer", "127.0.0.1:%d" % page.port))
        browser = room.browser()
        self.assertEqual(browser.get("/field/0/turtle").status, 502)
        self.assert_works(room)

    def test_several_fields_share_the_class(self):
        fields = [self.fake_field() for _ in range(3)]
        room = self.enterContext(Classroom("--fields", ",".join("127.0.0.1:%d" % f.port for f in fields), "--viewer", "off,off,off"))
        people = [room.student("P%d" % k) for k in range(30)]
        self.assertEqual([p.state["seat"]["field"] for p in people].count(2), 10)
        self.assertEqual(room.student("P30").state["state"], "waiting")
        for k in (0, 1, 2):
            people[k].begin()
            people[k].do("f %d" % (k + 1))
        for k, field in enumerate(fields):
            self.assertIn("f %d" % (k + 1), field.lines)


if __name__ == "__main__":
    unittest.main()
