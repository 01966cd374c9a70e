"""Lock-step: order of execution, missed turns, and that the outcome is a function of seed and programs."""
import hashlib
import os
import random
import subprocess
import signal
import threading
import time

import harness
from harness import HANG, Closed, GameTest, lines_of

LONG = 600000  # ms: a limit that only a hang reaches
SHORT = 2000   # ms: a limit that is waited for, and that a program on a loaded machine still keeps


class Turns(GameTest):
    def turns(self, programs, *options, limit=LONG):
        game = self.game("--pace", "turns", "--turn-limit", limit, "-n", programs, "-s", 3, *options)
        joined = [game.join() for _ in range(programs)]
        for program in joined:
            self.addCleanup(program.hang_up)
        return game, *joined

    def test_a_tick_comes_when_every_program_has_stepped(self):
        _, a, b = self.turns(2)
        a.send("f 1", "f 1")
        self.assertFalse(a.has_answer(0.2))  # the round waits for b's first line
        b.send("f 1")
        self.assertEqual([a.answer(), b.answer()], ["OK @ 0 0", "OK @ 0 0"])
        self.assertFalse(a.has_answer(0.2))  # tick 1 has passed, b has not sent a line in the next turn
        b.send("f 1")
        self.assertEqual([a.answer(), b.answer()], ["OK @ 1 0", "OK @ 1 0"])

    def test_nobody_is_thrown_out_when_the_game_is_stopped_and_goes_on(self):
        game, a, b = self.turns(2)
        for tick in range(200):
            for program in (a, b):
                program.send("f 0")
            self.assertEqual([a.answer(), b.answer()], ["OK @ %d 0" % tick] * 2)
            if tick % 10 == 0:
                game.process.send_signal(signal.SIGSTOP)
                game.process.send_signal(signal.SIGCONT)

    def test_questions_take_no_turn(self):
        _, a, b = self.turns(2)
        a.send("q t", "q t", "q t", "f 1", "q t")
        b.send("f 1", "q t")
        self.assertEqual([a.answer() for _ in range(4)], ["0 OK @ 0 0"] * 3 + ["OK @ 0 0"])
        self.assertEqual([b.answer() for _ in range(2)], ["OK @ 0 0", "1 OK @ 1 0"])
        self.assertEqual(a.answer(), "1 OK @ 1 0")

    def test_rounds_run_in_the_order_of_the_seats(self):
        # Both want the last ten coins of the bank in the same round: the lower seat gets them, whoever is first to
        # send.
        for first in (0, 1):
            _, a, b = self.turns(2)
            pair = (a, b)
            lines = ["o b"] * 16 + ["f 0"]
            pair[first].send(*lines)
            self.assertFalse(pair[first].has_answer(0.1))
            pair[1 - first].send(*lines)
            told = [[program.answer().split(" @ ")[0] for _ in lines] for program in pair]
            self.assertEqual(told[0].count("OK"), 15 + 1)
            self.assertEqual(told[1].count("OK"), 15 + 1)
            # 300 coins are 30 loans, the fifteenth of each is the last.
            self.assertEqual((told[0][14], told[1][14], told[0][15], told[1][15]), ("OK", "OK", "ERR", "ERR"))

    def test_nothing_runs_before_all_have_joined(self):
        game = self.game("--pace", "turns", "-n", 2, "--turn-limit", LONG)
        with game.join() as a:
            a.send("q t")
            self.assertFalse(a.has_answer(0.3))
            with game.join() as b:
                b.send("f 1")
                self.assertEqual(a.answer(), "0 OK @ 0 0")

    def test_the_clock_of_the_other_paces_stands_until_then_too(self):
        for pace in ("real", "free"):
            game = self.game("--pace", pace, "-n", 2)
            with game.join() as a:
                a.send("q t")
                self.assertFalse(a.has_answer(0.3))
                with game.join():
                    self.assertTrue(a.has_answer(HANG))

    def test_lines_sent_before_an_orderly_end_still_run(self):
        game, a, b = self.turns(2, "-t", 60)
        a.send("n 4c656176657200", "i 2", *["f 1"] * 40)
        a.hang_up()
        try:
            while True:
                b.ask("f 0")
        except Closed:
            pass
        one, two = game.results()["programs"]
        self.assertEqual((one["name"], one["team"], one["commands"], one["missed_turns"]), ("Leaver", 2, 42, 0))
        self.assertEqual((two["commands"], two["missed_turns"]), (60, 0))

    def test_also_when_it_never_read_an_answer(self):
        game, a = self.turns(1, "-t", 400)
        a.send(*["q p", "f 0.001"] * 300)
        a.sock.shutdown(harness.socket.SHUT_WR)
        self.assertEqual(game.results()["programs"][0]["commands"], 600)

    def test_half_a_line_misses_the_turn_and_counts_when_it_is_whole(self):
        _, a, b = self.turns(2, limit=SHORT)
        a.sock.sendall(b"f ")
        self.assertEqual(b.ask("f 1"), "OK @ 0 0")
        self.assertEqual(b.clock("f 1"), 1)
        a.sock.sendall(b"1\n")
        self.assertTrue(a.answer().startswith("OK @ "))

    def test_a_silent_one_misses_every_turn_and_delays_the_other_without_a_miss(self):
        game, silent, busy = self.turns(2, "-t", 3, limit=SHORT)
        for tick in range(3):
            began = time.monotonic()
            self.assertEqual(busy.ask("q t", "q p", "f 1").split(" @ ")[1], "%d 0" % tick)
            # Three lines wait for the silent one once, not three times.
            self.assertLess(time.monotonic() - began, HANG / 2)
        results = game.results()["programs"]
        self.assertEqual([p["missed_turns"] for p in results], [3, 0])
        self.assertEqual([p["commands"] for p in results], [0, 9])
        silent.hang_up()

    def test_two_silent_ones_are_waited_for_at_the_same_time(self):
        game, first, second, busy = self.turns(3, "-t", 2, limit=SHORT)
        began = time.monotonic()
        for _ in range(2):
            busy.ask("f 1")
        game.wait()
        self.assertGreaterEqual(time.monotonic() - began, 2 * SHORT / 1000 * 0.9)
        self.assertEqual([p["missed_turns"] for p in game.results()["programs"]], [2, 2, 0])

    def test_a_flood_of_questions_is_a_missed_turn(self):
        game, flood, busy = self.turns(2, "-t", 2)
        flood.send(*["q p"] * 2000)
        threads = [threading.Thread(target=lambda: [flood.answer() for _ in range(2000)])]
        threads[0].start()
        busy.ask("f 1")
        busy.ask("f 1")
        threads[0].join(HANG)
        self.assertEqual([(p["missed_turns"], p["commands"]) for p in game.results()["programs"]], [(2, 2000), (0, 2)])

    def test_leaving_in_the_turn_ends_it(self):
        game, a, b = self.turns(2, "-t", 3)
        a.send("q p")
        b.send("f 1")
        a.answer()
        a.hang_up()
        b.answer()
        self.assertEqual(b.clock("f 1"), 1)
        self.assertEqual(b.clock("f 1"), 2)
        self.assertEqual([p["missed_turns"] for p in game.results()["programs"]], [0, 0])

    def test_a_reset_connection_ends_the_turn_too(self):
        _, a, b = self.turns(2)
        a.sock.setsockopt(harness.socket.SOL_SOCKET, harness.socket.SO_LINGER, b"\1\0\0\0\0\0\0\0")
        a.hang_up()
        self.assertEqual(b.clock("f 1"), 0)
        self.assertEqual(b.clock("f 1"), 1)

    def test_a_browser_at_the_wrong_port_is_no_program(self):
        game = self.recorded("--pace", "turns", "--turn-limit", LONG, "-n", 1, "-s", 3, "-t", 2000)
        a = game.join()
        a.ask("f 1")
        browser = game.join()
        for piece in (b"GET /", b";!;z%205", b" HTTP/1.1\r\nHost: x\r\n\r\n"):
            browser.sock.sendall(piece)
        for _ in range(1000):
            a.ask("f 0")
            if browser.has_answer(0.001):
                break
        with self.assertRaises(Closed):
            browser.answer()
        self.assertEqual(a.ask("q n", "q z s 5").split(" ")[0], "0")
        self.assertEqual(a.ask("q n").split(" @ ")[0], "1 OK")  # not even a zombie
        a.hang_up()
        self.assertEqual([(p["seat"], p["place"]) for p in game.results()["programs"]], [(0, 1)])
        self.assertIn("verified", harness.replay("--verify", game.record_file).stdout)
        browser.hang_up()

    def test_a_browser_before_the_start_takes_no_part(self):
        for pace in ("turns", "free"):
            with self.subTest(pace=pace):
                game = self.recorded("--pace", pace, "--turn-limit", LONG, "-n", 2, "-s", 3, "-t", 6)
                programs = []
                for _ in range(2):
                    self.knock(game)
                    programs.append(game.join())
                    programs[-1].send("q f", *["f 1"] * 6)
                results = game.results()
                self.assertEqual([(p["seat"], p["place"]) for p in results["programs"]], [(0, 1), (1, 1)])
                if pace == "turns":
                    self.assertEqual([p["commands"] for p in results["programs"]], [7, 7])
                self.assertIn("verified", harness.replay("--verify", game.record_file).stdout)
                for program in programs:
                    program.hang_up()

    def test_a_program_that_joins_later_plays_from_the_next_turn(self):
        game, a = self.turns(1)
        a.ask("f 1")
        with game.join() as b:
            b.send("f 1")
            for _ in range(1000):
                if b.has_answer(0.001):
                    break
                a.ask("f 0")
            self.assertTrue(b.answer().startswith("OK @ "))

    def test_the_clock_runs_on_to_its_end_when_all_have_left(self):
        game, a = self.turns(1, "-t", 50)
        a.ask("f 1")
        a.hang_up()
        self.assertEqual((game.results()["ticks"], game.results()["why"]), (50, "ticks"))

    def test_and_stands_when_it_has_none(self):
        game, a = self.turns(1)
        a.ask("f 1")
        a.hang_up()
        with game.join() as b:
            self.assertLess(b.clock(), 3)


class Endings(GameTest):
    def test_one_is_left_when_the_others_hang_up(self):
        game = self.game("--pace", "turns", "-n", 3, "--until-one", "--turn-limit", LONG)
        a, b, c = (game.join() for _ in range(3))
        a.send("f 1")
        b.send("f 1")
        c.send("f 1")
        b.hang_up()
        c.hang_up()
        try:
            while True:
                a.ask("f 1")
        except Closed:
            pass
        results = game.results()
        self.assertEqual(results["why"], "one left")
        self.assertEqual([p["place"] for p in results["programs"]][0], 1)
        a.hang_up()

    def test_who_leaves_before_the_other_has_spoken_was_a_side(self):
        for leaves in (0, 1):
            with self.subTest(seat=leaves):
                game = self.game("--pace", "turns", "--turn-limit", LONG, "-n", 2, "--until-one")
                programs = [game.join(), game.join()]
                programs[1 - leaves].send("f 1")
                programs[leaves].hang_up()
                self.assertEqual(game.results()["why"], "one left")
                programs[1 - leaves].hang_up()

    def test_a_browser_is_no_side(self):
        game = self.game("--pace", "free", "-n", 1, "--until-one")
        with game.join() as a:
            a.ask("f 1")
            for _ in range(3):
                self.knock(game)
                a.ask("f 1")  # the game goes on
            game.join().hang_up()  # a silent one is a side
            self.assertEqual(game.results()["why"], "one left")

    def test_players_of_one_team_are_one(self):
        game = self.game("--pace", "turns", "-n", 3, "--until-one", "--turn-limit", LONG)
        a, b, c = (game.join() for _ in range(3))
        for program, line in ((a, "i 1"), (b, "i 1"), (c, "i 2")):
            program.send(line, "f 0")
        c.hang_up()

        def step(program):
            try:
                while True:
                    program.ask("f 0")
            except Closed:
                pass
        threads = [threading.Thread(target=step, args=(program,)) for program in (a, b)]
        for thread in threads:
            thread.start()
        for thread in threads:
            thread.join(HANG)
        self.assertEqual(game.results()["why"], "one left")
        a.hang_up()
        b.hang_up()

    def test_a_shot_turtle_has_a_death_and_a_last_score(self):
        game = self.recorded("--pace", "turns", "-n", 2, "-m", "battle", "-s", 11, "--until-one", "--turn-limit", LONG)
        harness.play(game, 2, harness.fight)
        results = game.results()
        self.assertEqual(results["why"], "one left")
        winner, loser = sorted(results["programs"], key=lambda p: p["place"])
        self.assertIsNone(winner["death"])
        self.assertEqual((loser["place"], loser["score"], loser["death"]), (2, 0, results["ticks"]))
        self.assertGreater(winner["score"], 0)


class Same(GameTest):
    RUNS = 20

    def one_game(self, sleepy):
        game = self.recorded("--pace", "turns", "-n", 4, "-m", "battle", "-s", 42, "-t", 400, "--turn-limit", LONG,
                             "--stones", 3, "--coins", 10)
        harness.play(game, 4, lambda program, seat: harness.fight(program, seat, sleepy))
        game.wait()
        return hashlib.sha256(game.record()).hexdigest(), game.results(), lines_of(game.record())

    def test_same_seed_and_programs_give_the_same_record_byte_for_byte(self):
        busy = [subprocess.Popen(["sh", "-c", "while :; do :; done"]) for _ in range(2 * os.cpu_count())]
        try:
            first = self.one_game(0.0)
            self.assertEqual(first[1]["ticks"], 400)
            for run in range(1, self.RUNS):
                if run == self.RUNS // 2:
                    for process in busy:
                        process.kill()
                        process.wait()
                with self.subTest(run=run):
                    self.assertEqual(self.one_game(random.choice((0.0, 0.02))), first)
        finally:
            for process in busy:
                process.kill()
                process.wait()

    def test_another_seed_gives_another_game(self):
        ends = set()
        for seed in (1, 2):
            game = self.game("--pace", "turns", "-n", 1, "-s", seed, "-t", 1)
            with game.join() as program:
                ends.add(program.ask("q p"))
                program.ask("f 0")
        self.assertEqual(len(ends), 2)


if __name__ == "__main__":
    harness.main()
