"""What the class server costs: ten busy students on one field, with the requests of their workers and pages, beside ten
plain programs.

Each student steps as fast as the field allows, polls Stop and the turtles ten times a second each, and sends a sign of
life each second. One CSV line each for the plain programs and the students: steps a second of one of them, median and
99th percentile of a step in milliseconds, the class server's processor share in percent of one core and its
microseconds
a step. Then its memory at the start and at the end.
Run inside scripts/in-namespace; KELMORA and KELMORA_CLASS name the programs, SECONDS how long (10).
"""
import multiprocessing
import os
import statistics
import sys
import time

HERE = os.path.dirname(os.path.abspath(__file__))
sys.path.insert(0, os.path.join(HERE, "..", "tests", "class"))
sys.path.insert(0, os.path.join(HERE, "..", "tests", "wire"))
import classroom  # noqa: E402
from harness import Client, Field  # noqa: E402

STUDENTS = 10
SECONDS = float(os.environ.get("SECONDS", "10"))


def student(port, number, barrier, results):
    class Room:
        pass
    room = Room()
    room.port = port
    me = classroom.Student(room, "Student %d" % number)
    page = me.worker()
    me.begin()
    me.do("p d")
    barrier.wait()
    times, end, look, beat = [], time.monotonic() + SECONDS, 0, 0
    while time.monotonic() < end:
        began = time.monotonic()
        me.do("f 1" if len(times) % 2 else "f -1")
        times.append(time.monotonic() - began)
        if began > look:
            look = began + 0.1
            me.get("/api/run/stop?run=%d" % me.run)
            page.get("/field/0/turtle")
        if began > beat:
            beat = began + 1
            page.post("/api/beat", {"doing": "running", "said": "x" * 100})
    results.put(times)


def plain(_port, number, barrier, results):
    with Client() as me:
        me.do("j %d %d" % (-225 + 50 * number, 40 * (number % 2)), "p d")
        barrier.wait()
        times, end = [], time.monotonic() + SECONDS
        while time.monotonic() < end:
            began = time.monotonic()
            me.do("f 1" if len(times) % 2 else "f -1")
            times.append(time.monotonic() - began)
        results.put(times)


def run(who, port, room):
    barrier, results = multiprocessing.Barrier(STUDENTS + 1), multiprocessing.Queue()
    people = [multiprocessing.Process(target=who, args=(port, k, barrier, results), daemon=True) for k in range(STUDENTS)]
    for p in people:
        p.start()
    barrier.wait()
    before, began = room.processor_seconds() if room else 0, time.monotonic()
    times = [t for _ in people for t in results.get()]
    used, took = (room.processor_seconds() if room else 0) - before, time.monotonic() - began
    for p in people:
        p.join()
    times.sort()
    share, each = 100 * used / took, 1e6 * used / len(times)
    print("%s,%.1f,%.2f,%.2f,%s" % (who.__name__, len(times) / STUDENTS / took, 1e3 * statistics.median(times),
                                    1e3 * times[len(times) * 99 // 100], "%.1f,%.0f" % (share, each) if room else ","), flush=True)


def main():
    print("who,steps a second,median ms,p99 ms,server percent,server us a step")
    with Field():
        run(plain, 0, None)
    with Field(), classroom.Classroom() as room:
        room.teacher().post("/api/desk/start", {"start": "apart"})
        first = room.resident_kib()
        run(student, room.port, room)
        print("resident KiB: %d at the start, %d at the end" % (first, room.resident_kib()))


if __name__ == "__main__":
    main()
