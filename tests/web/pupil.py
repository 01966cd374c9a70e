"""A pupil's actions on a page, in any browser: presses by name, writes programs, reads what is shown."""
import json
import os
import sys

HERE = os.path.dirname(os.path.abspath(__file__))
sys.path.insert(0, os.path.join(HERE, "..", "wire"))
from harness import wait_until  # noqa: E402

PATIENCE = 90  # seconds; only bounds a hang

# Finds a visible element by its accessible name: its label, the text of its <label>, or its own text.
FIND = """
const nameOf = (e) => (e.getAttribute('aria-label') || (e.labels && e.labels[0] && e.labels[0].innerText)
    || [...e.childNodes].filter((n) => !(n.getAttribute && n.getAttribute('aria-hidden') === 'true'))
         .map((n) => n.textContent).join('')).trim();
const named = (name) => {
    const all = [...document.querySelectorAll('button, a, input, select, textarea, summary, [role]')];
    const found = all.find((e) => e.getClientRects().length > 0 && nameOf(e) === name);
    if (!found) throw new Error('nothing is called ' + name);
    return found;
};
"""


class Pupil:
    def __init__(self, browser, origin):
        self.browser, self.origin = browser, origin

    def run(self, script):
        return self.browser.run(script)

    def open(self, path):
        self.browser.open(self.origin + path)

    def wait(self, condition, what, seconds=PATIENCE):
        """Waits until a JavaScript expression is true; returns its value."""
        def look():
            try:
                return self.run("return %s;" % condition)
            except AssertionError:  # while the page is being left
                return None
        return wait_until(look, seconds, lambda: "%s; the page shows %r" % (what, self.text()[-600:]), 0.1)

    def text(self):
        try:
            return self.run("return document.body ? document.body.innerText : '';")
        except AssertionError as error:
            return str(error)

    def see(self, words, seconds=PATIENCE):
        self.wait("document.body && document.body.innerText.includes(%s)" % json.dumps(words), "to see %r" % words, seconds)

    def press(self, name):
        self.run(FIND + "const e = named(%s); if (e.disabled) throw new Error('disabled'); e.click();" % json.dumps(name))

    def fill(self, name, value):
        self.run(FIND + "const e = named(%s); e.value = %s; e.dispatchEvent(new Event('input', { bubbles: true }));"
                 "e.dispatchEvent(new Event('change', { bubbles: true }));" % (json.dumps(name), json.dumps(value)))

    def is_there(self, name):
        return self.run(FIND + "try { named(%s); return true; } catch { return false; }" % json.dumps(name))

    # Joining and the editor.

    def join(self, code, name):
        self.open("/")
        self.wait("document.querySelector('form')", "the form")
        self.fill("Class code", code)
        self.fill("Your name", name)
        self.press("Join")

    def ready(self):
        self.wait("globalThis.kelmora && document.body.dataset.state === 'ready'", "the editor to be ready", 2 * PATIENCE)

    def sit_down(self, code, name):
        self.join(code, name)
        self.wait("location.pathname === '/edit'", "the editor")
        self.ready()
        self.wait("kelmora.session.state && kelmora.session.state.name", "the session")

    def write(self, program):
        self.run("kelmora.editor.replace(%s);" % json.dumps(program))

    def start(self, program):
        self.write(program)
        self.press("Run")

    def output(self):
        return self.run("return document.querySelector('[role=log]').innerText;")

    def says(self, words, seconds=PATIENCE):
        self.wait("document.querySelector('[role=log]').innerText.includes(%s)" % json.dumps(words),
                  "the program to say %r" % words, seconds)

    def finished(self):
        self.ready()
        return self.output()

    def answer(self, text):
        self.run(FIND + "const e = named('Input'); e.value = %s; e.form.requestSubmit();" % json.dumps(text))

    def stop_ms(self):
        """Presses Stop; milliseconds of the page's clock until it is ready again."""
        self.run("window.stopped = new Promise((done) => { const began = performance.now(); const look = () => "
                 "(document.body.dataset.state === 'ready' ? done(performance.now() - began) : setTimeout(look, 5)); look(); });"
                 + FIND + "named('Stop').click();")
        return self.run("return await window.stopped;")
