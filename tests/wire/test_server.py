"""Connections: admission, the log, and clients that leave, disconnect or never read."""
import os
import resource
import socket
import time
import unittest

import harness
from harness import Client, Closed, FieldTest, needs_window, swap16, wait_until


class Connections(FieldTest):
    def setUp(self):
        self.turtle = self.fresh()
        self.start = self.field.mark()

    def log_line(self, text, client, address="127.0.0.1"):
        """Waits for a line that ends with the client's address and port as logged."""
        self.field.wait_line("%s from %s %d" % (text, address, swap16(client.port)), self.start)

    def test_log_names_address_and_unconverted_port(self):
        other = self.client()
        self.log_line("handling client", other)
        other.close()
        self.log_line("closing connection", other)

    def test_client_that_leaves_becomes_a_zombie_and_frees_its_slot(self):
        clients = [self.client() for _ in range(9)]
        self.assertEqual(self.turtle.ask("q n").values, "10")
        for client in clients:
            client.close()
        for client in clients:
            self.log_line("closing connection", client)
        self.assertEqual(self.turtle.ask("q n").values, "10")       # zombies count
        for _ in range(9):
            self.client()
        self.assertEqual(self.turtle.ask("q n").values, "19")
        self.turtle.do("c a")                                       # zombies go, clients stay
        self.assertEqual(self.turtle.ask("q n").values, "10")

    def test_eleventh_client_is_closed_at_once(self):
        clients = [self.client() for _ in range(9)]
        late = Client(greet=False)
        self.addCleanup(late.close)
        self.assertTrue(late.wait_closed())
        self.field.wait_line("accept_connection(): reaches MAX_CLIENT", self.start)
        self.assertNotIn("handling client from 127.0.0.1 %d" % swap16(late.port), self.field.said(self.start))
        for client in clients:
            self.assertEqual(client.ask("q a").values, "1")
        clients[0].close()
        self.log_line("closing connection", clients[0])
        self.assertEqual(self.client().ask("q n").values, "11")

    @needs_window
    def test_full_turtle_table_refuses_the_client_after_handling_it(self):
        other = self.client()
        other.close()
        self.log_line("closing connection", other)
        # Doughnuts, as robots would shoot each other meanwhile: 26 fill the 30 slots.
        for baker, count in ((self.turtle, 10), (self.client(), 10), (self.client(), 6)):
            self.assertEqual([answer.status for answer in baker.ask_all(["d"] * count)], ["OK"] * count)
        self.assertEqual([answer.status for answer in baker.ask_all(["d", "r"])], ["ERR", "ERR"])
        self.assertEqual(self.turtle.ask("q n").values, "30")
        late = Client(greet=False)
        self.addCleanup(late.close)
        self.assertTrue(late.wait_closed())
        self.log_line("handling client", late)
        self.field.key("z")                                         # erases the zombie, and there is room again
        self.field.settle()
        self.assertEqual(self.client().ask("q n").values, "30")

    def test_private_mode_admits_exactly_one_address(self):
        for source in ("127.0.0.2", "127.0.0.255", "127.1.0.1"):
            stranger = Client(source=source, greet=False)
            self.addCleanup(stranger.close)
            self.assertTrue(stranger.wait_closed())
            self.field.wait_line("accept_connection(): reject connection from %s %d" % (source, swap16(stranger.port)),
                                 self.start)
        # From a mapped address this machine is still 127.0.0.1 at the field's end.
        with socket.socket(socket.AF_INET6, socket.SOCK_STREAM) as mapped:
            mapped.settimeout(harness.patience(harness.HANG))
            mapped.connect(("::ffff:127.0.0.1", harness.CLIENT_PORT))
            mapped.sendall(b"q a\n")
            self.assertTrue(mapped.recv(100).startswith(b"1 OK @ "))
        with socket.socket(socket.AF_INET6, socket.SOCK_STREAM) as mapped:
            mapped.settimeout(harness.patience(harness.HANG))
            mapped.bind(("::ffff:127.0.0.3", 0))
            mapped.connect(("::ffff:127.0.0.1", harness.CLIENT_PORT))
            self.assertEqual(mapped.recv(100), b"")

    @needs_window
    def test_public_mode_admits_other_addresses_until_private_again(self):
        self.field.key("at")
        self.field.wait_line("entering public mode...", self.start)
        guest = self.client(source="127.0.0.2")
        self.log_line("handling client", guest, "127.0.0.2")
        self.field.key("at")
        self.field.wait_line("entering private mode...", self.start)
        self.assertEqual(guest.ask("q a").values, "1")              # connected clients stay connected
        late = Client(source="127.0.0.2", greet=False)
        self.addCleanup(late.close)
        self.assertTrue(late.wait_closed())

    def test_vanishing_in_mid_line_leaves_a_zombie_and_runs_nothing(self):
        other = self.client()
        other.send("z 5 10 10")
        self.turtle.ask(".")
        self.turtle.ask(".")
        other.close()
        self.log_line("closing connection", other)
        self.assertEqual(self.turtle.ask("q z s 5").values, "0")
        self.assertEqual(self.turtle.ask("q n").values, "2")

    def test_reset_by_the_peer_leaves_a_zombie(self):
        other = self.client()
        other.send("q p")
        other.abort()
        self.log_line("closing connection", other)
        self.assertEqual(self.turtle.ask("q n").values, "2")

    def test_closing_right_after_a_flood_of_commands_is_harmless(self):
        for _ in range(5):
            other = self.client()
            other.send("q p\nf 1\n" * 500)
            other.close()
            self.log_line("closing connection", other)
        self.assertEqual(self.turtle.ask("q n").values, "6")

    def test_client_that_connects_and_says_nothing_gets_a_turtle(self):
        quiet = Client(greet=False)
        self.addCleanup(quiet.close)
        wait_until(lambda: self.turtle.ask("q n").values == "2", 10, "the quiet client's turtle")

    @needs_window
    def test_client_that_never_reads_blocks_nobody_and_becomes_a_zombie(self):
        # Each "q b" causes a reply of 140 bytes or more, so the socket's buffers fill soon.
        deaf = Client(receive_buffer=4096, greet=False)
        self.addCleanup(deaf.close)
        deaf.send("u %s\n" % ("x" * 127))
        deaf.sock.setblocking(False)
        flood = b"q b;" * 1000
        longest = 0.0
        end = time.monotonic() + harness.patience(60)
        closing = "closing connection from 127.0.0.1 %d" % swap16(deaf.port)
        while closing not in self.field.said(self.start):
            self.assertLess(time.monotonic(), end, "the deaf client is still connected")
            try:
                deaf.sock.send(flood)
            except BlockingIOError:
                pass
            except ConnectionError:
                break
            asked = time.monotonic()
            self.assertEqual(self.turtle.ask("q a").values, "1")
            longest = max(longest, time.monotonic() - asked)
        self.log_line("closing connection", deaf)
        self.assertLess(longest, harness.patience(10))
        self.assertEqual(self.turtle.ask("q n").values, "2")        # its turtle stays, as a zombie
        self.field.key("z")
        self.field.settle()
        self.assertEqual(self.turtle.ask("q n").values, "1")

    def test_client_that_reads_late_but_in_time_loses_nothing(self):
        count = 300
        self.turtle.send("".join("z 5 %d 0;q z p 5\n" % n for n in range(count)))
        self.field.settle()                                         # the field has gone on meanwhile
        for n in range(count):
            self.assertEqual(self.turtle.reply().values, "")
            self.assertEqual(self.turtle.reply().values, "%d.000000 0.000000" % n)

    def test_client_that_shuts_down_its_side_still_gets_all_replies(self):
        # The end of the stream is read only after the frame that the steps wait for, and then ends the client.
        self.turtle.do("j 3000 0")                                  # away from the other one's random place
        other = self.client()
        other.do("c", "j 0 100")
        other.send("f 5\nf 5\nq p\n")
        other.sock.shutdown(socket.SHUT_WR)
        self.assertEqual([other.reply().values for _ in range(3)], ["", "", "10.000000 100.000000"])
        self.assertRaises(Closed, other.read_line)
        self.log_line("closing connection", other)
        self.assertEqual(self.turtle.ask("q n").values, "2")        # a zombie is left

    def test_urgent_bytes_are_no_part_of_a_line_and_block_nobody(self):
        other = self.client()
        other.sock.send(b"X", socket.MSG_OOB)
        self.assertEqual(self.turtle.ask("q a").values, "1")
        self.assertEqual(other.ask("q a").values, "1")
        other.send(b"q ")
        other.sock.send(b"p", socket.MSG_OOB)
        other.send(b"a\n")
        self.assertEqual(other.reply().values, "1")
        other.send(b"q a" + b"x" * 2000)                            # longer than the buffer
        other.sock.send(b"\n", socket.MSG_OOB)
        self.assertEqual(self.turtle.ask("q a").values, "1")
        other.send(b"y" * 2000 + b"\nq n\n")
        self.assertEqual([other.reply().values for _ in range(2)], ["1", "2"])

    @needs_window
    def test_kill_all_drops_every_client(self):
        clients = [self.turtle] + [self.client() for _ in range(4)]
        self.turtle.do("o b", "z 5 1 1")
        self.field.key("K")
        for client in clients:
            self.assertTrue(client.wait_closed())
            self.log_line("closing connection", client)
        after = self.client()
        self.assertEqual(after.ask("q n").values, "1")              # no zombies are left behind
        self.assertEqual(after.ask("q z s 5").values, "0")
        self.assertEqual([after.ask("o b").status for _ in range(31)], ["OK"] * 30 + ["ERR"])

    @needs_window
    def test_maze_mode_drops_clients_and_announces_battle_first(self):
        self.field.key("M")
        self.assertTrue(self.turtle.wait_closed())
        self.field.wait_line("entering maze mode...", self.start)
        modes = [line for line in self.field.said(self.start) if line.startswith("enter")]
        self.assertEqual(modes, ["entering battle mode...", "entering maze mode..."])
        second = self.field.mark()
        self.field.key("M")
        self.field.wait_line("exited from maze mode...", second)
        self.field.key("exclam")                                    # battle mode has stayed
        self.field.wait_line("entering turtle graphics mode...", second)

    @needs_window
    def test_maze_mode_puts_a_client_into_the_corner_cell_facing_east(self):
        self.field.key("M")
        self.assertTrue(self.turtle.wait_closed())
        try:
            for _ in range(10):
                try:
                    guest = self.client()
                except Closed:                                      # all twenty places may be too near a wall
                    continue
                x, y = guest.position()
                self.assertTrue(-246.0 <= x <= -224.0 and -246.0 <= y <= -224.0, (x, y))
                self.assertEqual(guest.ask("q d").values, "0.000000")
                return
            self.fail("no room in ten attempts")
        finally:
            self.field.key("M")
            self.field.wait_line("exited from maze mode...", self.start)

    def test_ten_commands_in_ten_packets_are_not_held_up_by_acknowledgements(self):
        # Unpaced commands of one client: well below the 40 ms that a delayed acknowledgement would cost each.
        def quick():
            began = time.monotonic()
            for _ in range(10):
                self.turtle.send(".\n")
            for _ in range(10):
                self.turtle.reply()
            return time.monotonic() - began < harness.patience(0.25)
        wait_until(quick, 10, "ten answers in a quarter of a second")


    def test_ten_commands_in_one_packet_are_answered_without_a_stall(self):
        # One pass of the server: far below the 40 ms that a reply would wait for the acknowledgement of the one before.
        # Moving commands, too: those of one packet run together, before a frame makes the client wait.
        lines = ["f 1", "b 1", "t l 9", "q p", "q d", "p d", "q w", "k 1 0 0", "n 4869", "."]

        def quick():
            began = time.monotonic()
            answers = self.turtle.ask_all(lines)
            span = time.monotonic() - began
            self.assertEqual([answer.status for answer in answers], ["OK"] * 10)
            # The clock may tick at any time, but no frame comes in between: none waits for one.
            self.assertLessEqual(answers[-1].clock - answers[0].clock, 1)
            self.turtle.wait_ticks(2)
            return span < harness.patience(0.04)
        wait_until(quick, 10, "ten answers within 40 ms")


class ManyFiles(unittest.TestCase):
    LAST = 1023                                                     # the highest descriptor that select accepts

    def test_client_beyond_the_last_descriptor_of_select_is_refused_and_the_others_are_served(self):
        soft, hard = resource.getrlimit(resource.RLIMIT_NOFILE)
        if hard != resource.RLIM_INFINITY and hard < 2 * self.LAST:
            self.skipTest("not enough descriptors allowed")
        resource.setrlimit(resource.RLIMIT_NOFILE, (max(soft, 2 * self.LAST), hard))
        self.addCleanup(resource.setrlimit, resource.RLIMIT_NOFILE, (soft, hard))
        # The program inherits all numbers up to 980, so that its window and its servers still get usable ones.
        taken = [os.open("/dev/null", os.O_RDONLY)]
        self.addCleanup(lambda: [os.close(number) for number in taken])
        while taken[-1] < 980:
            taken.append(os.dup(taken[0]))
        with harness.Field(inherited=taken) as field, Client() as turtle:
            viewers = [socket.create_connection(("127.0.0.1", harness.VIEWER_PORT)) for _ in range(50)]
            try:
                # Connections are accepted in order: once the last viewer is served, all of them have a descriptor.
                viewers[-1].sendall(b"HEAD /camera HTTP/1.1\r\n\r\n")
                viewers[-1].settimeout(harness.patience(harness.HANG))
                self.assertTrue(viewers[-1].recv(100))
                with Client(greet=False) as late:
                    self.assertTrue(late.wait_closed())
                field.wait_line("accept_connection(): too many open files")
                self.assertEqual(turtle.ask("q n").values, "1")
            finally:
                for viewer in viewers:
                    viewer.close()

            def admitted():
                try:
                    with Client() as other:
                        return other.ask("q a").values == "1"
                except Closed:
                    return False
            wait_until(admitted, 10, "room for a client again")
            self.assertEqual(turtle.ask("q a").values, "1")


@needs_window
class PortTaken(FieldTest):
    field_options = {"servers": False}

    @classmethod
    def setUpClass(cls):
        cls.holder = socket.socket(socket.AF_INET, socket.SOCK_STREAM)
        cls.holder.setsockopt(socket.SOL_SOCKET, socket.SO_REUSEADDR, 1)
        cls.holder.bind(("0.0.0.0", harness.CLIENT_PORT))
        cls.holder.listen(5)
        super().setUpClass()

    @classmethod
    def tearDownClass(cls):
        super().tearDownClass()
        cls.holder.close()

    def test_warning_is_logged_and_shown_and_the_field_runs(self):
        self.field.wait_line("init_socket(): cannot bind to port 2222")
        # Four bright red lines of text, the lowest at y = 51.2, the highest at 128 and about 15 units tall.
        picture = self.field.wait_picture(lambda p: bright_red(p).sum() > 500, 20, "the red warning")
        rows = bright_red(picture).any(axis=1).nonzero()[0]
        self.assertGreaterEqual(rows.min(), harness.HALF - 1 - 150)
        self.assertLessEqual(rows.max(), harness.HALF - 1 - 40)
        start = self.field.mark()
        self.field.key("exclam")
        self.field.wait_line("entering battle mode...", start)
        self.field.key("exclam")


def bright_red(picture):
    return (picture[:, :, 0] > 200) & (picture[:, :, 1] < 100) & (picture[:, :, 2] < 60)


if __name__ == "__main__":
    harness.main()
