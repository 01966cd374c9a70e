"""Real browsers with one interface: fresh(), tab(name), open(url), run(script), shot(file), close().

Chromium is driven by the node process beside this file, Firefox by its remote protocol (JSON over a socket), WebKit by
its driver (HTTP). Every wait has a deadline.
"""
import base64
import json
import os
import shutil
import signal
import socket
import subprocess
import sys
import tempfile
import time
import urllib.error
import urllib.request

HERE = os.path.dirname(os.path.abspath(__file__))
sys.path.insert(0, os.path.join(HERE, "..", "browser"))
from driver import Driver, Failed  # noqa: E402

ORDER_TIME = 180  # seconds for one order


# A script becomes the body of an async function; its return value or its error is passed back.
WRAPPER = ("const done = arguments[arguments.length - 1];"
           "(async () => {%s})().then((value) => done(value === undefined ? null : value), (e) => done({__failed: String(e)}));")


def value_of(told):
    if isinstance(told, dict) and "__failed" in told:
        raise Failed(told["__failed"])
    return told


class Chromium:
    name = "chromium"

    def __init__(self):
        self.order = Driver(os.path.join(HERE, "chromium.mjs"), ORDER_TIME)

    def fresh(self, **how):
        self.order("fresh", **how)
        self.tab("first")

    def tab(self, name):
        self.order("tab", name=name)

    def open(self, url):
        self.order("open", url=url)

    def run(self, script):
        return self.order("run", script=script)

    def shot(self, file):
        self.order("shot", file=file)

    def close(self):
        self.order.close()


class Firefox:
    name = "firefox"
    PORT = 2828

    def __init__(self):
        self.home = tempfile.mkdtemp(prefix="kelmora-firefox-")
        profile = os.path.join(self.home, "profile")
        os.mkdir(profile)
        with open(os.path.join(profile, "user.js"), "w") as prefs:
            for key, value in {"browser.shell.checkDefaultBrowser": "false", "datareporting.policy.dataSubmissionEnabled": "false",
                               "app.update.enabled": "false", "toolkit.telemetry.enabled": "false",
                               "network.captive-portal-service.enabled": "false", "extensions.update.enabled": "false",
                               "intl.accept_languages": '"en-US"', "dom.ipc.processCount": "2"}.items():
                prefs.write('user_pref("%s", %s);\n' % (key, value))
        self.process = subprocess.Popen(
            ["firefox-esr", "--headless", "--marionette", "--no-remote", "--profile", profile, "about:blank"],
            env=dict(os.environ, HOME=self.home, MOZ_HEADLESS_WIDTH="1280", MOZ_HEADLESS_HEIGHT="800"),
            stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL, start_new_session=True)
        deadline = time.monotonic() + ORDER_TIME
        while True:
            try:
                self.sock = socket.create_connection(("127.0.0.1", self.PORT), timeout=ORDER_TIME)
                break
            except OSError:
                if time.monotonic() > deadline or self.process.poll() is not None:
                    raise Failed("Firefox does not listen") from None
                time.sleep(0.1)
        self.number = 0
        self.rest = b""
        self.receive()  # the greeting
        self.order("WebDriver:NewSession", {})
        self.order("WebDriver:SetTimeouts", {"script": ORDER_TIME * 1000, "pageLoad": ORDER_TIME * 1000})
        self.tabs = {}

    def receive(self):
        while b":" not in self.rest:
            self.more()
        length, _, self.rest = self.rest.partition(b":")
        while len(self.rest) < int(length):
            self.more()
        message, self.rest = self.rest[:int(length)], self.rest[int(length):]
        return json.loads(message)

    def more(self):
        data = self.sock.recv(65536)
        if not data:
            raise Failed("Firefox has gone")
        self.rest += data

    def order(self, name, given):
        self.number += 1
        text = json.dumps([0, self.number, name, given]).encode()
        self.sock.sendall(b"%d:%s" % (len(text), text))
        _, number, error, result = self.receive()
        if error:
            raise Failed("%s: %s" % (error.get("error"), error.get("message")))
        return result.get("value", result) if isinstance(result, dict) else result

    def fresh(self, origins=(), **unused):
        """Clears what pages have stored. `origins` are those that were visited."""
        for name, handle in list(self.tabs.items()):
            if name != "first":
                self.order("WebDriver:SwitchToWindow", {"handle": handle})
                self.order("WebDriver:CloseWindow", {})
                del self.tabs[name]
        self.tab("first")
        for origin in origins:
            self.open(origin + "/")
            self.run("localStorage.clear();")
        self.open("about:blank")

    def tab(self, name):
        if name not in self.tabs:
            self.tabs[name] = (self.order("WebDriver:GetWindowHandle", {}) if not self.tabs
                               else self.order("WebDriver:NewWindow", {"type": "tab"})["handle"])
        self.order("WebDriver:SwitchToWindow", {"handle": self.tabs[name]})

    def open(self, url):
        self.order("WebDriver:Navigate", {"url": url})

    def run(self, script):
        return value_of(self.order("WebDriver:ExecuteAsyncScript", {"script": WRAPPER % script, "args": [], "newSandbox": False,
                                                                    "sandbox": None}))

    def shot(self, file):
        with open(file, "wb") as out:
            out.write(base64.b64decode(self.order("WebDriver:TakeScreenshot", {"full": False})))

    def close(self):
        try:
            self.order("Marionette:Quit", {"flags": ["eForceQuit"]})
        except (Failed, OSError):
            pass
        self.sock.close()
        try:
            self.process.wait(timeout=60)
        except subprocess.TimeoutExpired:
            os.killpg(self.process.pid, signal.SIGKILL)
            self.process.wait(timeout=30)
        shutil.rmtree(self.home, ignore_errors=True)


class WebKit:
    """MiniBrowser through WebKitWebDriver; needs a display."""
    name = "webkit"
    PORT = 4444

    def __init__(self):
        self.home = tempfile.mkdtemp(prefix="kelmora-webkit-")
        self.process = subprocess.Popen(["dbus-run-session", "--", "WebKitWebDriver", "--port=%d" % self.PORT],
                                        env=dict(os.environ, HOME=self.home, WEBKIT_DISABLE_SANDBOX_THIS_IS_DANGEROUS="1",
                                                 LANG="C.UTF-8", LANGUAGE="en"),
                                        stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL, start_new_session=True)
        deadline = time.monotonic() + ORDER_TIME
        self.session = ""
        while True:
            try:
                made = self.ask("POST", "/session", {"capabilities": {"alwaysMatch": {"webkitgtk:browserOptions": {
                    "binary": self.binary(), "args": ["--automation"]}}}}, bare=True)
                break
            except (OSError, urllib.error.URLError):
                if time.monotonic() > deadline or self.process.poll() is not None:
                    self.end()
                    raise Failed("WebKit's driver does not listen") from None
                time.sleep(0.2)
        self.session = made["sessionId"]
        self.ask("POST", "/timeouts", {"script": ORDER_TIME * 1000, "pageLoad": ORDER_TIME * 1000})

    @staticmethod
    def binary():
        for folder in ("/usr/lib/x86_64-linux-gnu", "/usr/lib/aarch64-linux-gnu", "/usr/libexec"):
            for version in ("4.1", "6.0", "4.0"):
                file = "%s/webkit2gtk-%s/MiniBrowser" % (folder, version)
                if os.path.exists(file):
                    return file
        raise Failed("there is no MiniBrowser")

    def ask(self, method, path, body=None, bare=False):
        url = "http://127.0.0.1:%d%s%s" % (self.PORT, "" if bare else "/session/" + self.session, path)
        request = urllib.request.Request(url, method=method, data=json.dumps(body or {}).encode() if method == "POST" else None,
                                         headers={"Content-Type": "application/json"})
        try:
            with urllib.request.urlopen(request, timeout=ORDER_TIME) as answer:
                return json.loads(answer.read())["value"]
        except urllib.error.HTTPError as error:
            raise Failed(error.read().decode()[:500]) from None

    def fresh(self, origins=(), **unused):
        for origin in origins:
            self.open(origin + "/")
            self.run("localStorage.clear();")

    def tab(self, name):
        pass

    def open(self, url):
        self.ask("POST", "/url", {"url": url})

    def run(self, script):
        return value_of(self.ask("POST", "/execute/async", {"script": WRAPPER % script, "args": []}))

    def shot(self, file):
        with open(file, "wb") as out:
            out.write(base64.b64decode(self.ask("GET", "/screenshot")))

    def end(self):
        try:
            os.killpg(self.process.pid, signal.SIGTERM)
        except ProcessLookupError:
            pass
        try:
            self.process.wait(timeout=30)
        except subprocess.TimeoutExpired:
            os.killpg(self.process.pid, signal.SIGKILL)
            self.process.wait(timeout=30)
        shutil.rmtree(self.home, ignore_errors=True)

    def close(self):
        try:
            self.ask("DELETE", "")
        except (Failed, OSError):
            pass
        self.end()
