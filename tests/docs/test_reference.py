"""The reference: replays every exchange of docs/protocol.md and docs/web.md with the real program, holds the JSON against
the schemas, and compares the commands of the document with those of the program."""
import glob
import json
import os
import re
import unittest

import jsonschema

import exchange
from exchange import Replay, exchanges_of
from harness import FieldTest, client_in_maze, main, wait_until

TOP = os.path.realpath(os.path.join(os.path.dirname(os.path.abspath(__file__)), "..", ".."))
PROTOCOL = os.path.join(TOP, "docs", "protocol.md")
WEB = os.path.join(TOP, "docs", "web.md")
SCHEMAS = {}
for file_name in glob.glob(os.path.join(TOP, "docs", "schema", "*.json")):
    if os.path.basename(file_name) != "record.json":  # no web address; test_pages.py checks it
        with open(file_name, encoding="utf-8") as schema_file:
            SCHEMAS[os.path.basename(file_name)[:-len(".json")]] = json.load(schema_file)


def check(kind, text):
    """Raises jsonschema.ValidationError, or ValueError when the text is not JSON."""
    def refuse(word):
        raise ValueError(word)
    value = json.loads(text, parse_constant=refuse)
    jsonschema.Draft202012Validator(SCHEMAS[kind]).validate(value)
    return value


def table_rows(path, whole=False):
    """Code spans in table rows whose head is `command` or `question`: of the first cell, or of all."""
    codes, inside = [], False
    with open(path, encoding="utf-8") as file:
        for line in file:
            if not line.startswith("|"):
                inside = False
            elif line.startswith(("| command |", "| question |")):
                inside = True
            elif inside and not line.startswith("|---"):
                cell = line if whole else line.split("|")[1]
                codes.append(re.findall(r"`([^`]+)`", cell))
    return codes


class Reader(unittest.TestCase):
    """What the reader of exchanges must refuse."""

    def test_holes_take_what_their_name_says(self):
        self.assertTrue(exchange.matches("<clock> OK @ <clock> 0", "12 OK @ 13 0"))
        self.assertFalse(exchange.matches("<clock> OK @ <clock> 0", "12 OK @ 13 2"))
        self.assertTrue(exchange.matches("<-20..20> 3 OK", "-19.500000 3 OK"))
        self.assertFalse(exchange.matches("<-20..20> 3 OK", "21.000000 3 OK"))
        self.assertFalse(exchange.matches("OK", "OK @"))

    def test_an_answer_without_a_question_is_refused(self):
        with self.assertRaises(ValueError):
            exchange.Exchange("OK @ <clock> 0\n", 1)


class Replayed(FieldTest):
    """Every exchange of a document, each on an empty field."""

    def setUp(self):
        """Ends the maze that a failed test may have left."""
        if len(Replay(self.field, None, self.addCleanup).ask_list("wall")) > 4:
            self.field.key("M")
            self.field.settle()

    def replay_all(self, path):
        bodies = []
        blocks = exchanges_of(path)
        self.assertGreater(len(blocks), 5, path)
        for block in blocks:
            with self.subTest(document=os.path.basename(path), line=block.first_line):
                bodies += self.replay(block)
        return bodies

    def replay(self, block):
        ann = self.fresh()
        ann.do("c")
        ann.do(".")
        replay = Replay(self.field, ann, self.addCleanup)
        replay.run(block)
        return replay.bodies

    def test_protocol(self):
        self.replay_all(PROTOCOL)

    def test_web(self):
        """All JSON follows its schema, and what the document shows as broken JSON does not parse."""
        checked, no_json = set(), 0
        for target, body in self.replay_all(WEB):
            kind = target.lower().rstrip("/").split("/")[-1]
            try:
                check(kind, body)
                checked.add(kind)
            except ValueError:
                no_json += 1
        self.assertEqual(checked, set(SCHEMAS))
        self.assertEqual(no_json, 3)

    def test_schemas_hold_on_a_busy_field(self):
        """Robots, stones, doughnuts, zombies, beams, coins and a maze; asked for again and again."""
        turtles = self.fresh(4)
        self.field.key("M")
        self.field.settle()
        for each in turtles:
            each.wait_closed()
        turtles = []
        for k in range(4):  # newcomers enter in one corner of the maze, which must be free for the next
            turtles.append(client_in_maze())
            self.addCleanup(turtles[k].close)
            turtles[k].do("! u", f"j {-208 + 64 * k} -208")
        turtles[0].do("!", "n 4f534c4f", "i 1", "o b", "o s", "u hello")
        turtles[1].close()
        for _ in range(6):
            turtles[2].ask("r")
            turtles[2].ask("d")
            turtles[3].do("o x", "x")
        replay = Replay(self.field, turtles[0], self.addCleanup)
        kinds = {"type": set(), "alive": set(), "firing": set()}

        def look():
            turtles[0].ask("x")
            for kind in SCHEMAS:
                _, body = replay.raw_request(f"GET /{kind} HTTP/1.1\r\n\r\n", False, keep=True)
                value = check(kind, body.decode("latin-1"))
                if kind == "turtle":
                    for name, seen in kinds.items():
                        seen |= {each[name] for each in value}
            return kinds["firing"] == {True, False} and kinds["type"] >= {1, 2}
        try:
            wait_until(look, 60, lambda: f"a busy field: {kinds}")
        finally:
            self.field.key("M")
            self.field.settle()

    def test_a_name_has_127_bytes_over_the_wire(self):
        turtle = self.fresh()
        turtle.do("n " + "41" * 128)
        replay = Replay(self.field, turtle, self.addCleanup)
        self.assertEqual(replay.ask_list("turtle")[0]["name"], "A" * 127)

    def test_a_wrong_document_is_noticed(self):
        for wrong in ("> f 50\nERR @ <clock> 0\n", "> f 50\n", "> f 50\nOK @ <clock> 0\nOK @ <clock> 0\n",
                      "* Ben sings\n"):
            with self.subTest(wrong=wrong), self.assertRaises(AssertionError):
                Replay(self.field, self.fresh(), self.addCleanup).run(exchange.Exchange(wrong, 1))


class Schemas(unittest.TestCase):
    """What the schemas must refuse."""
    turtle = {"tid": 0, "time": 1, "type": 1, "name": "Ann", "team": 0, "x": 0.5, "y": 0, "head": -90.0, "ttl": 0,
              "bx": 0, "by": 0, "bttf": 0, "score": 100, "ncoin": 0, "alive": True, "firing": False, "got_hit": False,
              "collide": False, "detected": False, "got_msg": False}

    def test_good_is_accepted(self):
        check("turtle", json.dumps([self.turtle]))

    def test_each_is_a_schema_of_this_draft(self):
        for name, schema in SCHEMAS.items():
            with self.subTest(name):
                self.assertIn("2020-12", schema["$schema"])
                jsonschema.Draft202012Validator.check_schema(schema)

    def test_a_missing_an_unknown_and_a_wrong_member_are_refused(self):
        for name in self.turtle:
            with self.subTest(missing=name), self.assertRaises(jsonschema.ValidationError):
                check("turtle", json.dumps([{key: value for key, value in self.turtle.items() if key != name}]))
            with self.subTest(wrong=name), self.assertRaises(jsonschema.ValidationError):
                check("turtle", json.dumps([dict(self.turtle, **{name: [1]})]))
        for kind, value in (("turtle", [dict(self.turtle, more=1)]), ("wall", [{"x1": 0}]), ("coin", {}),
                            ("coin", [{"x": 0, "y": 0, "ord": -1}]), ("camera", {"x0": 0}), ("camera", [])):
            with self.subTest(kind), self.assertRaises(jsonschema.ValidationError):
                check(kind, json.dumps(value))


class Names(unittest.TestCase):
    """The document names the commands that the program has, and shows each of them."""

    @classmethod
    def setUpClass(cls):
        with open(os.path.join(TOP, "src", "net", "command.cpp"), encoding="utf-8") as file:
            source = file.read()
        table = re.search(r"COMMANDS = \{\{(.*?)\}\};", source, re.DOTALL)[1]
        cls.handlers = dict(re.findall(r"\{'(.)', (\w+)\}", table))
        # From one handler to the next. One of them checks for a letter outside of its switch.
        pieces = re.split(r"^int (\w+)\(const \w+&", source, flags=re.MULTILINE)
        cls.cases = {name: set(re.findall(r"(?:case|what ==) '(.)'", body))
                     for name, body in zip(pieces[1::2], pieces[2::2])}
        # Questions have their own table.
        with open(os.path.join(TOP, "src", "net", "questions.cpp"), encoding="utf-8") as file:
            table = re.search(r"QUESTIONS = \{\{(.*?)\}\};", file.read(), re.DOTALL)[1]
        cls.cases[cls.handlers["q"]] |= set(re.findall(r"\{'(.)', SEL_", table))
        cls.rows = table_rows(PROTOCOL)
        cls.sent = [line for block in exchanges_of(PROTOCOL) for line in block.sent()]

    def test_the_table_and_the_document_name_the_same_letters(self):
        self.assertGreater(len(self.handlers), 20)
        named = {code[0] for row in self.rows for code in row}
        self.assertEqual(named, set(self.handlers))

    def test_the_words_after_the_letter_are_the_same_too(self):
        rows = [row for row in table_rows(PROTOCOL, whole=True) if row]
        for letter, handler in self.handlers.items():
            words = {code.split()[1][0] for row in rows for code in row
                     if row[0][0] == letter and code.startswith(letter + " ")}
            if letter == "z":  # its word is a number
                self.assertEqual(words, {"-", "0"})
            else:
                self.assertEqual(words, self.cases[handler], letter)

    def test_every_command_and_question_is_shown(self):
        shown = {" ".join(line.lower().split()[:2]) for line in self.sent} | {line.lower().split()[0] for line in self.sent}
        plain = {line.lower() for line in self.sent}
        for row in self.rows:
            for code in row:
                words = code.split()
                if len(words) == 1:
                    self.assertTrue(words[0] in shown or words[0] in plain, code)
                elif code.endswith("-"):
                    self.assertTrue(any(line.startswith(code) for line in shown), code)
                else:
                    self.assertTrue(" ".join(words[:2]) in shown, code)
            if row[0][:3] in ("q z", "q r"):
                self.assertTrue(any(line.startswith(row[0]) for line in plain), row[0])

    def test_every_event_is_shown(self):
        shown = set()
        for block in exchanges_of(PROTOCOL):
            for step in block.steps:
                shown |= {int(line.split()[-1]) for line in step.below if line.split()[-1].isdigit()}
        self.assertLessEqual({0, 1, 2, 4, 8, 16, 32, 64, 128, 256}, shown)


if __name__ == "__main__":
    main()
