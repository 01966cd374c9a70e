#!/usr/bin/python3
"""Ticks a second of kelmora-headless, as CSV lines: what, ticks a second, lines a second, the server's processor time a
line in microseconds. On a busy machine the last is what can be compared, with that of the echo server in the same run.

Run inside scripts/in-namespace, after a build with -DKELMORA_BENCH=ON. usage: bench_headless.py [FOLDER of the build]
"""
import os
import socket
import subprocess
import sys
import time

TREE = sys.argv[1] if len(sys.argv) > 1 else os.path.join(os.path.dirname(os.path.abspath(__file__)), "..", "build", "release")
FIELD, PEER, STEPS = (os.path.join(TREE, *path) for path in (("kelmora-headless",), ("bench", "kelmora_bench_peer"),
                                                             ("bench", "kelmora_bench_steps")))
ECHO_LINES = 400000  # as in bench_peer.cpp
PYTHON_BOT = """
import socket, sys
sock = socket.create_connection(("127.0.0.1", int(sys.argv[1])))
sock.setsockopt(socket.IPPROTO_TCP, socket.TCP_NODELAY, 1)
try:
    while True:
        sock.sendall(b"f 0.01\\n")
        if not sock.recv(4096):
            break
except ConnectionError:
    pass
"""


def start(command):
    process = subprocess.Popen(list(map(str, command)), stdout=subprocess.PIPE, stderr=subprocess.DEVNULL)
    return process, int(process.stdout.readline().split()[1])


def cost(process, lines):
    """Waits for its end. @return its processor time a line, microseconds"""
    _, process.returncode, used = os.wait4(process.pid, 0)
    return (used.ru_utime + used.ru_stime) / lines * 1e6


def measure(what, ticks, options, bots, per_tick=1):
    field, port = start([FIELD, "-p", 0, "-w", "off", "-t", ticks, *options])
    running = [subprocess.Popen(bot + [str(port)] if bot[0] == sys.executable else [PEER, "bot", str(port), *bot]) for bot in bots]
    began = time.monotonic()
    each = cost(field, ticks * per_tick)
    spent = time.monotonic() - began
    for bot in running:
        bot.wait()
    print(f"{what},{ticks / spent:.0f},{ticks * per_tick / spent:.0f},{each:.1f}", flush=True)
    return ticks / spent


def robots(ticks):
    field, port = start([FIELD, "-p", 0, "-w", "off", "--pace", "free", "-n", 1, "-m", "battle", "-s", 4, "-t", ticks])
    with socket.create_connection(("127.0.0.1", port)) as sock:
        sock.sendall(b"r\n" * 29)
        began = time.monotonic()
    field.wait()
    print(f"29 robots and a zombie,{ticks / (time.monotonic() - began):.0f},,", flush=True)


def echo(bots, lines):
    server, port = start([PEER, "echo", bots])
    running = [subprocess.Popen([PEER, "bot", str(port), *lines]) for _ in range(bots)]
    began = time.monotonic()
    each = cost(server, ECHO_LINES)
    spent = time.monotonic() - began
    for bot in running:
        bot.wait()
    print(f"echo with {bots} C++ programs,{ECHO_LINES / spent / len(lines):.0f},{ECHO_LINES / spent:.0f},{each:.1f}", flush=True)


def saturated(count, seconds):
    """Programs of the C++ library on a field that does not wait: what they get out of it, and what it works meanwhile."""
    field, port = start([FIELD, "-p", 0, "-w", "off", "--pace", "free", "-n", count])

    def work():
        with open(f"/proc/{field.pid}/stat", encoding="ascii") as stat:
            return sum(map(int, stat.read().rsplit(")", 1)[1].split()[11:13])) / os.sysconf("SC_CLK_TCK")
    before = work()
    running = [subprocess.Popen([STEPS, str(port), str(seconds)], stdout=subprocess.PIPE, text=True) for _ in range(count)]
    told = [program.communicate()[0].split() for program in running]
    worked = work() - before
    field.terminate()
    field.wait()
    steps = sum(int(made) for made, _ in told)
    each = sum(float(cost) for _, cost in told) / count
    print(f"{count} programs of the C++ library that step and cost {each:.1f} us a step; pace free,,{steps / seconds:.0f},"
          f"{1e6 * worked / steps:.1f}", flush=True)


def main():
    python = [sys.executable, "-c", PYTHON_BOT]
    turns = ["--pace", "turns", "--turn-limit", 60000]
    asking = ["q f", "q w", "q r", "f 0.01"]
    print("what,ticks a second,lines a second,server us a line")
    robots(300000)
    for count, ticks in ((2, 40000), (10, 10000)):
        measure(f"{count} Python programs that step", ticks, [*turns, "-n", count], [python] * count, count)
    for count in (1, 2, 4, 8):
        measure(f"{count} C++ programs that ask three questions and step", 20000, [*turns, "-n", count], [asking] * count, 4 * count)
    measure("10 C++ programs that ask three questions and step", 10000, [*turns, "-n", 10], [asking] * 10, 40)
    saturated(1, 4)
    saturated(10, 8)
    echo(2, asking)
    echo(10, asking)


if __name__ == "__main__":
    main()
