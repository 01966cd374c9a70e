"""Runs one program of Python's turtledemo, for test_python_turtledemo.py: `turtledemo.py tk|kelmora FILE`.

With `tk` it runs on Python's own turtle at full speed, prints where on the screen the middle of the drawing is, and
waits for a line. With `kelmora` it runs on the field, with only the import changed. Either way paper and pen begin as
in Python's turtle, and the last line printed is "ran" or says what was missing.
"""
import os
import re
import sys

LIBRARY = os.path.join(os.path.dirname(os.path.abspath(__file__)), "..", "..", "clients", "python", "src")


def source_of(path, module):
    with open(path, encoding="utf-8") as file:
        text = file.read()
    text = re.sub(r"^(\s*)from turtle import", r"\1from %s import" % module, text, flags=re.M)
    return re.sub(r"^(\s*)import turtle\b", r"\1import %s as turtle" % module, text, flags=re.M)


def run(path, module):
    """Runs the program's main(), like the demo viewer."""
    names = {"__name__": "turtledemo." + os.path.basename(path)[:-3]}
    exec(compile(source_of(path, module), path, "exec"), names)
    return names["main"]()


def on_tk(path):
    import turtle
    turtle.setup(700, 700, 0, 0)
    turtle.tracer(0, 0)
    turtle.TurtleScreen.tracer = turtle.tracer = lambda self=None, *unused: None
    for kind in (turtle.RawTurtle, turtle.Turtle):
        kind.tracer = lambda self, *unused: None
    run(path, "turtle")
    for one in turtle.turtles():
        one.hideturtle()
    turtle.update()
    canvas = turtle.getcanvas()
    canvas.update()
    print("middle %d %d" % (canvas.winfo_rootx() - canvas.canvasx(0), canvas.winfo_rooty() - canvas.canvasy(0)))
    print("ran", flush=True)
    sys.stdin.readline()


def on_field(path):
    sys.path.insert(0, LIBRARY)
    import kelmora
    from kelmora import crowd
    # The field's own defaults are a red pen and a black background.
    kelmora.bgcolor("white")
    reset, kelmora.Turtle.reset = kelmora.Turtle.reset, lambda self: (reset(self), self.color("black"))[0]
    enter, kelmora.Turtle._enter = kelmora.Turtle._enter, lambda self, home: (enter(self, home), self.color("black"))[0]
    for one in crowd.living():
        one.color("black")
    run(path, "kelmora")
    for one in crowd.living():
        one.penup()
        one.goto(1000, 1000)
    print("ran", flush=True)


if __name__ == "__main__":
    try:
        (on_tk if sys.argv[1] == "tk" else on_field)(sys.argv[2])
    except Exception as error:
        print("%s: %s" % (type(error).__name__, error), flush=True)
        sys.exit(1)
