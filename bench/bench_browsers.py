#!/usr/bin/python3
"""What aggressive browsers cost the field: ticks a second in a maze while that many connections request /wall as fast
as they
are answered, as a share of the ticks without any, measured before and after. CSV lines on standard output.

usage: KELMORA=build/release/kelmora scripts/in-namespace /usr/bin/python3 -B bench/bench_browsers.py [CONNECTIONS...]
The connections are driven by two processes on the same machine, which use part of its processor time.
"""
import os
import selectors
import socket
import subprocess
import sys
import time

sys.path.insert(0, os.path.join(os.path.dirname(os.path.abspath(__file__)), "..", "tests", "wire"))

from harness import VIEWER_PORT, Client, Closed, Field      # noqa: E402  (found by the line above)

SECONDS = 5.0                                               # of each measured stretch
REQUEST = b"GET /wall HTTP/1.1\r\n\r\n"


def ask_for_ever(count):
    """Opens that many connections; prints "go" once all are connected."""
    chosen = selectors.DefaultSelector()
    for _ in range(count):
        sock = socket.create_connection(("127.0.0.1", VIEWER_PORT), timeout=60)
        chosen.register(sock, selectors.EVENT_READ)
    print("go", flush=True)
    for key in list(chosen.get_map().values()):
        key.fileobj.sendall(REQUEST)
    while True:
        for key, _ in chosen.select():
            # An answer is complete when it ends like the list.
            piece = key.fileobj.recv(1 << 20)
            if not piece:
                return
            if piece.endswith(b"]"):
                key.fileobj.sendall(REQUEST)


def newcomer():
    """A turtle in the maze: the entrance has room for one, depending on chance."""
    while True:
        try:
            return Client()
        except Closed:
            pass


def rate(turtle):
    start, began = turtle.ask(".").clock, time.monotonic()
    time.sleep(SECONDS)                                     # the stretch that is measured
    return (turtle.ask(".").clock - start) / (time.monotonic() - began)


def main():
    if sys.argv[1:2] == ["--ask"]:
        ask_for_ever(int(sys.argv[2]))
        return
    print("connections,ticks/s without,ticks/s with,share")
    for count in [int(word) for word in sys.argv[1:]] or [8, 250]:
        with Field(without=["LP_NUM_THREADS"]) as field:
            field.key("M")
            field.settle()
            with newcomer() as turtle:
                turtle.wait_ticks(60)                       # the driver compiles its shaders
                before = rate(turtle)
                crowds = [subprocess.Popen([sys.executable, "-B", os.path.realpath(__file__), "--ask", str(count // 2)],
                                           stdout=subprocess.PIPE) for _ in range(2)]
                try:
                    for crowd in crowds:
                        crowd.stdout.readline()
                    during = rate(turtle)
                finally:
                    for crowd in crowds:
                        crowd.terminate()
                        crowd.wait(timeout=60)
                        crowd.stdout.close()
                after = rate(turtle)
        without = (before + after) / 2
        print("%d,%.1f,%.1f,%.2f" % (count, without, during, during / without), flush=True)


if __name__ == "__main__":
    main()
