"""What can go wrong while a board runs, as exceptions. All derive from `ZandorError`."""

from __future__ import annotations

from typing import Dict, Type


class ZandorError(Exception):
    """Base of all errors of this package."""


class ExecutableNotFound(ZandorError):
    """There is no orvo where the SDK looked for it."""


class SimulatorError(ZandorError):
    """The simulator reported an error and ended the run.

    `message` is its text, `kind` the protocol's name of the error ("user_error"), and `time_ns` the
    virtual time at which it happened.
    """

    def __init__(self, message: str, kind: str, time_ns: float) -> None:
        super().__init__(f"{message} ({kind} at {time_ns / 1e6:.6f} ms of virtual time)")
        self.message = message
        self.kind = kind
        self.time_ns = time_ns


class UserError(SimulatorError):
    """A mistake in the board file, the scenario, an option, a command or the firmware."""


class OrvoError(SimulatorError):
    """A limit of the simulator, or an unsupported feature."""


class UnimplementedInstruction(OrvoError):
    """The firmware executed an instruction that the simulator doesn't know."""


class UnimplementedSection(OrvoError):
    """The firmware used a block of the chip that has no model."""


ERROR_EVENTS: Dict[str, Type[SimulatorError]] = {
    "user_error": UserError,
    "orvo_error": OrvoError,
    "unimplemented_instruction": UnimplementedInstruction,
    "unimplemented_section": UnimplementedSection,
}
"""The exception of each error event of the control connection."""


class SimulatorExited(ZandorError):
    """The process ended without an error event: it did not start, or it died, or its run was over.

    `status` is the exit status, negative for the signal that ended the process; `stderr` is what
    it wrote to its error stream.
    """

    def __init__(self, status: int, stderr: str) -> None:
        how = f"by signal {-status}" if status < 0 else f"with status {status}"
        super().__init__(f"orvo ended {how}" + (f":\n{stderr}" if stderr else ""))
        self.status = status
        self.stderr = stderr


class SimulatorHung(ZandorError):
    """The simulator gave no sign of life within the host-time guard (`host_timeout`)."""


class ProtocolError(ZandorError):
    """The simulator refused the handshake or a frame, or sent what no simulator sends."""


class ExpectationFailed(ZandorError, AssertionError):
    """What a test waited for did not come within its virtual time."""


class FirmwareStopped(ZandorError):
    """The firmware stopped the run by itself while a test waited for something else.

    The chip stands; running it again goes on behind the place.
    """


class FirmwareExited(FirmwareStopped):
    """The firmware gave an exit `code` to the simulator's SUDO block."""

    def __init__(self, code: int, time_ns: float) -> None:
        super().__init__(
            f"the firmware exited with code {code} at {time_ns / 1e6:.6f} ms of virtual time"
        )
        self.code = code
        self.time_ns = time_ns


class BreakpointReached(FirmwareStopped):
    """The firmware executed `bkpt`; `value` is the number in the instruction."""

    def __init__(self, value: int, time_ns: float) -> None:
        super().__init__(
            f"the firmware executed bkpt {value} at {time_ns / 1e6:.6f} ms of virtual time"
        )
        self.value = value
        self.time_ns = time_ns
