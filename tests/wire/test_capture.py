"""Screen captures of the running program: the PNG file byte by byte, its text entries, and where it is put."""
import os
import re
import stat
import struct
import tempfile
import time
import unittest
import zlib

import numpy
from PIL import Image

import harness
from harness import Client, Field, FieldTest, captures_in, wait_until

NAME = re.compile(r"kelmora-capture-(\d+)\.png")
OFF_FIELD = "j 3000 3000"


def chunks_of(path):
    """Type and data of every chunk; checks the checksums."""
    with open(path, "rb") as file:
        data = file.read()
    if data[:8] != b"\x89PNG\r\n\x1a\n":
        raise AssertionError("not a PNG: %r" % data[:8])
    found, at = [], 8
    while at < len(data):
        length, kind = struct.unpack(">I4s", data[at:at + 8])
        body = data[at + 8:at + 8 + length]
        checksum = struct.unpack(">I", data[at + 8 + length:at + 12 + length])[0]
        if len(body) != length or zlib.crc32(kind + body) != checksum:
            raise AssertionError("chunk %r at %d is damaged" % (kind, at))
        found.append((kind, body))
        at += 12 + length
    return found


def texts_of(path):
    """Key and text of the text entries, in order; compressed ones unpacked."""
    found = []
    for kind, body in chunks_of(path):
        if kind == b"zTXt":
            key, rest = body.split(b"\0", 1)
            assert rest[0] == 0                             # the only compression method
            found.append((key, zlib.decompress(rest[1:])))
        elif kind == b"tEXt":
            found.append(tuple(body.split(b"\0", 1)))
    return found


def pixels_of(path):
    with Image.open(path) as image:
        return numpy.asarray(image).astype(int)


class Captures(FieldTest):
    field_options = {"env": {"USER": "operator"}}

    def setUp(self):
        self.turtle = self.fresh()
        self.turtle.do("c")
        self.home = self.field.display.home

    def paint(self):
        """Paints something asymmetric and moves the turtle out of sight."""
        self.turtle.do("w 9", "k 0 1 0", "j -200 100", "p d", "f 200", "k 0 0 1", "t n", "f 90", "k 1 0 0", "t w", "f 40",
                       "p u", OFF_FIELD)
        self.turtle.wait_ticks(3)

    def test_file_is_512_by_512_in_8_bit_rgb_with_the_texts_before_the_pixels(self):
        path = self.field.capture()
        chunks = chunks_of(path)
        self.assertEqual(chunks[0], (b"IHDR", struct.pack(">IIBBBBB", 512, 512, 8, 2, 0, 0, 0)))
        kinds = [kind for kind, _ in chunks]
        self.assertEqual(kinds[1:5], [b"zTXt"] * 4)
        self.assertEqual(set(kinds[5:-1]), {b"IDAT"})
        self.assertEqual(chunks[-1], (b"IEND", b""))
        # Every row: one byte for its filter and 512 times three samples.
        rows = zlib.decompress(b"".join(body for kind, body in chunks if kind == b"IDAT"))
        self.assertEqual(len(rows), 512 * (1 + 512 * 3))

    def test_texts_say_who_what_where_and_when(self):
        earliest = int(time.time())
        path = self.field.capture()
        latest = int(time.time())
        texts = texts_of(path)
        self.assertEqual([key for key, _ in texts], [b"Author", b"Software", b"Source", b"Description"])
        self.assertEqual([text for _, text in texts[:3]],
                         [b"operator", b"kelmora for Velmark by RQ", os.uname().nodename.encode()])
        # As in "Mon Nov 16 03:21:38 2026", local time, without the line's end.
        self.assertIn(texts[3][1].decode(), [time.ctime(second) for second in range(earliest, latest + 1)])

    def assertShown(self, pixels):
        """Waits until the window shows exactly these pixels."""
        self.field.wait_picture(lambda p: (p == pixels).all(), 10, "the window to look like its capture")

    def test_pixels_are_those_of_the_window_with_the_top_row_first(self):
        self.paint()
        captured = pixels_of(self.field.capture())
        self.assertTrue(captured[:128].any() and not captured[256:].any())      # would show turning or mirroring
        self.assertShown(captured)

    def test_overlay_and_tilted_view_are_in_the_picture(self):
        self.paint()
        self.turtle.do("z 7 20 -200")
        plain = self.field.captured()
        for keys in (("h",), ("3",), ("Escape",)):
            self.field.key(*keys)
            captured = self.field.captured()                # keys are handled in order
            self.assertGreater(int((captured != plain).any(axis=2).sum()), 5000)
            self.assertShown(captured)
        self.field.key("3")
        self.assertEqual(int((self.field.captured() != plain).sum()), 0)

    def test_name_tells_the_clock_of_the_frame(self):
        for _ in range(2):
            earliest = self.turtle.ask("q t").clock
            path = self.field.capture()
            latest = self.turtle.ask("q t").clock
            self.assertTrue(earliest <= int(NAME.fullmatch(os.path.basename(path)).group(1)) <= latest)

    def test_one_request_makes_one_file(self):
        before = captures_in(self.home)
        self.field.capture()
        self.turtle.wait_ticks(30)
        self.assertEqual(len(captures_in(self.home) - before), 1)

    def test_capture_prints_nothing(self):
        start = self.field.mark()
        self.field.capture()
        self.turtle.wait_ticks(3)
        self.assertEqual(self.field.said(start), [])


class Surroundings(unittest.TestCase):
    """What environment variables do to a capture."""

    def author_with(self, **options):
        with Field(**options) as field, Client() as client:
            client.wait_ticks(3)
            path = field.capture()
            texts = dict(texts_of(path))
            self.assertEqual(set(texts), {b"Author", b"Software", b"Source", b"Description"})
            os.unlink(path)
            return texts[b"Author"]

    def test_missing_user_is_an_empty_author(self):
        self.assertEqual(self.author_with(without=["USER"]), b"")

    def test_user_is_cut_at_31_bytes(self):
        self.assertEqual(self.author_with(env={"USER": "u" * 31}), b"u" * 31)
        self.assertEqual(self.author_with(env={"USER": "v" * 4000}), b"v" * 31)

    def test_pipe_under_the_name_of_a_capture_does_not_hold_the_field(self):
        with tempfile.TemporaryDirectory() as home, Field(env={"HOME": home}) as field, Client() as client:
            # The name contains the clock of a coming frame, so there is a pipe for each of the next seconds.
            clock = client.ask(".").clock
            names = [os.path.join(home, "kelmora-capture-%d.png" % tick) for tick in range(clock, clock + 5000)]
            for name in names:
                os.mkfifo(name)
            start = field.mark()
            field.key("p")
            wait_until(lambda: field.said(start), 10, "a complaint")
            self.assertRegex(field.said(start)[0], r"^saveImageToPNG: cannot write file:.*/kelmora-capture-\d+\.png$")
            client.wait_ticks(30)
            self.assertEqual(client.ask("q a").values, "1")
            self.assertTrue(all(stat.S_ISFIFO(os.lstat(name).st_mode) for name in names))

    def test_home_that_takes_no_files_is_one_line_and_the_field_goes_on(self):
        # It exists, which is the only check, but no file can be made in it.
        with Field(env={"HOME": "/proc"}) as field, Client() as client:
            client.wait_ticks(3)
            start = field.mark()
            field.key("p")
            wait_until(lambda: field.said(start), 10, "a complaint")
            client.wait_ticks(30)
            said = field.said(start)
            self.assertEqual(len(said), 1, said)
            self.assertRegex(said[0], r"^saveImageToPNG: cannot open file:/proc/kelmora-capture-\d+\.png$")
            self.assertEqual(client.ask("q s").values, "100")


if __name__ == "__main__":
    harness.main()
