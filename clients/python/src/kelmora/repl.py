"""kelmora-repl: a prompt for the first lesson. A command is a word and what it needs: forward 50."""
from __future__ import annotations

import argparse
import atexit
import cmd
import inspect
import os
import sys
from typing import Any, Callable, Optional

from .errors import KelmoraError, Lost
from .practice import PracticeField, practice
from .turtles import Turtle

HISTORY = os.path.join("~", ".kelmora_history")
LONGEST_REPEAT = 10000

# Word, what it needs, and an example. The help is the turtle's own.
WORDS = {
    "forward": ("DISTANCE", "forward 50"), "back": ("DISTANCE", "back 50"), "left": ("ANGLE", "left 90"),
    "right": ("ANGLE", "right 90"), "goto": ("X Y", "goto 100 -50"), "home": ("", "home"),
    "setheading": ("ANGLE", "setheading 90"), "circle": ("RADIUS [ANGLE]", "circle 50"), "penup": ("", "penup"),
    "pendown": ("", "pendown"), "pensize": ("WIDTH", "pensize 5"), "color": ("COLOUR", "color red"),
    "begin_fill": ("", "begin_fill"), "end_fill": ("", "end_fill"), "dot": ("SIZE [COLOUR]", "dot 20 blue"),
    "write": ("TEXT", "write hello, all of you"), "lines": ("", "lines"), "points": ("", "points"),
    "brush": ("", "brush"), "bgcolor": ("COLOUR", "bgcolor navy"), "clear": ("", "clear"), "reset": ("", "reset"),
    "position": ("", "position"), "heading": ("", "heading"), "distance": ("X Y", "distance 0 0"),
    "towards": ("X Y", "towards 0 0"), "name": ("TEXT", "name Ann"), "team": ("[NUMBER]", "team 2"),
    "broadcast": ("TEXT", "broadcast over here"), "message": ("", "message"), "finder": ("[RANGE]", "finder 100"),
    "sonar": ("", "sonar"), "radar": ("", "radar"), "pick": ("", "pick"), "drop": ("", "drop"),
    "borrow": ("", "borrow"), "coins": ("", "coins"), "doughnut": ("", "doughnut"),
    "card": ("NUMBER X Y", "card 5 0 0"), "fire": ("", "fire"), "robot": ("", "robot"),
    "battle": ("[on | off]", "battle on"), "score": ("", "score"), "events": ("", "events"),
    "turtles": ("", "turtles"), "clock": ("", "clock")}
OWN = ("repeat", "new", "save", "help", "quit")  # the prompt's own
TEXTS = {"write", "name", "broadcast"}  # take the rest of the line
SHORT = {"fd": "forward", "bk": "back", "lt": "left", "rt": "right", "pu": "penup", "pd": "pendown", "width": "pensize",
         "pencolor": "color", "pos": "position", "up": "penup", "down": "pendown"}


def value(word: str) -> Any:
    """A number where the word is one, else the word."""
    try:
        return float(word)
    except ValueError:
        return {"on": True, "off": False}.get(word, word)


class Prompt(cmd.Cmd):
    """Reads commands, does them, and says what came of them in words."""

    intro = "Your turtle waits. Try: forward 50    left 90    repeat 4 forward 50, left 90    help    quit"
    prompt = "turtle> "
    doc_header = "Words (help WORD tells more):"

    def __init__(self, make: Callable[[], Turtle], field: Optional[PracticeField] = None) -> None:
        super().__init__()
        self.make, self.field = make, field
        self.turtle = make()
        self.failed = False

    # Reading

    def default(self, line: str) -> None:
        if line == "EOF":
            if self.prompt:
                print()
            self.stopping = True
            return
        try:
            self.do_line(line)
        except KelmoraError as error:
            self.failed = True
            print(error)
            if isinstance(error, Lost):
                print("`new` brings another turtle.")
        except KeyboardInterrupt:
            print("Stopped.")

    stopping = False

    def postcmd(self, stop: bool, line: str) -> bool:
        return stop or self.stopping

    def emptyline(self) -> bool:
        return False

    def do_line(self, line: str) -> None:
        """One or more commands with commas between them."""
        word = line.split()[0].lower()
        if word == "repeat":
            self.repeat(line)
        elif word in TEXTS or "," not in line:
            self.do_word(line)
        else:
            for part in line.split(","):
                if part.strip():
                    self.do_line(part.strip())

    def repeat(self, line: str) -> None:
        parts = line.split(None, 2)
        if len(parts) < 3 or not parts[1].isdecimal() or int(parts[1]) > LONGEST_REPEAT:
            print("repeat takes a number and commands: repeat 4 forward 50, left 90")
            return
        for _ in range(int(parts[1])):
            self.do_line(parts[2])

    def do_word(self, line: str) -> None:
        word, _, rest = line.partition(" ")
        word = SHORT.get(word.lower(), word.lower())
        if word not in WORDS:
            close = [known for known in WORDS if known.startswith(word[:2])]
            hint = "Did you mean %s?" % " or ".join(close) if close else "help shows all."
            print("There is no word %s. %s" % (word, hint))
            self.failed = True
            return
        arguments = [rest.strip()] if word in TEXTS else [value(part) for part in rest.split()]
        method = getattr(self.turtle, word)
        try:
            inspect.signature(method).bind(*arguments)
        except TypeError:
            print("%s needs: %s %s. For example: %s" % (word, word, WORDS[word][0] or "and nothing else", WORDS[word][1]))
            self.failed = True
            return
        self.tell(word, method(*arguments))

    def tell(self, word: str, result: Any) -> None:
        """What came of a command, in words; nothing when it was simply done."""
        if result is True or result is None and word != "radar":
            return
        if result is False and word not in ("alive", "isdown"):
            blocked = self.turtle.blocked_by()
            print("That did not go: a %s is in the way." % blocked if blocked else "That did not go.")
        elif word == "sonar":
            sides = [side for side, close in zip(("left", "in front", "right"), result) if close]
            print("Close by: " + ", ".join(sides) if sides else "Nothing is close by.")
        elif result is None or result == []:
            print("Nothing.")
        elif isinstance(result, (tuple, list)):
            print(", ".join("%g" % part if isinstance(part, float) else str(part) for part in result))
        else:
            print("%g" % result if isinstance(result, float) else result)

    # Words of the prompt itself

    def do_new(self, unused: str) -> None:
        """Another turtle, when the one you had has gone."""
        self.turtle.close()
        try:
            self.turtle = self.make()
        except KelmoraError as error:
            print(error)

    def do_save(self, path: str) -> None:
        """save FILE.svg: writes the picture of the practice field to a file."""
        if self.field is None:
            print("Only a practice field is saved: kelmora-repl --practice. On a real one the operator presses p.")
        elif not path:
            print("save needs the name of a file: save picture.svg")
        else:
            try:
                self.field.save(path)
            except OSError as error:
                print("That cannot be written: %s" % error.strerror)

    def do_quit(self, unused: str) -> bool:
        """Ends the prompt; so does Ctrl-D."""
        return True

    do_exit = do_quit

    def do_help(self, arg: str) -> None:
        """help: all words. help WORD: one of them."""
        word = SHORT.get(arg.lower(), arg.lower())
        if word in WORDS:
            print("%s %s" % (word, WORDS[word][0]))
            print("    " + (inspect.getdoc(getattr(Turtle, word)) or "").replace("\n", "\n    "))
            print("    For example: " + WORDS[word][1])
        elif word == "repeat":
            print("repeat NUMBER COMMAND, COMMAND...\n    Does the commands so many times.\n"
                  "    For example: repeat 4 forward 50, left 90")
        elif word:
            super().do_help(word)
        else:
            print(self.doc_header)
            self.columnize(sorted([*WORDS, *OWN]), 78)

    # Completion

    def completenames(self, text: str, *unused: Any) -> list[str]:
        return [word + " " for word in sorted([*WORDS, *SHORT, *OWN]) if word.startswith(text)]

    def completedefault(self, text: str, line: str, *unused: Any) -> list[str]:  # type: ignore[override]
        """Behind repeat and commas, words again; behind color, colours."""
        from .colors import NAMES
        before = line[:len(line) - len(text)].split(",")[-1].split()
        if before and before[-1] in ("color", "bgcolor", "dot"):
            return [name for name in NAMES if name.startswith(text)]
        if not before or before[0] == "repeat" or before[0] == "help":
            return self.completenames(text)
        return []

    def complete_help(self, *args: Any) -> list[str]:
        return self.completenames(args[0])


def keep_history() -> None:
    """Lets lines be called back, also those of earlier days."""
    try:
        import readline
    except ImportError:
        return
    path = os.path.expanduser(HISTORY)
    try:
        readline.read_history_file(path)
    except OSError:
        pass
    readline.set_history_length(1000)

    def save() -> None:
        try:
            readline.write_history_file(path)
        except OSError:
            pass
    atexit.register(save)


def main(arguments: Optional[list[str]] = None) -> int:
    parser = argparse.ArgumentParser(prog="kelmora-repl", description="A prompt that drives a turtle on a Kelmora field.")
    parser.add_argument("host", nargs="?", help="the field's machine; else KELMORA_HOST, else this one")
    parser.add_argument("--port", type=int, help="the field's port; else KELMORA_PORT, else 2222")
    parser.add_argument("--practice", action="store_true", help="draw without a field; `save picture.svg` shows what")
    options = parser.parse_args(arguments)
    try:
        if options.practice:
            prompt = Prompt(Turtle, practice())
        else:
            prompt = Prompt(lambda: Turtle(host=options.host, port=options.port))
    except KelmoraError as error:
        print(error, file=sys.stderr)
        return 1
    if sys.stdin.isatty():
        keep_history()
    else:
        prompt.use_rawinput, prompt.prompt, prompt.intro = False, "", ""
    try:
        prompt.cmdloop()
    except KeyboardInterrupt:
        print()
    prompt.turtle.close()
    return 1 if prompt.failed and not sys.stdin.isatty() else 0


if __name__ == "__main__":
    sys.exit(main())
