"""Many clients at once, for 5 seconds, or a minute when KELMORA_LONG is set: nobody waits, nothing breaks."""
import os
import random
import threading
import time

import harness
from harness import Client, Closed, FieldTest

SPAN = 60.0 if os.environ.get("KELMORA_LONG") else 5.0


def together(jobs):
    """Runs the jobs on threads of their own and raises the first failure of any."""
    failures = []

    def guarded(job):
        try:
            job()
        except BaseException as failure:                    # handed to the thread that waits
            failures.append(failure)
    threads = [threading.Thread(target=guarded, args=(job,)) for job in jobs]
    for thread in threads:
        thread.start()
    for thread in threads:
        thread.join(SPAN + harness.patience(60))
    if failures:
        raise failures[0]
    if any(thread.is_alive() for thread in threads):
        raise AssertionError("a client did not come to its end")


class Crowd(FieldTest):
    def setUp(self):
        self.seed = int(time.time())
        print("seed %d" % self.seed)

    def test_ten_clients_step_at_once(self):
        clients = self.fresh(10)
        end = time.monotonic() + SPAN
        rounds = [0] * 10

        def walk(index):
            source = random.Random(self.seed + index)
            turtle = clients[index]
            turtle.do("p d", "w 2", "k %.2f %.2f 1" % (source.random(), source.random()))
            last = 0
            while time.monotonic() < end:
                lines = ["t l %.1f" % source.uniform(-60, 60), "f %.1f" % source.uniform(0, 9), "q p", "q w", "q r 3"]
                answers = turtle.ask_all(lines)
                x, y = (float(word) for word in answers[2].values.split())
                if max(abs(x), abs(y)) > 240:
                    turtle.ask("j %.1f %.1f" % (source.uniform(-200, 200), source.uniform(-200, 200)))
                for answer in answers:
                    if answer.clock < last:
                        raise AssertionError("the clock ran backwards at %r" % answer.text)
                    last = answer.clock
                rounds[index] += 1
        together([lambda index=index: walk(index) for index in range(10)])
        print("rounds per client: %s" % rounds)
        # Paced: at most one round a frame; everybody is served in every pass, so nobody gets much less than another.
        self.assertGreater(min(rounds), max(rounds) * 0.5)
        self.assertGreater(min(rounds), SPAN * 2 / max(harness.slow / 4, 1.0))
        self.assertEqual(clients[0].ask("q a").values, "1")

    def test_valid_commands_at_random_while_the_operator_toggles_everything(self):
        end = time.monotonic() + SPAN
        words = ["f %d", "b %d", "g %d %d", "j %d %d", "t l %d", "t r %d", "t e", "p d", "p u", "l", "l s", "l b", "l p",
                 "w %d", "k 1 %d 0", "h 0 0 %d", "s 4142%d", "n 43%d", "u text %d", "i %d", "e %d", "o", "o b", "o s",
                 "o x", "d", "x", "y + %d", "y - %d", "z %d %d %d", "!", "! u", ".", "q p", "q f", "q r", "q w", "q b",
                 "q z s %d", "q z p %d", "c a", "c f", "c h", "c", "r"]

        def play(index):
            source = random.Random(self.seed + index)
            while time.monotonic() < end:
                try:
                    with Client() as turtle:
                        for _ in range(50):
                            lines = [source.choice(words) for _ in range(source.randrange(1, 8))]
                            for found, line in enumerate(lines):
                                while "%d" in line:
                                    line = line.replace("%d", str(source.randrange(-260, 261)), 1)
                                lines[found] = line
                            turtle.ask_all(lines)
                            if time.monotonic() > end:
                                break
                except Closed:
                    # Killed, or no place was left: begin again.
                    pass

        def operate():
            source = random.Random(self.seed)
            keys = ["exclam", "plus", "minus", "comma", "period", "3", "b", "c", "h", "Escape", "K", "M", "n", "o", "s", "z"]
            while time.monotonic() < end:
                self.field.key(*[source.choice(keys) for _ in range(5)])
        together([lambda index=index: play(index) for index in range(8)] + [operate])
        # Leave maze mode if it is on: its next toggle says which it was.
        mark = self.field.mark()
        self.field.key("M")
        self.field.settle()
        if "entering maze mode..." in self.field.said(mark):
            self.field.key("M")
        self.assertEqual(self.fresh().ask("q n").values, "1")

    def test_garbage_and_vanishing_clients_do_not_slow_an_honest_one(self):
        honest = self.fresh()
        end = time.monotonic() + SPAN

        def vandal(index):
            source = random.Random(self.seed + index)
            while time.monotonic() < end:
                try:
                    turtle = Client(greet=False)
                except OSError:
                    continue
                try:
                    for _ in range(source.randrange(1, 10)):
                        size = source.choice((1, 3, 511, 512, 513, 4000))
                        kind = source.random()
                        if kind < 0.4:
                            data = source.randbytes(size)
                        elif kind < 0.7:
                            data = bytes(source.choice(b"fbcgjtplwkhsnuieoyzq.\n;\r\n 019-+e") for _ in range(size))
                        else:
                            data = source.choice((b"\n", b";", b" ", b"f", b"\xff", b"\x00")) * size
                        # Without beams, robots, battle mode, so that the honest turtle lives.
                        turtle.send(data.translate(None, b"xXrR!"))
                    turtle.abort() if source.random() < 0.5 else turtle.close()
                except OSError:
                    turtle.close()

        slowest = [0.0]

        def ask():
            while time.monotonic() < end:
                asked = time.monotonic()
                honest.ask("f 0")
                slowest[0] = max(slowest[0], time.monotonic() - asked)
        together([lambda index=index: vandal(index) for index in range(4)] + [ask])
        print("slowest answer: %.3f s" % slowest[0])
        self.assertLess(slowest[0], harness.patience(2))
        self.assertEqual(self.fresh().ask("q n").values, "1")


if __name__ == "__main__":
    harness.main()
