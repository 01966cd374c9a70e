"""The C++ library: vectors and hostile servers, under the address and undefined-behaviour sanitizers."""
import os
import re
import shutil
import subprocess
import sys
import tempfile
import unittest

import agents

HEADER = os.path.join(agents.ROOT, "clients", "cpp", "kelmora.hpp")
# Overloads and operators for words that have a name already.
OTHER_SPELLINGS = {"go_to": "goto"}


def public_words():
    """The names of class Turtle's public functions, as declared in the header."""
    with open(HEADER, encoding="utf-8") as header:
        text = header.read()
    turtle = text[text.index("\nclass Turtle {"):]
    public = turtle[turtle.index("public:"):turtle.index("private:")]
    names = re.findall(r"^    (?:\[\[nodiscard\]\] |template <[^>]*> )*[A-Za-z][\w:<>, ]* (\w+)\(", public, re.MULTILINE)
    return {OTHER_SPELLINGS.get(name, name) for name in names if name != "Turtle"}


scratch = tempfile.TemporaryDirectory(prefix="kelmora-cpp-")


def setUpModule():
    source = os.path.join(agents.HERE, "agents", "agent.cpp")
    subprocess.run(["c++", "-std=c++17", "-Wall", "-Wextra", "-Werror", "-fsanitize=address,undefined",
                    "-fno-sanitize-recover=all", "-I", os.path.dirname(HEADER), source,
                    "-o", os.path.join(scratch.name, "agent")], check=True, timeout=1200)


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


STRICT = ["-std=c++17", "-Wall", "-Wextra", "-Wpedantic", "-Wshadow", "-Werror"]

USER = """
#include <kelmora.hpp>
int other() { return kelmora::Events(3).size() == 2 ? 0 : 1; }
"""
MAIN = """
#include <kelmora.hpp>
int other();
int main() {
    try {
        kelmora::Options options;
        options.port = 1;
        options.host = "127.0.0.1";
        kelmora::Turtle turtle(options);
    } catch (const kelmora::NoField&) {
        return other();
    }
    return 2;
}
"""
PROJECT = """
cmake_minimum_required(VERSION 3.16)
project(user LANGUAGES CXX)
find_package(kelmora 0.1 REQUIRED)
add_executable(user main.cpp user.cpp)
target_link_libraries(user PRIVATE kelmora::client)
"""


def run(*command, **options):
    return subprocess.run(command, check=True, timeout=1200, capture_output=True, text=True, **options)


class Header(unittest.TestCase):
    """The header in use: with common warnings, in several files of one program, installed."""

    @classmethod
    def setUpClass(cls):
        cls.folder = os.path.join(scratch.name, "user")
        os.mkdir(cls.folder)
        for name, text in (("main.cpp", MAIN), ("user.cpp", USER), ("CMakeLists.txt", PROJECT)):
            with open(os.path.join(cls.folder, name), "w", encoding="utf-8") as file:
                file.write(text)
        cls.installed = os.path.join(scratch.name, "installed")
        tree = os.path.join(scratch.name, "tree")
        run("cmake", "-S", os.path.dirname(HEADER), "-B", tree, "-DCMAKE_INSTALL_PREFIX=" + cls.installed)
        run("cmake", "--install", tree)

    def test_it_compiles_without_a_warning(self):
        cost = os.path.join(agents.HERE, "agents", "cost.cpp")
        for compiler in ("g++", "clang++"):
            run(compiler, *STRICT, "-fsyntax-only", "-I", os.path.dirname(HEADER), os.path.join(self.folder, "main.cpp"))
        run("clang++", *STRICT, "-O1", "-c", "-I", os.path.dirname(HEADER), cost, "-o", os.devnull)
        # An optimizer sees more, and warns of more, in a program that is compiled to its end.
        run("g++", *STRICT, "-std=c++20", "-O3", "-c", "-I", os.path.dirname(HEADER), cost, "-o", os.devnull)

    def test_cmake_finds_it(self):
        tree = os.path.join(scratch.name, "user-tree")
        run("cmake", "-S", self.folder, "-B", tree, "-DCMAKE_PREFIX_PATH=" + self.installed)
        run("cmake", "--build", tree)
        run(os.path.join(tree, "user"))

    def test_pkg_config_finds_it(self):
        moved = os.path.join(scratch.name, "moved")
        shutil.copytree(self.installed, moved)
        environment = dict(os.environ, PKG_CONFIG_PATH=os.path.join(moved, "share", "pkgconfig"))
        flags = run("pkg-config", "--cflags", "kelmora", env=environment).stdout.split()
        self.assertEqual(run("pkg-config", "--modversion", "kelmora", env=environment).stdout, "0.1.0\n")
        program = os.path.join(moved, "program")
        run("c++", *STRICT, *flags, os.path.join(self.folder, "main.cpp"), os.path.join(self.folder, "user.cpp"), "-o", program)
        run(program)

    def test_no_word_allocates(self):
        program = os.path.join(scratch.name, "cost")
        run("c++", *STRICT, "-O2", "-I", os.path.dirname(HEADER), os.path.join(agents.HERE, "agents", "cost.cpp"), "-o", program)
        printed = run(program).stdout
        found = {word: int(count) for word, count in re.findall(r"^(\w+) (\d+)$", printed, re.MULTILINE)}
        self.assertGreater(found.pop("batch"), 0)
        self.assertGreater(len(found), 20)
        self.assertEqual({word: count for word, count in found.items() if count}, {})
        measured = re.search(r"^measured: .*?([\d.]+) us user.*$", printed, re.MULTILINE)
        print(measured[0], file=sys.stderr)
        self.assertLess(float(measured[1]), 20)     # about 0.4 on a quiet machine


if __name__ == "__main__":
    unittest.main()
