"""The other end of the line: firmware that echoes, and text that comes or doesn't."""

import re
import struct

import pytest

from zandor import ExpectationFailed


def test_bytes_arrive_at_the_speed_of_the_line_and_come_back(start):
    board = start("uart_echo")
    board.run_for(us=500)
    text = "grüße\n".encode() * 20
    board.write_uart(struct.pack("<I", len(text)))
    board.uart.write(text[:100])
    before = board.get_device_time()
    board.uart.write(text[100:])
    assert board.expect_uart(text) == text.decode()
    assert board.uart.data == text and board.uart.unread == ""
    # 1 Mbaud: 10 us for each byte, the four of the length included.
    assert 0 < board.get_device_time() - before - (len(text) + 4) * 10_000 < 20_000


def test_expectations_read_on_and_say_what_came_instead(start):
    board = start("sudo")
    assert board.expect_uart(re.compile("f.r")) == "befor"
    assert board.uart.unread == ""
    assert board.wait_for_exit() == 42
    assert board.expect_uart(re.compile("e")) == "e" and board.uart.unread == "\n"
    assert board.uart.match(r"(\w+)e?r\n$", timeout=1e-5).group(1) == "afte"
    with pytest.raises(ExpectationFailed, match=r"did not send 'more' .*; unread: ''"):
        board.expect_uart("more", timeout=1e-6)
    with pytest.raises(ValueError):
        board.expect_uart("")
    with pytest.raises(TypeError):
        board.write_uart(5)  # not as many zeros
