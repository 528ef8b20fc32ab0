"""The words of the control connection: frames, messages, events.

A frame is a length of 4 bytes, big-endian, and that many bytes of JSON text. Objects are of type
"command", "response" or "event"; what an event or a response is about stands in "description".
"""

from __future__ import annotations

import json
import struct
from dataclasses import dataclass
from typing import Any, Callable, Dict, Mapping, Optional

from .errors import ProtocolError

Message = Dict[str, Any]

API_VERSION = "1"
LONGEST_FRAME = 1 << 20
"""Bytes of text in a frame that the simulator takes."""
_LONGEST_RECEIVED = 64 << 20

_LENGTH = struct.Struct(">I")


def encode(message: Mapping[str, Any]) -> bytes:
    """The frame of a message."""
    text = json.dumps(message).encode()
    if len(text) > LONGEST_FRAME:
        raise ValueError(f"a message of {len(text)} bytes; the simulator takes {LONGEST_FRAME}")
    return _LENGTH.pack(len(text)) + text


def read_message(read_exactly: Callable[[int], Optional[bytes]]) -> Optional[Message]:
    """The next message of a stream, None at its end. `read_exactly` returns None there."""
    header = read_exactly(_LENGTH.size)
    if header is None:
        return None
    (length,) = _LENGTH.unpack(header)
    if length > _LONGEST_RECEIVED:
        raise ProtocolError(f"a frame of {length} bytes: this is no simulator")
    text = read_exactly(length)
    if text is None:
        return None
    try:
        message = json.loads(text)
    except ValueError as error:
        raise ProtocolError(f"a frame that is no JSON: {error}") from error
    if not isinstance(message, dict):
        raise ProtocolError(f"a frame that is no object: {message!r}")
    return message


def handshake() -> Message:
    """The first message of a client."""
    return {"type": "handshake", "api_version": API_VERSION}


def command(
    peripheral_type: str, peripheral_name: str, name: str, keys: Mapping[str, Any]
) -> Message:
    """A command for a peripheral: of the chip, by the chip's name, or of the type "External"."""
    return {
        "type": "command",
        "peripheral_type": peripheral_type,
        "peripheral_name": peripheral_name,
        "command": name,
        **keys,
    }


@dataclass(frozen=True)
class Event:
    """Something that happened in the simulation: `event["value"]` is a key of its message."""

    description: str
    """What happened: "pin_level_event", "uart_event", "sudo_exit", ..."""
    time_ns: float
    """When, in nanoseconds of virtual time."""
    keys: Mapping[str, Any]
    """The whole message."""

    def __getitem__(self, key: str) -> Any:
        return self.keys[key]

    def matches(self, pattern: Mapping[str, Any]) -> bool:
        """Whether the event has all keys of the pattern, with these values."""
        return all(key in self.keys and self.keys[key] == value for key, value in pattern.items())


def event_of(message: Message) -> Event:
    """The event in a message of that type."""
    return Event(
        str(message.get("description", "")), time_ns(message.get("device_time", 0)), message
    )


def time_ns(value: float) -> float:
    """The simulator's time without the last bits of its division, so that a tick of 64 MHz is
    15.625 exactly and times can be compared."""
    return round(float(value), 3)
