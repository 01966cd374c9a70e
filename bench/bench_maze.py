#!/usr/bin/python3
"""Ticks a second of kelmora-headless in turns with ten C++ programs in a maze that each ask finder, sonar and radar and step.

The entrance of a maze has no room for ten, and nobody can jump there: one after the other walks down the way from the
entrance, and stands in a cell of its own from then on.
Run inside scripts/in-namespace, after a build with -DKELMORA_BENCH=ON. usage: bench_maze.py [FOLDER of the build [SEED]]
"""
import collections
import json
import os
import socket
import subprocess
import sys
import time
import urllib.request

TREE = sys.argv[1] if len(sys.argv) > 1 else os.path.join(os.path.dirname(os.path.abspath(__file__)), "..", "build", "release")
SEED = sys.argv[2] if len(sys.argv) > 2 else "4"
COUNT, SECONDS, SIDE = 10, 5, 16
LINES = ["q f", "q w", "q r", "f 0.01"]
MIDDLE = {(7, 7), (7, 8), (8, 7), (8, 8)}  # where the doughnuts are


def centre(cell):
    return tuple(-240 + 32 * k for k in cell)


def is_open(walls, cell, beside):
    """No wall lies between two cells that touch."""
    (ax, ay), (bx, by) = centre(cell), centre(beside)
    x, y = (ax + bx) / 2, (ay + by) / 2
    return not any(min(w["x1"], w["x2"]) - 1 <= x <= max(w["x1"], w["x2"]) + 1 and
                   min(w["y1"], w["y2"]) - 1 <= y <= max(w["y1"], w["y2"]) + 1 for w in walls)


def way_in(walls):
    """Cells from the entrance to the one that is farthest from it."""
    before, queue = {(0, 0): None}, collections.deque([(0, 0)])
    while queue:
        cell = queue.popleft()
        for dx, dy in ((1, 0), (0, 1), (-1, 0), (0, -1)):
            beside = cell[0] + dx, cell[1] + dy
            if beside not in before and beside not in MIDDLE and 0 <= min(beside) and max(beside) < SIDE and is_open(walls, cell, beside):
                before[beside] = cell
                queue.append(beside)
    way = [cell]
    while before[way[-1]]:
        way.append(before[way[-1]])
    return way[::-1]


class Walker:
    def __init__(self, port):
        self.sock = socket.create_connection(("127.0.0.1", port), timeout=60)
        self.sock.setsockopt(socket.IPPROTO_TCP, socket.TCP_NODELAY, 1)
        self.answers = self.sock.makefile("r")
        self.heading = 0

    def ask(self, line):
        self.sock.sendall((line + "\n").encode())
        return self.answers.readline()

    def walk(self, cell):
        """To the middle of a cell beside, by turns of 3 degrees and steps of 2 units: a maze is in battle mode."""
        for axis in (0, 1):
            ahead = centre(cell)[axis] - float(self.ask("q p").split()[axis])
            if abs(ahead) < 0.5:
                continue
            wanted = 90 * axis if ahead > 0 else 180 - 270 * axis
            turn = (wanted - self.heading + 180) % 360 - 180
            for _ in range(abs(turn) // 3):
                self.ask("t l 3" if turn > 0 else "t r 3")
            self.heading = wanted
            for _ in range(int(abs(ahead) / 2)):
                self.ask("f 2")


def work_of(process):
    """Seconds of processor time so far."""
    with open(f"/proc/{process.pid}/stat", encoding="ascii") as stat:
        return sum(map(int, stat.read().rsplit(")", 1)[1].split()[11:13])) / os.sysconf("SC_CLK_TCK")


def main():
    field = subprocess.Popen([os.path.join(TREE, "kelmora-headless"), "-p", "0", "-w", "0", "--pace", "turns", "--turn-limit", "60000",
                              "-m", "maze", "-s", SEED], stdout=subprocess.PIPE, stderr=subprocess.DEVNULL)
    port, web = map(int, field.stdout.readline().split()[1:3])

    def page(name):
        with urllib.request.urlopen(f"http://127.0.0.1:{web}/{name}", timeout=60) as answer:
            return json.load(answer)
    way = way_in(page("wall"))
    bots = []
    for k in range(COUNT):
        walker = Walker(port)
        for cell in way[:COUNT + 1 - k]:
            walker.walk(cell)
        walker.sock.settimeout(None)  # what has one is not blocking
        given = walker.sock.fileno()
        bots.append(subprocess.Popen([os.path.join(TREE, "bench", "kelmora_bench_peer"), "bot", f"fd:{given}", *LINES], pass_fds=[given]))
        walker.sock.close()
        walker.answers.close()
    first, worked, began = page("turtle")[0]["time"], work_of(field), time.monotonic()
    time.sleep(SECONDS)
    ticks, worked, spent = page("turtle")[0]["time"] - first, work_of(field) - worked, time.monotonic() - began
    field.terminate()
    field.wait()
    for bot in bots:
        bot.wait()
    lines = ticks * COUNT * len(LINES)
    print("what,ticks a second,lines a second,server us a line")
    print(f"{COUNT} C++ programs in a maze that ask three sensors and step,{ticks / spent:.0f},{lines / spent:.0f},{worked / lines * 1e6:.1f}")


if __name__ == "__main__":
    main()
