"""Commands and their answers: what is sent waits for its response, and events go to a listener.

The host's clock serves for one thing here: to notice a simulator that hangs.
"""

from __future__ import annotations

import queue
from collections import deque
from dataclasses import dataclass
from typing import Any, Callable, Deque, List, Mapping, Optional

from .connection import Connection, ConnectionClosed
from .errors import ERROR_EVENTS, ProtocolError, SimulatorError, SimulatorHung, ZandorError
from .process import OrvoProcess
from .protocol import Event, Message, command, event_of

SUDO = "SUDO"
"""The chip's peripheral that controls the simulation itself."""


@dataclass(eq=False)
class _Answer:
    """A response that is expected; responses are told apart by their description."""

    description: str
    message: Optional[Message] = None
    probes: bool = False  # asks for a sign of life


class Exchange:
    """The messages of one run. All methods are for one thread, the test's."""

    def __init__(
        self,
        process: OrvoProcess,
        connection: Connection,
        chip: str,
        host_timeout: Optional[float],
    ) -> None:
        self.chip = chip
        """The peripheral type of the chip's own blocks."""
        self.errors: List[SimulatorError] = []
        """The error events so far; the last is raised if the run ends."""
        self.ended = False
        """Whether no command reaches the simulator any more."""
        self._process = process
        self._connection = connection
        self._host_timeout = host_timeout
        self._answers: Deque[_Answer] = deque()
        self._take_event: Callable[[Event], None] = lambda event: None
        self._answer: Callable[[Message], Mapping[str, Any]] = lambda question: {}

    def listen(self, take_event: Callable[[Event], None]) -> None:
        """Hands over each event, in their order, when it is taken."""
        self._take_event = take_event

    def answer(self, answer: Callable[[Message], Mapping[str, Any]]) -> None:
        """Sets who answers what the simulator asks; the chip stands still meanwhile."""
        self._answer = answer

    # ---- Sending ----

    def request(
        self, peripheral_type: str, name: str, what: str, answer: str, **keys: Any
    ) -> Message:
        """Sends a command and returns its response, of which `answer` is the description."""
        return self._ask([command(peripheral_type, name, what, keys)], answer)

    def order(self, peripheral_type: str, name: str, what: str, *many: Mapping[str, Any]) -> None:
        """Sends commands that have no response, and returns when they have been carried out."""
        commands = [command(peripheral_type, name, what, keys) for keys in many]
        self._ask([*commands, self._time_command()], "device_time")

    def sudo(self, what: str, answer: str, **keys: Any) -> Message:
        """A request to the simulation itself."""
        return self.request(self.chip, SUDO, what, answer, **keys)

    def _time_command(self) -> Message:
        return command(self.chip, SUDO, "get_device_time", {})

    def _ask(self, messages: List[Message], description: str) -> Message:
        answer = _Answer(description)
        self._connection.send(messages)  # or raises, if they can't be written as JSON
        self._answers.append(answer)
        self.take_until(lambda: answer.message is not None)
        assert answer.message is not None
        return answer.message

    # ---- Receiving ----

    def take_until(self, wanted: Callable[[], bool]) -> None:
        """Takes messages until the condition holds. Raises what ended the run."""
        while not wanted():
            self._take(self._receive())

    def take_received(self) -> None:
        """Takes what has arrived, without waiting."""
        while not self.ended and self._connection.has_message():
            self._take(self._receive())

    def _receive(self) -> Message:
        asked = False
        patience = None if self._host_timeout is None else self._host_timeout / 2
        while True:
            try:
                return self._connection.receive(patience)
            except ConnectionClosed:
                raise self._end_of_run() from None
            except queue.Empty:
                if asked:
                    self.ended = True
                    raise SimulatorHung(
                        f"no sign of life of orvo within {self._host_timeout} s"
                    ) from None
            # A long run without events is no hang, and says so.
            asked = True
            self._answers.append(_Answer("device_time", probes=True))
            self._connection.send([self._time_command()])

    def _end_of_run(self) -> ZandorError:
        self.ended = True
        if self._process.closed and not self.errors:
            return ZandorError("the board is closed")
        if self._process.wait(self._host_timeout) is None:
            return SimulatorHung("orvo closed the connection and does not end")
        return self.errors[-1] if self.errors else self._process.exited()

    def _take(self, message: Message) -> None:
        kind = message.get("type")
        if kind == "event":
            event = event_of(message)
            if event.description in ERROR_EVENTS:
                error = ERROR_EVENTS[event.description]
                self.errors.append(error(str(event["value"]), event.description, event.time_ns))
            self._take_event(event)
        elif kind == "response":
            self._take_response(message)
        elif kind == "command":
            self._connection.send([{"type": "response", **self._answer(message)}])

    def _take_response(self, message: Message) -> None:
        if message.get("response") == "error":
            self.ended = True
            raise ProtocolError(str(message.get("error", message)))
        description = message.get("description", message.get("response"))
        for answer in self._answers:
            if answer.description == description:
                break
        else:
            return
        if answer.probes and answer is not self._answers[0]:
            self.ended = True
            raise ProtocolError(f"orvo lives, but doesn't answer: {self._answers[0].description}")
        answer.message = message
        self._answers.remove(answer)
