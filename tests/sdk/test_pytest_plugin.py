"""The fixture `board`, in a pytest of its own."""

import os
import xml.etree.ElementTree as ElementTree

from conftest import TREE

TESTS = """
import pytest

def test_that_passes(board):
    board.run_for(ms=1)
    assert (board.directory / "board.json").exists()
    board.button("button").press()
    assert not board.pin("P0_11").level

@pytest.mark.board(image={sudo!r})
def test_that_fails(board):
    assert board.wait_for_exit() == 0
"""


def test_boards_come_from_options_ini_and_marker_and_junit_tells_their_end(
    pytester, request, firmware, monkeypatch
):
    monkeypatch.setenv("PYTHONPATH", str(TREE / "sdk"), prepend=os.pathsep)
    pytester.makeini(
        "[pytest]\norvo_board = the_board\norvo_image = not_this.bin\njunit_family = xunit1"
    )
    pytester.mkdir("the_board").joinpath("board.json").write_text(
        (TREE / "examples/button/board.json").read_text()
    )
    pytester.makepyfile(TESTS.format(sudo=str(firmware("sudo"))))
    orvo = request.config.getoption("--orvo")
    run = pytester.runpytest_subprocess(
        *("-p", "zandor.pytest_plugin", "--junitxml=x.xml", f"--orvo-image={firmware('button')}"),
        *([f"--orvo={request.config.invocation_params.dir / orvo}"] if orvo else []),
    )
    run.assert_outcomes(passed=1, failed=1)
    run.stdout.fnmatch_lines(["*assert 42 == 0*", "*UARTE sent*", "before"])
    times = {
        case.get("name"): case.find("properties/property[@name='device_time_ns']").get("value")
        for case in ElementTree.parse(pytester.path / "x.xml").iter("testcase")
    }
    assert times["test_that_passes"] == "1000000.0" and set(times) > {"test_that_fails"}
