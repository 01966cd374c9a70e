"""Random input of players, vandals and operators, shared by the tests of many clients and by the soak test."""
import threading

import harness

COMMANDS = ["f %d", "b %d", "g %d %d", "j %d %d", "t l %d", "t r %d", "t e", "t n", "p d", "p u", "l", "l s", "l b", "l p",
            "w %d", "k 1 %d 0", "h 0 0 %d", "s 4142%d", "n 43%d", "u text %d", "i %d", "e %d", "o", "o b", "o s", "o x",
            "d", "x", "y + %d", "y - %d", "z %d %d %d", "!", "! u", ".", "q p", "q d", "q m", "q f", "q r", "q r 5", "q w",
            "q a", "q s", "q t", "q n", "q c", "q o", "q b", "q z s %d", "q z p %d", "c a", "c f", "c h", "c", "r"]
# Malformed numbers, truncated words, unknown letters.
NONSENSE = ["f nan", "j inf 1e308", "w -1", "e 1e999", "zz top", "q", "q r 9", "~", "t", "i 99999999999999999999", "z 9e9",
            "u " + "x" * 300, "n " + "4" * 400, "f " + "1" * 480]
# Keys that keep the program running and the same clients admitted.
KEYS = ["exclam", "plus", "minus", "comma", "period", "3", "b", "c", "h", "Escape", "K", "M", "n", "o", "s", "z"]


def random_lines(source, most, words=None):
    """One to `most` command lines with numbers between -270 and 270 in them."""
    lines = []
    for _ in range(source.randrange(1, most + 1)):
        line = source.choice(words or COMMANDS)
        while "%d" in line:
            line = line.replace("%d", str(source.randrange(-270, 271)), 1)
        lines.append(line)
    return lines


def random_bytes(source):
    """A packet of a vandal: noise, letters of the language in random order, one byte repeated, or thousands of commands
        at once."""
    size = source.choice((1, 3, 511, 512, 513, 700, 4000))
    kind = source.random()
    if kind < 0.4:
        return source.randbytes(size)
    if kind < 0.7:
        return bytes(source.choice(b"fbcgjtplwkhsnuieoyzq.\n;\r\n 019-+e") for _ in range(size))
    if kind < 0.9:
        return source.choice((b"\n", b";", b" ", b"f", b"\xff", b"\x00")) * size
    return b"f 1;q p;q w\n" * 40


def vandalize(source, packets, harmless=False):
    """One vandal's visit: up to `packets` packets, then it disconnects in mid-line, with a reset or without.

        A harmless one sends nothing that could hurt another turtle: no beams, no robots, no battle mode.
    """
    try:
        client = harness.Client(greet=False)
    except OSError:
        return
    try:
        for _ in range(source.randrange(1, packets + 1)):
            data = random_bytes(source)
            client.send(data.translate(None, b"xXrR!") if harmless else data)
        client.send("f 10")
        client.abort() if source.random() < 0.5 else client.close()
    except OSError:
        client.close()


def together(jobs, seconds):
    """Runs the jobs in threads and raises the first failure of any; the jobs end by themselves within that many
        seconds."""
    failures = []

    def guarded(job):
        try:
            job()
        except BaseException as failure:                    # passed to the thread that waits
            failures.append(failure)
    threads = [threading.Thread(target=guarded, args=(job,)) for job in jobs]
    for thread in threads:
        thread.start()
    for thread in threads:
        thread.join(seconds + harness.patience(60))
    if failures:
        raise failures[0]
    if any(thread.is_alive() for thread in threads):
        raise AssertionError("a client did not come to its end")
