"""A soak test: players, vandals, clients that never read, web viewers and an operator pressing keys, all at once, for
the minutes given as first argument, on the program in KELMORA. Watches the clock, descriptors, threads and memory, and
ends with its figures and a verdict; the exit status is 0 when all is well. Run by scripts/soak.
"""
import os
import random
import socket
import statistics
import sys
import threading
import time

import crowd
import harness
from harness import Client, Closed, Field

MINUTES = 1.0              # set by the command line, and by the short form among the tests
SEED = int(time.time())
SPAN = 5.0                 # seconds of one sample
LEAST = 4.0                # ticks a second
STILL = 60.0               # seconds without a tick that are a fault; so much longer than planned the soak may last
TARGETS = ["/", "/turtle", "/wall", "/coin", "/camera", "/img/0", "/img/7", "/img/99", "/nothing", "/" + "x" * 3000]


class Day:
    def __init__(self, field):
        self.field = field
        self.end = time.monotonic() + MINUTES * 60
        self.clock, self.served, self.pages, self.connections = 0, 0, 0, 0
        self.count_lock = threading.Lock()
        self.faults = []                                    # failures in the threads

    def running(self):
        return time.monotonic() < self.end and self.field.process.poll() is None

    def spend(self, job, source):
        """Runs a job until the end. One that fails is reported with the verdict and starts again: the load stays."""
        while True:
            try:
                return job(source)
            except Exception as failure:
                self.faults.append("%.0f s left, %s: %s" % (self.end - time.monotonic(), job.__name__, failure))
                time.sleep(1)                               # not a list of hundreds

    def connected(self):
        with self.count_lock:
            self.connections += 1

    def player(self, source):
        """Asks at random, as fast as answers come; now and then a line is malformed."""
        while self.running():
            try:
                with Client() as turtle:
                    self.connected()
                    for _ in range(200):
                        lines = crowd.random_lines(source, 9, crowd.COMMANDS + crowd.NONSENSE)
                        answers = turtle.ask_all(lines)
                        with self.count_lock:
                            self.clock = max(self.clock, answers[-1].clock)
                            self.served += len(answers)
                        if not self.running():
                            break
            except (Closed, OSError):
                time.sleep(0.02)                            # killed or no room: another client has the slot

    def vandal(self, source):
        """Sends random bytes and disconnects in the middle, with or without a reset."""
        while self.running():
            self.connected()
            crowd.vandalize(source, 7)
            time.sleep(0.05)

    def deaf(self, source):
        """Asks and never reads until the field closes the connection."""
        while self.running():
            try:
                with Client(receive_buffer=4096, greet=False) as turtle:
                    self.connected()
                    turtle.sock.settimeout(5)
                    turtle.send("u %s\n" % ("x" * 127))
                    for _ in range(500):
                        turtle.send("q b;" * 1000)
                        if not self.running():
                            break
            except OSError:
                pass
            time.sleep(source.uniform(0.1, 1.0))

    def viewer(self, source):
        """Polls the web server like a viewer page; one in ten is slow, idle or leaves early."""
        while self.running():
            try:
                with socket.create_connection(("127.0.0.1", harness.VIEWER_PORT), timeout=10) as sock:
                    self.connected()
                    kind = source.random()
                    if kind < 0.03:
                        time.sleep(source.uniform(0.5, 3))  # an idle connection
                    elif kind < 0.06:
                        for byte in b"GET /turtle HT":
                            sock.sendall(bytes([byte]))
                            time.sleep(0.05)                # a slow one
                    elif kind < 0.1:
                        sock.sendall(source.randbytes(source.randrange(1, 3000)))
                    else:
                        sock.sendall(("GET %s HTTP/1.1\r\nHost: field\r\nConnection: close\r\n\r\n"
                                      % source.choice(TARGETS)).encode())
                        if sock.recv(65536):
                            with self.count_lock:
                                self.pages += 1
            except OSError:
                pass
            time.sleep(source.uniform(0.05, 0.3))           # a page polls at intervals

    def operator(self, source):
        while self.running():
            try:
                self.field.key(*[source.choice(crowd.KEYS + ["p"]) for _ in range(4)])
            except AssertionError:
                if self.running():
                    raise
            home = self.field.display.home
            for name in os.listdir(home):
                if name.startswith("kelmora-capture-"):
                    os.unlink(os.path.join(home, name))
            time.sleep(0.3)


def named(path):
    try:
        with open(path) as comm:
            return comm.read().strip()
    except OSError:
        return ""                                           # it has ended meanwhile


def resources(pid):
    """Descriptors, threads and resident megabytes of the process. The graphics driver's threads, which come at any
    time, have their own names and are not counted."""
    own = named("/proc/%d/comm" % pid)
    tasks = os.listdir("/proc/%d/task" % pid)
    with open("/proc/%d/statm" % pid) as statm:
        resident = int(statm.read().split()[1]) * os.sysconf("SC_PAGE_SIZE") / 1e6
    return len(os.listdir("/proc/%d/fd" % pid)), sum(named("/proc/%d/task/%s/comm" % (pid, task)) == own for task in tasks), resident


def soak():
    """Returns the list of failures."""
    faults = []
    with Field() as field:
        harness.wait_until(lambda: harness.is_listening(harness.VIEWER_PORT), 20, "the web server")
        with Client() as turtle:
            turtle.wait_ticks(30)
        pid = field.process.pid
        base = resources(pid)
        print("  %d descriptors, %d threads, %.0f MB at the start" % base, flush=True)
        day = Day(field)
        jobs = [day.player] * 10 + [day.vandal] * 2 + [day.deaf] + [day.viewer] * 50 + [day.operator]
        threads = [threading.Thread(target=day.spend, args=(job, random.Random(SEED + i))) for i, job in enumerate(jobs)]
        for thread in threads:
            thread.start()
        rates, samples, last_clock, last_time = [], [], 0, time.monotonic()
        stood, longest, latest = 0.0, 0.0, day.end + STILL
        while day.running():
            time.sleep(min(SPAN, max(0.1, day.end - time.monotonic())))
            if field.process.poll() is not None:
                break
            now, clock = time.monotonic(), day.clock
            rate = (clock - last_clock) / (now - last_time)
            if samples and now - last_time > SPAN / 2:      # without the first one and a short last one
                rates.append(rate)
            stood = 0.0 if rate > 0 else stood + now - last_time
            longest = max(longest, stood)
            if (clock < LEAST * MINUTES * 60 or stood) and day.end < latest:
                day.end = max(day.end, min(now + SPAN, latest))     # no time for it, or it stands: for how long?
            last_clock, last_time = clock, now
            samples.append(resources(pid))
            print("  %5.0f s left, %6.1f ticks/s, %d descriptors, %d threads, %.0f MB, %d commands, %d pages"
                  % ((day.end - now, rate) + samples[-1] + (day.served, day.pages)), flush=True)
        for thread in threads:
            thread.join(harness.patience(harness.HANG))
        if field.process.poll() is not None:
            return ["the program ended during the soak"]
        if any(thread.is_alive() for thread in threads):
            faults.append("a client did not come to its end")
        faults += day.faults
        # The clock is read by players; while the operator kills often or the maze has no room, fewer ticks are seen
        # than there were. A clock that stands still is a fault, and so is a slow field over the whole soak; but a machine
        # with other work may leave the players without an answer for many seconds.
        mean = day.clock / (MINUTES * 60)
        slowest, usual = min(rates, default=mean), statistics.median(rates or [mean])
        if mean < LEAST or longest >= STILL:
            faults.append("the field ticked %.1f times a second, and stood still for %.0f s" % (mean, longest))
        if not day.served or not day.pages:
            faults.append("%d commands, %d pages" % (day.served, day.pages))
        # All have left: everything opened for them must be given back.
        try:
            # Slow and idle viewers are cut off after a minute.
            harness.wait_until(lambda: resources(pid)[0] <= base[0] + 1 and resources(pid)[1] <= base[1], 30,
                               lambda: "descriptors and threads to return from %r to %r" % (resources(pid), base), 0.2)
        except AssertionError as failure:
            faults.append(str(failure))
        # After the first quarter everything has happened once; from then on memory may fluctuate but not grow.
        settled = [memory for _, _, memory in samples[len(samples) // 4:]]
        if len(settled) >= 8:
            early, late = max(settled[:len(settled) // 2]), max(settled[len(settled) // 2:])
            if late > early * 1.25 + 20:
                faults.append("memory grew from %.0f to %.0f MB" % (early, late))
        field.key("K")
        field.settle()
        with Client() as turtle:
            if turtle.ask("q a").values != "1":
                faults.append("a new client finds no turtle afterwards")
        last = resources(pid)
        most = [max(sample[k] for sample in samples) for k in range(3)]
        print("  ticks/s %.1f at least, %.1f median, %.1f mean\n"
              "  descriptors %d at the start, %d at most, %d at the end\n"
              "  threads %d at the start, %d at most, %d at the end\n"
              "  memory %.0f MB at the start, %.0f MB at most, %.0f MB at the end\n"
              "  %d commands answered, %d connections, %d pages"
              % (slowest, usual, mean, base[0], most[0], last[0], base[1], most[1], last[1], base[2], most[2], last[2],
                 day.served, day.connections, day.pages))
        # In the form of a row of the table in docs/robustness.md.
        print("  | %s | %g min | %.0f / %.0f | %d / %d / %d | %d / %d / %d | %.0f / %.0f / %.0f | %d | %d |"
              % (harness.build_name(), MINUTES, slowest, usual, base[0], most[0], last[0], base[1], most[1], last[1],
                 base[2], most[2], last[2], day.served, day.connections))
    return faults


def main():
    global MINUTES
    if len(sys.argv) > 1:
        MINUTES = max(0.1, float(sys.argv[1]))
    print("soak of %g minutes, seed %d" % (MINUTES, SEED), flush=True)
    try:
        faults = soak()
    except AssertionError as failure:
        faults = [str(failure)]
    for fault in faults:
        print("  FAULT: " + fault)
    print("verdict: " + ("bad" if faults else "good"))
    return 1 if faults else 0


if __name__ == "__main__":
    sys.exit(main())
