"""Peers that disappear without closing, and a process with few descriptors."""
import resource
import socket
import subprocess
import time
import unittest

import harness
from harness import CLIENT_PORT, VIEWER_PORT, Client, Field, patience, swap16, tcp_sockets, wait_until

WATCH = 35  # seconds until a silent peer is given up


def get_camera(viewer):
    """Requests the camera and returns the status line; an empty string when the field closes the connection."""
    try:
        viewer.sendall(b"GET /camera HTTP/1.1\r\n\r\n")
        return viewer.recv(4096)[:12]
    except ConnectionError:
        return b""


def connect(port):
    sock = socket.create_connection(("127.0.0.1", port), timeout=patience(harness.HANG))
    sock.setsockopt(socket.IPPROTO_TCP, socket.TCP_NODELAY, 1)
    return sock


class Vanished(unittest.TestCase):
    def link(self, state):
        subprocess.run(["ip", "link", "set", "lo", state], check=True, timeout=60)

    def test_peers_behind_a_dead_link_are_given_up(self):
        # The test has its own network, so that the link can be cut like a cable: nobody receives another packet.
        with Field() as field, Client() as quiet, Client(receive_buffer=4096) as deaf, connect(VIEWER_PORT) as viewer:
            self.assertEqual(get_camera(viewer), b"HTTP/1.1 200")
            deaf.send("q p\n" * 3000)                               # what it does not read is still on its way
            wait_until(lambda: [end for end in tcp_sockets("sport = :%d" % CLIENT_PORT) if end.unsent], 20, "unsent bytes")
            quiet.do(".")
            start, began = field.mark(), time.monotonic()
            self.link("down")
            try:
                for client in (quiet, deaf):
                    field.wait_line("closing connection from 127.0.0.1 %d" % swap16(client.port), start, WATCH + harness.HANG)
                wait_until(lambda: not tcp_sockets("sport = :%d" % VIEWER_PORT), 60, "the viewer to be given up")
                self.assertGreater(time.monotonic() - began, WATCH - 20)    # and not because the link is down as such
            finally:
                self.link("up")
            with Client() as later:
                self.assertEqual(later.ask("q n").values, "3")      # two zombies


class FewDescriptors(unittest.TestCase):
    FEW = 64

    def limit(self, soft):
        """Lowers the limit of this process, which the program it starts inherits."""
        before = resource.getrlimit(resource.RLIMIT_NOFILE)
        resource.setrlimit(resource.RLIMIT_NOFILE, (soft, before[1]))
        return before

    def test_viewers_leave_descriptors_for_programs_and_are_served_again(self):
        before = self.limit(self.FEW)
        field = Field()
        try:
            field.start()
        finally:
            resource.setrlimit(resource.RLIMIT_NOFILE, before)
        try:
            viewers = []
            try:
                for _ in range(2 * self.FEW):
                    viewers.append(connect(VIEWER_PORT))
                served = sum(get_camera(viewer) == b"HTTP/1.1 200" for viewer in viewers)
                self.assertTrue(3 <= served < self.FEW, served)
                self.assertNotIn("cannot accept connection", field.said())
                clients = [Client() for _ in range(harness.MAX_CLIENT)]
                for client in clients:
                    self.assertEqual(client.ask("q a").values, "1")
                    client.close()
            finally:
                for viewer in viewers:
                    viewer.close()

            def served_again():
                with connect(VIEWER_PORT) as viewer:
                    return get_camera(viewer) == b"HTTP/1.1 200"
            wait_until(served_again, 20, "a viewer to be served again")
        finally:
            trouble = field.stop()
        self.assertEqual(trouble, "")

    def test_client_server_without_a_descriptor_pauses_between_tries(self):
        with Field() as field, Client() as turtle:
            limits = resource.prlimit(field.process.pid, resource.RLIMIT_NOFILE)
            resource.prlimit(field.process.pid, resource.RLIMIT_NOFILE, (3, limits[1]))
            start, began = field.mark(), time.monotonic()
            late = Client(greet=False)
            try:
                answers = 0
                while time.monotonic() < began + 3 or answers <= 60 and time.monotonic() < began + patience(harness.HANG):
                    answers += turtle.ask("q a").values == "1"      # connected clients are still served
                tries = field.said(start).count("accept_connection(): accept() failure")
                span = time.monotonic() - began
                self.assertTrue(2 <= tries <= span * 10 + 2, (tries, span))
                self.assertGreater(answers, 60)
                resource.prlimit(field.process.pid, resource.RLIMIT_NOFILE, limits)
                self.assertEqual(late.ask("q a").values, "1")
            finally:
                late.close()


if __name__ == "__main__":
    harness.main()
