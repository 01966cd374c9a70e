#!/usr/bin/python3
"""Ticks per second of the running program on a full field, furnished through its port and its keys: a maze, 300 coins,
53 cards, 26 turtles with names and scores (the maze's four doughnuts take the other slots), of which ten are driven and
paint in every frame. CSV lines on standard output. The clock's own ceiling is 125; the drivers are one thread of this
process, so their cost shows, too.

usage: KELMORA=build/release/kelmora scripts/in-namespace /usr/bin/python3 -B bench/bench_ticks.py [seconds a row]
"""
import os
import sys
import time

sys.path.insert(0, os.path.join(os.path.dirname(os.path.abspath(__file__)), "..", "tests", "wire"))

from harness import Client, Field, MAX_CLIENT               # noqa: E402  (found by the line above)

TURTLES = 26
COINS, CARDS = 300, 53
WARM_UP = 1.0                                               # seconds before each row is measured
COLORS = ("1 0.3 0.2", "0.3 1 0.4", "0.3 0.5 1", "1 0.9 0.3", "0.9 0.4 1")


def place(client, k):
    """A turtle with name, team and place; in drawing mode it may jump, which leaves the entrance to the next one."""
    client.do("n %s" % (b"turtle%d" % k).hex(), "j %d %d" % (-205 + 82 * (k % 6), -160 + 90 * (k // 6)))
    client.ask("i %d" % (k % 5))
    client.do("k " + COLORS[k % 5], "w 3", "t l %d" % (12 * k))


def furnish(field):
    """The clients of a full field."""
    start = field.mark()
    field.key("M")
    field.wait_line("entering maze mode...", start)
    first = Client()
    first.do("! u")                                         # the walls stay; turtles may jump
    first.ask_all(["o x"] * COINS)
    first.ask_all(["z %d %d %d" % (n, 8 * n - 256, 40 * (n % 8) - 180) for n in range(1, CARDS + 1)])
    place(first, 0)
    for k in range(1, TURTLES - MAX_CLIENT + 1):            # those that leave stay on the field
        with Client() as guest:
            place(guest, k)
    clients = [first]
    for k in range(TURTLES - MAX_CLIENT + 1, TURTLES):
        clients.append(Client())
        place(clients[-1], k)
    check(first)
    first.do("!")
    for client in clients:
        client.do("p d")
    return clients


def check(client):
    """The figures are those of a full field or of none."""
    slots = client.ask("q n").values
    missing = [n for n in range(1, 53) if client.ask("q z s %d" % n).values != "1"]
    if slots != "30" or missing or client.ask("o x").status == "OK":
        sys.exit("not full: %s slots, cards %r missing, or coins left in the bank" % (slots, missing))


def drive(clients, seconds):
    """Every client takes one step a frame; ticks per second of the field's clock."""
    begin, first_clock = time.monotonic(), clients[0].ask(".").clock
    count = 0
    while time.monotonic() < begin + seconds:
        for client in clients:
            client.send("f 1\n" if count % 40 < 20 else "f -1\n")
        for client in clients:
            clock = client.reply().clock
        count += 1
    return (clock - first_clock) / (time.monotonic() - begin)


def main():
    seconds = float(sys.argv[1]) if len(sys.argv) > 1 else 10.0
    print("scene,view,ticks_per_second")
    # With as many threads as the software renderer starts by default, as users run it.
    with Field() as field:
        clients = furnish(field)
        for view in ("top", "bird"):
            for scene in ("full_without_help", "full"):
                drive(clients, WARM_UP)
                print("%s,%s,%.1f" % (scene, view, drive(clients, seconds)), flush=True)
                field.key("h")
            field.key("3")
        for client in clients:
            client.close()


if __name__ == "__main__":
    main()
