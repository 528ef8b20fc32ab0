"""Virtual time, alarms, events and pins: to the tick, and the same in every run."""

import threading

import pytest

from conftest import TREE
from zandor import ExpectationFailed, FirmwareExited

TICK_NS = 1e9 / 64e6
BUTTON_BOARD = (TREE / "examples/button/board.json").read_text()
LIGHT = "P0_17"


@pytest.fixture
def button_board(start):
    return start("button", BUTTON_BOARD)


def press_twice(board):
    """A session with all kinds of waits; returns what a test can see of it."""
    seen = []
    board.on("pin_level_event", lambda event: seen.append((event["pin_number"], event.time_ns)))
    board.pin(LIGHT).on_change(lambda event: seen.append(event["transition_type"]))
    button = board.button("button")

    def bounce(event):
        button.release()
        board.call_after(lambda event: button.press(), us=3)

    board.expect_uart("ready\n")
    for light in (1, 0):
        board.call_after(bounce, us=7)
        button.press()
        seen.append(board.pin(LIGHT).wait_for(light))
        button.release()
        board.run_for(ms=6)
    seen.append(board.expect_uart("\n"))
    board.run_for(ms=3)
    button.press()
    seen += [board.expect_uart("ms\n"), board.get_device_time()]
    return seen


def test_a_session_has_the_same_ticks_in_every_run_whatever_the_host_does(start):
    first = start("button", BUTTON_BOARD)
    alone = press_twice(first)
    first.close()
    idle = threading.Event()
    try:
        for _ in range(2):
            threading.Thread(target=lambda: all(not idle.is_set() for _ in iter(int, 1))).start()
        assert press_twice(start("button", BUTTON_BOARD)) == alone
    finally:
        idle.set()
    # The press, its bounce of 3 us, and the light 5 ms after the last edge.
    edges = [event[1] for event in alone if isinstance(event, tuple) and event[0] == 11]
    press, release, again = edges[:3]
    assert (release - press, again - release) == (7000, 3000)
    assert 5e6 < alone[alone.index(1) + 1] - again < 5.001e6
    assert alone[-2] == "woken after 3 ms\n"


def test_time_passes_by_the_tick_and_only_in_waits(start):
    board = start("wait_running")
    expected = 0.0
    assert board.get_device_time() == 0
    for span, ticks in [({"us": 1}, 64), ({"ns": 16}, 1), ({"ns": 15}, 0), ({"ms": 2.5}, 160000)]:
        board.run_for(**span)
        expected += ticks * TICK_NS
        assert board.get_device_time() == expected
        assert not board.running
    with pytest.raises(ValueError):
        board.run_for()


def test_alarms_at_the_tick_of_the_wait_s_end_come_before_it_returns(start):
    board = start("wait_running")
    times = []
    for delay_us in (10, 5, 10, 15):
        board.call_after(lambda event: times.append(event.time_ns), us=delay_us)
    cancelled = board.call_after(lambda event: times.append("cancelled"), us=7)
    board.cancel(cancelled)
    board.run_for(us=10)
    assert times == [5000, 10000, 10000]
    board.run_for(us=10)
    assert times[3:] == [15000] and board.get_device_time() == 20000


def test_a_wait_ends_at_its_tick_wherever_an_event_pauses_the_chip(start):
    board = start("wait_printing")
    board.run_for(us=100)
    bytes_at = []
    board.on("uart_event", lambda event: bytes_at.append(event.time_ns))
    for tick in range(6401, 6801):
        board.run_for(ns=16)
        assert board.get_device_time() == tick * TICK_NS
    assert len(bytes_at) > 4 and len(set(bytes_at)) == len(bytes_at)


def test_a_callback_sends_commands_at_the_tick_but_does_not_run_the_chip(start):
    board = start("wait_running")
    times = []

    def at_alarm(event):
        board.pin("P0_3").set(0)
        times.append(board.get_device_time())
        with pytest.raises(RuntimeError, match="in a callback"):
            board.run_for(ms=1)

    board.call_after(at_alarm, us=3)
    board.pin("P0_3").on_change(lambda event: times.append(event.time_ns))
    assert board.wait_for_event("pin_level_event", pin_number="P0_3").time_ns == 3000
    assert times == [3000, 3000]


def test_pins_are_set_read_and_awaited(button_board):
    board = button_board
    watched = []
    subscription = board.on("pin_level_event", watched.append, pause=False, pin_number="P0_5")
    pin = board.pin("P0_5")
    assert pin.level and board.pin("vdd").level and not board.pin("gnd").level
    pin.set(False)
    assert not pin.level and not board.pin(5).level
    assert pin.wait_for(0) == 0  # already
    with pytest.raises(ExpectationFailed, match="P0_5 did not become 1 within 0.001 s"):
        pin.wait_for(1, timeout=0.001)
    assert board.get_device_time() == 1e6
    board.call_after(lambda event: pin.set(1), us=2)
    assert pin.wait_for_change() == board.get_device_time() == 1e6 + 2000
    assert [event["transition_type"] for event in watched] == [0, 1]
    board.cancel(subscription)
    pin.set(0)
    assert len(watched) == 2


def test_devices_are_asked_fed_and_have_registers(start, tmp_path):
    example = TREE / "examples/greenhouse"
    (tmp_path / "scenario.json").symlink_to(example / "scenario.json")
    board = start("greenhouse", (example / "board.json").read_text())
    sensor = board.device("sensor")
    assert sensor.get_value("temperature") == ""
    board.run_for(ms=250)
    assert sensor.get_value("temperature") == "19.000000"
    sensor.set_value("temperature", 30.25)
    board.expect_uart("fan on: 30.25 C")
    assert sensor.get_register(0xD0) == 0x60
    sensor.set_register(0xD0, 0)  # another chip, as it seems
    board.write_uart("selftest\n")
    assert board.wait_for_exit() == 1


def test_a_resumed_board_runs_on_by_itself_and_is_caught_up_with(button_board):
    board = button_board
    board.resume()
    assert board.running
    board.expect_uart("ready")  # at whatever tick
    assert not board.running
    board.resume()
    board.pause()
    stands = board.get_device_time()
    board.run_for(us=1)
    assert board.get_device_time() == stands + 1000


def test_firmware_hands_its_exit_code_to_the_test_and_goes_on_behind(start):
    board = start("sudo")
    assert board.exit_code is None
    with pytest.raises(FirmwareExited, match="code 42") as exited:
        board.run_for(s=1)
    assert exited.value.code == board.exit_code == 42
    assert board.uart.output == "before\n"
    board.expect_uart("after\n", timeout=0.001)
    with pytest.raises(ExpectationFailed, match="did not exit"):
        board.wait_for_exit(timeout=1e-6)

    again = start("sudo")
    assert again.wait_for_exit() == 42
    again.run_for(us=5)
    assert again.uart.output == "before\nafter\n"
