"""A web page that makes a browser connect to the clients' port: disconnected before anything of it is executed."""
import harness
from harness import Client, FieldTest, swap16, wait_until

FORM = ("POST / HTTP/1.1\r\nHost: localhost:2222\r\nConnection: keep-alive\r\nContent-Length: 14\r\n"
        "Content-Type: text/plain\r\nUser-Agent: Mozilla/5.0\r\nOrigin: null\r\n\r\nz 5 10 10\r\n!\r\n")
REQUESTS = (
    FORM,
    "GET / HTTP/1.1\r\n\r\n",
    "HEAD /x HTTP/1.0\n",
    "OPTIONS * HTTP/1.1\r\nAccess-Control-Request-Method: z 5 10 10\r\n",
    "PUT /a/b?c=d HTTP/2\r\n",
    "DELETE http://localhost:2222/ HTTP/1.1\r\n",
    "CONNECT localhost:2222 HTTP/1.1\r\n",
    "\r\n\r\n GET / HTTP/1.1\r\n",                              # separators before the line are dropped
    "GET /;!;! HTTP/1.1\r\n",                              # ";" ends a command, but not this line
    "GET /;z%205%2010%2010;!; HTTP/1.1\r\n",
    "GET /" + "x" * 2000 + " HTTP/1.1\r\n",
    "GET /" + "x" * 600 + ";z 5 10 10;! HTTP/1.1\r\n",
    "GET /" + ";" * 1000,
)


class WebPage(FieldTest):
    def setUp(self):
        self.turtle = self.fresh()
        self.turtle.do("i 1", "u mine", "p d", "j 100 0", "p u", "j 3000 0", "z 0")
        self.turtle.wait_ticks(3)
        self.start = self.field.mark()
        self.pixels = self.field.captured() if harness.WINDOW else None

    def connect(self):
        client = Client(greet=False)
        self.addCleanup(client.close)
        client.sock.settimeout(harness.patience(harness.HANG))
        return client

    def answered(self, client):
        """Everything that the field sends until it closes the connection."""
        got = b""
        while True:
            try:
                piece = client.sock.recv(65536)
            except ConnectionError:
                return got
            if not piece:
                return got
            got += piece

    def assertTurnedAway(self, client):
        self.assertEqual(self.answered(client), b"")
        self.field.wait_line("turning away an HTTP request from 127.0.0.1 %d" % swap16(client.port), self.start)
        self.field.wait_line("closing connection from 127.0.0.1 %d" % swap16(client.port), self.start)

    def assertNothingHappened(self):
        self.assertEqual(self.turtle.ask("q n").values, "1")    # no turtle of theirs, not even a zombie
        self.assertEqual(self.turtle.ask("q z s 5").values, "0")
        self.assertTrue(self.turtle.ask("q b").values.endswith(" mine"))
        self.assertNotIn("entering battle mode...", self.field.said(self.start))
        if harness.WINDOW:
            self.assertEqual(int((self.field.captured() != self.pixels).sum()), 0)

    def test_request_is_turned_away_unexecuted(self):
        for request in REQUESTS:
            with self.subTest(request=request[:40]):
                client = self.connect()
                client.send(request)
                self.assertTurnedAway(client)
        self.assertNothingHappened()

    def test_request_byte_by_byte_is_turned_away_unexecuted(self):
        for request in ("POST /;!;! HTTP/1.1\r\n", "GET /z;!;!;z HTTP/1.1\r\n", "OPTIONS * HTTP/1.1\r\n"):
            client = self.connect()
            for byte in request[:-1]:
                client.send(byte)
                self.turtle.ask(".")                            # it has been received by now, or soon will be
            client.send(request[-1])
            self.assertTurnedAway(client)
        self.assertNothingHappened()

    def test_places_are_free_again(self):
        for _ in range(35):                                     # more than there are turtles or slots
            client = self.connect()
            client.send("GET / HTTP/1.1\r\nHost: localhost\r\n\r\n")
            self.assertEqual(self.answered(client), b"")
        self.assertNothingHappened()
        for _ in range(harness.MAX_CLIENT - 1):
            self.addCleanup(Client().close)
        self.assertEqual(self.turtle.ask("q n").values, str(harness.MAX_CLIENT))

    def test_one_line_tells_of_each(self):
        client = self.connect()
        client.send(FORM)
        self.assertTurnedAway(client)
        self.turtle.wait_ticks(20)
        said = self.field.said(self.start)
        self.assertEqual(len([line for line in said if "HTTP" in line]), 1, said)
        self.assertEqual(len(said), 3, said)                    # connected, recognised as a request, disconnected

    def test_lines_that_only_begin_like_a_request_are_commands(self):
        for line, status in (("GET", "OK"), ("GET 5 5", "OK"), ("GET /", "OK"), ("GET / HTTP", "OK"), ("GET / HTTP/", "OK"),
                             ("GET / HTTP/x", "OK"), ("GET / HTTP/1.1 x", "OK"), ("GET a b HTTP/1.1", "OK"), ("GETS / HTTP/1.1", "OK"),
                             ("POST / HTCP/1.1", "OK"), ("HEAD", "OK"), ("OPTIONS x HTTPS/1.1", "OK"),
                             ("GET/ HTTP/1.1", "OK"), ("get / http/1.1", "OK"), ("f 1 HTTP/1.1", "OK"),
                             ("GET /" + "x" * 3000, "OK"), ("GET /" + "x" * 3000 + " y", "OK"),
                             ("DELETE", "OK")):                 # makes a doughnut, which might be in the way of others
            with self.subTest(line=line[:40]):
                client = self.connect()
                self.assertEqual(client.ask(line).status, status)
                self.assertEqual(client.ask("q a").values, "1")
                self.assertEqual(client.pending, b"")
                client.close()
                wait_until(lambda: harness.served_connections() == 1, 10, "the client to be gone")
                self.turtle.do("c a")

    def test_first_line_of_several_commands_is_executed_when_it_is_no_request(self):
        for lines, answers in (("GET;q a;", 2), ("GET 5;q a;", 2), ("GET /x ;q a;", 2), ("GET /x;q a;q a\n", 3),
                               ("GET /;\n", 1), ("POST /a;b;c d\n", 3)):
            for pieces in ([lines], list(lines)):               # whole, and byte by byte
                with self.subTest(lines=lines, pieces=len(pieces)), Client(greet=False) as client:
                    for piece in pieces:
                        client.send(piece)
                    for _ in range(answers):
                        client.reply()
                    self.assertEqual(client.ask("q a").values, "1")
                    self.assertEqual(client.pending, b"")
                self.turtle.do("c a")

    def test_everything_after_the_first_line_is_a_command(self):
        client = self.connect()
        self.assertEqual([answer.status for answer in client.ask_all(["q a", "GET / HTTP/1.1", "POST /;! HTTP/1.1"])],
                         ["OK"] * 3)
        self.assertEqual([client.reply().status], ["OK"])       # the third was two commands
        self.assertEqual(client.ask("q a").values, "1")
        self.turtle.do("! u")

    def test_unfinished_request_line_delays_nobody_else(self):
        client = self.connect()
        client.send("GET /;!;")
        for _ in range(10):
            self.assertEqual(self.turtle.ask("q a").values, "1")
        self.assertNotIn("entering battle mode...", self.field.said(self.start))
        client.send("x\n")                                      # so it was three commands
        self.assertEqual([client.reply().status for _ in range(2)], ["OK"] * 2)
        client.reply()                                          # x fires in battle mode, or has to wait
        self.field.wait_line("entering battle mode...", self.start)
        self.turtle.do("! u")


if __name__ == "__main__":
    harness.main()
