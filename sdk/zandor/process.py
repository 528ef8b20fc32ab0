"""The process of the simulator: started in a directory, and never left behind.

It runs in a session of its own, so that Ctrl-C reaches only the test, which then closes it. A guard
(a shell that waits on a pipe from this process) ends it when this process dies without closing it.
"""

from __future__ import annotations

import os
import re
import subprocess
import time
from pathlib import Path
from typing import IO, Dict, Optional, Sequence

from .connection import LOOPBACK
from .errors import SimulatorExited, SimulatorHung

LISTEN: Sequence[str] = ("--listen", LOOPBACK)
"""Only this machine reaches the control connection: a client controls the process."""

_GUARD = """
trap '' HUP INT QUIT TERM
read -r done && exit
kill -TERM "$1" 2>/dev/null || exit
sleep 5
kill -KILL "$1" 2>/dev/null
"""
_COLOUR = re.compile(r"\033\[[0-9;]*m")
_LAST_LINES = 20
_POLL_SECONDS = 0.005


class OrvoProcess:
    """A started orvo. Its output goes to files in `.zandor` of its directory."""

    def __init__(self, executable: Path, directory: Path, arguments: Sequence[str]) -> None:
        """Starts it with a free port, waiting for its client. Raises OSError."""
        files = directory / ".zandor"
        files.mkdir(parents=True, exist_ok=True)
        self._port_file = files / "port"
        self._port_file.unlink(missing_ok=True)
        self._output_file = files / "stdout.txt"
        self._error_file = files / "stderr.txt"
        self._kept: Dict[Path, str] = {}
        self.closed = False
        """Whether close() was called."""
        self.command = [str(executable), "--sdk-port", "0", *LISTEN, "-w", *arguments]
        with open(self._output_file, "wb") as out, open(self._error_file, "wb") as err:
            self._process = subprocess.Popen(
                self.command,
                cwd=directory,
                stdin=subprocess.DEVNULL,
                stdout=out,
                stderr=err,
                start_new_session=True,
            )
        try:
            self._guard = subprocess.Popen(
                ["/bin/sh", "-c", _GUARD, "zandor-guard", str(self._process.pid)],
                stdin=subprocess.PIPE,
                stdout=subprocess.DEVNULL,
                stderr=subprocess.DEVNULL,
                start_new_session=True,
            )
        except BaseException:
            self._process.kill()
            self._process.wait()
            raise

    @property
    def pid(self) -> int:
        """The process id."""
        return self._process.pid

    def wait_for_port(self, timeout: Optional[float]) -> int:
        """The port on which it listens. Raises SimulatorExited if it ends before, SimulatorHung
        after `timeout` seconds of host time, if that isn't None."""
        end = None if timeout is None else time.monotonic() + timeout
        while True:
            exited = self._process.poll() is not None
            text = self._port_file.read_text() if self._port_file.exists() else ""
            if text.endswith("\n"):
                return int(text)
            if exited:
                raise self.exited()
            if end is not None and time.monotonic() > end:
                raise SimulatorHung(f"orvo opened no port within {timeout} s")
            time.sleep(_POLL_SECONDS)

    def wait(self, timeout: Optional[float]) -> Optional[int]:
        """The exit status, negative for a signal; None if it still runs after `timeout`."""
        try:
            return self._process.wait(timeout)
        except subprocess.TimeoutExpired:
            return None

    def exited(self) -> SimulatorExited:
        """The error that says how it ended. It must have ended."""
        return SimulatorExited(self._process.wait(), self.error_text(_LAST_LINES))

    def output_text(self) -> str:
        """What it wrote to standard output so far."""
        return self._read(self._output_file)

    def error_text(self, last_lines: Optional[int] = None) -> str:
        """What it wrote to its error stream so far, without colours, blank lines and the place of
        its board files."""
        text = _COLOUR.sub("", self._read(self._error_file))
        lines = [line.strip() for line in text.splitlines() if line.strip()]
        if lines and lines[0].endswith("/sdk/"):
            del lines[0]  # where it found its board files
        return "\n".join(lines if last_lines is None else lines[-last_lines:])

    def keep_output(self) -> None:
        """Before the directory goes: keeps what it wrote."""
        self._kept = {file: self._read(file) for file in (self._output_file, self._error_file)}

    def _read(self, file: Path) -> str:
        try:
            return self._kept.get(file) or file.read_text(errors="replace")
        except FileNotFoundError:
            return ""  # the directory has gone

    def close(self, grace: float) -> None:
        """Ends the process: by itself within `grace` seconds, else by signals. May be called
        again."""
        self.closed = True
        try:
            if self.wait(grace) is None:
                self._process.terminate()
                if self.wait(grace) is None:
                    self._process.kill()
                    self._process.wait()
        finally:
            self._dismiss_guard()

    def _dismiss_guard(self) -> None:
        pipe: Optional[IO[bytes]] = self._guard.stdin
        if self._process.poll() is None or pipe is None or pipe.closed:
            return  # while orvo runs the guard stays
        try:
            os.write(pipe.fileno(), b"done\n")
        except OSError:
            pass  # somebody has ended the guard
        pipe.close()
        self._guard.wait()
