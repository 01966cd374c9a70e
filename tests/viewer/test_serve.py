"""scripts/viewer-serve on a copy of the project in a place of its own, and the virtual display of the scripts.

Run inside scripts/in-namespace. Neither the program nor the real scripts of the page are needed.
"""
import os
import pwd
import shutil
import signal
import subprocess
import sys
import tempfile
import unittest
import urllib.error
import urllib.request

HERE = os.path.dirname(os.path.abspath(__file__))
sys.path.insert(0, os.path.join(HERE, "..", "wire"))
from harness import is_listening, wait_until  # noqa: E402

ROOT = os.path.join(HERE, "..", "..")
SCRIPT_PORT = 2281
SCRIPT = "kelmora/script/kelmora.js"


class Checkout:
    """A folder with everything of the project that viewer-serve needs."""

    def __init__(self, name="kelmora"):
        self.top = tempfile.mkdtemp(prefix="kelmora-serve-")
        self.root = os.path.join(self.top, name)
        os.makedirs(os.path.join(self.root, "scripts"))
        self.served = os.path.join(self.root, "web", "dist")
        os.makedirs(os.path.join(self.served, os.path.dirname(SCRIPT)))
        shutil.copy(os.path.join(ROOT, "scripts", "viewer-serve"), os.path.join(self.root, "scripts"))
        with open(os.path.join(self.served, SCRIPT), "w") as file:
            file.write("the script")
        self.script = os.path.join(self.root, "scripts", "viewer-serve")

    def __enter__(self):
        return self

    def __exit__(self, *unused):
        shutil.rmtree(self.top)


class Serving:
    """viewer-serve, or what starts it, in its own process group, so that survivors can be ended."""

    def __init__(self, *command, cwd=None):
        self.scratch = tempfile.TemporaryDirectory(prefix="kelmora-serve-")    # what is killed hard leaves its folder behind
        self.process = subprocess.Popen(command, stdin=subprocess.DEVNULL, start_new_session=True, cwd=cwd,
                                        env=dict(os.environ, TMPDIR=self.scratch.name))

    def __enter__(self):
        try:
            wait_until(lambda: is_listening(SCRIPT_PORT) or self.process.poll() is not None, 60, "the script server")
        except BaseException:
            self.__exit__()
            raise
        return self

    def __exit__(self, *unused):
        try:
            os.killpg(self.process.pid, signal.SIGTERM)
        except ProcessLookupError:
            pass
        self.process.wait(timeout=60)
        wait_until(lambda: not is_listening(SCRIPT_PORT), 60, "the script server's end")
        self.scratch.cleanup()


def fetch(path):
    """Status and body."""
    try:
        with urllib.request.urlopen("http://127.0.0.1:%d/%s" % (SCRIPT_PORT, path), timeout=60) as answer:
            return answer.status, answer.read().decode()
    except urllib.error.HTTPError as error:
        with error:
            return error.code, ""


class Serve(unittest.TestCase):
    def test_path_of_the_checkout_may_hold_any_character(self):
        for name in ('a"b', "a'b", "a b", "a\\b", "$HOME", 'a" server.port = 2282 #', "a\nb", "ü;&(*"):
            with self.subTest(name=name), Checkout(name) as checkout, Serving(checkout.script) as serving:
                self.assertIsNone(serving.process.poll())
                self.assertEqual(fetch(SCRIPT), (200, "the script"))

    def test_checkout_behind_a_symbolic_link_is_served(self):
        with Checkout() as checkout:
            link = os.path.join(checkout.top, "link")
            os.symlink(checkout.root, link)
            with Serving(os.path.join(link, "scripts", "viewer-serve"), cwd=link):
                self.assertEqual(fetch(SCRIPT), (200, "the script"))

    def test_symbolic_links_below_the_root_are_not_followed(self):
        with Checkout() as checkout:
            with open(os.path.join(checkout.top, "secret.js"), "w") as file:
                file.write("secret")
            os.symlink(os.path.join(checkout.top, "secret.js"), os.path.join(checkout.served, "kelmora", "leak.js"))
            os.symlink(checkout.top, os.path.join(checkout.served, "up"))
            with Serving(checkout.script):
                self.assertEqual(fetch(SCRIPT), (200, "the script"))
                for path in ("kelmora/leak.js", "up/secret.js"):
                    status, text = fetch(path)
                    self.assertIn(status, (403, 404), path)
                    self.assertEqual(text, "")

    def test_server_ends_with_the_script_killed_hard(self):
        with Checkout() as checkout, Serving(checkout.script) as serving:
            serving.process.kill()
            serving.process.wait(timeout=60)
            wait_until(lambda: not is_listening(SCRIPT_PORT), 60, "the script server's end")

    def test_server_ends_with_the_parent_of_the_script_killed_hard(self):
        # The way scripts/run starts it.
        with Checkout() as checkout:
            with Serving("sh", "-c", 'setpriv --pdeathsig TERM "$0" & wait', checkout.script) as serving:
                serving.process.kill()
                serving.process.wait(timeout=60)
                wait_until(lambda: not is_listening(SCRIPT_PORT), 60, "the script server's end")

    def test_ended_script_leaves_no_process(self):
        with Checkout() as checkout, tempfile.TemporaryDirectory() as scratch:
            with Serving("env", "TMPDIR=" + scratch, checkout.script) as serving:
                serving.process.terminate()
                self.assertEqual(serving.process.wait(timeout=60), 0)
            self.assertEqual(os.listdir(scratch), [])


class VirtualDisplay(unittest.TestCase):
    """Access to a virtual display: only programs of its owner that have the authority file."""

    def run_inside(self, script, **options):
        return subprocess.run([os.path.join(ROOT, "scripts", "with-display"), "sh", "-c", script], capture_output=True,
                              text=True, timeout=120, stdin=subprocess.DEVNULL, **options)

    def test_display_opens_with_its_authority_and_not_without(self):
        done = self.run_inside("xdpyinfo >/dev/null && echo with; env -u XAUTHORITY HOME=/nonexistent xdpyinfo >/dev/null || echo without")
        self.assertEqual(done.stdout, "with\nwithout\n", done.stderr)

    @unittest.skipIf(os.geteuid() != 0, "only root can play another user")
    def test_other_user_gets_neither_in_nor_the_authority(self):
        other = pwd.getpwnam("nobody").pw_uid
        done = self.run_inside("as_other() { setpriv --reuid %d --clear-groups env HOME=/nonexistent \"$@\"; }\n"
                               "as_other xdpyinfo >/dev/null || echo refused\n"
                               "as_other cat \"$XAUTHORITY\" >/dev/null || echo hidden" % other)
        self.assertEqual(done.stdout, "refused\nhidden\n", done.stderr)

    def test_display_leaves_no_files(self):
        for how in (signal.SIGTERM, signal.SIGKILL):
            with self.subTest(how=how), tempfile.TemporaryDirectory() as scratch:
                script = subprocess.Popen([os.path.join(ROOT, "scripts", "with-display"), "sh", "-c", "echo; exec sleep 600"],
                                          stdin=subprocess.DEVNULL, stdout=subprocess.PIPE, env=dict(os.environ, TMPDIR=scratch))
                with script.stdout:
                    self.assertEqual(script.stdout.readline(), b"\n")
                    self.assertEqual(len(os.listdir(scratch)), 1)
                    script.send_signal(how)
                    script.wait(timeout=60)
                wait_until(lambda: not os.listdir(scratch), 60, "the authority file to be gone")


if __name__ == "__main__":
    unittest.main(verbosity=2)
