"""The C++ library: vectors and hostile servers, under the sanitizers for addresses and undefined behaviour."""
import os
import re
import subprocess
import tempfile
import unittest

import agents

HEADER = os.path.join(agents.ROOT, "clients", "cpp", "kelmora.hpp")
# No words of their own: ways to write those that are.
OTHER_SPELLINGS = {"go_to": "goto"}


def public_words():
    """The names of the public functions of the class Turtle, as they stand in the header."""
    with open(HEADER, encoding="utf-8") as header:
        text = header.read()
    turtle = text[text.index("\nclass Turtle {"):]
    public = turtle[turtle.index("public:"):turtle.index("private:")]
    names = re.findall(r"^    (?:\[\[nodiscard\]\] |template <[^>]*> )*[A-Za-z][\w:<>, ]* (\w+)\(", public, re.MULTILINE)
    return {OTHER_SPELLINGS.get(name, name) for name in names if name != "Turtle"}


scratch = tempfile.TemporaryDirectory(prefix="kelmora-cpp-")


def setUpModule():
    source = os.path.join(agents.HERE, "agents", "agent.cpp")
    subprocess.run(["c++", "-std=c++17", "-Wall", "-Wextra", "-Werror", "-O1", "-fsanitize=address,undefined",
                    "-fno-sanitize-recover=all", "-I", os.path.dirname(HEADER), source,
                    "-o", os.path.join(scratch.name, "agent")], check=True, timeout=600)


def tearDownModule():
    scratch.cleanup()


class Cpp(agents.Language):
    name = "cpp"

    @classmethod
    def start(cls):
        return agents.Agent([os.path.join(scratch.name, "agent")])

    def test_the_agent_knows_every_public_word(self):
        words = public_words()
        self.assertGreater(len(words), 80)
        self.assertEqual(words - {"batch"} - self.agent.words(), set())


if __name__ == "__main__":
    unittest.main()
