"""The socket to a simulator: sends messages, and reads on a thread of its own.

The thread keeps reading while a test does something else, so that the simulator never waits for its
client. Messages stay in their order in a queue until the test takes them.
"""

from __future__ import annotations

import queue
import socket
import threading
from typing import Any, Mapping, Optional, Sequence, Union

from .errors import ProtocolError
from .protocol import Message, encode, handshake, read_message

LOOPBACK = "127.0.0.1"


class ConnectionClosed(Exception):
    """The simulator has closed the connection. All messages before that were received."""


class Connection:
    """A connected client. Raises OSError if nobody listens on the port."""

    def __init__(self, port: int, timeout: Optional[float]) -> None:
        """Connects and shakes hands, each within `timeout` seconds of host time."""
        self._socket = socket.create_connection((LOOPBACK, port), timeout)
        self._socket.settimeout(None)
        self._socket.setsockopt(socket.IPPROTO_TCP, socket.TCP_NODELAY, 1)
        self._received: queue.SimpleQueue[Union[Message, Exception]] = queue.SimpleQueue()
        self._reader = threading.Thread(target=self._read, name="zandor reader", daemon=True)
        self._reader.start()
        try:
            self._shake_hands(timeout)
        except BaseException:
            self.close()
            raise

    def send(self, messages: Sequence[Mapping[str, Any]]) -> None:
        """Sends messages at once: the simulator then carries them out at one tick."""
        try:
            self._socket.sendall(b"".join(encode(message) for message in messages))
        except OSError:
            pass  # the end of the stream tells, behind the last messages

    def receive(self, timeout: Optional[float]) -> Message:
        """The next message. Raises queue.Empty after so many seconds of host time without one,
        and ConnectionClosed at the end of the stream."""
        message = self._received.get(timeout=timeout)
        if isinstance(message, Exception):
            self._received.put(message)  # for the next call
            raise message
        return message

    def has_message(self) -> bool:
        """Whether receive() would return or raise at once."""
        return not self._received.empty()

    def close(self) -> None:
        """Hangs up. May be called again."""
        try:
            self._socket.shutdown(socket.SHUT_RDWR)
        except OSError:
            pass  # not connected any more
        if self._reader is not threading.current_thread():
            self._reader.join()
        self._socket.close()

    def _shake_hands(self, timeout: Optional[float]) -> None:
        self.send([handshake()])
        while True:
            try:
                answer = self.receive(timeout)
            except queue.Empty:
                raise ProtocolError(f"no answer to the handshake within {timeout} s") from None
            if answer.get("type") == "response":
                break
        if answer.get("response") != "ok":
            raise ProtocolError(str(answer.get("error", answer)))

    def _read(self) -> None:
        stream = self._socket.makefile("rb", buffering=1 << 16)

        def read_exactly(count: int) -> Optional[bytes]:
            block = stream.read(count)
            return block if block is not None and len(block) == count else None

        end: Exception = ConnectionClosed()
        try:
            while True:
                message = read_message(read_exactly)
                if message is None:
                    break
                self._received.put(message)
        except ProtocolError as error:
            end = error
        except OSError:
            pass  # a reset is an end like any other
        finally:
            stream.close()
            self._received.put(end)
