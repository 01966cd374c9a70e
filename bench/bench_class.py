"""What the class server costs: busy students, as their workers and pages ask, beside as many plain programs.

Each busy student steps as fast as the field lets it, asks ten times a second for Stop and ten times a second for the
turtles, and gives a sign of life each second; a student who sits by only looks, ten times a second, too. First ten on one
field with a window, then thirty seats on three fields without one (kelmora-headless beside KELMORA), where three, three and
four run, and then all of them. One CSV line each for the plain programs and the students: how many run, steps a second of
one of them and of the slowest, median and 99th percentile of a step in milliseconds, processor share of the class server in
percent of one core and its microseconds a step, all told. Then its memory at the start and at the end.
Run inside scripts/in-namespace; KELMORA and KELMORA_CLASS name the programs, SECONDS how long (10).
usage: bench_class.py [window] [headless] [memory MINUTES]
memory: three students on one field without a window who run, stop and begin again for so long; the memory of the server each
minute, and its slope over the second half.
"""
import contextlib
import multiprocessing
import os
import socket
import statistics
import subprocess
import sys
import time

HERE = os.path.dirname(os.path.abspath(__file__))
sys.path.insert(0, os.path.join(HERE, "..", "tests", "class"))
sys.path.insert(0, os.path.join(HERE, "..", "tests", "wire"))
import classroom  # noqa: E402
from harness import Field  # noqa: E402

HEADLESS = os.path.join(os.path.dirname(os.environ.get("KELMORA", "")), "kelmora-headless")
SECONDS = float(os.environ.get("SECONDS", "10"))
PLACES = 10


def steps(step, number, others=lambda now: None):
    """Steps as fast as they are answered; the time of each."""
    times, end = [], time.monotonic() + SECONDS
    while time.monotonic() < end:
        began = time.monotonic()
        step("f 1" if len(times) % 2 else "f -1")
        times.append(time.monotonic() - began)
        others(began)
    return times


def student(port, number, runs, barrier, results):
    class Room:
        pass
    room = Room()
    room.port = port
    me = classroom.Student(room, "Student %d" % number)
    page = me.worker()
    due = {"look": 0, "beat": 0}

    def look(now):
        if now > due["look"]:
            due["look"] = now + 0.1
            page.get("/field/%d/turtle" % me.state["seat"]["field"])
            if runs:
                me.get("/api/run/stop?run=%d" % me.run)
        if now > due["beat"]:
            due["beat"] = now + (1 if runs else 10)
            page.post("/api/beat", {"doing": "running", "said": "x" * 100})
    if runs:
        me.begin()
        me.do("p d")
    barrier.wait()
    if runs:
        results.put(steps(me.do, number, look))
        return
    end = time.monotonic() + SECONDS
    while time.monotonic() < end:
        look(time.monotonic())
        time.sleep(0.05)
    results.put(None)


def plain(port, number, runs, barrier, results):
    with socket.create_connection(("127.0.0.1", port), timeout=60) as sock, sock.makefile("rb") as answers:
        sock.setsockopt(socket.IPPROTO_TCP, socket.TCP_NODELAY, 1)

        def do(line):
            sock.sendall(line.encode() + b"\n")
            if b"OK @" not in answers.readline():
                raise AssertionError(line)
        do("j %d %d" % (-225 + 50 * (number % PLACES), 40 * (number % 2)))
        do("p d")
        barrier.wait()
        results.put(steps(do, number))


def run(who, ports, running, sitting, room):
    """`running` programs, spread over `ports` of fields or, with the port of the class, as the class seats them."""
    count = running + sitting
    barrier, results = multiprocessing.Barrier(count + 1), multiprocessing.Queue()
    people = []
    for k in range(count):
        p = multiprocessing.Process(target=who, args=(ports[k % len(ports)], k // len(ports), k < running, barrier, results), daemon=True)
        p.start()
        people.append(p)
    barrier.wait()
    before, began = room.processor_seconds() if room else 0, time.monotonic()
    told = [times for times in (results.get() for _ in people) if times is not None]
    used, took = (room.processor_seconds() if room else 0) - before, time.monotonic() - began
    for p in people:
        p.join()
    times = sorted(t for one in told for t in one)
    rates = [len(one) / took for one in told]
    share, each = 100 * used / took, 1e6 * used / len(times)
    print("%s,%d,%.1f,%.1f,%.2f,%.2f,%s" % (who.__name__, running, statistics.mean(rates), min(rates), 1e3 * statistics.median(times),
                                            1e3 * times[len(times) * 99 // 100], "%.1f,%.0f" % (share, each) if room else ","), flush=True)
    return statistics.mean(rates)


@contextlib.contextmanager
def headless_fields(count):
    """Fields without a window: (port for programs, port for browsers) of each."""
    with contextlib.ExitStack() as stack:
        ports = []
        for _ in range(count):
            field = stack.enter_context(subprocess.Popen([HEADLESS, "-p", "0", "-w", "0"], stdout=subprocess.PIPE, stderr=subprocess.DEVNULL))
            stack.callback(field.kill)
            ports.append(tuple(int(word) for word in field.stdout.readline().split()[1:3]))
        yield ports


def class_on(ports, *options):
    return classroom.Classroom("--fields", ",".join("127.0.0.1:%d" % p for p, _ in ports),
                               "--viewer", ",".join("127.0.0.1:%d" % v for _, v in ports), *options)


def with_room(room, running, sitting):
    room.teacher().post("/api/desk/start", {"start": "apart"})
    first = room.resident_kib()
    rate = run(student, [room.port], running, sitting, room)
    print("resident KiB: %d at the start, %d at the end" % (first, room.resident_kib()))
    return rate


def window():
    print("one field with a window")
    with Field():
        alone = run(plain, [2222], PLACES, 0, None)
    with Field(), classroom.Classroom() as room:
        print("ratio: %.2f" % (with_room(room, PLACES, 0) / alone), flush=True)


def headless():
    print("thirty seats on three fields without a window")
    for running, sitting in ((10, 20), (30, 0)):
        with headless_fields(3) as ports:
            alone = run(plain, [p for p, _ in ports], running, 0, None)
        with headless_fields(3) as ports, class_on(ports) as room:
            print("ratio: %.2f" % (with_room(room, running, sitting) / alone), flush=True)


def memory(minutes):
    with headless_fields(1) as ports, class_on(ports) as room:
        people = [room.student("Student %d" % k) for k in range(3)]
        seen, began = [], time.monotonic()
        while time.monotonic() - began < 60 * minutes:
            for p in people:
                p.begin()
                for _ in range(20):
                    p.lines("q p\nf 1\nf -1")
                    p.get("/field/0/turtle")
                p.ask("PUT", "/api/program", {"language": "python", "title": "x", "text": "print(1)\n" * 500})
                p.post("/api/beat", {"doing": "running", "said": "x" * 400})
                p.get("/edit")
            with contextlib.closing(classroom.Student(room, "Guest")) as guest:
                guest.post("/api/leave")
            seen.append((time.monotonic() - began, room.resident_kib()))
            time.sleep(0.2)
        minute = {int(at // 60): kib for at, kib in seen}
        print("resident KiB after each minute: " + " ".join(str(kib) for _, kib in sorted(minute.items())))
        half = [(at / 3600, kib) for at, kib in seen if at > 30 * minutes]
        slope = statistics.linear_regression([at for at, _ in half], [kib for _, kib in half]).slope
        print("slope over the second half: %.0f KiB an hour, %d rounds" % (slope, len(seen)), flush=True)


def main():
    wanted = sys.argv[1:] or ["window", "headless"]
    if wanted[0] == "memory":
        memory(float(wanted[1]))
        return
    print("who,running,steps a second,of the slowest,median ms,p99 ms,server percent,server us a step")
    for word in wanted:
        {"window": window, "headless": headless}[word]()


if __name__ == "__main__":
    main()
