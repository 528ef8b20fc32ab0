"""The devices of the board and the blocks of the chip that take commands, by their names."""

from __future__ import annotations

from typing import Any, Mapping, Optional, Union

from .exchange import Exchange

EXTERNAL = "External"
"""The type of all devices that aren't part of the chip."""


class Device:
    """A component of the board description."""

    def __init__(self, exchange: Exchange, name: str, peripheral_type: str = EXTERNAL) -> None:
        self.name = name
        self._exchange = exchange
        self._type = peripheral_type

    def command(self, what: str, answer: Optional[str] = "ok", **keys: Any) -> Mapping[str, Any]:
        """Any command of the device. `answer` is the "description" of its response (or the text of
        "response", for one that has no description); None for a command that has no response."""
        if answer is None:
            self._exchange.order(self._type, self.name, what, keys)
            return {}
        return self._exchange.request(self._type, self.name, what, answer, **keys)

    def get_value(self, field: str) -> str:
        """What the device's model has read last from the field's data generator; empty before its
        first read."""
        return str(self.command("get_value", "get_value_response", field_name=field)["value"])

    def set_value(self, field: str, value: Union[str, float]) -> None:
        """Feeds the field with this constant from now on, in place of its data generator."""
        self.command("set_value", None, field_name=field, value=value)

    def get_register(self, address: int) -> int:
        """A register of a device that has some."""
        return int(self.command("get_reg_value", "value_response", address=address)["value"])

    def set_register(self, address: int, value: int) -> None:
        """Writes a register of a device that has some."""
        self.command("set_reg_value", address=address, value=value)


class Button(Device):
    """A push button, which rests high and is low while it is pressed."""

    def press(self) -> None:
        """From the present tick on."""
        self.command("set_pin_level", pin_level=0)

    def release(self) -> None:
        """From the present tick on."""
        self.command("set_pin_level", pin_level=1)
