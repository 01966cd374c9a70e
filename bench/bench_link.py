#!/usr/bin/python3
"""What the link to programs costs, measured on the running program through its port: CSV lines on standard output.

usage: KELMORA=build/release/kelmora scripts/in-namespace /usr/bin/python3 -B bench/bench_link.py [PART...]
PARTS: startup idle ping ten replies ticks hour (default: all). Each part starts its own program.
Clients are threads of this process, so a slow machine shows their cost, too.
"""
import os
import statistics
import sys
import threading
import time

sys.path.insert(0, os.path.join(os.path.dirname(os.path.abspath(__file__)), "..", "tests", "wire"))

import harness                                              # noqa: E402  (found by the line above)
from harness import Client, Field                           # noqa: E402

STARTS = 7
PINGS = 1500
SECONDS = 10.0                                              # of each measured stretch
CLIENTS = harness.MAX_CLIENT
TICKS_PER_SECOND = 125                                      # one every 8 ms
HOUR = CLIENTS * TICKS_PER_SECOND * 3600                    # commands of ten clients that act in every frame of an hour


def row(part, what, value, unit):
    print("%s,%s,%.6g,%s" % (part, what, value, unit), flush=True)


def spread(part, what, values, unit):
    ordered = sorted(values)
    row(part, what + " median", statistics.median(ordered), unit)
    row(part, what + " p99", ordered[int(len(ordered) * 0.99)], unit)


class Quick(Field):
    """Counts as started as soon as a client is served, window or not."""

    def is_up(self, others):
        if self.process.poll() is not None:
            raise AssertionError("the program ended: %r" % self.lines)
        if not harness.is_listening(harness.CLIENT_PORT):
            return False
        Client().close()                                    # answered: its greeting was
        return True


def measured(kind=Field):
    """The program as users run it."""
    return kind()


def processor_seconds(pid):
    with open("/proc/%d/stat" % pid) as stat:
        fields = stat.read().rsplit(")", 1)[1].split()
    return (int(fields[11]) + int(fields[12])) / os.sysconf("SC_CLK_TCK")


def resident_mb(pid):
    with open("/proc/%d/statm" % pid) as statm:
        return int(statm.read().split()[1]) * os.sysconf("SC_PAGE_SIZE") / 1e6


def warm_up(turtle):
    turtle.wait_ticks(40)                                   # frames in which the driver compiles its shaders


def startup():
    spans = []
    for _ in range(STARTS):
        began = time.monotonic()
        with measured(Quick):
            spans.append((time.monotonic() - began) * 1000)
    row("startup", "first client answered, median of %d" % STARTS, statistics.median(spans[1:]), "ms")
    row("startup", "the very first, files not yet in memory", spans[0], "ms")


def idle():
    with measured() as field:
        with Client() as turtle:
            warm_up(turtle)
            turtle.do("c")
        field.key("K")                                      # an empty field
        field.settle()
        row("idle", "memory at rest", resident_mb(field.process.pid), "MB")
        began, used = time.monotonic(), processor_seconds(field.process.pid)
        time.sleep(SECONDS)                                 # the stretch that is measured
        share = (processor_seconds(field.process.pid) - used) / (time.monotonic() - began)
        row("idle", "processor, empty field", share * 100, "% of a core")
        with Client() as turtle:
            warm_up(turtle)
            began, used = time.monotonic(), processor_seconds(field.process.pid)
            time.sleep(SECONDS)                             # likewise
            share = (processor_seconds(field.process.pid) - used) / (time.monotonic() - began)
            row("idle", "processor, one turtle that stands", share * 100, "% of a core")


def round_trips(turtle, line, answers, count):
    spans = []
    for _ in range(count):
        began = time.monotonic()
        turtle.send(line)
        for _ in range(answers):
            turtle.read_line()
        spans.append((time.monotonic() - began) * 1000)
    return spans


def ping():
    with measured() as field, Client() as turtle:
        warm_up(turtle)
        spread("ping", "round trip, one client", round_trips(turtle, ".\n", 1, PINGS), "ms")
        spread("ping", "round trip of a step, one client", round_trips(turtle, "f 0\n", 1, PINGS // 3), "ms")
        others = [Client() for _ in range(CLIENTS - 1)]
        running = [True]

        def act(other):
            while running[0]:
                other.ask_all(["f 0.1", "t l 1", "q p"])
        threads = [threading.Thread(target=act, args=(other,)) for other in others]
        for thread in threads:
            thread.start()
        spread("ping", "round trip beside nine that step", round_trips(turtle, ".\n", 1, PINGS), "ms")
        running[0] = False
        for thread in threads:
            thread.join()
        for other in others:
            other.close()


def ten():
    with measured(), Client() as turtle:
        warm_up(turtle)
        spread("ten", "ten pings in one packet", round_trips(turtle, ".\n" * 10, 10, PINGS // 3), "ms")
        spread("ten", "ten steps in one packet", round_trips(turtle, "f 0\n" * 10, 10, PINGS // 3), "ms")


def flood(turtles, packet, answers, enough):
    """All clients send the packet and read its answers repeatedly until `enough` returns true. Returns each one's
    rounds and
        the last clock value."""
    rounds, last = [0] * len(turtles), [b""] * len(turtles)

    def run(index):
        sock = turtles[index].sock
        while not enough(rounds):
            sock.sendall(packet)
            left, tail = answers, b""
            while left > 0:
                piece = sock.recv(65536)
                if not piece:
                    raise AssertionError("the field hung up")
                left -= piece.count(b"\n")
                tail = (tail + piece)[-200:]
            rounds[index] += 1
            last[index] = tail
    threads = [threading.Thread(target=run, args=(index,)) for index in range(len(turtles))]
    for thread in threads:
        thread.start()
    for thread in threads:
        thread.join()
    clocks = [harness.parse_reply(tail.decode("latin-1").splitlines()[-1]).clock for tail in last]
    return rounds, max(clocks)


def replies():
    with measured():
        turtles = [Client() for _ in range(CLIENTS)]
        warm_up(turtles[0])
        for name, line in (("pings", b".\n"), ("positions", b"q p\n"), ("sensors", b"q w\n"), ("steps", b"f 1e-9\n")):
            count = 512 // len(line)                        # what one receive of the field takes
            start = turtles[0].ask(".").clock
            began = time.monotonic()
            rounds, clock = flood(turtles, line * count, count, lambda _: time.monotonic() - began > SECONDS)
            span = time.monotonic() - began
            row("replies", "full packets of %s, ten clients" % name, sum(rounds) * count / span, "replies/s")
            row("replies", "frames meanwhile (%s)" % name, (clock - start) / span, "ticks/s")
            row("replies", "least served client (%s)" % name, min(rounds) / max(rounds), "of the most served")
        for turtle in turtles:
            turtle.close()


def ticks():
    with measured() as field:
        turtles = [Client() for _ in range(CLIENTS)]
        warm_up(turtles[0])
        for scene in ("graphics, pens up", "graphics, pens down", "battle with a maze"):
            if scene == "battle with a maze":
                for turtle in turtles:
                    turtle.close()
                field.key("M")
                field.settle()
                # The maze's entrance has room for two or three; robots and doughnuts fill the field.
                turtles = [Client()]
                turtles[0].ask_all(["d"] * 10)
            elif scene == "graphics, pens down":
                for turtle in turtles:
                    turtle.do("p d", "w 2")
            start = turtles[0].ask(".").clock
            began = time.monotonic()
            rounds, clock = flood(turtles, b"f 1\nt l 7\n", 2, lambda _: time.monotonic() - began > SECONDS)
            span = time.monotonic() - began
            clients = len(turtles)
            row("ticks", "%s, %d client%s" % (scene, clients, "s" if clients > 1 else ""), (clock - start) / span, "ticks/s")
            row("ticks", "packets of a client in that time (%s)" % scene, sum(rounds) / clients / span, "1/s")
        for turtle in turtles:
            turtle.close()


def hour():
    with measured() as field:
        with Client() as turtle:
            warm_up(turtle)
        pid = field.process.pid
        before = resident_mb(pid)
        turtles = [Client() for _ in range(CLIENTS)]
        for turtle in turtles:
            turtle.do("p d", "i 1", "n 486961")
        mixed = ["f 1", "t l 7", "q p", "q w", "q f", "q r 1", "o b", "o s", "o", "u hi", "k 1 0 1", "w 2", "q b", "."]
        packet = "".join(line + "\n" for line in mixed * 6).encode()
        count = len(mixed) * 6
        row("hour", "memory before", before, "MB")
        began, answered = time.monotonic(), 0
        for quarter in range(1, 5):
            rounds, _ = flood(turtles, packet, count, lambda done: sum(done) * count >= HOUR / 4)
            answered += sum(rounds) * count
            row("hour", "memory after %d of 4 quarters" % quarter, resident_mb(pid), "MB")
        row("hour", "commands answered", answered, "")
        row("hour", "in", time.monotonic() - began, "s")
        for turtle in turtles:
            turtle.close()


PARTS = {"startup": startup, "idle": idle, "ping": ping, "ten": ten, "replies": replies, "ticks": ticks, "hour": hour}


def main():
    wanted = sys.argv[1:] or list(PARTS)
    for name in wanted:
        if name not in PARTS:
            print("no such part: %s (there are: %s)" % (name, " ".join(PARTS)), file=sys.stderr)
            return 2
    print("part,what,value,unit", flush=True)
    for name in wanted:
        PARTS[name]()
    return 0


if __name__ == "__main__":
    sys.exit(main())
