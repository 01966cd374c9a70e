"""A foreign page in a real browser tries to drive the field: a form, an image, a fetch, a web socket.

Run inside scripts/in-namespace. KELMORA names the program.
"""
import http.server
import os
import subprocess
import sys
import tempfile
import threading
import unittest

HERE = os.path.dirname(os.path.abspath(__file__))
sys.path.insert(0, os.path.join(HERE, "..", "wire"))
from harness import Client, Field, wait_until  # noqa: E402

PAGE_PORT = 8000
ATTEMPTS = 4
PAGE = b"""<!DOCTYPE html><title>foreign</title>
<iframe name="hidden"></iframe>
<form action="http://localhost:2222/;!;z" method="post" enctype="text/plain" target="hidden">
<textarea name="z 5 10 10
!
u theirs
h 1 1 1
x">y</textarea></form>
<script>
const field = 'localhost:2222';
const settled = (thing, ...names) => new Promise((done) => names.forEach((name) => thing.addEventListener(name, done)));
(async () => {
  const image = new Image();
  const shown = settled(image, 'load', 'error');
  image.src = `http://${field}/;!;z.png`;
  await shown;
  await fetch(`http://${field}/`, { method: 'POST', mode: 'no-cors', body: 'z 5 10 10\\n!\\n' }).catch(() => 0);
  const socket = new WebSocket(`ws://${field}/;!;`);
  await settled(socket, 'open', 'error');
  const answered = settled(document.querySelector('iframe'), 'load');
  document.forms[0].submit();
  await answered;
  await fetch('/done');
})();
</script>"""


class Page:
    """Serves the page to this machine, on another port than the field's, until the page reports that it is done."""

    def __enter__(self):
        self.done = threading.Event()
        done = self.done

        class Handler(http.server.BaseHTTPRequestHandler):
            def do_GET(self):
                if self.path == "/done":
                    done.set()
                self.send_response(200)
                self.send_header("Content-Type", "text/html")
                self.end_headers()
                self.wfile.write(PAGE if self.path == "/" else b"")

            def log_message(self, *unused):
                pass
        self.server = http.server.ThreadingHTTPServer(("127.0.0.1", PAGE_PORT), Handler)
        threading.Thread(target=self.server.serve_forever, daemon=True).start()
        return self

    def __exit__(self, *unused):
        self.server.shutdown()
        self.server.server_close()


class ForeignPage(unittest.TestCase):
    def test_page_can_do_nothing_to_the_field(self):
        with Field() as field, Client() as turtle, Page() as page, tempfile.TemporaryDirectory() as profile:
            turtle.do("i 1", "u mine", "p d", "j 100 0", "p u", "j 3000 0")
            turtle.wait_ticks(3)
            pixels, start = field.captured(), field.mark()
            browser = subprocess.Popen(
                [os.environ.get("CHROMIUM", "/usr/bin/chromium"), "--headless", "--no-sandbox", "--disable-gpu",
                 "--no-first-run", "--disable-background-networking", "--disable-component-update", "--disable-sync",
                 "--user-data-dir=" + profile, "http://localhost:%d/" % PAGE_PORT],
                stdin=subprocess.DEVNULL, stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL)
            try:
                wait_until(page.done.is_set, 240, lambda: "the page to have tried all; the field said %r" % field.said(start))
            finally:
                browser.terminate()
                browser.wait(timeout=60)
            said = field.said(start)
            away = [line for line in said if line.startswith("turning away an HTTP request from 127.0.0.1 ")]
            self.assertGreaterEqual(len(away), ATTEMPTS, said)
            self.assertNotIn("entering battle mode...", said)
            self.assertEqual(turtle.ask("q z s 5").values, "0")
            self.assertTrue(turtle.ask("q b").values.endswith(" mine"))
            self.assertEqual(int((field.captured() != pixels).sum()), 0)
            self.assertEqual(turtle.ask("q n").values, "1")


if __name__ == "__main__":
    unittest.main(verbosity=2)
