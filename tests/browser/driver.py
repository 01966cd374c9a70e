"""Sends orders to a browser: runs a script in node that serves them with driver.mjs."""
import json
import queue
import subprocess
import threading
import time


class Failed(AssertionError):
    """The browser did not answer or could not carry out an order."""


class Driver:
    def __init__(self, script, seconds):
        """Runs `script`; each order may take `seconds`."""
        self.seconds = seconds
        self.number = 0
        self.answers = queue.Queue()
        self.process = subprocess.Popen(["node", script], stdin=subprocess.PIPE, stdout=subprocess.PIPE, text=True, bufsize=1)
        self.reader = threading.Thread(target=self.read, daemon=True)
        self.reader.start()

    def read(self):
        for line in self.process.stdout:
            self.answers.put(json.loads(line))
        self.answers.put(None)                                  # the browser has gone

    def __call__(self, order, **given):
        """What the browser answers to an order. Raises Failed."""
        self.number += 1
        self.process.stdin.write(json.dumps(dict(given, order=order, number=self.number)) + "\n")
        self.process.stdin.flush()
        deadline = time.monotonic() + self.seconds
        while True:
            try:
                answer = self.answers.get(timeout=max(0.0, deadline - time.monotonic()))
            except queue.Empty:
                raise Failed("the browser does not answer to " + order) from None
            if answer is None:
                raise Failed("the browser has gone")
            if answer["number"] != self.number:                 # late: nobody waits for it any more
                continue
            if "failed" in answer:
                raise Failed(answer["failed"])
            return answer["result"]

    def close(self):
        self.process.stdin.close()
        try:
            self.process.wait(timeout=60)
        except subprocess.TimeoutExpired:
            self.process.kill()
            self.process.wait(timeout=30)
        self.reader.join(30)
        self.process.stdout.close()
