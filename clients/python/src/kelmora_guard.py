"""Says clearly what is wrong when a program's own file has the name of the library that it wants to import.

kelmora.pth loads this whenever Python starts, for such a program never reaches the library itself. So it stays small: it
looks at two names only, and finds nothing itself.
"""
import sys

NAMES = ("kelmora", "turtle")


class Guard:
    """A finder that only refuses."""

    @staticmethod
    def find_spec(name, path=None, target=None):
        if name in NAMES and path is None:
            refuse(name)


def refuse(name):
    """Raises ImportError when this name would lead to the program itself or, for kelmora, to another file beside it."""
    from os.path import abspath, basename, dirname, exists, join
    program = getattr(sys.modules.get("__main__"), "__file__", None)
    file = name + ".py"
    if program and basename(program) == file and "site-packages" not in program and "dist-packages" not in program:
        raise ImportError("Your program's file is named %s, so `import %s` finds your program itself. Give it another name, "
                          "and delete the folder __pycache__ beside it: %s" % (file, name, abspath(program)))
    if name == "kelmora":
        folder = dirname(abspath(program)) if program else abspath(sys.path[0] if sys.path else "")
        beside = join(folder, file)
        if exists(beside) and folder in map(abspath, sys.path[:1]):
            raise ImportError("There is a file named kelmora.py beside your program, so `import kelmora` finds that and not the "
                              "library. Give it another name: %s" % beside)


sys.meta_path.insert(0, Guard)
