"""A UART of the chip, seen from the other end of its line."""

from __future__ import annotations

import re
from functools import partial
from typing import Any, Callable, Dict, Match, Optional, Pattern, Union

from .durations import nanoseconds
from .errors import ExpectationFailed
from .protocol import Event
from .session import Session

Text = Union[str, bytes, Pattern[str]]
_Find = Callable[[], Optional[int]]
_SHOWN = 400


def _bytes(data: Union[str, bytes]) -> bytes:
    # Not bytes(data): a number would become as many zeros.
    return data.encode() if isinstance(data, str) else bytes(memoryview(data))


class Uart:
    """What firmware sends, and a way to send to it.

    Text is UTF-8; bytes that are none come out as U+FFFD. `expect` reads on from the place behind
    the last match, so that each line counts once.
    """

    def __init__(self, session: Session, name: str) -> None:
        """`name` is the peripheral's in the board description: "UARTE" on the nRF52."""
        self.name = name
        self._session = session
        self._received = bytearray()
        self._read = 0

    def take(self, event: Event) -> None:
        """Adds the byte of a "uart_event"."""
        self._received.append(int(event["value"]))

    @property
    def received(self) -> str:
        """The text that has been taken so far; reads nothing from the simulator."""
        return self._received.decode(errors="replace")

    @property
    def data(self) -> bytes:
        """All bytes so far."""
        self._session.exchange.take_received()
        return bytes(self._received)

    @property
    def output(self) -> str:
        """All text so far."""
        return self.data.decode(errors="replace")

    @property
    def unread(self) -> str:
        """The text behind the last match of `expect`."""
        return self.data[self._read :].decode(errors="replace")

    def expect(self, text: Text, timeout: float = 1.0) -> str:
        """Runs until firmware has sent the text, and returns what came up to its end.

        `text` may be bytes, or a compiled regular expression, which is tried after every byte: one
        for a number ends with what follows the number. The chip stands at the tick of the last
        byte that was needed. Raises ExpectationFailed after `timeout` seconds of virtual time.
        """
        if isinstance(text, re.Pattern):
            return self._expect(text, self._pattern(), partial(self._find_pattern, text), timeout)
        wanted = _bytes(text)
        if not wanted:
            raise ValueError("an empty text is no expectation")
        pattern = self._pattern(value=wanted[-1])
        return self._expect(text, pattern, partial(self._find_bytes, wanted), timeout)

    def match(self, pattern: Union[str, Pattern[str]], timeout: float = 1.0) -> Match[str]:
        """Like `expect` of a regular expression, and returns the match with its groups."""
        pattern = re.compile(pattern)
        match = pattern.search(self.expect(pattern, timeout))
        assert match is not None
        return match

    def write(self, data: Union[str, bytes]) -> None:
        """Sends to the firmware, at the speed of the line: the first byte arrives when the chip has
        run for the length of one."""
        keys = ({"value": byte} for byte in _bytes(data))
        exchange = self._session.exchange
        exchange.order(exchange.chip, self.name, "write_uart_data", *keys)

    def _pattern(self, **keys: Any) -> Dict[str, Any]:
        return {"description": "uart_event", "name": self.name, **keys}

    def _find_bytes(self, wanted: bytes) -> Optional[int]:
        place = self._received.find(wanted, self._read)
        return None if place < 0 else place + len(wanted)

    def _find_pattern(self, pattern: Pattern[str]) -> Optional[int]:
        # Bytes that are no UTF-8 go there and back, so that the match's end has a place among them.
        text = self._received[self._read :].decode(errors="surrogateescape")
        match = pattern.search(text)
        if match is None:
            return None
        return self._read + len(text[: match.end()].encode(errors="surrogateescape"))

    def _expect(self, text: Text, pattern: Dict[str, Any], find: _Find, timeout: float) -> str:
        duration_ns = nanoseconds(s=timeout)
        self._session.exchange.take_received()
        if find() is not None:
            self._session.pause()
        else:
            self._session.run_to(pattern, duration_ns, lambda: find() is not None)
        end = find()
        if end is None:
            shown = text.pattern if isinstance(text, re.Pattern) else text
            unread = self.unread
            cut = "..." if len(unread) > _SHOWN else ""
            raise ExpectationFailed(
                f"{self.name} did not send {shown!r} within {timeout} s of virtual time; "
                f"unread: {cut}{unread[-_SHOWN:]!r}"
            )
        found = bytes(self._received[self._read : end])
        self._read = end
        return found.decode(errors="replace")
