"""Pins and wires of the board: their levels, from outside."""

from __future__ import annotations

from typing import Any, Callable, Dict, Optional, Union

from .durations import nanoseconds
from .errors import ExpectationFailed
from .protocol import Event
from .session import Session, Trigger

PinName = Union[str, int]


class Pin:
    """A pin by its name on the chip ("P0_17"), or a wire of the board by its number."""

    def __init__(self, session: Session, name: PinName) -> None:
        self.name = name
        self._session = session

    def set(self, level: Union[bool, int]) -> None:
        """Drives the wire, from the present tick on. The last to drive a wire wins."""
        self._session.exchange.order(
            self._session.exchange.chip,
            "SUDO",
            "set_pin_level",
            {"pin_number": self.name, "pin_level": int(bool(level))},
        )

    @property
    def level(self) -> bool:
        """The level at the present tick; True for a wire that nobody has driven."""
        exchange = self._session.exchange
        answer = exchange.sudo("get_pin_level", "value_response", pin_number=self.name)
        return bool(answer["value"])

    def wait_for(self, level: Union[bool, int], timeout: float = 1.0) -> float:
        """Runs until the pin has the level and returns the virtual time, in nanoseconds.

        The chip stands at that tick; if the level is there already, no time passes. Raises
        ExpectationFailed after `timeout` seconds of virtual time.
        """
        wanted = bool(level)
        if self.level == wanted:
            self._session.pause()
            return self._session.device_time_ns()
        return self._wait(wanted, timeout)

    def wait_for_change(self, timeout: float = 1.0) -> float:
        """Runs until the level changes, and otherwise like `wait_for`."""
        return self._wait(None, timeout)

    def on_change(self, callback: Callable[[Event], object]) -> Trigger:
        """Calls back at every change, while the chip stands at its tick. The event's
        "transition_type" is the new level. The callback may send commands, but not run the chip."""
        return self._session.add_trigger(self._pattern(None), callback)

    def _pattern(self, level: Optional[bool]) -> Dict[str, Any]:
        pattern: Dict[str, Any] = {"description": "pin_level_event", "pin_number": self.name}
        if level is not None:
            pattern["transition_type"] = int(level)
        return pattern

    def _wait(self, level: Optional[bool], timeout: float) -> float:
        event = self._session.run_to(self._pattern(level), nanoseconds(s=timeout))
        if event is None:
            what = "change" if level is None else f"become {int(level)}"
            raise ExpectationFailed(
                f"pin {self.name} did not {what} within {timeout} s of virtual time"
            )
        return event.time_ns
