"""The record: its members, size, truncation, names, and playing it again."""
import gzip
import json
import os
import random
import re
import struct
import tempfile

import harness
from harness import GameTest, lines_of, members_of, replay

LONG = 600000
MINUTE = 7500  # ticks of 8 ms


class Record(GameTest):
    @classmethod
    def setUpClass(cls):
        cls.folder = tempfile.TemporaryDirectory(prefix="kelmora-record-")
        cls.file = os.path.join(cls.folder.name, "battle.gz")
        with harness.Game("--pace", "turns", "-n", 4, "-m", "battle", "-s", 5, "-t", 2500, "--turn-limit", LONG,
                          "-r", cls.file) as game:
            harness.play(game, 4, harness.fight)
            cls.results = game.results()
        with open(cls.file, "rb") as file:
            cls.record = file.read()

    @classmethod
    def tearDownClass(cls):
        cls.folder.cleanup()

    def write(self, data):
        path = os.path.join(self.folder.name, "changed.gz")
        with open(path, "wb") as file:
            file.write(data)
        return path

    def test_members_end_at_full_states_every_thousand_ticks(self):
        ends = []
        for member in members_of(self.record):
            last = json.loads(member.splitlines()[-1])
            self.assertIn("full", last)
            ends.append(last["t"])
        self.assertEqual(ends, [0, 1000, 2000, 2500])

    def test_members_say_how_long_they_are(self):
        at, ticks = 0, []
        while at < len(self.record):
            self.assertEqual(self.record[at:at + 4], b"\x1f\x8b\x08\x04")
            self.assertEqual(self.record[at + 12:at + 16], b"KM\x08\x00")
            length, tick = struct.unpack_from("<II", self.record, at + 16)
            ticks.append(tick)
            at += length
        self.assertEqual((at, ticks), (len(self.record), [0, 1000, 2000, 2500]))

    def test_the_head_tells_the_game(self):
        head = lines_of(self.record)[0]
        self.assertEqual({key: head[key] for key in ("kelmora_record", "seed", "mode", "pace", "stones", "coins")},
                         {"kelmora_record": 1, "seed": 5, "mode": "battle", "pace": "turns", "stones": 0, "coins": 0})
        self.assertEqual(len(head["walls"]), 4)

    def test_the_end_holds_the_results(self):
        last = lines_of(self.record)[-1]
        self.assertEqual(last["end"], self.results)
        shown = {turtle["seat"]: turtle["score"] for _, turtle in last["full"]["turtles"] if "seat" in turtle}
        alive = {p["seat"]: p["score"] for p in self.results["programs"] if p["death"] is None}
        self.assertEqual(shown, alive)

    def test_it_can_be_played_again(self):
        done = replay("--verify", self.file)
        self.assertEqual((done.returncode, done.stderr), (0, ""))
        self.assertIn("verified: the same up to tick 2500", done.stdout)
        self.assertIn("Fighter0", done.stdout)

    def test_a_command_that_was_changed_is_found(self):
        lines = gzip.decompress(self.record).decode().splitlines()
        for wanted in (300, 1500):
            at = next(k for k, line in enumerate(lines) if json.loads(line).get("t", 0) >= wanted and '"c":"' in line and "\u00ab" not in line)
            # Another program's letter instead of this one's: another command in this tick.
            changed = json.loads(lines[at])
            tick = changed["t"]
            letters = list(changed["c"])
            at_letter = next(k for k, letter in enumerate(letters) if letter != ".")
            letters[at_letter] = "."  # as if this program had sent nothing
            changed["c"] = "".join(letters)
            text = json.dumps(changed, separators=(",", ":"), ensure_ascii=False)
            data = gzip.compress(("\n".join(lines[:at] + [text] + lines[at + 1:]) + "\n").encode())
            done = replay("--verify", self.write(data))
            self.assertEqual(done.returncode, 1)
            self.assertIn("differs at tick %d:" % tick, done.stdout)

    def test_a_state_that_was_changed_is_found(self):
        text = gzip.decompress(self.record).decode()
        full = next(line for line in text.splitlines() if line.startswith('{"t":1000,"full"'))
        changed = re.sub(r'"score":(\d+)', lambda m: '"score":%d' % (int(m[1]) + 1), full, count=1)
        done = replay("--verify", self.write(gzip.compress(text.replace(full, changed).encode())))
        self.assertEqual(done.returncode, 1)
        self.assertIn("differs at tick 1000:", done.stdout)

    def test_a_head_that_spells_its_keys_otherwise_differs(self):
        text = gzip.decompress(self.record).decode().replace('"seed"', '"\\u0073eed"', 1)
        done = replay("--verify", self.write(gzip.compress(text.encode())))
        self.assertEqual(done.returncode, 1, done.stderr)
        self.assertIn("differs at tick 0:", done.stdout)

    def test_a_file_cut_off_anywhere_plays_up_to_the_cut(self):
        dice = random.Random(1)
        whole = gzip.decompress(self.record).decode().splitlines()
        seen = []
        for cut in sorted(dice.randrange(400, len(self.record)) for _ in range(12)):
            path = self.write(self.record[:cut])
            done = replay("--verify", path)
            self.assertEqual(done.returncode, 1)  # it is incomplete, and says so
            self.assertIn("cut off", done.stderr)
            tick = int(re.search(r"the same up to tick (\d+)", done.stdout)[1])
            seen.append(tick)
            unpacked = b"".join(members_of(self.record[:cut])).decode(errors="replace")
            last = unpacked.rsplit("\n", 1)[0].splitlines()[-1]
            self.assertEqual(last, whole[len(unpacked.rsplit("\n", 1)[0].splitlines()) - 1])
            self.assertEqual(json.loads(last)["t"], tick)
        self.assertEqual(seen, sorted(seen))
        self.assertGreater(seen[-1], seen[0])

    def test_damage_is_no_crash(self):
        dice = random.Random(2)
        for _ in range(60):
            data = bytearray(self.record)
            for _ in range(3):
                data[dice.randrange(len(data))] = dice.randrange(256)
            done = replay("--verify", self.write(bytes(data)))
            self.assertIn(done.returncode, (0, 1, 2), done.stderr)
        lines = gzip.decompress(self.record).decode().splitlines()
        for _ in range(60):
            changed = list(lines)
            at = dice.randrange(len(changed))
            text = list(changed[at])
            for _ in range(2):
                text[dice.randrange(len(text))] = dice.choice('0123456789[]{},":.«-')
            changed[at] = "".join(text)
            done = replay("--verify", self.write(gzip.compress("\n".join(changed).encode())))
            self.assertIn(done.returncode, (0, 1, 2), done.stderr)

    def test_what_is_no_record_is_refused(self):
        for data in (b"", b"hello", gzip.compress(b"hello\n"), gzip.compress(b'{"kelmora_record":2}\n')):
            done = replay(self.write(data))
            self.assertEqual((done.returncode, done.stdout), (2, ""))
            self.assertEqual(done.stderr.count("\n"), 1)
        self.assertEqual(replay().returncode, 2)
        self.assertEqual(replay("/nowhere/at/all").returncode, 2)

    def test_hostile_lines_are_refused(self):
        head, state = gzip.decompress(self.record).decode().splitlines()[:2]
        deep = '{"a":' * 200000 + "1" + "}" * 200000
        for line in ("[" * 200000 + "]" * 200000, '{"t":0,"full":{},"end":%s}' % deep, '{"t":0,"full":%s}' % deep, '{"t":1e999}',
                     '{"t":%s}' % ("9" * 100000), '{"t":-5}', '{"t":4,"c":5,"d":"x","a":[]}', '{"t":4,"d":[1,{}]}', "",
                     '{"t":4,"c":"' + "\u00ab" * 9 + '"}', '{"t":4,"d":["+;+;+"],"c":"!.........' + "." * 30 + '"}',
                     '{"t":9223372036854775807}'):
            with self.subTest(line=line[:40]):
                done = replay("--verify", self.write(gzip.compress((head + "\n" + state + "\n" + line + "\n").encode())))
                self.assertEqual(done.returncode, 1, done.stderr)
                self.assertIn("differs at tick 0", done.stdout)
        odd = '{"t":4,"full":{},"end":{"why":{},"programs":[1,{},{"name":[],"place":1e300,"seat":18446744073709551615,"death":-1}]}}'
        self.assertEqual(replay(self.write(gzip.compress((head + "\n" + odd + "\n").encode()))).returncode, 0)

    def test_little_that_unpacks_to_much_is_read_only_so_far(self):
        head = gzip.decompress(self.record).splitlines()[0]
        for data, code in ((b"\n" * (1 << 27), 2), (b"x" * (1 << 27), 2), (head + b"\n" + b"x" * (1 << 27), 1)):
            done = replay(self.write(gzip.compress(data, 1)))
            self.assertEqual((done.returncode, done.stderr.count("\n")), (code, 1), done.stderr)


class Sizes(GameTest):
    def test_a_battle_of_ten_takes_less_than_60_kB_a_minute(self):
        game = self.recorded("--pace", "turns", "-n", 10, "-m", "battle", "-s", 8, "-t", 1500, "--turn-limit", LONG)

        def spar(program, seat):
            """Looks around in every turn, wanders, and fires past all others, so that all ten survive."""
            dice = random.Random(seat)
            try:
                while True:
                    step = dice.choice(("f 2", "t l 3", "t r 3"))
                    for _ in range(dice.randrange(1, 20)):
                        program.ask("q r", "q f")
                        program.ask(step)
                    if dice.random() < 0.05:
                        program.ask("x")
            except harness.Closed:
                program.hang_up()
        harness.play(game, 10, spar)
        game.wait()
        lines = lines_of(game.record())
        self.assertGreaterEqual(sum("c" in line for line in lines), 1500 // 4 - 1)
        self.assertLess(len(game.record()) * MINUTE / 1500, 60000)


class Names(GameTest):
    def test_anonymous_leaves_all_texts_out(self):
        secret = "Wilhelmina"
        for options in ([], ["--anonymous"]):
            game = self.recorded("--pace", "turns", "-n", 2, "-t", 8, "--turn-limit", LONG, *options)
            with game.join() as a, game.join() as b:
                for program in (a, b):
                    program.send("n " + secret.encode().hex(), "i 1", "u " + secret, "s " + secret.encode().hex(),
                                 *["f 1"] * 7)
                game.wait()
            text = gzip.decompress(game.record()).decode()
            for form in (secret, secret.encode().hex()):
                self.assertEqual(form in text, not options)
            self.assertEqual([p["name"] for p in game.results()["programs"]], [secret] * 2)
            self.assertIn("verified", replay("--verify", game.record_file).stdout)

    def test_a_name_of_any_bytes_is_json(self):
        game = self.recorded("--pace", "turns", "-n", 1, "-t", 4)
        with game.join() as program:
            program.send("n 22ff5c0a41c3a4e0", "f 1", "f 1", "f 1", "f 1")
            game.wait()
        self.assertEqual(game.results()["programs"][0]["name"], '"\ufffd\\\nA\u00e4\ufffd')
        self.assertEqual(lines_of(game.record())[-1]["full"]["turtles"][0][1]["name"], '"\ufffd\\\nA\u00e4\ufffd')


class Painting(GameTest):
    def test_lines_colours_and_wipes_are_kept(self):
        game = self.recorded("--pace", "turns", "-n", 1, "-t", 12)
        with game.join() as program:
            for line in ("c", "k 0 1 0.5", "p d", "w 3", "f 10", "f 10", "t l 90", "f 20", "h 0 0 1", "f 5", "f 0", "f 0", "f 0",
                         "f 0"):
                program.ask(line)
            game.wait()
        lines = lines_of(game.record())
        pieces = [piece for line in lines for piece in line.get("p", [])]
        # Quarters of a field unit: from (0, 0) by 10, then 10, then up by 20.
        self.assertIn([0, "00ff80", 300], pieces)
        ends = [piece[-2:] for piece in pieces if isinstance(piece[1], int)]
        self.assertEqual([e for e in ends if e != ends[0]][:1], [[40, 0]])
        self.assertIn([80, 0], ends)
        self.assertEqual([line["wipe"] for line in lines if "wipe" in line], ["0000ff"])
        self.assertEqual(lines[-1]["full"]["ground"], "0000ff")


if __name__ == "__main__":
    harness.main()
