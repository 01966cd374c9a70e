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
    {"name": "colours in between", "steps": [
        {"call": "pencolor", "args": ["gray50"], "exchanges": [{"send": ["k 0.50196078 0.50196078 0.50196078"], "answer": [OK]}]}]},
    {"name": "a heading that is nearly a full turn", "steps": [
        {"call": "heading", "exchanges": [{"send": ["q d"], "answer": ["-0.250000 " + OK]}], "returns": 359.75}]},
    {"name": "any line", "steps": [
        {"call": "ask", "args": ["q z p 53"], "exchanges": [
            {"send": ["q z p 53"], "answer": ["0.000000 0.000000 ERR @ 10 3"]}], "returns": [0, 0, "ERR", 10, 3]},
        {"call": "ask", "args": ["f 1;f 2"], "raises": {"kind": "bad_value"}},
        {"call": "ask", "args": [""], "raises": {"kind": "bad_value"}}]},
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
        return {"raises": {"kind": answer["kind"], "by": answer["by"]}, "callbacks": answer["callbacks"]}

    def check(self, step, answer):
        self.batch = "batch" in step
        super().check(step, self.translated(answer))

    def returned(self, answer, wanted):
        """Whether status and output say what other languages return."""
        if self.batch:  # a line for each of its words
            lines = answer["printed"].split("\n") if wanted else []
            return answer["status"] == (1 if False in wanted or None in wanted else 0) and len(lines) == len(wanted) and all(
                agents.same_words(line, self.spelled(value)) for line, value in zip(lines, wanted))
        if isinstance(wanted, bool) or wanted is None:
            return answer["status"] == (0 if wanted is True else 1) and answer["printed"] == ""
        return answer["status"] == 0 and agents.same_words(answer["printed"].strip(), self.spelled(wanted).strip())

    def spelled(self, value):
        """A value as the library prints it."""
        if isinstance(value, list):
            return " ".join(str(int(word)) if isinstance(word, bool) else self.spelled(word) for word in value)
        return {True: "yes", False: "no", None: "no"}[value] if isinstance(value, bool) or value is None else str(value)

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
