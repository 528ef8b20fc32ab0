"""A board under test: a started simulator, its pins, its UART and its devices."""

from __future__ import annotations

import atexit
import json
import os
import tempfile
from pathlib import Path
from types import TracebackType
from typing import Any, Callable, Dict, List, Mapping, Optional, Sequence, Set, Tuple, Type, Union

from .connection import Connection, ConnectionClosed
from .devices import EXTERNAL, Button, Device
from .durations import nanoseconds
from .errors import ExpectationFailed, SimulatorHung, ZandorError
from .exchange import SUDO, Exchange
from .executable import find_executable
from .pins import Pin, PinName
from .process import OrvoProcess
from .protocol import Event, command
from .session import EventCallback, Session, Timer, Trigger
from .uart import Text, Uart

PathLike = Union[str, "os.PathLike[str]"]

_ALIASES = {"mcu": "nrf52832", "stm32f4": "stm32f411"}
_BOARDS = Path(__file__).parent / "platforms" / "default-boards"
_GRACE_SECONDS = 10.0

_open_boards: Set["Board"] = set()


class Board:
    """Runs a firmware image on a simulated board.

        with Board("app.hex", directory="my_board") as board:
            board.expect_uart("ready")
            board.button("button").press()
            board.run_for(ms=10)
            assert board.pin("P0_17").level

    The chip stands at tick 0 at first, and again when a wait has returned; only `resume` lets it
    run by itself. Waits are in virtual time: a test has the same ticks in every run, anywhere.
    """

    def __init__(
        self,
        image: PathLike,
        *,
        directory: Optional[PathLike] = None,
        mcu: str = "nrf52832",
        executable: Optional[PathLike] = None,
        arguments: Sequence[str] = (),
        uart: Optional[str] = None,
        host_timeout: Optional[float] = 60.0,
    ) -> None:
        """Starts orvo on the image and connects.

        `directory` is where it runs, one board at a time, and finds board.json and scenario.json;
        without it that is an empty one, removed afterwards. `arguments` are further options of
        orvo. `uart` names the UART of `board.uart`, the chip's first unless told otherwise.
        `host_timeout`, in seconds, is no measure of the test: it ends a wait for a simulator that
        hangs; None waits for ever, for work with a debugger. Raises SimulatorError or
        SimulatorExited if the run can't start, FileNotFoundError if there is no such directory.
        """
        if isinstance(arguments, str):
            raise TypeError("arguments is a list of words, such as ['--vcd', 'pins.vcd']")
        self._temporary: Optional[tempfile.TemporaryDirectory[str]] = None
        if directory is None:
            self._temporary = tempfile.TemporaryDirectory(prefix="zandor-")
            directory = self._temporary.name
        self.directory = Path(directory).absolute()
        if not self.directory.is_dir():
            raise FileNotFoundError(f"no directory {self.directory}")
        self.mcu = _ALIASES.get(mcu.lower(), mcu.lower())
        self._process: Optional[OrvoProcess] = None
        self._connection: Optional[Connection] = None
        self._uarts: Dict[str, Uart] = {}
        self._uart_name = uart or _first_uart(self.mcu)
        _open_boards.add(self)
        try:
            image = Path(image).absolute()
            command_line = ["-m", self.mcu, "-i", str(image), *arguments]
            self._process = OrvoProcess(find_executable(executable), self.directory, command_line)
            self._session = self._connect(self._process, host_timeout)
            self._session.wait_until_stopped()
        except BaseException:
            self.close()
            raise

    def _connect(self, process: OrvoProcess, host_timeout: Optional[float]) -> Session:
        port = process.wait_for_port(host_timeout)
        try:
            self._connection = Connection(port, host_timeout)
        except (OSError, ConnectionClosed):
            if process.wait(host_timeout) is None:
                raise SimulatorHung("orvo closed the connection and does not end") from None
            raise process.exited() from None
        session = Session(Exchange(process, self._connection, self.mcu, host_timeout))
        session.watch({"description": "uart_event"}, self._take_uart_byte)
        return session

    def _take_uart_byte(self, event: Event) -> None:
        self.uart_named(event["name"]).take(event)

    # ---- Closing ----

    def close(self) -> None:
        """Ends the run and its process. May be called again."""
        _open_boards.discard(self)
        try:
            if self._connection is not None:
                self._connection.send([command(self.mcu, SUDO, "terminate", {})])
            if self._process is not None:
                self._process.close(_GRACE_SECONDS if self._connection is not None else 0)
            if self._connection is not None:
                self._connection.close()
        finally:
            if self._temporary is not None:
                if self._process is not None:
                    self._process.keep_output()
                self._temporary.cleanup()

    def __enter__(self) -> "Board":
        return self

    def __exit__(
        self,
        kind: Optional[Type[BaseException]],
        error: Optional[BaseException],
        traceback: Optional[TracebackType],
    ) -> None:
        self.close()

    # ---- Time ----

    def run_for(self, *, s: float = 0, ms: float = 0, us: float = 0, ns: float = 0) -> None:
        """Lets the chip run for this span of virtual time, to the tick.

        Raises FirmwareExited or BreakpointReached if firmware stops before.
        """
        self._session.run(nanoseconds(s, ms, us, ns))

    def resume(self) -> None:
        """Lets the chip run on while the test does something else. Where it is at the next command
        depends on the host: tests that need exact ticks use the waits."""
        self._session.resume()

    def pause(self) -> None:
        """Stops a chip that was resumed."""
        self._session.pause()

    @property
    def running(self) -> bool:
        """Whether the chip runs; False from its start on until `resume`."""
        return self._session.running

    def get_device_time(self) -> float:
        """The virtual time since the start, in nanoseconds."""
        return self._session.device_time_ns()

    def call_after(
        self, callback: EventCallback, *, s: float = 0, ms: float = 0, us: float = 0, ns: float = 0
    ) -> Timer:
        """Calls back in this span of virtual time, while the chip stands at that tick and the test
        is in a wait. The callback may send commands, but not run the chip."""
        return self._session.set_timer(nanoseconds(s, ms, us, ns), callback)

    # ---- Parts of the board ----

    def pin(self, name: PinName) -> Pin:
        """A pin by the chip's name for it ("P0_17"), or a wire by its number."""
        return Pin(self._session, name)

    def device(self, name: str) -> Device:
        """A device by its name in board.json."""
        return Device(self._session.exchange, name, EXTERNAL)

    def button(self, name: str) -> Button:
        """A device of the class "Button" by its name in board.json."""
        return Button(self._session.exchange, name, EXTERNAL)

    def chip_block(self, name: str) -> Device:
        """A block of the chip that takes commands: one of the internal_peripherals."""
        return Device(self._session.exchange, name, self.mcu)

    @property
    def uart(self) -> Uart:
        """The chip's first UART, or the one that was named at the start."""
        if self._uart_name is None:
            raise ZandorError(f"the default board of {self.mcu} has no UART: name it, uart=...")
        return self.uart_named(self._uart_name)

    def uart_named(self, name: str) -> Uart:
        """A UART by its name in the board description."""
        return self._uarts.setdefault(name, Uart(self._session, name))

    def expect_uart(self, text: Text, timeout: float = 1.0) -> str:
        """`uart.expect`: runs until firmware has sent the text, at most `timeout` seconds of
        virtual time."""
        return self.uart.expect(text, timeout)

    def write_uart(self, data: Union[str, bytes]) -> None:
        """`uart.write`: sends to the firmware."""
        self.uart.write(data)

    # ---- Events ----

    def wait_for_event(self, description: str, timeout: float = 1.0, **keys: Any) -> Event:
        """Runs until an event with this description and these keys, where the chip then stands.

        Raises ExpectationFailed after `timeout` seconds of virtual time.
        """
        pattern = {"description": description, **keys}
        event = self._session.run_to(pattern, nanoseconds(s=timeout))
        if event is None:
            raise ExpectationFailed(f"no event {pattern} within {timeout} s of virtual time")
        return event

    def on(
        self, description: str, callback: EventCallback, *, pause: bool = True, **keys: Any
    ) -> Trigger:
        """Calls back at every event with this description and these keys, during the waits.

        The chip stands at the event's tick meanwhile, so that the callback may send commands.
        Without `pause` it runs on, which is faster: such a callback only looks.
        """
        pattern: Mapping[str, Any] = {"description": description, **keys}
        if pause:
            return self._session.add_trigger(pattern, callback)
        return self._session.watch(pattern, callback)

    def on_i2c(self, callback: Callable[[Mapping[str, Any]], Optional[Mapping[str, Any]]]) -> None:
        """Answers the devices "I2cMasterSdk" and "I2cSlaveSdk": the callback gets what happened on
        the bus, told by "event_type". For "on_write" (with "data", a byte) it returns {"ack": True}
        or False, for "on_read" also "response", the byte; otherwise nothing. It may not use the
        board: the chip stands within an instruction."""
        self._session.exchange.answer(lambda event: callback(event) or {})

    def cancel(self, callback: Union[Trigger, Timer]) -> None:
        """Ends what `on`, `Pin.on_change` or `call_after` began."""
        if isinstance(callback, Timer):
            self._session.cancel_timer(callback)
        else:
            self._session.remove_trigger(callback)

    # ---- The end ----

    def wait_for_exit(self, timeout: float = 1.0) -> int:
        """Runs until firmware gives its exit code to the SUDO block, and returns the code.

        The chip stands there; running it again goes on behind. Raises ExpectationFailed after
        `timeout` seconds of virtual time.
        """
        if not self._session.run(nanoseconds(s=timeout), self._session.has_exited):
            raise ExpectationFailed(f"the firmware did not exit within {timeout} s of virtual time")
        return self._session.take_exit_code()

    @property
    def exit_code(self) -> Optional[int]:
        """The last code that firmware gave to the SUDO block, None before that."""
        return self._session.exit_code

    @property
    def ended(self) -> bool:
        """Whether the run is over, by an error or a stop point of the options, say."""
        return self._session.exchange.ended

    @property
    def pid(self) -> int:
        """The process of the simulator."""
        assert self._process is not None
        return self._process.pid

    @property
    def stdout(self) -> str:
        """What the simulator wrote to standard output: its own options decide, `--gpio` say."""
        assert self._process is not None
        return self._process.output_text()

    @property
    def stderr(self) -> str:
        """The simulator's warnings and errors."""
        assert self._process is not None
        return self._process.error_text()

    def report(self) -> List[Tuple[str, str]]:
        """Headings and texts that help to understand a failure. Never raises."""
        assert self._process is not None
        sections = [(f"{name} sent", uart.received) for name, uart in self._uarts.items()]
        sections.append(("orvo's messages", self._process.error_text(last_lines=40)))
        sections.append(("orvo's command", " ".join(self._process.command)))
        return [(name, text) for name, text in sections if text]


def _first_uart(mcu: str) -> Optional[str]:
    try:
        board = json.loads((_BOARDS / f"{mcu}_default_board.json").read_text())
    except OSError:
        return None  # orvo will say that it doesn't know the chip
    for component in board["components"]:
        for block in component.get("config", {}).get("internal_peripherals", []):
            if "ART" in str(block["class"]).upper():
                return str(block["name"])
    return None


@atexit.register
def _close_all() -> None:
    for board in list(_open_boards):
        board.close()
