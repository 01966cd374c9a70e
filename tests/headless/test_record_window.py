"""kelmora-record writes the same format from a running field's web addresses. A field without a window has the same."""
import os
import signal
import subprocess
import sys

import harness
from harness import HANG, GameTest, lines_of, members_of, replay

RECORD = os.path.join(os.path.dirname(os.path.abspath(__file__)), "..", "..", "contest", "kelmora-record")


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
                while program.clock() < clock + 40:  # the last changes have been fetched
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
        self.assertEqual(len(members_of(data)), 2)
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

    def test_a_field_that_does_not_answer_is_one_line(self):
        done = subprocess.run([sys.executable, RECORD, "--url", "http://127.0.0.1:9", "/dev/null"], capture_output=True, text=True,
                              timeout=HANG, check=False)
        self.assertEqual((done.returncode, done.stderr.count("\n")), (1, 1))


if __name__ == "__main__":
    harness.main()
