"""Host-side SDK of the Orvo simulator: tests that drive a simulated board and its firmware.

`Board` starts the simulator on an image and controls it in virtual time; the pytest plug-in
`zandor.pytest_plugin` makes it a fixture. The boards that come with the simulator are beside, in
`platforms`.
"""

from .__version__ import __version__
from .board import Board
from .devices import Button, Device
from .errors import (
    BreakpointReached,
    ExecutableNotFound,
    ExpectationFailed,
    FirmwareExited,
    FirmwareStopped,
    OrvoError,
    ProtocolError,
    SimulatorError,
    SimulatorExited,
    SimulatorHung,
    UnimplementedInstruction,
    UnimplementedSection,
    UserError,
    ZandorError,
)
from .pins import Pin
from .protocol import Event
from .session import Timer, Trigger
from .uart import Uart

__all__ = [
    "Board",
    "BreakpointReached",
    "Button",
    "Device",
    "Event",
    "ExecutableNotFound",
    "ExpectationFailed",
    "FirmwareExited",
    "FirmwareStopped",
    "OrvoError",
    "Pin",
    "ProtocolError",
    "SimulatorError",
    "SimulatorExited",
    "SimulatorHung",
    "Timer",
    "Trigger",
    "Uart",
    "UnimplementedInstruction",
    "UnimplementedSection",
    "UserError",
    "ZandorError",
    "__version__",
]
