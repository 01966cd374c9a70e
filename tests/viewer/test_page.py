"""The viewer's page in a real headless browser, from the real field and the real script server.

Run inside scripts/in-namespace, after scripts/viewer-build. KELMORA names the program.
"""
import json
import os
import select
import signal
import subprocess
import sys
import time
import unittest

HERE = os.path.dirname(os.path.abspath(__file__))
sys.path.insert(0, os.path.join(HERE, "..", "wire"))
import harness  # noqa: E402
from harness import Client, Field, is_listening, wait_until  # noqa: E402

ROOT = os.path.join(HERE, "..", "..")
SCRIPT_PORT = 2281
ORDER_TIME = 60  # seconds for one order to the browser


class Browser:
    def __init__(self):
        self.process = subprocess.Popen(["node", os.path.join(HERE, "browser.mjs")], stdin=subprocess.PIPE,
                                        stdout=subprocess.PIPE, text=True, bufsize=1)

    def __call__(self, order, **given):
        self.process.stdin.write(json.dumps(dict(given, order=order)) + "\n")
        self.process.stdin.flush()
        if not select.select([self.process.stdout], [], [], ORDER_TIME)[0]:
            raise AssertionError("the browser does not answer to " + order)
        answer = json.loads(self.process.stdout.readline())
        if "failed" in answer:
            raise AssertionError(answer["failed"])
        return answer["result"]

    def close(self):
        self.process.stdin.close()
        try:
            self.process.wait(timeout=30)
        except subprocess.TimeoutExpired:
            self.process.kill()
            self.process.wait(timeout=30)
        self.process.stdout.close()


class Page(unittest.TestCase):
    @classmethod
    def setUpClass(cls):
        cls.scripts = subprocess.Popen([os.path.join(ROOT, "scripts", "viewer-serve")])
        cls.addClassCleanup(cls.end_scripts)
        wait_until(lambda: is_listening(SCRIPT_PORT), 20, "the script server")
        cls.browser = Browser()
        cls.addClassCleanup(cls.browser.close)

    @classmethod
    def end_scripts(cls):
        cls.scripts.send_signal(signal.SIGTERM)
        cls.scripts.wait(timeout=20)

    def look_until(self, good, what, seconds=30):
        seen = []

        def look():
            seen[:] = [self.browser("look")]
            return good(seen[0])
        wait_until(look, seconds, lambda: "%s; seen %r" % (what, seen), 0.1)
        return seen[0]

    @staticmethod
    def near(bodies, x, y):
        return [body for body in bodies if abs(body["x"] - x) < 0.5 and abs(body["y"] - y) < 0.5]

    def test_page_shows_the_field(self):
        with Field():
            with Client() as ann, Client() as bob:
                ann.do("n 616e6e", "j 100 50")
                bob.do("n 22223e3c696d67207372633d78206f6e6572726f723d616c6572742831293e", "j -120 -80")  # ""><img src=x ...
                self.browser("open", path="/")
                view = self.look_until(lambda v: self.near(v["bodies"], 100, 50) and self.near(v["bodies"], -120, -80)
                                       and v["counts"]["walls"] > 0, "two turtles and the walls")
                self.assertFalse(view["lost"])
                self.assertGreaterEqual(view["eye"][2], 450)
                self.assertTrue(any("ann" in box for box in view["boxes"]))
                self.assertTrue(any("<img src=x onerror=alert(1)>" in box for box in view["boxes"]))
                self.assertEqual(view["images"], 0)
                ann.do("j 40 60")
                self.look_until(lambda v: self.near(v["bodies"], 40, 60), "ann at her new place")
                self.browser("drag", dx=60, dy=-120)
                self.look_until(lambda v: v["eye"][2] < 440, "a tilted view")
                if os.environ.get("KELMORA_SHOT"):
                    self.browser("shot", file=os.environ["KELMORA_SHOT"])
                self.browser("open", path="/ann", width=400, height=800)
                self.look_until(lambda v: abs(v["eye"][0] - 40) < 0.5 and abs(v["eye"][2] - 10) < 0.5
                                and any(not body["shown"] for body in v["bodies"]), "the field through ann's eyes")
                self.assertFalse(self.browser("look")["overflow"])
            self.assertEqual(self.browser("errors"), [])

    def test_battle_goes_on_without_a_complaint(self):
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
                fired = 0
                end = time.monotonic() + harness.patience(4)
                while time.monotonic() < end:
                    for client in clients:
                        fired += client.ask("x").status == "OK"
                        client.ask("f 2")
                        client.ask("t l 3")
                self.assertGreater(fired, 0)
                if os.environ.get("KELMORA_SHOT"):
                    self.browser("shot", file=os.environ["KELMORA_SHOT"] + ".battle.png")
                view = self.browser("look")
                self.assertFalse(view["lost"])
                self.assertEqual(len([box for box in view["boxes"] if "lead" not in box]),
                                 len([body for body in view["bodies"] if body["type"] == 1]))
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
        # Refused connections are the only thing that the console may have complained about.
        for error in self.browser("errors"):
            self.assertRegex(error, "Failed to load resource")


if __name__ == "__main__":
    harness.main()
