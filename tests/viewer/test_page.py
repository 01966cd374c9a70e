"""The viewer's page in a real headless browser, from the real field and the real script server.

Run inside scripts/in-namespace, after scripts/viewer-build. KELMORA names the program.
"""
import io
import json
import os
import signal
import subprocess
import sys
import tempfile
import time
import unittest
import urllib.request

from PIL import Image

HERE = os.path.dirname(os.path.abspath(__file__))
sys.path[:0] = [os.path.join(HERE, "..", folder) for folder in ("wire", "browser")]
import harness  # noqa: E402
from harness import HANG, VIEWER_PORT, Client, Closed, Field, apart, is_listening, wait_until  # noqa: E402
from driver import Driver  # noqa: E402

ROOT = os.path.join(HERE, "..", "..")
SCRIPT_PORT = 2281
ORDER_TIME = 240  # seconds for one order to the browser; only bounds a hang


class Page(unittest.TestCase):
    @classmethod
    def setUpClass(cls):
        folder = tempfile.TemporaryDirectory(prefix="kelmora-canvas-")
        cls.addClassCleanup(folder.cleanup)
        cls.canvas = folder.name
        cls.scripts = subprocess.Popen([os.path.join(ROOT, "scripts", "viewer-serve"), "--canvas", cls.canvas])
        cls.addClassCleanup(cls.end_scripts)
        wait_until(lambda: is_listening(SCRIPT_PORT), 20, "the script server")
        cls.browser = Driver(os.path.join(HERE, "browser.mjs"), ORDER_TIME)
        cls.addClassCleanup(cls.browser.close)

    def setUp(self):
        # The file of the paintings as it is before anybody has painted.
        for name in os.listdir(self.canvas):
            os.remove(os.path.join(self.canvas, name))
        with open(os.path.join(self.canvas, "cards.json"), "w") as file:
            file.write('{"painting":false,"cards":[]}')

    @classmethod
    def end_scripts(cls):
        cls.scripts.send_signal(signal.SIGTERM)
        cls.scripts.wait(timeout=HANG)

    def look_until(self, good, what, seconds=240):
        seen = []

        def look():
            seen[:] = [self.browser("look")]
            return good(seen[0])
        wait_until(look, seconds, lambda: "%s; seen %r" % (what, seen), 0.1)
        return seen[0]

    @staticmethod
    def near(bodies, x, y):
        return [body for body in bodies if abs(body["x"] - x) < 0.5 and abs(body["y"] - y) < 0.5]

    @staticmethod
    def turtles():
        """The turtle list, asked of the field directly."""
        with urllib.request.urlopen("http://127.0.0.1:%d/turtle" % VIEWER_PORT, timeout=HANG) as answer:
            return json.loads(answer.read())

    def picture(self):
        """The pixels of the page's window."""
        path = os.path.join(harness.Display.get().scratch, "page.png")
        self.browser("shot", file=path)
        with open(path, "rb") as file, Image.open(io.BytesIO(file.read())) as image:
            return image.convert("RGB")

    def mean_color(self, x, y, z=8, half=3):
        """Mean colour of the few pixels around a place of the field."""
        across, down = (round(value) for value in self.browser("project", x=x, y=y, z=z))
        square = self.picture().crop((across - half, down - half, across + half + 1, down + half + 1))
        pixels = list(square.getdata())
        return [sum(pixel[channel] for pixel in pixels) / len(pixels) for channel in range(3)]

    def wait_blue(self, x, y):
        """Waits until the window shows blue there; on a busy machine it is painted later than the scene knows."""
        seen = []

        def look():
            seen[:] = self.mean_color(x, y)
            red, green, blue = seen
            return blue > 1.5 * max(red, green) and blue > 100
        wait_until(look, 240, lambda: "blue at (%g, %g), not %r" % (x, y, seen), 0.1)

    @staticmethod
    def expected_boxes(turtles):
        """What the score boxes must show for a turtle list: place, name, score, coins, icon."""
        players = sorted((t for t in turtles if t["alive"] and t["type"] == 1), key=lambda t: (-t["score"], t["tid"]))
        boxes = []
        for player in players:
            place = 1 + sum(other["score"] > player["score"] for other in players)
            words = ["%d. %s" % (place, player["name"]), str(player["score"])]
            if player["ncoin"]:
                words.append("%d coins" % player["ncoin"])
            boxes.append((words, "/img/%d" % (7 if player["ttl"] else player["team"])))
        return boxes

    def test_page_shows_the_field(self):
        with Field():
            with Client() as ann, Client() as bob:
                apart(ann, bob)
                ann.do("n 616e6e", "p u", "j 100 50", "i 3")
                hostile = '""><img src=x onerror=alert(1)></script>'
                bob.do("n " + hostile.encode().hex(), "p u", "j -120 -80")
                self.browser("open", path="/")
                view = self.look_until(lambda v: self.near(v["bodies"], 100, 50) and self.near(v["bodies"], -120, -80)
                                       and v["counts"]["walls"] > 0 and not v["lost"], "two turtles and the walls")
                self.assertGreaterEqual(view["eye"][2], 450)
                self.assertTrue(any("ann" in box["text"] for box in view["boxes"]))
                self.assertTrue(any(hostile in box["text"] for box in view["boxes"]))
                self.assertEqual(view["images"], 0)
                # The overview looks straight down, so the window's pixels give the place: the scale follows from the
                # two turtles' distance, 220 units across and 130 upwards.
                here, there = (self.browser("project", x=x, y=y, z=0) for x, y in ((100, 50), (-120, -80)))
                self.assertAlmostEqual((here[0] - there[0]) / (there[1] - here[1]), 220 / 130, delta=0.01)
                self.wait_blue(100, 50)  # team 3
                bare = self.mean_color(100, -150)
                self.assertLess(max(bare), 100)
                ann.do("j 40 60")
                self.look_until(lambda v: self.near(v["bodies"], 40, 60), "ann at her new place")
                self.wait_blue(40, 60)
                self.browser("drag", dx=60, dy=-120)
                self.look_until(lambda v: v["eye"][2] < 440, "a tilted view")
            self.assertEqual(self.browser("errors"), [])

    def test_path_of_a_name_follows_the_turtle(self):
        with Field():
            with Client() as ann, Client() as other:
                apart(ann, other)
                other.do("j 0 -200")
                ann.do("n 616e6e", "p u", "j 40 60")
                self.browser("open", path="/ann", width=400, height=800)
                for x, y in ((40, 60), (90, -20), (-150, 30)):
                    ann.do("j %d %d" % (x, y))
                    view = self.look_until(lambda v: abs(v["eye"][0] - x) < 0.5 and abs(v["eye"][1] - y) < 0.5
                                           and abs(v["eye"][2] - 10) < 0.5, "the field through ann's eyes")
                    # Its own body would hide everything; the other turtle is visible.
                    self.look_until(lambda v: sorted(body["shown"] for body in v["bodies"]) == [False, True], "one body")
                    self.assertFalse(view["overflow"])
                ann.do("n 6265")  # a turtle that changes its name is no longer followed
                self.look_until(lambda v: v["eye"][2] > 400, "the overview")
            self.assertEqual(self.browser("errors"), [])

    def test_battle_leaves_no_console_errors(self):
        with Field():
            clients = [Client() for _ in range(8)]
            try:
                for i, client in enumerate(clients):
                    client.do("i %d" % (i % 4 + 1), "n 74%02x" % (ord("a") + i))
                    client.ask("d")
                    client.ask_all(["o b"] + ["o +"] * 2)
                clients[0].do("!")
                self.browser("open", path="/", width=1280, height=720)
                self.look_until(lambda v: len([b for b in v["bodies"] if b["type"] == 1]) == 8
                                and [b for b in v["bodies"] if b["type"] == 2] and v["counts"]["coins"] > 0,
                                "turtles, doughnuts and coins")
                self.browser("drag", dx=40, dy=-110)
                fired, fighters = 0, list(clients)
                end = time.monotonic() + harness.patience(4)
                while time.monotonic() < end:
                    for client in list(fighters):
                        try:
                            fired += client.ask("x").status == "OK"
                            client.ask("f 2")
                            client.ask("t l 3")
                        except Closed:  # places are random: one may be hit until it dies
                            fighters.remove(client)
                self.assertGreater(fired, 0)
                # The battle pauses: beams arrive, dying turtles disappear, and scores settle.
                wait_until(lambda: not any(turtle["ttl"] for turtle in self.turtles()), what="the dying to be over")
                seen = {}

                def agree():
                    seen["turtles"], seen["view"] = self.turtles(), self.browser("look")
                    boxes = [(box["text"].split("\n"), box["icon"]) for box in seen["view"]["boxes"]]
                    return boxes == self.expected_boxes(seen["turtles"])
                wait_until(agree, 240, lambda: "score boxes that agree with the field: %r" % seen, 0.1)
                scores = [t["score"] for t in seen["turtles"] if t["alive"] and t["type"] == 1]
                self.assertRegex(seen["view"]["result"], r"^%d turtles · .* leads? with %d$" % (len(scores), max(scores)))

                def in_place():
                    # Asked again each time: a late beam may remove a doughnut.
                    seen["turtles"], seen["view"] = self.turtles(), self.browser("look")
                    return all(self.near(seen["view"]["bodies"], turtle["x"], turtle["y"])
                               for turtle in seen["turtles"] if turtle["alive"])
                wait_until(in_place, 240, lambda: "every body where the field has it: %r" % seen, 0.1)
                self.look_until(lambda v: not v["lost"], "the field not to be lost")
            finally:
                for client in clients:
                    client.close()
            self.assertEqual(self.browser("errors"), [])

    def test_restarted_field_is_found_again(self):
        with Field():
            self.browser("open", path="/")
            self.look_until(lambda v: not v["lost"] and v["counts"]["walls"] > 0, "the field")
        self.look_until(lambda v: v["lost"], "the notice that the field is lost")
        with Field():
            with Client() as turtle:
                turtle.do("j 70 70")
                self.look_until(lambda v: not v["lost"] and self.near(v["bodies"], 70, 70), "the new field")
        # Refused connections are the only errors that the console may show.
        for error in self.browser("errors"):
            self.assertRegex(error, "Failed to load resource")

    def test_field_that_pauses_or_is_emptied_is_handled(self):
        with Field() as field:
            with Client() as turtle:
                turtle.do("j 70 70")
                self.browser("open", path="/")
                self.look_until(lambda v: self.near(v["bodies"], 70, 70), "the turtle")
                field.process.send_signal(signal.SIGSTOP)
                try:
                    self.look_until(lambda v: v["lost"], "the notice that the field is lost")
                finally:
                    field.process.send_signal(signal.SIGCONT)
                self.look_until(lambda v: not v["lost"] and self.near(v["bodies"], 70, 70), "the field again")
                field.key("K")
                self.look_until(lambda v: not v["bodies"] and v["result"] == "No turtles on the field"
                                and not v["boxes"] and not v["lost"], "an empty field")
            self.assertEqual(self.browser("errors"), [])

    def test_painting_and_cards_lie_on_the_floor(self):
        """The page shows the painting in both cameras, with its own colours and sharp edges."""
        with Field(args=["-canvas", self.canvas]), Client() as ann:
            ann.do("p u", "j -200 40", "t e", "w 24", "k 0 1 0", "p d", "f 10")
            self.browser("open", path="/")
            self.look_until(lambda v: v["counts"]["painted"], "the floor to be painted")

            def colour(x, y):
                return [round(part / 51) for part in self.mean_color(x, y, z=0, half=1)]  # fifths
            ann.do("k 1 0 0", "p d", "f 350")
            began = time.monotonic()
            wait_until(lambda: colour(0, 40) == [5, 0, 0], 240, lambda: "the stroke, not %r" % colour(0, 40), 0.02)
            print("painting seen after %.2f s" % (time.monotonic() - began), file=sys.stderr)
            # The stroke is 24 wide: 8 above its middle is red, 20 above it is background, with nothing in between.
            self.assertEqual(colour(-60, 48), [5, 0, 0])
            self.assertEqual(colour(-60, 60), [0, 0, 0])
            ann.do("z 3 -100 -180")
            self.look_until(lambda v: v["counts"]["cards"] == 1, "the card")
            wait_until(lambda: sum(colour(-63, -150)) >= 9, 240, lambda: "the card's paper, not %r" % colour(-63, -150), 0.1)
            self.browser("drag", dx=0, dy=-120)
            wait_until(lambda: colour(0, 40) == [5, 0, 0], 240, lambda: "the stroke from aside, not %r" % colour(0, 40), 0.1)
            self.assertEqual(colour(-60, 60), [0, 0, 0])
            ann.do("z 0", "c f")
            wait_until(lambda: colour(0, 40) == [0, 0, 0], 240, lambda: "the wiped floor, not %r" % colour(0, 40), 0.1)
            self.look_until(lambda v: v["counts"]["cards"] == 0, "no card")
            self.assertEqual(self.browser("errors"), [])


if __name__ == "__main__":
    harness.main()
