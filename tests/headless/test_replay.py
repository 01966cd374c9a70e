"""Records in a real browser: the page of kelmora-replay --html and the one that the script server serves."""
import gzip
import http.server
import os
import shutil
import struct
import subprocess
import sys
import tempfile
import threading
import unittest

import harness
from harness import HANG, lines_of, replay

HERE = os.path.dirname(os.path.abspath(__file__))
sys.path.insert(0, os.path.join(HERE, "..", "browser"))
from driver import Driver  # noqa: E402

ROOT = os.path.join(HERE, "..", "..")
SCRIPTS = os.path.join(ROOT, "web", "dist", "kelmora", "script")
SERVER = "http://localhost:2281/kelmora/replay.html"
LONG = 600000


class Replay(unittest.TestCase):
    @classmethod
    def setUpClass(cls):
        cls.folder = tempfile.TemporaryDirectory(prefix="kelmora-replay-")
        cls.addClassCleanup(cls.folder.cleanup)
        cls.battle = os.path.join(cls.folder.name, "battle.gz")
        with harness.Game("--pace", "turns", "-n", 4, "-m", "battle", "-s", 5, "-t", 2200, "--turn-limit", LONG, "-r", cls.battle,
                          "--stones", 3, "--coins", 12) as game:
            harness.play(game, 4, harness.fight)
            cls.results = game.results()
        cls.drawing = os.path.join(cls.folder.name, "drawing.gz")
        with harness.Game("--pace", "turns", "-n", 1, "-t", 60, "--turn-limit", LONG, "-r", cls.drawing) as game:
            with game.join() as program:
                for line in ("c", "k 1 1 0", "w 6", "p d", *["f 10"] * 10, "t l 90", *["f 10"] * 10, *["f 0"] * 50):
                    try:
                        program.ask(line)
                    except harness.Closed:
                        break
                game.wait()
        cls.browser = Driver(os.path.join(HERE, "browser.mjs"), HANG)
        cls.addClassCleanup(cls.browser.close)

    def page(self, record):
        page = os.path.join(self.folder.name, "page.html")
        done = replay("--html", page, "--scripts", SCRIPTS, record)
        self.assertIn(done.returncode, (0, 1), done.stderr)
        return "file://" + page

    def tearDown(self):
        self.assertEqual(self.browser("errors"), [])

    def test_the_last_frame_equals_the_results(self):
        self.browser("open", url=self.page(self.battle))
        self.browser("seek", tick=2200)
        seen = self.browser("look")
        ranked = sorted(self.results["programs"], key=lambda p: (p["place"], p["seat"]))
        self.assertEqual([row[:3] for row in seen["board"]], [[str(p["place"]), p["name"], str(p["score"])] for p in ranked])
        full = {slot: told for slot, told in lines_of(open_bytes(self.battle))[-1]["full"]["turtles"]}
        self.assertEqual({turtle["tid"]: turtle["score"] for turtle in seen["shown"]["turtles"] if turtle["alive"]},
                         {slot: told["score"] for slot, told in full.items()})
        for slot, x, y in seen["bodies"]:
            self.assertAlmostEqual(x, full[slot]["x"], delta=0.01)
            self.assertAlmostEqual(y, full[slot]["y"], delta=0.01)
        self.assertEqual(seen["marks"], sum(p["death"] is not None for p in self.results["programs"]))
        self.assertEqual(seen["time"], "0:17 / 0:17")
        self.assertFalse([url for url in seen["requests"] if url.startswith("http")])

    def test_every_full_state_is_where_the_changes_lead(self):
        self.browser("open", url=self.page(self.battle))
        lines = lines_of(open_bytes(self.battle))
        for tick in (1000, 2000):
            self.browser("seek", tick=tick)
            full = next({slot: told for slot, told in line["full"]["turtles"]}
                        for line in lines if line.get("t") == tick and "full" in line)
            # A moment before, only the changes tell: places equal those of the full state up to a quarter of a unit.
            self.browser("seek", tick=tick - 0.01)
            for turtle in self.browser("look")["shown"]["turtles"]:
                if turtle["alive"]:
                    self.assertAlmostEqual(turtle["x"], full[turtle["tid"]]["x"], delta=0.5)
                    self.assertAlmostEqual(turtle["y"], full[turtle["tid"]]["y"], delta=0.5)

    def test_play_pause_and_speed(self):
        self.browser("open", url=self.page(self.battle))
        self.browser("seek", tick=0)
        self.browser("speed", speed="16")
        self.browser("watch", until=1500)  # twelve seconds of the game
        self.browser("pause")
        first = self.browser("look")
        self.assertFalse(first["playing"])
        self.assertEqual(self.browser("look")["shown"]["tick"], first["shown"]["tick"])
        self.browser("watch", until=2200)  # and on to its end
        self.assertFalse(self.browser("look")["playing"])

    def test_keyboard_and_rules_for_accessible_pages(self):
        self.browser("open", url=self.page(self.battle))
        self.browser("seek", tick=0)
        self.assertEqual(self.browser("faults"), [])
        deaths = sorted(max(0, death["tick"] - 60) for death in self.browser("look")["player"]["deaths"])
        for key, at, tick in (("ArrowRight", "#line", 625), ("End", "#line", 2200), ("Home", "#line", 0),
                              ("Enter", "#next", next(d for d in deaths if d > 1))):
            state, focus = self.browser("keys", at=at, keys=[key])
            self.assertEqual((state["tick"], "#" + focus), (tick, at), key)
        turned = self.browser("keys", at="canvas", keys=["ArrowLeft"])
        self.assertEqual((turned[0]["tick"], turned[1]), (state["tick"], "CANVAS"))
        self.assertTrue(self.browser("keys", at="#play", keys=["Space"])[0]["playing"])

    def test_a_file_that_was_cut_off_plays_up_to_the_cut(self):
        data = open_bytes(self.battle)
        cut = os.path.join(self.folder.name, "cut.gz")
        with open(cut, "wb") as file:
            file.write(data[:len(data) * 2 // 3])
        self.browser("open", url=self.page(cut))
        last = self.browser("look")["player"]["lastTick"]
        self.assertGreater(last, 200)
        self.assertLess(last, 2200)
        self.browser("seek", tick=last)
        self.assertTrue(self.browser("look")["shown"]["turtles"])

    def test_what_makes_no_sense_is_skipped(self):
        head, *lines = gzip.decompress(open_bytes(self.battle)).decode().splitlines()
        nonsense = ['{"t":2,"%s":[null,5,[0],[0,null],[0,{"name":{"toString":1},"score":"x"}],{}]}' % key
                    for key in ("d", "p", "gone", "set", "m", "new", "b", "hit", "coin", "c")]
        nonsense.append('{"t":3,"full":{"turtles":[null,[1]],"pens":[7],"coins":5,"ground":{"toString":1}},"end":{"programs":[null]}}')
        text = "\n".join([head, lines[0], *nonsense]) + "\n"
        packed = gzip.compress(text.encode())[10:]
        path = os.path.join(self.folder.name, "nonsense.gz")
        with open(path, "wb") as file:
            file.write(b"\x1f\x8b\x08\x04\0\0\0\0\0\xff\x0c\0KM\x08\0" + struct.pack("<II", 24 + len(packed), 3) + packed)
        self.browser("open", url=self.page(path))
        self.browser("seek", tick=3)
        self.assertEqual(self.browser("look")["player"]["lastTick"], 3)

    def test_lines_are_painted_also_after_a_jump_back(self):
        from PIL import Image
        self.browser("open", url=self.page(self.drawing))
        yellow = []
        for tick in (60, 1, 60):
            self.browser("seek", tick=tick)
            path = os.path.join(self.folder.name, "shot.png")
            self.browser("shot", file=path)
            with Image.open(path) as image:
                pixels = image.convert("RGB").getdata()
                yellow.append(sum(r > 200 and g > 200 and b < 60 for r, g, b in pixels))
        self.assertGreater(yellow[0], 500)
        self.assertLess(yellow[1], 100)
        self.assertGreater(yellow[2], 500)

    def test_a_record_is_loaded_from_the_address_that_is_named(self):
        # As a contest's folder has it: the page, its scripts and the matches, on any web server.
        folder = os.path.join(self.folder.name, "contest")
        os.makedirs(os.path.join(folder, "matches", "00001"))
        shutil.copytree(SCRIPTS, os.path.join(folder, "script"))
        shutil.copy(os.path.join(SCRIPTS, "..", "replay.html"), folder)
        shutil.copy(self.battle, os.path.join(folder, "matches", "00001", "game.gz"))

        class Files(http.server.SimpleHTTPRequestHandler):
            def __init__(self, *given):
                super().__init__(*given, directory=folder)

            def log_message(self, *_):
                pass
        with http.server.ThreadingHTTPServer(("127.0.0.1", 0), Files) as server:
            threading.Thread(target=server.serve_forever, daemon=True).start()
            address = "http://127.0.0.1:%d/replay.html?record=" % server.server_port
            self.browser("open", url=address + "matches/00001/game.gz")
            self.browser("seek", tick=2200)
            seen = self.browser("look")
            ranked = sorted(self.results["programs"], key=lambda p: (p["place"], p["seat"]))
            self.assertEqual([row[:3] for row in seen["board"]], [[str(p["place"]), p["name"], str(p["score"])] for p in ranked])
            self.assertTrue(self.browser("said", url=address + "nothing.gz").startswith("nothing.gz cannot be loaded: 404"))
            self.assertEqual([("404" in error) for error in self.browser("errors")], [True])
            server.shutdown()

    def test_the_script_server_serves_the_page(self):
        server = subprocess.Popen([os.path.join(ROOT, "scripts", "viewer-serve")])
        try:
            while subprocess.run(["ss", "-Htln", "sport = :2281"], capture_output=True, text=True, check=True).stdout == "":
                self.assertIsNone(server.poll())
            self.browser("choose", url=SERVER, file=self.battle)
            self.browser("seek", tick=2200)
            self.assertEqual(self.browser("look")["board"][0][0], "1")
            wrong = os.path.join(self.folder.name, "wrong.gz")
            with open(wrong, "wb") as file:
                file.write(b"no record")
            self.assertIn("no record", self.browser("refused", url=SERVER, file=wrong))
        finally:
            server.terminate()
            server.wait(timeout=HANG)


def open_bytes(path):
    with open(path, "rb") as file:
        return file.read()


if __name__ == "__main__":
    harness.main()
