"""Bots for contests, chosen by the first argument. Each decides by the answers and its seat alone."""
import os
import random
import socket
import sys
import time

kind = sys.argv[1]
if kind == "absent":
    sys.exit(0)
sock = socket.create_connection((os.environ["KELMORA_HOST"], int(os.environ["KELMORA_PORT"])))
sock.setsockopt(socket.IPPROTO_TCP, socket.TCP_NODELAY, 1)
answers = sock.makefile("r")
dice = random.Random(int(os.environ["KELMORA_SEAT"]))


def ask(line):
    sock.sendall((line + "\n").encode())
    answer = answers.readline()
    if not answer:
        sys.exit(0)
    return answer


def fight():
    words = ask("q r").split(" ")
    angle = float(words[0]) if "OK" in words else 90.0
    if abs(angle) < 8 and dice.random() < 0.3:
        ask("x")
    ask("f 2" if abs(angle) <= 15 else "t l 3" if angle > 0 else "t r 3")


try:
    if kind == "browser":
        sock.sendall(b"GET / HTTP/1.1\r\nHost: field\r\n\r\n")
        while sock.recv(4096):
            pass
        sys.exit(0)
    if kind != "silent":
        ask("n " + (os.environ["KELMORA_NAME"] if kind != "thief" else "hunter").encode().hex())
        ask("i " + os.environ["KELMORA_TEAM"])
    if kind == "twice":
        second = socket.create_connection(sock.getpeername())
    if kind == "silent":
        time.sleep(100000)
    if kind == "greedy":
        for what, take in (("memory", lambda: bytearray(1 << 34)), ("network", lambda: socket.create_connection(("192.0.2.1", 9), 5)),
                           ("file", lambda: open(os.path.join(os.path.dirname(os.path.abspath(__file__)), "mine"), "w")),
                           ("process", lambda: [os.fork() or time.sleep(60) or os._exit(0) for _ in range(20)])):
            try:
                take()
            except (OSError, MemoryError):
                print("no-" + what, flush=True)
    if kind == "eater":
        os.write(1, b"x" * 100)
        ask("f 1")
        hoard = bytearray(1 << 34)
    while True:
        if kind == "flood":
            sock.sendall(b"q p\n" * 500)
            for _ in range(500):
                answers.readline() or sys.exit(0)
        elif kind == "crash":
            ask("f 1")
            raise RuntimeError("this bot crashes")
        elif kind == "leaver":
            ask("f 1")
            break
        elif kind == "target":
            ask("f 0")
        else:
            fight()
except ConnectionError:
    pass
