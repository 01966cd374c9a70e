"""The shell library: vectors, hostile servers, and its own features."""
import os
import socket
import subprocess
import time
import unittest

import agents
from agents import OK

LIBRARY = os.path.join(agents.ROOT, "clients", "shell", "kelmora.sh")

# Cases of the vectors that need a form of their own in the shell.
OWN = [
    {"name": "home is a jump", "steps": [
        {"call": "home", "exchanges": [{"send": ["j 0 0", "t e"], "answer": [OK, OK]}], "returns": True},
        {"call": "home", "exchanges": [{"send": ["j 0 0", "t e"], "answer": ["ERR @ 10 0", OK]}], "returns": False}]},
    {"name": "reset", "steps": [
        {"call": "reset", "exchanges": [
            {"send": ["c f", "k 1 0 0", "w 1", "l", "p u"], "answer": [OK] * 5},
            {"send": ["j 0 0", "t e"], "answer": [OK, OK]}, {"send": ["p d"], "answer": [OK]}], "returns": True},
        {"call": "isdown", "returns": True}]},
    {"name": "headings are wrapped", "steps": [
        {"call": "heading", "exchanges": [{"send": ["q d"], "answer": ["450.000000 " + OK]}], "returns": 90},
        {"call": "heading", "exchanges": [{"send": ["q d"], "answer": ["-90.500000 " + OK]}], "returns": 269.5},
        {"call": "heading", "exchanges": [{"send": ["q d"], "answer": ["-0.250000 " + OK]}], "returns": 359.75},
        {"call": "heading", "exchanges": [{"send": ["q d"], "answer": ["360.000000 " + OK]}], "returns": 0}]},
    {"name": "other headings than those of the compass", "steps": [
        {"call": "setheading", "args": [30], "exchanges": [
            {"send": ["q d"], "answer": ["450.000000 " + OK]}, {"send": ["t l -60"], "answer": [OK]}], "returns": True},
        {"call": "setheading", "args": [200.5], "exchanges": [
            {"send": ["q d"], "answer": ["-10.000000 " + OK]}, {"send": ["t l -149.5"], "answer": [OK]}], "returns": True},
        {"call": "setheading", "args": [90], "exchanges": [
            {"send": ["t n"], "answer": ["5.000000 6.000000 " + OK]}, {"send": ["q d"], "answer": ["80.000000 " + OK]},
            {"send": ["t l 10"], "answer": [OK]}], "returns": True}]},
    {"name": "colours", "steps": [
        {"call": "pencolor", "args": ["#804000"],
         "exchanges": [{"send": ["k 0.50196078 0.25098039 0"], "answer": [OK]}], "returns": True},
        {"call": "pencolor", "args": ["Orange"], "exchanges": [{"send": ["k 1 0.64705882 0"], "answer": [OK]}]},
        {"call": "pencolor", "returns": [1, 0.64705882, 0]},
        {"call": "colormode", "args": [255]},
        {"call": "pencolor", "args": [255, 51, 0], "exchanges": [{"send": ["k 1 0.2 0"], "answer": [OK]}]},
        {"call": "pencolor", "args": [256, 0, 0], "raises": {"kind": "bad_value"}},
        {"call": "pencolor", "args": ["gray50"], "exchanges": [{"send": ["k 0.50196078 0.50196078 0.50196078"], "answer": [OK]}]}]},
    {"name": "letters with marks", "steps": [
        {"call": "write", "args": ["\u00fc"], "raises": {"kind": "bad_value"}},
        {"call": "name", "args": ["\u00fc"], "exchanges": [{"send": ["n c3bc"], "answer": [OK]}], "returns": True}]},
    {"name": "any line", "steps": [
        {"call": "ask", "args": ["q z p 53"], "exchanges": [
            {"send": ["q z p 53"], "answer": ["0.000000 0.000000 ERR @ 10 3"]}], "returns": [0, 0, "ERR", 10, 3]},
        {"call": "ask", "args": ["f 1;f 2"], "raises": {"kind": "bad_value"}},
        {"call": "ask", "args": [""], "raises": {"kind": "bad_value"}}]},
    {"name": "events", "steps": [
        {"call": "forward", "args": [5], "exchanges": [{"send": ["f 5"], "answer": ["ERR @ 10 2"]}], "returns": False},
        {"call": "events", "exchanges": [{"send": ["."], "answer": ["OK @ 12 257"]}], "returns": ["hit", "turtle", "message"]},
        {"call": "events", "exchanges": [{"send": ["."], "answer": [OK]}], "returns": []}]},
    {"name": "callbacks", "steps": [
        *[{"call": "on_" + name, "args": ["$callback"]}
          for name in ["hit", "turtle", "doughnut", "stone", "wall", "coin", "found", "seen", "message"]],
        {"call": "ping", "exchanges": [{"send": ["."], "answer": ["OK @ 10 511"]}], "returns": 10,
         "callbacks": ["hit", "turtle", "doughnut", "stone", "wall", "coin", "found", "seen", "message"]},
        {"call": "on_hit", "args": [None]},
        {"call": "ping", "exchanges": [{"send": ["."], "answer": ["OK @ 12 3"]}], "returns": 12, "callbacks": ["turtle"]}]},
    {"name": "numbers that are none", "steps": [
        {"call": word, "args": args, "raises": {"kind": "not_a_number"}}
        for word in ["forward", "pensize"] for args in (["1e999"], ["0x10"], ["nan"], ["1;q p"], ["1 2"], [".", "-"], ["$(date)"])]},
]


class Shell(agents.Language):
    name = "shell"

    @classmethod
    def start(cls):
        return agents.Agent(["bash", os.path.join(agents.HERE, "agents", "agent.sh")], {"KELMORA_SH": LIBRARY})

    @classmethod
    def cases(cls):
        return super().cases() + OWN

    def exchange(self, requests, exchanges):
        return self.translated(super().exchange(requests, exchanges))

    def translated(self, answer):
        """A status translated to what other languages return or raise."""
        if answer.get("status", 0) < 2:
            return answer
        return {"raises": {"kind": answer["kind"]}, "callbacks": answer["callbacks"]}

    def check(self, step, answer):
        super().check(step, self.translated(answer))

    def returned(self, answer, wanted):
        if isinstance(wanted, bool) or wanted is None:
            return answer["status"] == (0 if wanted is True else 1) and answer["printed"] == ""
        words = answer["printed"]
        if isinstance(wanted, str) or not isinstance(wanted, list):
            return answer["status"] == 0 and agents.same_words(words, str(wanted))
        wanted = " ".join(str(int(word)) if isinstance(word, bool) else str(word) for word in wanted)
        return answer["status"] == 0 and agents.same_words(words.strip(), wanted.strip())

    def bash(self, script, **environment):
        return subprocess.run(["bash", "-c", '. "$KELMORA_SH"\n' + script], capture_output=True, text=True, timeout=60,
                              env=dict(os.environ, KELMORA_SH=LIBRARY, **environment))

    def test_a_subshell_that_found_the_end_tells_the_script(self):
        """After a time-out in $(...) a late answer must not be taken for the next word's answer."""
        self.server.drop()
        script = subprocess.Popen(
            ["bash", "-c", '. "$KELMORA_SH"; K_TIMEOUT=0.3; k_connect 127.0.0.1 "$PORT"; x=$(k_score); echo "$?"; '
             'k_forward 1; echo "$? $K_ERROR"'], stdout=subprocess.PIPE, stderr=subprocess.PIPE, text=True,
            env=dict(os.environ, KELMORA_SH=LIBRARY, PORT=str(self.server.port)))
        self.server.accept()
        self.server.serve({"send": [".", "p d"], "answer": [OK, OK]})
        self.server.serve({"send": ["q s"]})
        printed, told = script.communicate(timeout=60)
        self.assertEqual(printed.split("\n")[:2], ["2", "2 lost"], told)

    def test_nobody_listens(self):
        with socket.create_server(("127.0.0.1", 0)) as other:
            port = other.getsockname()[1]
        found = self.bash('k_connect; echo "$? $K_ERROR"', KELMORA_HOST="localhost", KELMORA_PORT=str(port))
        self.assertEqual(found.stdout, "2 no_field\n")
        self.assertIn("No field answers at localhost:%d" % port, found.stderr)

    def test_a_machine_that_never_answers(self):
        """A listener with a full queue drops connections, like a machine that is switched off."""
        with socket.socket() as deaf:
            deaf.bind(("127.0.0.1", 0))
            deaf.listen(0)
            waiting = []
            for _ in range(4):
                waiting.append(socket.socket())
                waiting[-1].setblocking(False)
                waiting[-1].connect_ex(deaf.getsockname())
            began = time.monotonic()
            found = self.bash('trap "echo mine" ALRM; K_CONNECT_TIMEOUT=1; k_connect 127.0.0.1 "$PORT"; '
                              'echo "$? $K_ERROR"; trap -p ALRM', PORT=str(deaf.getsockname()[1]))
            for sock in waiting:
                sock.close()
        self.assertEqual(found.stdout, "2 no_field\ntrap -- 'echo mine' SIGALRM\n")
        self.assertLess(time.monotonic() - began, 30)

    def test_malformed_addresses(self):
        for port in ("0", "65536", "22x", "-1", "$(date)"):
            self.assertEqual(self.bash('k_connect localhost "$P"; echo "$K_ERROR"', P=port).stdout, "bad_value\n")
        self.assertEqual(self.bash('k_connect "a/b"; echo "$K_ERROR"').stdout, "bad_value\n")

    def test_before_connecting(self):
        found = self.bash('set -eu; k_forward 1 || echo "$? $K_ERROR"')
        self.assertEqual(found.stdout, "2 lost\n")
        self.assertIn("k_connect comes first", found.stderr)

    def test_no_other_program_is_needed(self):
        """With an empty PATH every word that needs no field still works."""
        found = subprocess.run(["/bin/bash", "-c", '. "$KELMORA_SH"; k_connect 127.0.0.1 1; k_colormode'], timeout=60,
                               capture_output=True, text=True, env={"PATH": "", "KELMORA_SH": LIBRARY})
        self.assertEqual(found.stdout, "1\n")
        self.assertNotIn("not found", found.stderr)


if __name__ == "__main__":
    unittest.main()
