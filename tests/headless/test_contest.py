"""Contests: known bots give a known table whatever the others do; resumed after a kill and over ssh the table is the
same."""
import csv
import getpass
import hashlib
import json
import os
import shutil
import signal
import subprocess
import sys
import tempfile
import time
import unittest

import harness

HERE = os.path.dirname(os.path.abspath(__file__))
CONTEST = os.path.join(HERE, "..", "..", "contest", "kelmora-contest")
HANG = 400


class Contest(unittest.TestCase):
    def setUp(self):
        self.folder = tempfile.mkdtemp(prefix="kelmora-contest-")
        os.chmod(self.folder, 0o755)
        self.addCleanup(shutil.rmtree, self.folder, True)
        shutil.copy(os.path.join(HERE, "bots.py"), self.folder)

    def plan(self, bots, **settings):
        settings = {"mode": "battle", "ticks": 150, "seeds": [4], "meet": "pairs", "turn_limit": 60000} | settings
        lines = [f"{key} = {json.dumps(value)}" for key, value in settings.items() if key != "limits"]
        for bot in bots:
            name, kind, team = (bot + (0,))[:3] if isinstance(bot, tuple) else (bot, bot, 0)
            lines += ["[[bots]]", f'name = "{name}"', f'command = "/usr/bin/python3 bots.py {kind}"', f"team = {team}"]
        if "limits" in settings:
            lines += ["[limits]"] + [f"{key} = {value}" for key, value in settings["limits"].items()]
        path = os.path.join(self.folder, "plan.toml")
        with open(path, "w", encoding="utf-8") as file:
            file.write("\n".join(lines) + "\n")
        return path

    def contest(self, *words, code=0):
        environment = dict(os.environ, PATH=os.path.dirname(os.path.abspath(harness.PROGRAM)) + ":" + os.environ["PATH"])
        done = subprocess.run([sys.executable, CONTEST, *words], capture_output=True, text=True, timeout=HANG, env=environment,
                              check=False)
        self.assertEqual(done.returncode, code, done.stdout + done.stderr)
        return done

    def run_plan(self, plan, out="out", *more):
        out = os.path.join(self.folder, out)
        done = self.contest("run", plan, "--out", out, "--jobs", "2", *more)
        with open(os.path.join(out, "results.json"), encoding="utf-8") as file:
            return json.load(file), done, out

    @staticmethod
    def bytes_of(*path):
        with open(os.path.join(*path), "rb") as file:
            return file.read()

    def digest(self, out):
        told = hashlib.sha256()
        for name in ("results.json", "results.csv", "index.html"):
            told.update(self.bytes_of(out, name))
        return told.hexdigest()

    def test_known_bots_give_a_known_table_twice(self):
        plan = self.plan(["hunter", "target"], seeds=[4, 5], ticks=2500, until_one=True)
        results, done, out = self.run_plan(plan)
        first, second = results["standings"]
        # Two seeds, each from both seats: four matches, and a target that stands still loses all.
        self.assertEqual((first["name"], first["matches"], first["points"]), ("hunter", 4, 4.0))
        self.assertEqual((second["name"], second["points"], second["score"]), ("target", 0.0, 0.0))
        # 4.5 of 5 games, with half a game added to each side: odds of 9.
        self.assertAlmostEqual(first["rating"] - second["rating"], 400 * 0.9542425, delta=0.11)
        self.assertEqual([(m["seed"], m["bots"]["hunter"]["seat"]) for m in results["matches"]], [(4, 0), (4, 1), (5, 0), (5, 1)])
        self.assertIn("No turn was missed", done.stdout)
        with open(os.path.join(out, "results.csv"), encoding="utf-8", newline="") as file:
            self.assertEqual([row["name"] for row in csv.DictReader(file)], ["hunter", "target"])
        again = self.run_plan(plan, "again")[2]
        self.assertEqual(self.digest(out), self.digest(again))
        for match in ("00001", "00004"):
            self.assertEqual(*(self.bytes_of(folder, "matches", match, "game.gz") for folder in (out, again)))

    def test_whoever_spoils_a_match_loses_it_and_the_contest_goes_on(self):
        spoilers = {"silent": "hung", "flood": "hung", "crash": "crashed", "leaver": "left", "absent": "never joined",
                    "thief": "took another's name", "twice": "took a second seat", "eater": "crashed",
                    "browser": "spoke HTTP"}
        plan = self.plan(["hunter", *spoilers], turn_limit=1000, ticks=40, limits={"join_seconds": 60})
        # All pairs would be 72 matches; those with the hunter are enough.
        with open(plan, encoding="utf-8") as file:
            text = file.read()
        for name, trouble in spoilers.items():
            with self.subTest(bot=name):
                parts = text.split("[[bots]]")
                chosen = [part for part in parts[1:] if f'name = "{name}"' in part or 'name = "hunter"' in part]
                with open(plan, "w", encoding="utf-8") as file:
                    file.write("[[bots]]".join(["\n".join(line for line in parts[0].splitlines()) + "\n", *[c.split("[limits]")[0] for c in chosen]]))
                results = self.run_plan(plan, "out-" + name)[0]
                self.assertEqual(results["standings"][0]["name"], "hunter")
                self.assertEqual([m["bots"][name]["trouble"] for m in results["matches"]], [trouble] * 2)
                self.assertEqual([m["bots"]["hunter"]["trouble"] for m in results["matches"]], [""] * 2)
        with open(os.path.join(self.folder, "out-crash", "matches", "00001", "crash.log"), encoding="utf-8") as log:
            self.assertIn("this bot crashes", log.read())

    def test_bots_are_bounded(self):
        # Whether others can read the plan's folder or not.
        for mode in (0o755, 0o700):
            with self.subTest(mode=mode):
                os.chmod(self.folder, mode)
                out = self.run_plan(self.plan(["target", "greedy"], ticks=5, limits={"processes": 8}), "out-%o" % mode)[2]
                with open(os.path.join(out, "matches", "00001", "greedy.log"), encoding="utf-8") as log:
                    told = log.read().split()
                self.assertIn("no-memory", told)
                self.assertIn("no-network", told)
                if os.getuid() == 0:  # else others' processes count, too
                    self.assertIn("no-process", told)
                    self.assertIn("no-file", told)

    def test_all_meet_and_teams_meet(self):
        results = self.run_plan(self.plan(["hunter", "target", "leaver"], meet="all", ticks=30))[0]
        self.assertEqual([sorted(m["bots"]) for m in results["matches"]], [["hunter", "leaver", "target"]] * 3)
        self.assertEqual({m["bots"]["leaver"]["seat"] for m in results["matches"]}, {0, 1, 2})
        teams = [("a", "target", 1), ("b", "target", 1), ("c", "hunter", 2), ("d", "hunter", 2)]
        results = self.run_plan(self.plan(teams, meet="teams", ticks=30), "teams")[0]
        self.assertEqual(len(results["matches"]), 4)
        self.assertFalse([pair for pair in results["wins"] if pair in ("a over b", "c over d")])

    def test_a_contest_that_was_killed_goes_on_to_the_same_table(self):
        plan = self.plan(["hunter", "target"], seeds=6, ticks=100)
        whole = self.run_plan(plan)[2]
        out = os.path.join(self.folder, "killed")
        environment = dict(os.environ, PATH=os.path.dirname(os.path.abspath(harness.PROGRAM)) + ":" + os.environ["PATH"])
        job = subprocess.Popen([sys.executable, CONTEST, "run", plan, "--out", out, "--jobs", "1"], env=environment,
                               stderr=subprocess.DEVNULL, stdout=subprocess.DEVNULL, start_new_session=True)
        end = time.monotonic() + HANG
        while time.monotonic() < end and not os.path.exists(os.path.join(out, "matches", "00003", "verdict.json")):
            time.sleep(0.05)
        os.killpg(job.pid, signal.SIGKILL)
        job.wait()
        self.assertFalse(os.path.exists(os.path.join(out, "results.json")))
        self.contest("run", plan, "--out", out, code=2)  # refuses to overwrite
        self.run_plan(plan, "killed", "--resume")
        self.assertEqual(self.digest(whole), self.digest(out))

    def test_two_hosts_over_ssh_play_the_same_contest(self):
        plan = self.plan(["hunter", "target"], seeds=2, ticks=100)
        here = self.run_plan(plan)[2]
        key, host_key = os.path.join(self.folder, "key"), os.path.join(self.folder, "host")
        for path in (key, host_key):
            subprocess.run(["ssh-keygen", "-q", "-t", "ed25519", "-N", "", "-f", path], check=True, timeout=HANG)
        if os.getuid() == 0:
            os.makedirs("/run/sshd", mode=0o755, exist_ok=True)
        port = 2299
        settings = os.path.join(self.folder, "sshd_config")
        with open(settings, "w", encoding="utf-8") as file:
            file.write(f"ListenAddress 127.0.0.1:{port}\nListenAddress 127.0.0.2:{port}\nHostKey {host_key}\nAuthorizedKeysFile {key}.pub\n"
                       "StrictModes no\nPasswordAuthentication no\nPermitRootLogin yes\nUsePAM no\nPidFile none\n")
        server = subprocess.Popen(["/usr/sbin/sshd", "-D", "-e", "-f", settings], stderr=subprocess.DEVNULL)
        self.addCleanup(server.wait)
        self.addCleanup(server.terminate)
        login = (f"ssh -p {port} -i {key} -o BatchMode=yes -o StrictHostKeyChecking=no -o UserKnownHostsFile=/dev/null "
                 f"-o LogLevel=ERROR {getpass.getuser()}@")
        hosts = os.path.join(self.folder, "hosts")
        with open(hosts, "w", encoding="utf-8") as file:
            file.write("".join(f"1/{login}127.0.0.{n}\n" for n in (1, 2)))
        end = time.monotonic() + HANG
        while subprocess.run([*login.split(), ][:-1] + [f"{getpass.getuser()}@127.0.0.1", "true"], capture_output=True, timeout=HANG,
                             check=False).returncode and time.monotonic() < end:
            time.sleep(0.1)
        there = self.run_plan(plan, "there", "--hosts", hosts)[2]
        self.assertEqual(self.digest(here), self.digest(there))
        with open(os.path.join(there, "jobs.log"), encoding="utf-8") as log:
            used = {line.split("\t")[1] for line in log.readlines()[1:]}
        self.assertEqual(len(used), 2)

    def test_a_wrong_plan_is_one_line_and_exit_code_2(self):
        for settings in ({"mode": "war"}, {"meet": "some"}, {"ticks": 0}, {"seeds": []}, {"colour": 1}, {"turn_limit": "fast"}):
            with self.subTest(settings=settings):
                done = self.contest("run", self.plan(["hunter", "target"], **settings), "--out", os.path.join(self.folder, "no"), code=2)
                self.assertEqual(done.stderr.count("\n"), 1)
        bots = '[[bots]]\nname = "a"\ncommand = "true"\n[[bots]]\nname = "b"\ncommand = "true"\n'
        for text in ("x = " + "[" * 100000, "seeds = 1000000000000\n" + bots, "seeds = " + "9" * 5000 + "\n" + bots, "seeds = [true]\n" + bots,
                     "rounds = 1000000\nseeds = 1000000\n" + bots, "bots = [1, 2]", 'bots = "x"', "\xff", bots.replace('"a"', '".."'),
                     bots.replace('"a"', '"-x"'), bots.replace('"a"', '"a/b"'), bots.replace('"true"', "'\"'", 1), bots + "team = true",
                     bots.replace('"true"', '"a\\u0000"', 1), bots + "colour = 1", bots + "[limits]\nmemory_mb = 99999999999999999999",
                     bots + "[limits]\nprocesses = true"):
            with self.subTest(text=text[:60]):
                with open(os.path.join(self.folder, "hostile.toml"), "w", encoding="latin-1") as file:
                    file.write(text)
                done = self.contest("run", os.path.join(self.folder, "hostile.toml"), "--out", os.path.join(self.folder, "no"), code=2)
                self.assertEqual(done.stderr.count("\n"), 1)
        self.contest("run", self.plan(["hunter"]), "--out", os.path.join(self.folder, "no"), code=2)
        self.contest("run", self.plan(["hunter", "hunter"]), "--out", os.path.join(self.folder, "no"), code=2)
        self.contest("table", self.folder, code=2)
        plan = self.plan(["hunter", "target"])
        for words in (["--out", plan], ["--out", os.path.join(self.folder, "no"), "--hosts", "/nowhere"]):
            self.assertEqual(self.contest("run", plan, *words, code=2).stderr.count("\n"), 1)


if __name__ == "__main__":
    harness.main()
