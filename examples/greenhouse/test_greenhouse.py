"""The greenhouse's controller on a simulated board: sensor, fan, button and UART."""

import re

FAN = "P0_17"


def test_the_fan_starts_as_soon_as_the_scenario_is_too_hot(board):
    board.expect_uart("ready")
    board.pin(FAN).wait_for(1, timeout=10)
    board.expect_uart("fan on: 26.50 C")


def test_a_new_limit_counts_from_the_next_measurement_on(board):
    board.device("sensor").set_value("temperature", 22.5)
    board.run_for(s=1)
    assert not board.pin(FAN).level

    board.write_uart("limit 22\n")
    board.expect_uart("limit 22 C")
    board.expect_uart("fan on: 22.50 C", timeout=0.2)


def test_the_button_keeps_the_fan_running_until_the_next_press(board):
    board.device("sensor").set_value("temperature", 15)
    board.expect_uart("ready")
    button = board.button("override")
    for state in ("on", "off"):
        button.press()
        board.run_for(ms=200)
        button.release()
        board.expect_uart(f"fan {state}")
    assert "fan off: 15.00 C" in board.uart.output


def test_a_round_of_the_scenario_runs_the_fan_for_the_steps_above_the_limit(board):
    changes = []
    board.pin(FAN).on_change(lambda event: changes.append(event))
    board.run_for(s=5.5)
    _, on, off, _ = changes  # the first made it an output
    assert on["transition_type"] == 1
    # 16 of 33 steps of 100 ms; the fan is on until the program has looked at the next.
    assert round((off.time_ns - on.time_ns) / 1e6) == 1600
    assert re.findall(r"fan (.*): (.*) C", board.uart.output) == [
        ("on", "26.50"),
        ("off", "18.00"),
        ("on", "26.50"),
    ]


def test_the_controller_finds_its_sensor(board):
    board.expect_uart("ready")
    board.write_uart("selftest\n")
    assert board.wait_for_exit() == 0
