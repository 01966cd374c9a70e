"""The Python library against the vectors shared by all client libraries."""
import os
import sys
import unittest

HERE = os.path.dirname(os.path.abspath(__file__))
sys.path.insert(0, os.path.join(HERE, "..", "..", "clients", "python", "src"))

import kelmora  # noqa: E402
from scripted import ScriptedField, exchanges_of, load, same_value  # noqa: E402

KINDS = {"no_field": kelmora.NoField, "not_admitted": kelmora.NotAdmitted, "died": kelmora.Died, "lost": kelmora.Lost,
         "no_answer": kelmora.NoAnswer, "bad_answer": kelmora.BadAnswer, "not_a_number": kelmora.NotANumber,
         "bad_value": kelmora.BadValue, "blocked": kelmora.Blocked, "not_here": kelmora.NotHere}
SILENCE = 2.0   # seconds to wait for an answer that never comes; the start must fit in, too
ANSWER = 60.0
# Words that send nothing that vectors could show, with the reason.
OUTSIDE = {"done", "mainloop", "exitonclick", "ontimer", "mode", "window_width", "window_height", "isvisible", "getscreen",
           "getturtle", "getpen",             # of the program, not of the field
           "textinput", "numinput",           # of the terminal
           "begin_poly", "end_poly", "get_poly", "degrees", "radians"}  # arithmetic of Python alone, tested beside


class Vectors(unittest.TestCase):
    vectors = load()

    def run_case(self, case):
        silent = any(exchange.get("then") == "silence" for exchange in exchanges_of(case, self.vectors))
        with ScriptedField(exchanges_of(case, self.vectors)) as field:
            turtle, noted = None, []
            try:
                for step in case["steps"]:
                    if step.get("call") == "connect":
                        self.check(case, step, lambda: self.turtle(field, silent), noted)
                        return
                    turtle = turtle or self.turtle(field, silent)
                    self.check(case, step, lambda: self.do(turtle, step, noted), noted)
                turtle = turtle or self.turtle(field, silent)
            finally:
                kelmora.Screen().bye()  # a clone shares the connection
        self.assertIsNone(field.trouble())

    def turtle(self, field, silent):
        return kelmora.Turtle(host="127.0.0.1", port=field.port, timeout=SILENCE if silent else ANSWER, home=False)

    def do(self, turtle, step, noted):
        if "batch" in step:
            with turtle.field.batch() as answers:
                for inner in step["batch"]:
                    self.assertIsNone(self.call(turtle, inner, noted))
            return answers
        return self.call(turtle, step, noted)

    def call(self, turtle, step, noted):
        word = step["call"]
        arguments = [(lambda: noted.append(word[3:])) if value == "$callback" else value for value in step.get("args", [])]
        return getattr(turtle, word)(*arguments)

    def check(self, case, step, call, noted):
        noted.clear()
        expected = step.get("raises")
        if expected:
            with self.assertRaises(kelmora.KelmoraError) as caught:
                call()
            self.assertIs(type(caught.exception), KINDS[expected["kind"]], step)
            for name, value in expected.items():
                if name != "kind":
                    self.assertEqual(getattr(caught.exception, name), value, step)
            self.assertGreater(len(str(caught.exception)), 20, "says what to do")
        else:
            result = call()
            if "returns" in step:
                self.assertTrue(same_value(result, step["returns"]), (step, result))
        if "callbacks" in step:
            self.assertEqual(noted, step["callbacks"])

    def test_every_word_has_a_case(self):
        called = set()
        for case in self.vectors["cases"]:
            for step in case["steps"]:
                for inner in step.get("batch", [step]):
                    called.add(inner["call"])
        words = {word for word in dir(kelmora.Turtle)
                 if not word.startswith("_") and callable(getattr(kelmora.Turtle, word))}
        methods = {getattr(kelmora.Turtle, word) for word in called | OUTSIDE if hasattr(kelmora.Turtle, word)}
        from kelmora.compat import NOTED
        left = {word for word in words if getattr(kelmora.Turtle, word) not in methods} - set(NOTED) - {"turtlesize", "ht", "st", "batch"}
        self.assertEqual(left, set())


def add_cases():
    for number, case in enumerate(Vectors.vectors["cases"]):
        if "python" in case.get("in", ["python"]):
            name = "test_%03d_%s" % (number, "".join(c if c.isalnum() else "_" for c in case["name"]))
            setattr(Vectors, name, lambda self, case=case: self.run_case(case))


add_cases()
if __name__ == "__main__":
    unittest.main(verbosity=2)
