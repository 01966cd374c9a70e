"""The program's command line, ports, size and end."""
import http.client
import json
import os
import re
import resource
import signal
import subprocess
import threading

import harness
from harness import HANG, PROGRAM, GameTest, lines_of


def run(*options):
    return subprocess.run([PROGRAM, *options], capture_output=True, text=True, timeout=HANG)


class Options(GameTest):
    def test_a_wrong_option_or_value_is_one_line_and_exit_code_2(self):
        for options in (["--colour"], ["-p", "65536"], ["-p", "x"], ["-p", ""], ["-p", "-1"], ["-w", "on"], ["-m", "war"],
                        ["--pace", "fast"], ["-s", "4294967296"], ["-t", "0"], ["-t", "1.5"], ["-n", "11"],
                        ["--stones", "31"], ["--coins", "301"], ["--turn-limit", "-1"], ["extra"], ["-o", ""],
                        ["-t"], ["-o", "-", "-r", "-"], ["-r", "/nowhere/at/all"]):
            with self.subTest(options=options):
                done = run("-p0", *options) if "-p" not in options else run(*options)
                self.assertEqual((done.returncode, done.stdout), (2, ""))
                self.assertEqual(done.stderr.count("\n"), 1)
                self.assertIn("kelmora-headless: ", done.stderr)

    def test_the_help_goes_to_standard_output(self):
        for option in ("-h", "--help"):
            done = run(option)
            self.assertEqual((done.returncode, done.stderr), (0, ""))
            self.assertIn("--turn-limit", done.stdout)

    def test_a_port_that_is_taken_is_exit_code_3(self):
        first = self.game(viewer=True)
        for options in (["-p", str(first.port), "-w", "off"], ["-p", "0", "-w", str(first.viewer_port)]):
            done = run(*options)
            self.assertEqual((done.returncode, done.stdout), (3, ""))
            self.assertEqual(done.stderr.count("\n"), 1)

    def test_the_usual_ports_are_the_first_line(self):
        process = subprocess.Popen([PROGRAM], stdout=subprocess.PIPE, stderr=subprocess.DEVNULL)
        try:
            self.assertEqual(process.stdout.readline(), b"listening 2222 2280\n")
        finally:
            process.terminate()
            self.assertEqual(process.wait(timeout=HANG), 0)
            process.stdout.close()

    def test_results_go_to_standard_output_behind_the_ports(self):
        done = run("-p", "0", "-w", "off", "--pace", "free", "-t", "3", "-s", "5", "-o", "-")
        ports, results = done.stdout.splitlines()
        self.assertTrue(re.fullmatch(r"listening \d+ off", ports))
        self.assertEqual(json.loads(results), {"seed": 5, "mode": "drawing", "ticks": 3, "why": "ticks", "programs": []})

    def test_the_library_list_has_no_display(self):
        listing = subprocess.run(["ldd", PROGRAM], capture_output=True, text=True, timeout=HANG).stdout
        for library in ("libX", "libGL", "libEGL", "libglut", "libpng", "libxcb"):
            self.assertNotIn(library, listing)

    def test_it_starts_at_once_and_is_small(self):
        if "libasan" in subprocess.run(["ldd", PROGRAM], capture_output=True, text=True, timeout=HANG).stdout:
            self.skipTest("a sanitizer's memory is its own")
        spent = []
        for _ in range(5):
            game = self.game(viewer=True)
            with open("/proc/%d/status" % game.process.pid) as status:
                resident = int(re.search(r"VmRSS:\s+(\d+) kB", status.read())[1])
            self.assertLess(resident, 20 * 1024)
            with open("/proc/%d/stat" % game.process.pid) as stat:
                words = stat.read().rsplit(")", 1)[1].split()
            spent.append((int(words[11]) + int(words[12])) / os.sysconf("SC_CLK_TCK"))
            game.stop()
        # Processor time, in ticks of 10 ms, of the quickest start: load makes it longer, too, but not each time.
        self.assertLess(min(spent), 0.05)

    def test_browsers_are_served(self):
        game = self.game("-m", "maze", "-s", "9", "-js", "http://example.test/a.js", viewer=True)

        def get(path):
            link = http.client.HTTPConnection("127.0.0.1", game.viewer_port, timeout=HANG)
            link.request("GET", path)
            body = link.getresponse().read()
            link.close()
            return body
        self.assertGreater(len(json.loads(get("/wall"))), 50)
        self.assertEqual(sum(t["type"] == 2 for t in json.loads(get("/turtle"))), 4)
        self.assertIn(b"http://example.test/a.js", get("/"))
        again = self.game("-m", "maze", "-s", "9", viewer=True)
        link = http.client.HTTPConnection("127.0.0.1", again.viewer_port, timeout=HANG)
        link.request("GET", "/wall")
        self.assertEqual(link.getresponse().read(), get("/wall"))
        link.close()

    def test_stones_and_coins_lie_on_the_field(self):
        game = self.recorded("--stones", 5, "--coins", 40, "--pace", "free", "-t", 1, "-s", 3)
        game.wait()
        full = lines_of(game.record())[1]["full"]
        self.assertEqual([turtle["kind"] for _, turtle in full["turtles"]], ["stone"] * 5)
        self.assertEqual(len(full["coins"]), 40)

    def test_signals_end_the_game_in_order(self):
        for number in (signal.SIGINT, signal.SIGTERM):
            for pace in ("real", "free", "turns"):
                with self.subTest(number=number, pace=pace):
                    game = self.recorded("--pace", pace, "-n", "1")
                    with game.join() as program:
                        program.ask("f 1")
                        game.process.send_signal(number)
                        self.assertEqual(game.results()["why"], "stopped")
                    lines = lines_of(game.record())
                    self.assertEqual(lines[-1]["end"]["why"], "stopped")
                    self.assertIn("verified", harness.replay("--verify", game.record_file).stdout)

    def test_a_signal_ends_the_game_also_while_programs_send_all_the_time(self):
        for pace in ("real", "free"):
            with self.subTest(pace=pace):
                game = self.game("--pace", pace)
                flood = game.join()
                flood.send(*["q p"] * 1000)
                flood.answer()
                keeps = threading.Thread(target=flood.send_for_ever)
                keeps.start()
                flood.read_for_ever(until=1 << 20)
                game.process.send_signal(signal.SIGTERM)
                threading.Thread(target=flood.read_for_ever).start()
                self.assertEqual(game.results()["why"], "stopped")
                keeps.join(HANG)
                flood.hang_up()

    def test_the_files_of_a_running_game_are_left_alone(self):
        first = self.recorded("-n", "1")
        while not (before := first.record()):  # the head comes behind the ports
            self.assertIsNone(first.process.poll())
        self.assertEqual(run("-p", str(first.port), "-w", "off", "-r", first.record_file).returncode, 3)
        self.assertTrue(first.record().startswith(before))
        both = os.path.join(first.folder.name, "both")
        self.assertEqual(run("-p", "0", "-w", "off", "-t", "1", "-o", both, "-r", both).returncode, 2)

    def test_only_this_machine_is_admitted_unless_public(self):
        for options, admitted in (([], False), (["--public"], True)):
            game = self.game("--pace", "free", *options)
            sock = harness.socket.socket()
            self.addCleanup(sock.close)
            sock.settimeout(HANG)
            sock.bind(("127.0.0.2", 0))
            sock.connect(("127.0.0.1", game.port))
            try:
                sock.sendall(b".\n")
                answered = sock.recv(100)
            except ConnectionError:
                answered = b""
            self.assertEqual(bool(answered), admitted)


if __name__ == "__main__":
    resource.setrlimit(resource.RLIMIT_CORE, (0, 0))
    harness.main()
