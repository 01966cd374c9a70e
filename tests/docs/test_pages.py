"""The documents against the files: every link leads somewhere, every file that is named is there, and what a document lists
of options, addresses and members is what the program has. Run inside scripts/in-namespace, with KELMORA set."""
import functools
import glob
import gzip
import json
import os
import re
import socket
import subprocess
import tempfile
import textwrap
import unittest

import jsonschema

TOP = os.path.realpath(os.path.join(os.path.dirname(os.path.abspath(__file__)), "..", ".."))
SKIPPED = {".git", "build", "dist", "node_modules", "__pycache__"}
FENCE = re.compile(r"^ *```.*?^ *```$", re.MULTILINE | re.DOTALL)
LINK = re.compile(r"\]\(([^)\s]+)\)|(?:src|href)=\"([^\"]+)\"")
FILE = re.compile(r"(?<![\w./<-])(?:\./)?((?:scripts|src|tests|docs|web|class|clients|bench|contest|assets)/[\w./-]*[\w/])")
GAME = (["n 416e6e", "i 2", "p d", "f 30", "k 0 1 0", "w 2.5", "f 10.25", "t l 45", "f 20"] + ["f 2"] * 5 + ["l p", "f 5", "l", "h 1 0 0"] +
        ["f 3"] * 5 + ["o b", "o s", "o x", "j 100 -100", "j nan 0", "j 0 0", "d", "r", "x", "!"] + ["f 2"] * 8 +
        ["q p", "! -", "z 3 5 5", "u hello"] + ["f 1"] * 30)  # commands, each answered before the next
MADE = re.compile(r"^(web/dist|clients/python/dist|bench/kelmora_bench)|NAME|/v/")  # by a build or a reader; or an example's name


def documents():
    """All Markdown files of the project, relative to its top folder."""
    found = []
    for folder, folders, files in os.walk(TOP):
        folders[:] = [name for name in folders if name not in SKIPPED]
        found += [os.path.relpath(os.path.join(folder, name), TOP) for name in files if name.endswith(".md")]
    return sorted(found)


@functools.cache
def read(path):
    with open(os.path.join(TOP, path), encoding="utf-8") as file:
        return file.read()


def anchor(heading, before):
    """The name that GitHub and its like give to a heading, the headings before it known."""
    text = re.sub(r"\[([^\]]*)\]\([^)]*\)", r"\1", heading).replace("`", "").replace("*", "")
    name = re.sub(r"[^\w\- ]", "", text.strip().lower()).replace(" ", "-")
    number = before.count(name)
    return f"{name}-{number}" if number else name


def anchors(path):
    names = []
    for heading in re.findall(r"^#+ +(.+?)#*$", FENCE.sub("", read(path)), re.MULTILINE):
        names.append(anchor(heading, names))
    return names


def links(path):
    """Targets in a document, code left out."""
    text = re.sub(r"`[^`\n]*`", "", FENCE.sub("", read(path)))
    return [first or second for first, second in LINK.findall(text)]


def trouble_with(path, target):
    """What is wrong with a link to `target` in the document `path`; an empty text when it leads somewhere."""
    if re.match(r"[a-z]+:", target):
        return ""
    name, _, part = target.partition("#")
    goal = os.path.normpath(os.path.join(os.path.dirname(path), name)) if name else path
    if goal.startswith("..") or not os.path.exists(os.path.join(TOP, goal)):
        return f"{goal} does not exist"
    if part and part not in anchors(goal):
        return f"{goal} has no heading #{part}"
    return ""


class Links(unittest.TestCase):
    def test_every_link_leads_somewhere(self):
        count = 0
        for path in documents():
            for target in links(path):
                count += 1
                with self.subTest(page=path, target=target):
                    self.assertEqual(trouble_with(path, target), "")
        self.assertGreater(count, 150)

    def test_a_wrong_link_is_noticed(self):
        self.assertEqual(trouble_with("README.md", "docs/protocol.md#events"), "")
        self.assertEqual(trouble_with("docs/web.md", "https://example.org/"), "")
        for target in ("docs/nothing.md", "docs/protocol.md#nothing", "#nothing", "../elsewhere"):
            with self.subTest(target):
                self.assertNotEqual(trouble_with("README.md", target), "")

    def test_every_file_that_is_named_is_there(self):
        count = 0
        for path in documents():
            for name in set(FILE.findall(read(path))):
                count += 1
                with self.subTest(page=path, name=name):
                    self.assertTrue(MADE.search(name) or any(
                        glob.glob(os.path.join(TOP, start, name) + end)
                        for start in ("", os.path.dirname(path)) for end in ("", ".cpp")))
        self.assertGreater(count, 100)

    def test_every_file_of_src_that_is_named_is_there(self):
        """Such as `game/tick`, `field/turtles.h` and `signals` of no folder, which is none."""
        folders = "|".join(os.listdir(os.path.join(TOP, "src")))
        names = {name for path in documents() for name in re.findall(rf"`((?:{folders})/\w+(?:\.h|\.cpp)?)`", read(path))}
        self.assertGreater(len(names), 20)
        for name in names:
            with self.subTest(name):
                self.assertTrue(glob.glob(os.path.join(TOP, "src", name) + ("" if "." in name else ".*")))


def codes(text):
    """All code spans."""
    return re.findall(r"`([^`\n]+)`", text)


def words_in_code(path):
    """Words of the code spans and of the JSON in them."""
    return {word for code in codes(read(path)) for word in re.findall(r"\w+", code)}


def options_in_table(path):
    """Names of options in table rows whose first cell has nothing else."""
    rows = re.findall(r"^\| (`-.*?`) \|", read(path), re.MULTILINE)
    return {code.split()[0] for row in rows for code in codes(row)}


def options_in_man(path):
    text = read(path).replace("\\-", "-")
    text = text[text.index(".SH OPTIONS"):text.index(".SH EXIT")]
    return set(re.findall(r"(?<![\w-])-{1,2}[a-z][a-z-]*", "".join(re.findall(r"^\.TP\n(.*\n)", text, re.MULTILINE))))


def options_in_source(path):
    """Long options of a getopt table."""
    return {"--" + name for name in re.findall(r'\{"([a-z-]+)", (?:required|no)_argument', read(path))}


class ClassServer(unittest.TestCase):
    """docs/class-server.md against class/."""
    page = "docs/class-server.md"
    sources = ("class/api.cpp", "class/desk.cpp", "class/server.cpp")

    def test_its_addresses(self):
        table = re.findall(r"\{(?:http::verb::)?(get|post|put), \"(/api/[^\"]+)\", need::(\w+)", read("class/api.cpp"))
        self.assertGreater(len(table), 25)
        listed = {}
        for section in re.split(r"^## ", read(self.page), flags=re.MULTILINE)[1:]:
            for method, path in re.findall(r"`(GET|POST|PUT) (/api/[\w/.]+)", section):
                listed[method.lower(), path] = "desk" if section.startswith("Board and desk") else "other"
        self.assertEqual({(method, path): "desk" if need == "desk" else "other" for method, path, need in table}, listed)

    def test_its_members(self):
        named = words_in_code(self.page)
        asked, answered = set(), set()
        for path in self.sources:
            asked |= set(re.findall(r'(?:text_in|number_in)\(\w+(?:\.body)?, "(\w+)"', read(path)))
            asked |= set(re.findall(r'body\.(?:find|contains)\("(\w+)"\)', read(path)))
            answered |= set(re.findall(r'\{"(\w\w+)",', read(path))) | set(re.findall(r'\w\["(\w+)"\]', read(path)))
        self.assertGreater(min(len(asked), len(answered)), 10)
        self.assertEqual((asked | answered) - named - {"message"}, set())

    def test_its_errors_and_endings(self):
        words = {word for path in self.sources + ("class/http.cpp",)
                 for word in re.findall(r'error_answer\([^,]*, "(\w+)"', read(path)) + re.findall(r'\{"error"(?:, |:)"(\w+)"', read(path))}
        listed = re.search(r"The words: (.*?)\.\n", read(self.page), re.DOTALL)[1]
        self.assertEqual(words, set(codes(listed)))
        endings = set(re.findall(r'return "(\w+)";', re.search(r"ending_word.*?^}", read("class/room.cpp"), re.DOTALL | re.MULTILINE)[0]))
        listed = re.search(r"with a `reason`: (.*?)\.\n", read(self.page), re.DOTALL)[1]
        self.assertEqual(endings - {"running"}, set(codes(listed)))

    def test_its_options(self):
        options = options_in_table(self.page)
        self.assertEqual(options_in_source("class/options.cpp"), options - {"-h"})
        with_help = set(re.findall(r"--[a-z-]+", re.search(r"help_text\(\).*", read("class/options.cpp"), re.DOTALL)[0]))
        self.assertEqual(with_help, options - {"-h"})
        self.assertEqual(options_in_man("docs/kelmora-class.1"), options)


class Labels(unittest.TestCase):
    """What documents quote from pages and messages."""

    def test_the_words_of_the_pages_in_the_class_guide(self):
        text = read("docs/classroom.md")
        labels = {part for label in re.findall(r"(?<!\*)\*([^*\n]+)\*(?!\*)", text) for part in label.split(": ")}
        self.assertGreater(len(labels), 15)
        for label in labels:
            with self.subTest(label):
                self.assertTrue(f"['{label}" in read("web/src/common/texts.js"))

    def test_the_messages_on_the_teachers_page(self):
        quoted = re.findall(r'^\| "([^"]+)"', read("docs/lessons/teachers.md"), re.MULTILINE)
        self.assertGreater(len(quoted), 4)
        source = ""
        for name in ("errors", "turtles"):  # without the breaks of long texts
            source += re.sub(r'"\s*\n\s*"', "", read(f"clients/python/src/kelmora/{name}.py"))
        for text in quoted:
            for part in text.split("..."):
                with self.subTest(text):
                    self.assertTrue(part.strip() in source, part)


class Keys(unittest.TestCase):
    def test_the_operators_guide_names_all_keys(self):
        handler = re.search(r"^void keyboardfunc.*?^}", read("src/display/window.cpp"), re.MULTILINE | re.DOTALL)
        self.assertIsNotNone(handler)
        keys = {key.lower() for key in re.findall(r"case '(.)':", handler[0])}
        keys |= set(re.findall(r"\.key = '(.)'", read("src/field/kinds.h")))  # those that scatter a kind
        self.assertGreater(len(keys), 15)
        section = re.search(r"^## Keys$(.*?)^## ", read("docs/operator.md"), re.MULTILINE | re.DOTALL)[1]
        named = {code.lower() for row in re.findall(r"^\| (`.*?) \| ", section, re.MULTILINE) for code in codes(row) if len(code) == 1}
        self.assertEqual(named, keys)


class Headless(unittest.TestCase):
    """docs/headless.md and the man page against the programs."""

    def test_its_options(self):
        options = options_in_table("docs/headless.md")
        source = options_in_source("src/play/options.cpp")
        self.assertEqual({name for name in options if name.startswith("--")}, source - {"--js"})
        self.assertEqual({name for name in options if not name.startswith("--")},
                         {"-" + letter for letter in re.search(r'SHORT_OPTIONS\[\] = "([\w:]+)"', read("src/play/options.cpp"))[1] if letter != ":"} | {"-js"})
        self.assertEqual(options_in_man("docs/kelmora-headless.1"), options)

    def test_the_manual_pages_name_all_options(self):
        for name, source in (("kelmora-contest", "contest/kelmora-contest"), ("kelmora-record", "contest/kelmora-record"),
                             ("kelmora-replay", "src/replay.cpp")):
            options = set(re.findall(r'add_argument\("(--[a-z-]+)"', read(source))) | options_in_source(source) - {"--help"}
            self.assertTrue(options, source)
            named = set(re.findall(r"(?<![\w-])--[a-z]+(?:-[a-z]+)*", read(f"docs/{name}.1").replace("\\-", "-")))
            with self.subTest(name):
                self.assertEqual(named, options)

    def test_the_keys_of_a_plan(self):
        text = read("contest/kelmora-contest")
        keys = set(re.findall(r'"(\w+)"', re.search(r"known = \{(.*?)\}", text)[1]))
        keys |= set(re.findall(r'"(\w+)"', re.search(r"key not in \((.*?)\)", text)[1]))
        keys |= set(re.findall(r'"(\w+)":', re.search(r"DEFAULT_LIMITS = \{(.*?)\}", text)[1]))
        self.assertGreater(len(keys), 15)
        self.assertEqual(keys, {code for row in re.findall(r"^\| (`\w+`(?:, `\w+`)*) \|", read("docs/headless.md"), re.MULTILINE) for code in codes(row)})


class Grading(unittest.TestCase):
    """The script for continuous integration in docs/headless.md."""

    def grade(self, student, limit="timeout 120"):
        script = textwrap.dedent(re.search(r"^    #!/bin/sh\n.*?^    END\n", read("docs/headless.md"), re.MULTILINE | re.DOTALL)[0])
        self.assertIn("timeout 120 kelmora-headless", script)
        programs = os.path.dirname(os.environ["KELMORA"])
        environment = {**os.environ, "PATH": programs + ":" + os.environ["PATH"],
                       "PYTHONPATH": os.path.join(TOP, "clients", "python", "src")}
        with tempfile.TemporaryDirectory() as folder:
            # A busy machine may hold a program up for longer than a turn has by default.
            for name, text in (("ci.sh", script.replace("timeout 120", limit).replace("-t 500", "-t 500 --turn-limit 60000")), ("student.py", student)):
                with open(os.path.join(folder, name), "w", encoding="utf-8") as file:
                    file.write(text)
            return subprocess.run(["sh", "ci.sh"], cwd=folder, env=environment, capture_output=True, text=True, timeout=300, check=False)

    def test_it_tells_right_from_wrong(self):
        square = "from kelmora import *\nfor _ in range(4):\n    forward(100)\n    left(90)\n"
        good = self.grade(square)
        self.assertEqual(good.returncode, 0, good.stderr)
        self.assertIn("the square lacks", self.grade(square.replace("100", "90")).stderr)
        self.assertNotEqual(self.grade("1 / 0\n", "timeout 3").returncode, 0)


class Record(unittest.TestCase):
    """docs/recording.md and its schema against the recorder."""
    page = "docs/recording.md"

    @classmethod
    def setUpClass(cls):
        cls.schema = jsonschema.Draft202012Validator(json.loads(read("docs/schema/record.json")))

    def test_its_members(self):
        text = read("src/play/recorder.cpp")
        written = set(re.findall(r'\\"(\w+)\\":', text)) | set(re.findall(r'(?:add_field|tell_number)\(json, "(\w+)"', text))
        self.assertGreater(len(written), 35)
        self.assertEqual(written - words_in_code(self.page), set())
        rows = {code for row in re.findall(r"^\| (`[a-z]\w*`(?:, `\w+`)*) \|", read(self.page), re.MULTILINE) for code in codes(row)}
        self.assertGreater(len(rows), 25)
        self.assertEqual(rows - written, set())

    def test_its_schema_names_the_same_members(self):
        named = set()

        def collect(value):
            if isinstance(value, dict):
                named.update(value.get("properties", {}))
                for each in value.values():
                    collect(each)
            elif isinstance(value, list):
                for each in value:
                    collect(each)
        collect(self.schema.schema)
        self.assertEqual(named - words_in_code(self.page), set())

    def play(self, folder, *options):
        """A short game in turns with all that a record can tell; its lines."""
        path = os.path.join(folder, "game.gz")
        program = os.path.join(os.path.dirname(os.environ["KELMORA"]), "kelmora-headless")
        with subprocess.Popen([program, "-p", "0", "-w", "off", "--pace", "turns", "--turn-limit", "0", "-s", "3", "-r", path, *options],
                              stdout=subprocess.PIPE, stderr=subprocess.DEVNULL, text=True) as field:
            try:
                port = int(field.stdout.readline().split()[1])
                with socket.create_connection(("127.0.0.1", port), timeout=120) as sock, sock.makefile("rw", newline="\n") as turtle:
                    for line in GAME:
                        print(line, file=turtle, flush=True)
                        self.assertRegex(turtle.readline(), r"(OK|ERR) @ \d+ \d+\n")
                self.assertEqual(field.wait(timeout=300), 0)
            finally:
                field.kill()
        with gzip.open(path, "rt", encoding="utf-8") as file:
            return [json.loads(line) for line in file]

    def test_a_game_follows_the_schema(self):
        seen = set()
        for options in (("-t", "1100", "--coins", "20", "--stones", "2"), ("-t", "300", "-m", "battle", "--anonymous")):
            with tempfile.TemporaryDirectory() as folder:
                for line in self.play(folder, *options):
                    self.schema.validate(line)
                    seen |= set(line) | set(line.get("full", {})) | {key for _, change in line.get("set", []) for key in change}
        self.assertGreaterEqual(seen, {"d", "c", "wipe", "p", "set", "m", "new", "b", "coin", "battle", "h", "full", "end", "zombie"})

    def test_a_wrong_line_is_noticed(self):
        good = {"t": 4, "p": [[0, 1, 2]], "coin": [[3]]}
        self.schema.validate(good)
        for wrong in ({"t": 4}, {"t": -1, "c": ""}, {"t": 4, "p": [[0, 1, 2, 3]]}, {"t": 4, "p": [[30, 1, 2]]}, {"t": 4, "more": 1},
                      {"t": 4, "set": [[0, {}]]}, {"t": 4, "h": "12"}, {"t": 4, "full": {}}, {"kelmora_record": 1}):
            with self.subTest(wrong=wrong), self.assertRaises(jsonschema.ValidationError):
                self.schema.validate(wrong)


class Lists(unittest.TestCase):
    """docs/web.md against the schemas, to which tests/docs/test_reference.py holds the program."""

    def test_their_members(self):
        sections = {section.split("`")[1].strip("/"): section for section in re.split(r"^## ", read("docs/web.md"), flags=re.MULTILINE)
                    if section.startswith("`/")}
        for kind in ("turtle", "wall", "coin", "camera"):
            schema = json.loads(read(f"docs/schema/{kind}.json"))
            members = set((schema.get("items") or schema)["properties"])
            rows = {code for row in re.findall(r"^\| (`\w+`(?:, `\w+`)*) \|", sections[kind], re.MULTILINE) for code in codes(row)}
            with self.subTest(kind):
                self.assertEqual(rows, members)


if __name__ == "__main__":
    unittest.main()
