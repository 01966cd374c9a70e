"""The lessons in other languages: folders beside the English pages. A translated page is built like the English one and shows
the same programs, so what test_lessons.py finds out about the English programs holds for them, too."""
import ast
import glob
import json
import os
import re
import unittest

import programs

LESSONS = os.path.join(programs.TOP, "docs", "lessons")
EXAMPLES = os.path.join(programs.TOP, "clients", "examples")
LANGUAGES = ("de",)
TELLING = {"print", "input", "write", "name", "broadcast"}  # their texts are for people
IN_JAVASCRIPT = re.compile(r'//[^\n]*|/\*.*?\*/|"[^"\n]*"|`[^`]*`', re.DOTALL)  # comments and texts


def read(path):
    with open(path, encoding="utf-8") as file:
        return file.read()


def pages():
    """English page, translated page."""
    return [(path, os.path.join(LESSONS, language, os.path.basename(path)))
            for language in LANGUAGES for path in sorted(glob.glob(os.path.join(LESSONS, "*.md")))]


def mask(text):
    """A text for people without its words: numbers stay in their places, since a reader may count words."""
    return " ".join(word if not word or re.fullmatch(r"[\d.]+", word) else "_" for word in text.split(" "))


def bare(source):
    """A Python program without comments, doc strings and texts for people, its own names numbered: equal for two programs
    that do the same."""
    tree = ast.parse(source)
    own = {}
    for node in ast.walk(tree):  # names that the program itself makes
        if isinstance(node, ast.Name) and isinstance(node.ctx, ast.Store):
            own.setdefault(node.id, len(own))
        elif isinstance(node, ast.arg):
            own.setdefault(node.arg, len(own))
        elif isinstance(node, ast.FunctionDef):
            own.setdefault(node.name, len(own))
    for node in ast.walk(tree):
        if isinstance(node, (ast.Module, ast.FunctionDef)) and ast.get_docstring(node) is not None:
            node.body = node.body[1:] or [ast.Pass()]
        if isinstance(node, ast.Call) and getattr(node.func, "id", getattr(node.func, "attr", None)) in TELLING:
            for part in ast.walk(node):
                if isinstance(part, ast.Constant) and isinstance(part.value, str):
                    part.value = mask(part.value) if getattr(node.func, "attr", "") == "broadcast" else ""
            if getattr(node.func, "id", "") == "print":  # however many texts stand between the values
                node.args = [value for value in node.args if getattr(value, "value", None) != ""] or [ast.Constant("")]
    for node in ast.walk(tree):
        for key in ("id", "arg", "name"):
            if isinstance(node, (ast.Name, ast.arg, ast.FunctionDef)) and getattr(node, key, None) in own:
                setattr(node, key, "own_%d" % own[getattr(node, key)])
    return ast.unparse(tree)


def shape(path):
    """A page without its words: headings, items, rows of tables with what is code or quoted in their first cell, blocks,
    pictures."""
    found = []
    text = re.sub(r"^```(\w*)$.*?^```$", r"\n```\1\n", read(path), flags=re.MULTILINE | re.DOTALL)
    for line in text.split("\n"):
        start = re.match(r"#+ |- |\d+\. |```\w*", line)
        if start:
            found.append(start[0])
        elif line.startswith("|"):
            cells = line.split("|")
            found.append((len(cells), re.findall(r'`[^`]+`|"[^"=]+\.\.\.[^"]*"', re.sub("<[^>]*>", "", cells[1]))))
        for target in re.findall(r"!\[[^\]]*\]\(([^)]+)\)|src=\"([^\"]+)\"", line):
            found.append(os.path.normpath(os.path.join(os.path.dirname(path), "".join(target))))
    return found


def translate(text, table):
    """As the pages' build does it."""
    for english in sorted(table, key=len, reverse=True):
        text = text.replace(english, table[english])
    return text


class Lessons(unittest.TestCase):
    def test_every_page_has_its_translation(self):
        english = {os.path.basename(path) for path, _ in pages()}
        self.assertEqual(len(english), 13)
        for language in LANGUAGES:
            there = {name for name in os.listdir(os.path.join(LESSONS, language)) if name.endswith(".md")}
            self.assertEqual(there, english)

    def test_the_pages_are_built_alike(self):
        for english, other in pages():
            with self.subTest(other):
                self.assertEqual(shape(english), shape(other))

    def test_nothing_was_left_in_english(self):
        def sentences(path):
            text = re.sub(r"^```.*?^```$|<!--.*?-->", "", read(path), flags=re.MULTILINE | re.DOTALL)
            return {line for line in text.split("\n") if re.search(r"[a-z]+ [a-z]+ [a-z]+", re.sub("`[^`]*`|<[^>]*>", "", line))}
        for english, other in pages():
            with self.subTest(other):
                self.assertGreater(len(sentences(other)), 10)
                self.assertEqual(sentences(english) & sentences(other), set())

    def test_the_programs_are_the_same(self):
        count = 0
        for english, other in pages():
            pairs = list(zip(programs.blocks_of(english), programs.blocks_of(other), strict=True))
            for ours, theirs in pairs:
                with self.subTest(page=other, line=theirs.line):
                    self.assertEqual(bare(ours.source), bare(theirs.source))
                    count += 1
        self.assertGreater(count, 40 * len(LANGUAGES))

    def test_another_program_is_noticed(self):
        good = 'def f(a):\n    """Goes."""\n    forward(a)  # on\n\n\nf(3)\nprint("at", xcor())\nann.broadcast("come to 1")\n'
        same = 'def geh(weit):\n    forward(weit)\n\n\ngeh(3)\nprint("bei", xcor())\nann.broadcast("komm nach 1")\n'
        self.assertEqual(bare(good), bare(same))
        for old, new in (("geh(3)", "geh(4)"), ("forward", "back"), ("geh(3)", "f(3)"), ("(weit)\n\n", "(geh)\n\n"), ("komm nach", "komm"),
                         ("xcor", "ycor"), ("ann", "anna"), (", xcor()", "")):
            with self.subTest(new):
                self.assertNotEqual(bare(good), bare(same.replace(old, new)))


class Examples(unittest.TestCase):
    """What the pages' build makes of the examples with a table of their texts."""

    def test_the_programs_stay_the_same_and_all_their_texts_change(self):
        files = sorted(glob.glob(os.path.join(EXAMPLES, "*.py")) + glob.glob(os.path.join(EXAMPLES, "*.mjs")))
        self.assertGreater(len(files), 15)
        for language in LANGUAGES:
            table = json.loads(read(os.path.join(LESSONS, language, "examples.json")))
            unused = set(table)
            for path in files:
                text = read(path)
                unused -= {english for english in table if english in text}
                other = translate(text, table)
                with self.subTest(path):
                    if path.endswith(".py"):
                        self.assertEqual(bare(text), bare(other))
                        told = re.findall(r'"""\w.*|(?<= )# .*|^# .*', text, re.MULTILINE)
                    else:
                        self.assertEqual(IN_JAVASCRIPT.sub("", text), IN_JAVASCRIPT.sub("", other))
                        told = re.findall(r"/[/*]+ .*", text)
                    self.assertTrue(told)
                    self.assertEqual([line for line in told if len(line.split()) > 2 and line in other], [])
            self.assertEqual(unused, set())


if __name__ == "__main__":
    unittest.main()
