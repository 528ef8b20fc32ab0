"""What goes wrong becomes an exception that says what, and never leaves a process behind."""

import os
import queue
import signal
import socket
import struct
import subprocess
import sys
import threading
import time

import pytest

import zandor
from zandor import connection


def wait_until_gone(pid):
    for _ in range(6000):
        try:
            os.kill(pid, 0)
        except ProcessLookupError:
            return True
        time.sleep(0.01)
    return False


def test_errors_of_the_simulator_come_with_their_kind_message_and_time(start):
    board = start("unsupported_task")
    with pytest.raises(zandor.OrvoError, match="unsupported task") as error:
        board.run_for(s=1)
    assert error.value.kind == "orvo_error" and error.value.time_ns > 0
    assert "unsupported task" in board.stderr and board.ended
    with pytest.raises(zandor.OrvoError):
        board.get_device_time()

    board = start("wait_running")
    with pytest.raises(zandor.UserError, match="Pin_name: P7_1 is invalid pin number"):
        board.pin("P7_1").set(1)
    board = start("wait_running")
    with pytest.raises(zandor.OrvoError, match="Peripheral id of type: bell is missing"):
        board.button("bell").press()


@pytest.mark.parametrize(
    "image, board_json, arguments, error, text",
    [
        ("no_such_image", None, {}, zandor.OrvoError, "Missing image file"),
        ("sudo", '{"components": 1}', {}, zandor.SimulatorExited, "board.json: components"),
        ("sudo", None, {"mcu": "z80"}, zandor.SimulatorExited, "isn't supported : z80"),
        ("sudo", None, {"arguments": ["--no"]}, zandor.SimulatorExited, "(?s)status 255.*no"),
    ],
)
def test_a_run_that_cannot_start_says_why(start, image, board_json, arguments, error, text):
    with pytest.raises(error, match=text):
        start(image, board_json, **arguments)


def test_a_simulator_that_ends_or_hangs_is_noticed(start):
    board = start("fault")
    with pytest.raises(zandor.SimulatorExited) as exited:
        board.run_for(s=1)
    assert exited.value.status == 1

    board = start("wait_running")
    board.resume()
    os.kill(board.pid, signal.SIGKILL)
    with pytest.raises(zandor.SimulatorExited, match="by signal 9"):
        board.run_for(s=1)

    board = start("wait_running")
    board._session.exchange._host_timeout = 1
    os.kill(board.pid, signal.SIGSTOP)
    with pytest.raises(zandor.SimulatorHung, match="no sign of life of orvo within 1 s"):
        board.run_for(ms=1)
    os.kill(board.pid, signal.SIGCONT)


def test_a_silent_run_is_no_hang_if_it_answers(start, monkeypatch):
    board = start("wait_running")
    link = board._session.exchange._connection
    receive, silences = link.receive, [queue.Empty()]

    def silent_at_first(timeout):
        if silences:
            raise silences.pop()
        return receive(timeout)

    monkeypatch.setattr(link, "receive", silent_at_first)
    board.run_for(ms=1)
    assert board.get_device_time() == 1e6 and not silences


SCRIPT = """
import sys, zandor
with zandor.Board(sys.argv[1], executable=sys.argv[2]) as board:
    board.resume()
    print(board.pid, flush=True)
    while True:
        board.run_for(ms=1)
"""


@pytest.mark.parametrize("number", [signal.SIGINT, signal.SIGTERM, signal.SIGKILL])
def test_no_simulator_outlives_a_test_that_is_interrupted_or_killed(request, firmware, number):
    executable = str(zandor.executable.find_executable(request.config.getoption("--orvo")))
    command = [sys.executable, "-c", SCRIPT, firmware("wait_running"), executable]
    with subprocess.Popen(command, stdout=subprocess.PIPE, stderr=subprocess.DEVNULL) as test:
        pid = int(test.stdout.readline())
        test.send_signal(number)
    assert wait_until_gone(pid)


def test_closing_ends_the_process_in_any_state(start):
    for prepare in (lambda board: None, zandor.Board.resume):
        board = start("wait_running")
        prepare(board)
        board.close()
        board.close()
        assert wait_until_gone(board.pid)
        with pytest.raises(zandor.ZandorError, match="the board is closed"):
            board.get_device_time()


def test_what_was_said_is_there_when_the_directory_has_gone(request, firmware):
    with zandor.Board(firmware("unsupported_task"), executable=request.config.option.orvo) as board:
        with pytest.raises(zandor.OrvoError):
            board.run_for(s=1)
    assert not board.directory.exists() and "unsupported task" in board.stderr
    with pytest.raises(FileNotFoundError, match="no directory"):
        zandor.Board(firmware("sudo"), directory=board.directory)


def frame(text):
    return struct.pack(">I", len(text)) + text


@pytest.mark.parametrize(
    "answer, error",
    [
        (frame(b'{"type": "response", "response": "error", "error": "too old"}'), "too old"),
        (frame(b"{"), "a frame that is no JSON"),
        (frame(b"[1]"), "a frame that is no object"),
        (b"HTTP/1.1 400", "a frame of 1213486160 bytes"),
    ],
)
def test_a_server_that_is_no_simulator_is_refused(answer, error):
    with socket.create_server(("127.0.0.1", 0)) as server:

        def serve():
            client, _ = server.accept()
            with client:
                client.sendall(answer)
                client.recv(1000)

        thread = threading.Thread(target=serve)
        thread.start()
        with pytest.raises(zandor.ProtocolError, match=error):
            connection.Connection(server.getsockname()[1], 30)
        thread.join()
