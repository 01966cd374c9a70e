"""What can go wrong, as exceptions whose text says what to do.

All of them are KelmoraErrors. Those that a program may already catch for sockets and numbers are kin of Python's own
exceptions, too.
"""
from __future__ import annotations


class KelmoraError(Exception):
    """Base of all that this library raises."""


class NoField(KelmoraError, ConnectionError):
    """Nobody answers at the field's address."""


class NotAdmitted(KelmoraError, ConnectionError):
    """The field has hung up before its first answer."""


class Lost(KelmoraError, ConnectionError):
    """The connection has ended."""


class Died(Lost):
    """The turtle was hit and has died; the field has ended its connection."""


class NoAnswer(KelmoraError, TimeoutError):
    """The field is silent."""


class BadAnswer(KelmoraError):
    """What answers there does not speak a field's language."""


class NotANumber(KelmoraError, TypeError, ValueError):
    """An argument is no number, or no finite one."""


class BadValue(KelmoraError, ValueError):
    """An argument is out of its range, or a word came where it cannot."""


class Blocked(KelmoraError):
    """In strict mode: something is in the way.

    by -- "turtle", "doughnut", "stone" or "wall"; "jump" when a jump was refused; "something" when the field did not say
    """

    def __init__(self, by: str) -> None:
        self.by = by
        if by == "jump":
            text = ("The field refused the jump. It refuses jumps in battle mode, while something stands closer than "
                    "20 to you, and, when its edges are hard, to a place outside or near a wall.")
        elif by == "something":
            text = "Something is in the way, and the field did not say what: turn a little and try again."
        else:
            text = "A %s is in the way: turn, or wait until it has gone." % by
        super().__init__(text)


class NotHere(KelmoraError, AttributeError, NotImplementedError):
    """A word of Python's turtle that has no meaning on a shared field; the text names the nearest one."""


def no_field(where: str, reason: object) -> NoField:
    return NoField("No field answers at %s (%s). Is the program kelmora running there? On this machine: start it. On "
                   "another: set the environment variable KELMORA_HOST to its name. `python -m kelmora doctor` looks "
                   "closer." % (where, reason))


def not_admitted(where: str) -> NotAdmitted:
    return NotAdmitted("The field at %s has hung up at once. Either it is private and you are not on its machine (the "
                       "operator presses @ to make it public), or its ten places are taken (wait until somebody "
                       "leaves), or 30 turtles and zombies fill it (the operator presses z to take zombies away)."
                       % where)


def lost(where: str, died: bool) -> Lost:
    if died:
        return Died("Your turtle has died: it was hit, and its score fell below 0. Start the program again for a new "
                    "one.")
    return Lost("The connection to the field at %s has ended: the operator may have removed all turtles or closed the "
                "field. Start the program again." % where)


def no_answer(where: str, timeout: object) -> NoAnswer:
    return NoAnswer("The field at %s has not answered for %s seconds. Is its window alive, and the network up? Then "
                    "start the program again." % (where, timeout))


def bad_answer(where: str, line: str) -> BadAnswer:
    return BadAnswer("What listens at %s is no field: it answered %.80r. Check KELMORA_HOST and KELMORA_PORT (a field "
                     "listens on 2222)." % (where, line))
