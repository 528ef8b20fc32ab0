"""Boards with the test firmware, on the real executable."""

from pathlib import Path

import pytest

from zandor import Board

TREE = Path(__file__).resolve().parents[2]
pytest_plugins = ["pytester"]


def pytest_addoption(parser):
    parser.addoption(
        "--firmware", default=TREE / "build/dev/firmware", type=Path, help="the test firmware"
    )


@pytest.fixture
def firmware(request):
    """The path of an image by its name."""
    directory = request.config.invocation_params.dir / request.config.getoption("--firmware")
    return lambda name: directory / f"{name}.bin"


@pytest.fixture
def start(request, firmware, tmp_path):
    """start("button", ...) is a board with that image, in `tmp_path`; closed after the test."""

    def start_board(image, board_json=None, **arguments):
        if board_json is not None:
            (tmp_path / "board.json").write_text(board_json)
        board = Board(
            firmware(image),
            directory=tmp_path,
            executable=request.config.getoption("--orvo"),
            **arguments,
        )
        request.addfinalizer(board.close)
        return board

    return start_board
