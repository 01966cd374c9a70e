"""The conversation with a field: lines out, answers in, events passed on.

One packet is one exchange, and the next goes out only after all answers of the one before are in. The field reads
nothing behind a command that moves or paints until it has drawn a frame: so each packet has a frame of its own, and no
line that a turtle draws is lost.
"""
from __future__ import annotations

from typing import Any, Callable, List, NamedTuple, NoReturn, Optional, Union

from . import hooks
from .errors import BadValue, Blocked, KelmoraError, bad_answer, lost, no_answer, not_admitted
from .transport import LONGEST_LINE, SocketTransport, Transport

# What an answer may tell, by the bit of its last number.
EVENTS = {1: "hit", 2: "turtle", 4: "doughnut", 8: "stone", 16: "wall", 32: "coin", 64: "found", 128: "seen",
          256: "message"}
HIT = 1
LONGEST_COMMAND = 511  # characters that the field reads of a line
ONE_ANSWER = 256       # bytes to read at once where one answer is due; a longer one takes another look
PACKET = 1000          # commands of a batch that go together: who sends without end and reads nothing is cut off


class Answer(NamedTuple):
    """One answer of the field."""
    values: str   # what was asked for, "" when nothing was
    ok: bool      # whether the command was carried out
    clock: int    # the field's clock, in ticks
    events: int   # sum of the EVENTS that happened since the answer before


Reader = Callable[..., Any]  # makes of the answers to one call what the call returns


def parse(line: str) -> Optional[Answer]:
    """The answer in a line, None when it is none."""
    head, mark, tail = line.rpartition(" @ ")
    clock, _, events = tail.partition(" ")
    if not (mark and clock.isdigit() and events.isdigit() and len(line) <= LONGEST_LINE and tail.isascii()):
        return None
    if head == "OK":
        return Answer("", True, int(clock), int(events))
    values, _, status = head.rpartition(" ")
    if status == "OK" or status == "ERR":
        return Answer(values, status == "OK", int(clock), int(events))
    return None


def names_of(events: int) -> list[str]:
    """Names of the events in a sum of them, in the order of their numbers."""
    return [name for bit, name in EVENTS.items() if events & bit]


class Batch(List[Any]):
    """What the calls of a batch have returned, in their order; empty until the batch has been sent."""

    def __init__(self, field: "Field") -> None:
        super().__init__()
        self._field = field

    def __enter__(self) -> "Batch":
        self._field.open_batch(self)
        return self

    def __exit__(self, kind: object, *unused: object) -> None:
        self._field.close_batch(send=kind is None)


class Field:
    """One connection to a field."""

    def __init__(self, transport: Transport) -> None:
        self.transport = transport
        self.where = transport.where
        self._send, self._next = transport.send, transport.receive
        self._wire = transport if isinstance(transport, SocketTransport) else None
        self._clock: Union[int, bytes] = 0  # of the latest answer, also in digits
        self.answered = False         # whether the field has ever answered
        self.closed = False
        self._was_hit = False
        self._owed = 0                # answers to commands of an exchange that was interrupted
        self._happened = 0            # events since events() was last called
        self._pending: list[int] = []                         # events that callbacks have not been told of
        self._callbacks: dict[str, Callable[[], object]] = {}
        self._delivering = False
        self.batching = False         # whether a batch is open
        self._batch: Optional[Batch] = None
        self._queue: list[tuple[list[str], Reader]] = []      # lines and reader of each call in the batch
        self._lines_in_batch = 0

    # Commands and answers

    def do(self, line: str) -> Optional[Answer]:
        """One command that is no question, outside a batch: None when it was carried out and nothing happened.

        Whoever calls it calls settle() when there is an answer.
        """
        return self.do_packet(line.encode("ascii") + b"\n")

    def do_packet(self, packet: bytes) -> Optional[Answer]:
        """As do(), of a line with its line feed.

        Nearly all that a program says goes this way. A step comes once a frame, and by then the processor has to fetch all
        of its code from memory again: so this is one function, down to the socket, and does not ask the clock.
        """
        wire = self._wire
        if wire is None or wire.pending or self._owed:
            return self.exchange([packet[:-1].decode("ascii")])[0]
        if hooks.check is not None:
            hooks.check()
        self._owed = 1  # before it goes: whatever interrupts this, the answer will come
        try:
            sent = wire.write(packet)
            if sent < len(packet):
                wire.send_rest(packet[sent:])
            else:
                told = wire.read(ONE_ANSWER)
                clock = told[5:-3]
                if clock.isdigit() and told[:5] == b"OK @ " and told[-3:] == b" 0\n":
                    self._owed = 0
                    self._clock = clock
                    return None
                wire.keep(told)
        except (EOFError, OSError) as error:
            self._translate(error)
        return self._receive()

    def settle(self) -> None:
        """Tells the callbacks what has happened."""
        if self._pending:
            self._deliver()

    def say(self, lines: list[str], read: Reader) -> Any:
        """Sends the lines as one packet and gives what read(*answers) makes of them; in a batch, None and later."""
        if self._batch is not None:
            self._queue.append((lines, read))
            return None
        answers = self.exchange(lines)
        try:
            return read(*answers)
        except (ValueError, IndexError) as error:
            if isinstance(error, KelmoraError):
                raise
            raise self._fail(bad_answer(self.where, answers[-1].values)) from error
        finally:
            self.settle()

    def ask(self, line: str) -> Answer:
        """Sends one command as it stands and gives its answer."""
        plain = line.isascii() and line.isprintable() and ";" not in line
        if not plain or not line.strip() or len(line) > LONGEST_COMMAND:
            raise BadValue("A command is one line of 1 to 511 plain characters without ';', not %.60r." % line)
        answer: Answer = self.say([line], lambda answer: answer)
        return answer

    def exchange(self, lines: list[str]) -> list[Answer]:
        """One packet and its answers; callbacks are not called yet."""
        if self.closed:
            raise lost(self.where, died=False)
        if hooks.check is not None:
            hooks.check()
        while self._owed:
            self._receive()
        if self._wire is not None and self._wire.pending:
            # More came with the last answer than was asked for; it would be taken for the answer to another command.
            raise self._fail(bad_answer(self.where, self._wire.pending.decode("latin-1")))
        self._owed = len(lines)  # before they go: whatever interrupts this, their answers will come
        try:
            self._send("\n".join(lines) + "\n")
        except (EOFError, OSError) as error:
            self._translate(error)
        answers = []
        while self._owed:
            answers.append(self._receive())
        return answers

    def _receive(self) -> Answer:
        try:
            return self._take(self._next())
        except (EOFError, OSError) as error:
            self._translate(error)

    def _take(self, line: str) -> Answer:
        """Makes an answer of a line, and notes what it tells."""
        self._owed -= 1
        answer = parse(line)
        if answer is None:
            raise self._fail(bad_answer(self.where, line))
        self.answered = True
        self._clock = answer.clock
        if answer.events:
            self._happened |= answer.events
            self._pending.append(answer.events)
            self._was_hit = self._was_hit or answer.events & HIT != 0
        return answer

    def _translate(self, error: BaseException) -> NoReturn:
        """Raises what a failure of the transport means here. The connection is of no use any more."""
        # Sockets call it "timeout" before Python 3.10, and the system's own time-out is a BlockingIOError.
        if isinstance(error, (TimeoutError, BlockingIOError)) or type(error).__name__ == "timeout":
            meaning: KelmoraError = no_answer(self.where, getattr(self.transport, "timeout", "some"))
        elif self.answered:
            meaning = lost(self.where, died=self._was_hit)
        else:
            meaning = not_admitted(self.where)
        raise self._fail(meaning) from error

    def _fail(self, error: KelmoraError) -> KelmoraError:
        self.close()
        return error

    def close(self) -> None:
        """Hangs up. The turtle stays on the field as a zombie."""
        self.closed, self._wire = True, None
        self.transport.close()

    @property
    def clock(self) -> int:
        """The field's clock in the latest answer, in ticks."""
        return int(self._clock)

    # Batches

    def batch(self) -> Batch:
        """A block whose commands go out in one packet: `with field.batch() as answers:`."""
        return Batch(self)

    def open_batch(self, batch: Batch) -> None:
        if self._batch is not None:
            raise BadValue("A batch is open already: one cannot stand inside another.")
        self.batching, self._batch, self._queue, self._lines_in_batch = True, batch, [], 0

    def close_batch(self, send: bool) -> None:
        batch, queue = self._batch, self._queue
        self.batching, self._batch, self._queue = False, None, []
        if not send or not queue or batch is None:
            return
        every = [line for lines, _ in queue for line in lines]
        parts = [self.exchange(every[start:start + PACKET]) for start in range(0, len(every), PACKET)]
        answers = iter([answer for part in parts for answer in part])
        blocked = None
        for lines, read in queue:
            try:
                batch.append(read(*[next(answers) for _ in lines]))
            except Blocked as error:
                batch.append(False)
                blocked = blocked or error
            except (ValueError, IndexError) as error:
                raise self._fail(bad_answer(self.where, "values that do not fit the question")) from error
        self.settle()
        if blocked is not None:
            raise blocked

    def immediate(self, word: str) -> None:
        """Refuses a word that needs an answer on its way while a batch is open."""
        if self._batch is not None:
            raise BadValue("%s() cannot stand in a batch: it has to hear answers on its way." % word)

    def count_line(self) -> None:
        """Another step with the pen down goes into the open batch; says once that only one of them is painted."""
        self._lines_in_batch += 1
        if self._lines_in_batch == 2:
            hooks.note_once("batch", "a batch is one packet, and of the lines in one packet the field paints the last "
                                     "only. Lift the pen first, or draw outside the batch.")

    # Events

    def events(self) -> list[str]:
        """Names of what has happened since this was called last."""
        def read(unused: Answer) -> list[str]:
            happened, self._happened = self._happened, 0
            return names_of(happened)
        names: list[str] = self.say(["."], read)
        return names

    def on(self, name: str, function: Optional[Callable[[], object]]) -> None:
        """Lets function() be called at each event of this name; None: nothing any more."""
        if function is None:
            self._callbacks.pop(name, None)
        elif callable(function):
            self._callbacks[name] = function
        else:
            raise BadValue("on_%s() takes a function, without brackets behind its name, not %r." % (name, function))

    @property
    def listening(self) -> bool:
        """Whether anything waits for events."""
        return bool(self._callbacks)

    def _deliver(self) -> None:
        """Calls the callbacks; events that come while one runs wait until it has returned."""
        if self._delivering:
            return
        self._delivering = True
        try:
            while self._pending:
                for name in names_of(self._pending.pop(0)):
                    function = self._callbacks.get(name)
                    if function is not None:
                        function()
        finally:
            self._delivering = False
