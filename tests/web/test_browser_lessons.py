"""Every program of the lessons in a browser: it runs unchanged, ends, and does what the lesson says.

One pupil in Chromium, on the real field through the real class server; the painting is compared with the lessons'
pictures. Programs with several turtles run on the practice canvas, because in a class each pupil has one turtle; those
whose turtles fight each other need the field itself and are left out. Run inside scripts/in-namespace after
scripts/web-build. LESSONS may select some by the beginning of their file names.
"""
import glob
import os
import re
import sys
import unittest

HERE = os.path.dirname(os.path.abspath(__file__))
ROOT = os.path.realpath(os.path.join(HERE, "..", ".."))
for folder in ("docs", "class"):
    sys.path.insert(0, os.path.join(HERE, "..", folder))
sys.path.insert(0, HERE)
import programs  # noqa: E402
from browsers import Chromium  # noqa: E402
from classroom import CODE, LAN, Classroom, Field  # noqa: E402
from harness import Client  # noqa: E402
from pupil import Pupil  # noqa: E402
from test_lessons import STRAY_PIXELS, differences  # noqa: E402

WANTED = os.environ.get("LESSONS", "").split()
LESSONS = [path for path in sorted(glob.glob(os.path.join(ROOT, "docs", "lessons", "[0-9]*.md")))
           if not WANTED or any(os.path.basename(path).startswith(word) for word in WANTED)]


class Lessons(unittest.TestCase):
    @classmethod
    def setUpClass(cls):
        cls.field = Field().__enter__()
        cls.addClassCleanup(cls.field.stop)
        cls.room = Classroom(root=os.path.join(ROOT, "web", "dist", "class")).__enter__()
        cls.addClassCleanup(cls.room.stop)
        cls.browser = Chromium()
        cls.addClassCleanup(cls.browser.close)
        cls.browser.fresh()
        cls.ann = Pupil(cls.browser, "http://%s:%d" % (LAN, cls.room.port))
        cls.ann.sit_down(CODE, "Ann")
        teacher = cls.room.teacher()
        for rule in teacher.get("/api/desk/state").json["rules"]:
            teacher.post("/api/desk/rule", {"key": rule["key"], "allowed": True})

    def prepare(self, things):
        """An empty field with what a program needs; the pupil's turtle is removed, too, and returns with the next
        run."""
        with Client() as client:
            client.do("! u", "h 0 0 0")
        self.field.key("K")
        self.field.settle()
        words = things.split()
        while words:
            word = words.pop(0)
            for _ in range(int(words.pop(0)) if word == "stones" else 1):
                self.field.key({"maze": "M", "bounded": "b", "names": "n", "stones": "o"}[word])
        self.field.settle()

    def run_in_page(self, block, practice):
        self.ann.run("document.getElementById('tab-%s').click();" % ("practice" if practice else "field"))
        self.ann.start(block.source)
        answers = [line for line in block.notes.get("answers", "").split("/") if line]
        for answer in answers:
            self.ann.wait("document.body.dataset.state === 'asking'", "a question")
            self.ann.answer(answer)
            self.ann.wait("document.body.dataset.state !== 'asking'", "the answer to arrive")
        self.ann.wait("document.body.dataset.state === 'ready'", "the end of the program", programs.TIME_LIMIT)
        said = self.ann.output()
        self.assertIn("finished", said)
        return self.ann.run("return [...document.querySelectorAll('[role=log] .said-out')].map((e) => e.textContent).join('');")

    def check(self, block):
        several = "Turtle(" in block.source
        if several and ".fire()" in block.source:
            return  # two turtles of one program that fight: a class gives one, and the practice canvas has no beams
        if not several:
            self.prepare(block.notes.get("field", ""))
        out = self.run_in_page(block, several)
        if several:
            return
        turtles = self.room.browser().get("/field/0/turtle").json
        left = programs.Left(out, turtles, self.room.browser().get("/field/0/coin").json, self.field.captured())
        left.turtles.sort(key=lambda turtle: turtle["name"] != "Ann")
        if "ends" in block.notes:
            self.assertTrue(eval(block.notes["ends"], programs.names(left)),  # pylint: disable=eval-used
                            "%s; printed %r, left %r" % (block.notes["ends"], out, left.turtles))
        if "picture" in block.notes:
            picture = os.path.join(os.path.dirname(block.document), block.notes["picture"])
            self.assertLessEqual(differences(left, picture), STRAY_PIXELS, picture)

    def test_programs(self):
        count = 0
        for path in LESSONS:
            for block in programs.blocks_of(path):
                with self.subTest(page=os.path.basename(path), line=block.line):
                    self.check(block)
                count += 1
        self.assertGreater(count, 0)


if __name__ == "__main__":
    unittest.main(verbosity=2)
