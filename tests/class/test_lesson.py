"""A lesson: joining, running, input, stop, pause, rules, the queue, the desk, the board, pages and the field's pages."""
import io
import json
import os
import struct
import tempfile
import unittest
import zipfile
import zlib

from classroom import CODE, LAN, Classroom, Field, in_thread, time, wait_until


class Lesson(unittest.TestCase):
    """One field and one server for all tests; each test has its own students."""

    @classmethod
    def setUpClass(cls):
        cls.field = Field().__enter__()
        cls.addClassCleanup(cls.field.stop)

    def setUp(self):
        self.field.key("K")  # nothing is left of the class before
        self.field.settle()
        self.room = self.enterContext(self.classroom())

    def classroom(self, *options):
        return Classroom(*options)

    def turtles(self, student):
        return student.get("/field/0/turtle").json

    def turtle(self, student):
        return next((t for t in self.turtles(student) if t["name"] == student.name), None)

    # joining

    def test_join_gives_a_seat_and_a_turtle_with_the_name(self):
        ann = self.room.student("Zoë <b>\"'&")
        self.assertEqual(ann.state["state"], "seated")
        self.assertEqual(ann.state["seat"]["turtle"], ann.name)
        wait_until(lambda: self.turtle(ann), 20, "the turtle with the name")

    def test_two_of_one_name_are_told_apart(self):
        ann, other = self.room.student("Ann"), self.room.student("ann")
        self.assertEqual((ann.name, other.name), ("Ann", "ann 2"))
        self.assertNotEqual(ann.token, other.token)

    def test_wrong_codes_and_names_are_refused(self):
        browser = self.room.browser()
        self.assertEqual(browser.post("/api/join", {"code": "WRONG", "name": "Ann"}).status, 403)
        self.assertEqual(browser.post("/api/join", {"name": "Ann"}).status, 403)
        self.assertEqual(browser.post("/api/join", {"code": 7, "name": "Ann"}).status, 403)
        for name in ("", " ", "a\nb", "x" * 25, None, 7):
            self.assertEqual(browser.post("/api/join", {"code": CODE.lower(), "name": name}).json["error"], "name", name)
        for body in ("", "[]", "{", "7", "\xff"):
            self.assertIn(browser.post("/api/join", body).status, (400, 403), body)

    def test_guessing_is_slowed_down(self):
        browser = self.room.browser()
        seen = []
        for _ in range(12):
            answer = browser.post("/api/join", {"code": "WRONG", "name": "Ann"})
            seen.append(answer.status)
            if answer.status == 429:
                break
        self.assertEqual(seen[-1], 429, seen)
        self.assertGreaterEqual(answer.json["retry_s"], 1)
        # Even the right code is refused until then, or guessing could go on.
        told = time.monotonic()
        right = browser.post("/api/join", {"code": CODE, "name": "Ann"}).status
        if time.monotonic() - told < answer.json["retry_s"] - 1:  # which is rounded up
            self.assertEqual(right, 429)
        # It never takes long: a class may share one address.
        wait_until(lambda: browser.post("/api/join", {"code": CODE, "name": "Ann"}).status == 200, 30, "the right code to be taken", 0.2)
        # Other addresses are not slowed down.
        self.assertEqual(self.room.browser(host="localhost").post("/api/join", {"code": CODE, "name": "Bob"}).status, 200)

    def test_a_token_survives_a_reload_and_dies_with_leaving(self):
        ann = self.room.student()
        again = ann.worker()  # a new page with the old token
        self.assertEqual(again.get("/api/me").json["name"], "Ann")
        self.assertEqual(again.post("/api/leave").status, 204)
        self.assertEqual(ann.get("/api/me").status, 401)
        self.assertEqual(ann.get("/api/me", **{"Kelmora-Token": "f" * 32}).json["error"], "token")

    # running

    def test_a_run_starts_afresh_and_draws(self):
        ann = self.room.student()
        begun = ann.begin()
        self.assertEqual((begun["field"], begun["turtle"]), (0, "Ann"))
        self.assertIn("OK @", begun["answer"])
        self.assertEqual(ann.position(), (0, 0))
        ann.do("p d", "f 50", "t l 90", "f 20")
        self.assertEqual([round(v) for v in ann.position()], [50, 20])
        ann.begin()
        self.assertEqual(ann.position(), (0, 0))

    def test_who_starts_while_somebody_stands_in_the_middle_can_move(self):
        ann, bob = self.room.gather("Ann", "Bob")
        ann.begin_in_the_middle()
        begun = bob.begin()
        self.assertNotEqual(begun["start"], [0, 0])
        self.assertEqual(list(bob.position()), begun["start"])
        bob.do("p d", "f 20")
        ann.do("f 60")
        self.assertEqual(ann.position(), (60, 0))
        bob.begin_in_the_middle()
        bob.do("b 20")

    def test_ten_who_start_at_once_can_all_move(self):
        people = [self.room.student("P%d" % k) for k in range(10)]
        for task in [in_thread(p.begin) for p in people]:
            task.result()
        for p in people:
            p.do("f 5")

    def test_running_often_leaves_no_zombies(self):
        ann = self.room.student()
        for _ in range(12):
            ann.begin()
            ann.do("f 10")
            ann.post("/api/run/end?run=%d" % ann.run)
        self.assertEqual(len(self.turtles(ann)), 1)

    def test_answers_are_one_a_command_in_order(self):
        ann = self.room.student()
        ann.begin()
        answer = ann.lines("q p;q d\r\n\r\n  ;; q t\n?\n.")
        self.assertEqual(answer.headers["Content-Type"], "text/plain; charset=utf-8")
        lines = answer.text.splitlines()
        self.assertEqual(len(lines), 5, lines)
        self.assertTrue(lines[3].startswith("ERR"), lines)
        self.assertEqual(ann.lines("").text, "")
        self.assertEqual(ann.lines(" \n;").text, "")
        self.assertEqual(len(ann.lines("q t;" * 256).text.splitlines()), 256)
        self.assertEqual(ann.lines("q t;" * 257).json["error"], "too_big")
        self.assertEqual(len(ann.lines("q t" + "x" * 2000).text.splitlines()), 1)

    def test_a_fresh_start_in_the_program_keeps_the_name(self):
        ann = self.room.student()
        ann.begin()
        self.assertEqual(len(ann.do("c", "q p")), 2)
        wait_until(lambda: self.turtle(ann), 20, "the name")
        ann.do("n " + "Bella".encode().hex(), "c 5")
        wait_until(lambda: [t for t in self.turtles(ann) if t["name"] == "Bella"], 20, "the new name")
        self.assertEqual(ann.me()["seat"]["turtle"], "Bella")

    def test_forbidden_commands_are_told_and_nothing_is_done(self):
        ann = self.room.student()
        ann.begin()
        for line, key in (("c a", "c a"), ("C  All", "c a"), ("c\x00 a", "c a"), ("\tc f", "c f"), ("q p;h 1 0 0", "h"), ("!", "!"),
                          ("r", "r"), ("z 0", "z"), ("\x80! -", "!")):
            answer = ann.lines("f 10\n" + line)
            self.assertEqual((answer.status, answer.json["error"], answer.json["command"]), (403, "forbidden", key), line)
            self.assertGreaterEqual(answer.json["index"], 1)
        self.assertEqual(ann.position(), (0, 0))  # not even the step before
        teacher = self.room.teacher()
        self.assertEqual(teacher.post("/api/desk/rule", {"key": "z", "allowed": True}).status, 200)
        self.assertEqual(teacher.post("/api/desk/rule", {"key": "x", "allowed": False}).status, 200)
        self.assertEqual(ann.lines("z 0").status, 200)
        self.assertEqual(ann.lines("x").json["command"], "x")
        self.assertIn("x", ann.me()["forbidden"])

    def test_stop_ends_the_run_for_everybody_who_asks(self):
        ann = self.room.student()
        worker = ann.worker()
        ann.begin()
        self.assertEqual(worker.get("/api/run/stop?run=%d" % ann.run).text, "0")
        self.assertEqual(ann.post("/api/run/note?run=%d" % ann.run, "5").status, 204)
        self.assertEqual(worker.get("/api/run/stop?run=%d" % ann.run).text, "5")
        self.assertEqual(ann.post("/api/run/note?run=%d" % ann.run, "2").status, 400)
        asking = in_thread(lambda: worker.post("/api/run/ask?run=%d" % ann.run, "Your name?"))
        wait_until(lambda: self.room.desk()["sessions"][0]["doing"] == "asking", 20, "the question")
        self.assertEqual(ann.post("/api/run/stop").json, {"stopped": True})
        answer = asking.result()
        self.assertEqual((answer.status, answer.json["reason"]), (410, "stopped"))
        self.assertEqual(worker.get("/api/run/stop?run=%d" % ann.run).text, "2")
        self.assertEqual(ann.lines("f 10").json["reason"], "stopped")
        # A late Stop does not reach the next run.
        before = ann.run
        ann.begin()
        self.assertEqual(ann.post("/api/run/stop", {"run": before}).status, 200)
        self.assertEqual(worker.get("/api/run/stop?run=%d" % ann.run).text, "0")
        self.assertEqual(ann.lines("f 10", run=before).json["reason"], "replaced")

    def test_input_is_held_until_it_is_answered(self):
        ann = self.room.student()
        worker = ann.worker()
        ann.begin()
        asking = in_thread(lambda: worker.post("/api/run/ask?run=%d" % ann.run, "How old?"))
        wait_until(lambda: self.room.desk()["sessions"][0]["doing"] == "asking", 20, "the question")
        self.assertEqual(self.room.desk()["sessions"][0]["said"], "How old?")
        self.assertEqual(ann.post("/api/run/answer?run=%d" % ann.run, "zwölf\n<b>").status, 204)
        self.assertEqual(asking.result().text, "zwölf\n<b>")
        # The answer may come before the question; only one is kept.
        self.assertEqual(ann.post("/api/run/answer?run=%d" % ann.run, "1").status, 204)
        self.assertEqual(ann.post("/api/run/answer?run=%d" % ann.run, "2").status, 409)
        self.assertEqual(worker.post("/api/run/ask?run=%d" % ann.run, "").text, "1")
        self.assertEqual(ann.post("/api/run/answer?run=%d" % ann.run, "x" * 5000).status, 413)

    def test_held_requests_are_to_be_sent_again(self):
        """A question without an answer, and in a pause the commands and the question about Stop."""
        ann = self.room.student()
        ann.begin()
        self.room.teacher().post("/api/desk/pause", {"paused": True})

        def ask(method, path, body=None):
            began = time.monotonic()
            answer = ann.worker().ask(method, "/api/run/%s?run=%d" % (path, ann.run), body)
            return answer, time.monotonic() - began
        tasks = [in_thread(lambda order=order: ask(*order)) for order in (("POST", "ask", "?"), ("POST", "lines", "f 10"), ("GET", "stop"))]
        for task in tasks:
            answer, took = task.result()
            self.assertEqual((answer.status, answer.json), (202, {"again": True}))
            self.assertGreater(took, 24)

    def test_a_second_tab_takes_the_run(self):
        ann = self.room.student()
        ann.begin()
        first, tab = ann.run, ann.worker()
        self.assertEqual(tab.post("/api/run/begin", {}).status, 200)
        self.assertEqual(ann.lines("f 10", run=first).json["reason"], "replaced")

    def test_a_line_tried_after_a_run_finds_the_turtle_where_it_was(self):
        ann = self.room.student()
        ann.begin()
        ann.do("j 40 30", "t l 90")
        ann.post("/api/run/end?run=%d" % ann.run, {})
        before = ann.run
        kept = ann.begin(keep=True)
        self.assertTrue(kept["keep"])
        self.assertGreater(ann.run, before)
        self.assertEqual(ann.position(), (40, 30))
        ann.do("f 10")
        self.assertAlmostEqual(ann.position()[1], 40, places=3)
        self.assertEqual(ann.get("/api/run/stop?run=%d" % ann.run).text, "0")
        self.assertEqual(ann.get("/api/run/stop?run=%d" % before).text, "2")
        ann.begin()
        self.assertEqual(ann.position(), (0, 0))

    def test_practice_needs_no_field(self):
        ann = self.room.student()
        begun = ann.begin(practice=True)
        self.assertIsNone(begun["field"])
        self.assertEqual(ann.lines("f 10").json["reason"], "practice")
        self.assertEqual(ann.get("/api/run/stop?run=%d" % ann.run).text, "0")
        self.assertEqual(ann.post("/api/run/stop").status, 200)
        self.assertEqual(ann.get("/api/run/stop?run=%d" % ann.run).text, "2")

    def test_a_pause_holds_programs_and_lets_them_go_on(self):
        ann = self.room.student()
        worker, teacher = ann.worker(), self.room.teacher()
        ann.begin()
        self.assertEqual(teacher.post("/api/desk/pause", {"paused": True}).status, 200)
        self.assertTrue(ann.me()["paused"])
        moving = in_thread(lambda: worker.post("/api/run/lines?run=%d" % ann.run, "f 10"))
        wait_until(lambda: self.room.desk()["sessions"][0]["held"], 20, "the step to be held")
        self.assertEqual(ann.lines("q p").json["error"], "busy")  # one at a time
        # The list of turtles may be a moment old.
        wait_until(lambda: (self.turtle(ann) or {"x": None})["x"] == 0, 20, "the turtle in the middle")
        self.assertEqual(teacher.post("/api/desk/pause", {"paused": False}).status, 200)
        self.assertIn("OK @", moving.result().text)
        self.assertEqual(ann.position(), (10, 0))
        teacher.post("/api/desk/pause", {"paused": True})
        self.assertEqual(ann.post("/api/run/begin", {}).json["error"], "paused")
        held = in_thread(lambda: worker.post("/api/run/lines?run=%d" % ann.run, "f 10"))
        wait_until(lambda: self.room.desk()["sessions"][0]["held"], 20, "the step to be held")
        ann.post("/api/run/stop")
        self.assertEqual(held.result().json["reason"], "stopped")

    def pause(self, paused=True):
        self.assertEqual(self.room.teacher().post("/api/desk/pause", {"paused": paused}).status, 200)

    def held_stop(self, student):
        """The question about Stop of a student's program, held by the pause."""
        worker, path = student.worker(), "/api/run/stop?run=%d" % student.run
        held = in_thread(lambda: worker.get(path))
        wait_until(lambda: self.one(student)["held"], 20, "the program to be held")
        return held

    def one(self, student):
        return next(s for s in self.room.desk()["sessions"] if s["name"] == student.name)

    def test_a_pause_holds_programs_that_only_compute(self):
        """Also on the practice canvas: the answer to the question about Stop is held."""
        ann, bob = self.room.gather("Ann", "Bob")
        bob.begin(practice=True)
        self.assertEqual(bob.post("/api/run/note?run=%d" % bob.run, "5").status, 204)
        self.pause()
        path = "/api/run/stop?run=%d" % bob.run
        self.assertFalse(self.one(bob)["held"])
        answer = bob.get(path + "&wait=0")
        self.assertEqual((answer.status, answer.json), (202, {"again": True}))
        first, second = self.held_stop(ann), self.held_stop(bob)
        # Runs that are over are told so, paused or not.
        self.assertEqual(bob.get("/api/run/stop?run=%d" % (bob.run - 1)).text, "2")
        self.assertEqual(bob.get("/api/run/stop").text, "2")
        self.assertEqual((self.one(bob)["doing"], self.one(bob)["run"]), ("practice", True))
        self.pause()  # once more changes nothing
        self.assertTrue(first.is_alive() and second.is_alive())
        # The same question again takes the place of the first, which is to be asked again.
        third = bob.worker()
        third.send("GET", path)
        self.assertEqual(second.result().status, 202)
        self.pause(False)
        self.assertEqual((first.result().text, third.receive().text), ("0", "5"))
        self.assertFalse(self.one(ann)["held"] or self.one(bob)["held"])
        self.assertEqual(bob.get(path).text, "5")
        self.assertEqual(bob.get(path + "&wait=0").text, "5")

    def test_the_end_of_a_run_ends_its_wait_in_a_pause(self):
        teacher = self.room.teacher()
        ann = self.room.student()
        worker = ann.worker()
        for end in (lambda: worker.post("/api/run/stop", {"run": ann.run}),
                    lambda: worker.post("/api/run/end?run=%d" % ann.run, {}),
                    lambda: teacher.post("/api/desk/stop", {"all": True}),
                    lambda: teacher.post("/api/desk/remove", {"id": self.one(ann)["id"]})):
            self.assertEqual(ann.begin(practice=True)["field"], None)
            self.pause()
            held = self.held_stop(ann)
            self.assertLess(end().status, 300)
            self.assertEqual((held.result().status, held.result().text), (200, "2"))
            self.pause(False)
        self.assertEqual(ann.get("/api/run/stop?run=%d" % ann.run).status, 401)

    def test_no_run_begins_in_a_pause(self):
        ann = self.room.student()
        self.assertIsNone(ann.begin(practice=True)["field"])
        self.pause()
        held = self.held_stop(ann)
        for wish in ({}, {"practice": True}, {"keep": True}):
            answer = ann.post("/api/run/begin", wish)
            self.assertEqual((answer.status, answer.json["error"]), (409, "paused"), wish)
        self.assertTrue(held.is_alive())  # what was refused ends nothing
        self.pause(False)
        self.assertEqual(held.result().text, "0")
        ann.begin()

    def test_a_run_that_was_just_beginning_is_held_too(self):
        ann = self.room.student()
        beginning = in_thread(ann.begin)
        self.pause()
        try:
            beginning.result()
        except AssertionError as refused:  # the pause came first
            self.assertIn("paused", str(refused))
            return
        held = self.held_stop(ann)
        self.pause(False)
        self.assertEqual(held.result().text, "0")

    def test_an_answer_in_a_pause_waits_for_its_end(self):
        ann = self.room.student()
        ann.begin(practice=True)
        worker = ann.worker()
        asking = in_thread(lambda: worker.post("/api/run/ask?run=%d" % ann.run, "How old?"))
        wait_until(lambda: self.one(ann)["doing"] == "asking", 20, "the question")
        self.pause()
        self.assertFalse(self.one(ann)["held"])  # nothing holds it but the question
        self.assertEqual(ann.post("/api/run/answer?run=%d" % ann.run, "12").status, 204)
        self.assertTrue(self.one(ann)["held"])
        self.assertEqual(ann.post("/api/run/answer?run=%d" % ann.run, "13").status, 409)
        # The program's next question, when the first was held too long, finds the answer just as late.
        again = ann.worker()
        again.send("POST", "/api/run/ask?run=%d" % ann.run, "How old?")
        self.assertEqual(asking.result().status, 202)
        self.assertEqual(self.one(ann)["doing"], "asking")
        self.pause(False)
        self.assertEqual(again.receive().text, "12")
        self.assertEqual(self.one(ann)["doing"], "practice")
        # An answer that waits is gone with its run.
        self.pause()
        self.assertEqual(ann.post("/api/run/answer?run=%d" % ann.run, "14").status, 204)
        asking = in_thread(lambda: again.post("/api/run/ask?run=%d" % ann.run, "?"))
        wait_until(lambda: self.one(ann)["held"], 20, "the answer to be held")
        ann.post("/api/run/stop")
        self.assertEqual(asking.result().json["reason"], "stopped")

    def test_a_run_ends_when_the_operator_removes_all_turtles(self):
        ann = self.room.student()
        ann.begin()
        wait_until(lambda: self.field.key("K") or ann.lines("q p").status != 200, 20, "the end of the connection")
        self.assertEqual(ann.lines("q p").json["reason"], "field")
        ann.begin()
        self.assertEqual(ann.position(), (0, 0))

    # seats

    def test_the_eleventh_waits_and_gets_the_place_of_who_leaves(self):
        people = [*self.room.gather(*["P%d" % k for k in range(10)]), self.room.student("P10")]
        last = people[-1]
        self.assertEqual(last.state["state"], "waiting")
        self.assertEqual((last.state["queue"]["place"], last.state["queue"]["of"]), (1, 1))
        self.assertGreater(last.state["queue"]["wait_s"], 500)
        self.assertEqual(last.post("/api/run/begin", {}).json["error"], "no_seat")
        wait_until(lambda: len(self.turtles(last)) == 10, 20, "ten turtles")
        people[3].post("/api/leave")
        wait_until(lambda: last.me()["state"] == "seated", 20, "the seat")
        last.begin_in_the_middle()
        self.assertEqual(last.position(), (0, 0))
        wait_until(lambda: sorted(t["name"] for t in self.turtles(last)) == sorted(p.name for p in people if p is not people[3]),
                   20, "the turtles of those who are here, and no others")

    def test_the_turtle_of_who_left_goes_out_of_sight(self):
        ann, bob = self.room.gather("Ann", "Bob")
        ann.begin_in_the_middle()
        ann.do("p d", "f 100")
        ann.post("/api/leave")
        wait_until(lambda: [t["name"] for t in self.turtles(bob)] == ["Bob"], 20, "only Bob's turtle")

    # pages and files

    def test_pages_with_their_headers(self):
        browser = self.room.browser()
        for path, title in (("/", "index"), ("/edit", "edit"), ("/watch?field=1", "watch")):
            page = browser.get(path)
            self.assertEqual((page.status, page.headers["Content-Type"]), (200, "text/html; charset=utf-8"))
            self.assertIn(title, page.text)
            self.assertEqual(page.headers["Cache-Control"], "no-cache")
            policy = page.headers["Content-Security-Policy"]
            self.assertIn("default-src 'none'", policy)
            self.assertNotIn("unsafe-eval'", policy.replace("wasm-unsafe-eval", ""))
            self.assertNotIn("script-src 'self' 'unsafe-inline'", policy)
            self.assertNotIn("http", policy)
            self.assertEqual(page.headers["X-Content-Type-Options"], "nosniff")
            self.assertIsNone(page.headers["Set-Cookie"])
        again = browser.get("/", **{"If-None-Match": browser.get("/").headers["ETag"]})
        self.assertEqual((again.status, again.body), (304, b""))
        head = browser.ask("HEAD", "/")
        self.assertEqual((head.status, head.body), (200, b""))
        self.assertGreater(int(head.headers["Content-Length"]), 10)
        for path in ("/nothing", "/../x", "/%2e%2e/etc/passwd", "//", "/.", "/v/"):
            self.assertEqual(browser.get(path).status, 404, path)
        self.assertEqual(browser.post("/", "x").status, 405)

    def test_packed_files_and_versioned_ones(self):
        os.makedirs(os.path.join(self.room.root, "v", "1"))
        packer = zlib.compressobj(9, zlib.DEFLATED, 31)
        with open(os.path.join(self.room.root, "v", "1", "run-worker.js.gz"), "wb") as file:
            file.write(packer.compress(b"let x = 1;\n" * 1000) + packer.flush())
        browser = self.room.browser()
        packed = browser.get("/v/1/run-worker.js", **{"Accept-Encoding": "gzip, deflate"})
        self.assertEqual((packed.status, packed.headers["Content-Encoding"]), (200, "gzip"))
        self.assertEqual(packed.headers["Content-Type"], "text/javascript; charset=utf-8")
        self.assertEqual(zlib.decompress(packed.body, 31), b"let x = 1;\n" * 1000)
        self.assertIn("immutable", packed.headers["Cache-Control"])
        self.assertIn("'unsafe-eval'", packed.headers["Content-Security-Policy"])
        self.assertEqual(packed.headers["Vary"], "Accept-Encoding")
        self.assertEqual(browser.get("/v/1/run-worker.js", **{"Accept-Encoding": "identity"}).status, 406)

    def test_large_files_arrive_whole(self):
        content = os.urandom(7 << 20)
        with open(os.path.join(self.room.root, "large.bin"), "wb") as file:
            file.write(content)
        self.assertEqual(self.room.browser().get("/large.bin").body, content)

    # the field's pages

    def test_the_field_is_shown_read_only(self):
        browser = self.room.browser()
        for what in ("turtle", "wall", "coin", "camera", "$0/camera", "img/5"):
            answer = browser.get("/field/0/" + what)
            self.assertEqual(answer.status, 200, what)
            if what != "img/5":
                json.loads(answer.body)
        self.assertEqual(browser.get("/field/0/img/5").body[:4], b"\x89PNG")
        for what in ("", "x", "img/x", "../turtle", "turtle/x", "a%20b/camera", "img/-1"):
            self.assertEqual(browser.get("/field/0/" + what).status, 404, what)
        self.assertEqual(browser.get("/field/1/turtle").status, 404)
        self.assertEqual(browser.get("/field/x/turtle").status, 404)
        self.assertEqual(browser.post("/field/0/turtle").status, 405)

    def test_hostile_names_cannot_break_the_list(self):
        ann, bob = self.room.student("Ann"), self.room.student("Bob")
        ann.begin()
        for name in (b'"},{"tid":7', b'","team":1', b"\\", b"\xff\xfe<script>", b'"]'):
            ann.do("n " + name.hex())
            shown = wait_until(lambda: [t for t in self.turtles(bob) if t["name"] == name.decode(errors="replace")], 20, "the name")
            self.assertEqual(len(shown), 1)
            self.assertEqual(len(self.turtles(bob)), 2)

    # desk and board

    def test_desk_and_board_are_this_machine_s_only(self):
        teacher = self.room.teacher()
        self.assertEqual(teacher.get("/desk").status, 200)
        self.assertEqual(teacher.get("/board").status, 200)
        self.assertEqual(teacher.get("/api/board").json["code"], CODE)
        self.assertIn(b"<svg", teacher.get("/api/board/qr.svg").body)
        for browser in (self.room.browser(),                                   # another machine
                        self.room.browser(host="localhost", peer=LAN),         # which says that it is this one
                        self.room.browser(host=LAN, peer="127.0.0.1")):        # a name that others know, too
            for path in ("/desk", "/board", "/api/desk/state", "/api/board", "/api/board/qr.svg", "/api/desk/programs.zip"):
                self.assertEqual(browser.get(path).status, 403, path)
            self.assertEqual(browser.post("/api/desk/pause", {"paused": True}).status, 403)
        self.assertFalse(teacher.get("/api/desk/state").json["paused"])

    def test_other_sites_and_names_are_refused(self):
        teacher = self.room.teacher()
        evil = {"Origin": "http://evil.example"}
        self.assertEqual(teacher.post("/api/desk/pause", {"paused": True}, evil).status, 403)
        self.assertEqual(teacher.post("/api/desk/pause", {"paused": True}, {"Origin": "null"}).status, 403)
        self.assertEqual(teacher.post("/api/desk/pause", {"paused": True}, {"Sec-Fetch-Site": "cross-site"}).status, 403)
        self.assertEqual(teacher.post("/api/desk/pause", {"paused": True}, {"Kelmora": None}).status, 403)
        self.assertEqual(teacher.get("/api/desk/state", Host="evil.example").status, 421)
        self.assertEqual(teacher.get("/", Host="evil.example:%d" % self.room.port).status, 421)
        self.assertEqual(teacher.get("/api/desk/state", Origin="http://localhost:2280").status, 403)
        own = {"Origin": "http://localhost:%d" % self.room.port, "Sec-Fetch-Site": "same-origin"}
        self.assertEqual(teacher.post("/api/desk/pause", {"paused": False}, own).status, 200)
        preflight = teacher.ask("OPTIONS", "/api/desk/pause", headers={"Kelmora": None, **evil})
        self.assertEqual(preflight.status, 403)
        self.assertIsNone(preflight.headers["Access-Control-Allow-Origin"])

    def test_the_desk_sees_and_acts(self):
        ann, teacher = self.room.student("Ann"), self.room.teacher()
        ann.begin()
        ann.post("/api/beat", {"doing": "error", "said": "ZeroDivisionError <b>"})
        seen = self.room.desk()["sessions"][0]
        self.assertEqual((seen["name"], seen["doing"], seen["said"], seen["run"]), ("Ann", "error", "ZeroDivisionError <b>", True))
        self.assertEqual(teacher.post("/api/desk/rename", {"id": seen["id"], "name": "Anna"}).json, {"name": "Anna"})
        self.assertEqual(ann.me()["name"], "Anna")
        wait_until(lambda: [t for t in self.turtles(ann) if t["name"] == "Anna"], 20, "the corrected name")
        self.assertEqual(teacher.post("/api/desk/rename", {"id": seen["id"], "name": ""}).status, 400)
        self.assertEqual(teacher.post("/api/desk/stop", {"id": seen["id"]}).status, 200)
        self.assertEqual(ann.lines("f 1").json["reason"], "stopped")
        ann.begin()
        self.assertEqual(teacher.post("/api/desk/stop", {"all": True}).status, 200)
        self.assertEqual(ann.lines("f 1").json["reason"], "stopped")
        self.assertEqual(teacher.post("/api/desk/remove", {"id": seen["id"]}).status, 200)
        self.assertEqual(ann.get("/api/me").status, 401)
        self.assertEqual(teacher.post("/api/desk/remove", {"id": seen["id"]}).status, 404)

    def test_the_desk_works_the_field(self):
        teacher = self.room.teacher()
        for action in self.room.desk()["actions"]:
            if action["do"] in ("battle", "drawing", "robot"):
                continue
            answer = teacher.post("/api/desk/field", {"do": action["do"]})
            self.assertEqual(answer.json, {"done": [0], "failed": []}, action)
        self.assertEqual(teacher.get("/field/0/turtle").json, [])  # the hand that did it is out of sight
        start = self.field.mark()
        teacher.post("/api/desk/field", {"do": "battle", "field": 0})
        teacher.post("/api/desk/field", {"do": "drawing", "field": 0})
        self.field.wait_line("entering battle mode...", start)
        self.field.wait_line("entering turtle graphics mode...", start)
        self.assertEqual(teacher.post("/api/desk/field", {"do": "painting", "field": 3}).status, 404)
        self.assertEqual(teacher.post("/api/desk/field", {"do": "nothing"}).status, 404)

    def test_programs_are_saved_given_and_collected(self):
        ann, teacher = self.room.student("Ann/../x"), self.room.teacher()
        self.assertEqual(ann.get("/api/program").status, 404)
        program = {"language": "python", "title": "Square", "text": "forward(10)  # ä\n"}
        self.assertEqual(ann.ask("PUT", "/api/program", program).status, 204)
        self.assertEqual(ann.get("/api/program").json, program)
        self.assertEqual(ann.ask("PUT", "/api/program", {"language": "cobol", "text": ""}).status, 400)
        self.assertEqual(ann.ask("PUT", "/api/program", {"language": "python", "text": "x" * 65537}).status, 413)
        self.assertEqual(ann.ask("PUT", "/api/program", {"language": "python", "text": "\n" * 65536}).status, 204)
        ann.ask("PUT", "/api/program", program)
        gone = self.room.student("Bob")
        gone.ask("PUT", "/api/program", {"language": "javascript", "text": "forward(1)"})
        gone.post("/api/leave")
        archive = zipfile.ZipFile(io.BytesIO(teacher.get("/api/desk/programs.zip").body))
        self.assertEqual(sorted(archive.namelist()), ["Ann_.._x.py", "Bob.js"])
        self.assertEqual(archive.read("Ann_.._x.py").decode(), program["text"])
        starter = {"language": "python", "title": "Begin", "text": "from kelmora import *\n"}
        self.assertEqual(ann.me()["starter"], 0)
        self.assertEqual(teacher.post("/api/desk/starter", starter).json, {"version": 1})
        self.assertEqual(ann.me()["starter"], 1)
        self.assertEqual(ann.get("/api/starter").json, {**starter, "version": 1})
        teacher.post("/api/desk/starter", {"text": ""})
        self.assertEqual(ann.get("/api/starter").status, 404)

    def test_a_new_code(self):
        ann, teacher = self.room.student("Ann"), self.room.teacher()
        code = teacher.post("/api/desk/code", {}).json["code"]
        self.assertNotEqual(code, CODE)
        self.assertEqual(ann.get("/api/me").status, 200)  # who is in stays in
        browser = self.room.browser()
        self.assertEqual(browser.post("/api/join", {"code": CODE, "name": "Bob"}).status, 403)
        self.assertEqual(browser.post("/api/join", {"code": code, "name": "Bob"}).status, 200)
        self.assertEqual(teacher.post("/api/desk/code", {"code": "7b", "all": True}).status, 400)
        self.assertEqual(teacher.post("/api/desk/code", {"code": "class 7b", "all": True}).json["code"], "CLASS7B")
        self.assertEqual(ann.get("/api/me").status, 401)

    def test_runs_may_start_apart(self):
        ann, bob = self.room.student("Ann"), self.room.student("Bob")
        self.assertEqual(self.room.teacher().post("/api/desk/start", {"start": "apart"}).status, 200)
        ann.begin()
        bob.begin()
        places = [ann.position(), bob.position()]
        self.assertGreater(abs(complex(*places[0]) - complex(*places[1])), 60)
        self.assertGreater(abs(complex(*places[0])), 100)


class Turns(Lesson):
    """Turns of three seconds."""

    def classroom(self, *options):
        return Classroom("--turn-minutes", "0.05", *options)

    def test_a_turn_ends_when_people_wait(self):
        first = self.room.student("First")
        first.begin()
        for k in range(9):
            self.room.student("P%d" % k)
        self.assertIsNone(first.me()["seat"]["turn_left_s"])
        last = self.room.student("Last")
        wait_until(lambda: last.me()["state"] == "seated", 30, "the turn")
        self.assertEqual(first.lines("f 1").json["reason"], "turn")
        self.assertIn(first.me()["state"], ("waiting", "seated"))  # it comes round again


def load_tests(loader, _tests, _pattern):
    suite = loader.loadTestsFromTestCase(Lesson)
    suite.addTest(Turns("test_a_turn_ends_when_people_wait"))
    suite.addTests(loader.loadTestsFromTestCase(Canvas))
    return suite


class Canvas(unittest.TestCase):
    """Files that a field would write, without a field."""

    def test_pictures_are_served_with_their_version(self):
        def png(color):
            rows = b"".join(b"\0" + bytes(color) * 4 for _ in range(4))
            def chunk(kind, data):
                return struct.pack(">I", len(data)) + kind + data + struct.pack(">I", zlib.crc32(kind + data))
            return b"\x89PNG\r\n\x1a\n" + chunk(b"IHDR", struct.pack(">IIBBBBB", 4, 4, 8, 2, 0, 0, 0)) + \
                chunk(b"IDAT", zlib.compress(rows)) + chunk(b"IEND", b"")

        with tempfile.TemporaryDirectory() as folder:
            canvas = os.path.join(folder, "later")
            with Classroom("--canvas", canvas, "--viewer", "off") as room:
                browser = room.browser()
                self.assertEqual(browser.get("/field/0/canvas.png").status, 404)
                os.mkdir(canvas)

                def write(color):
                    with open(os.path.join(canvas, ".new"), "wb") as file:
                        file.write(png(color))
                    os.rename(os.path.join(canvas, ".new"), os.path.join(canvas, "canvas.png"))
                write((255, 0, 0))
                first = browser.get("/field/0/canvas.png")
                self.assertEqual((first.status, first.headers["Content-Type"], first.body), (200, "image/png", png((255, 0, 0))))
                same = browser.get("/field/0/canvas.png", **{"If-None-Match": first.headers["ETag"]})
                self.assertEqual((same.status, same.body), (304, b""))
                write((0, 255, 0))
                other = browser.get("/field/0/canvas.png", **{"If-None-Match": first.headers["ETag"]})
                self.assertEqual((other.status, other.body), (200, png((0, 255, 0))))
                for name in (".new", "../x.png", "x.png", "v/x.png"):
                    self.assertEqual(browser.get("/field/0/" + name).status, 404, name)
                self.assertEqual(browser.get("/field/0/turtle").status, 404)  # this field shows no page


if __name__ == "__main__":
    unittest.main()
