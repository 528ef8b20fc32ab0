"""pytest plug-in: the fixture `board`, a fresh simulated board for each test.

Which image on which board, in order of precedence: the marker
`@pytest.mark.board(image=..., directory=..., mcu=..., arguments=..., uart=..., host_timeout=...)`,
the options `--orvo-image=...`, `--orvo-board=...`, `--orvo-mcu=...`, and the ini values
`orvo_image`, `orvo_board`, `orvo_mcu`. `--orvo=...` and the ini value `orvo` name the executable.
Paths are relative to the test's file, the working directory and the ini file. Each run has a
directory of its own with links to the files of the board; what it writes stays there, below
pytest's `tmp_path`.

A failure shows what the firmware sent and what the simulator said. The JUnit report (--junitxml)
has that too with `junit_logging`, and with `junit_family = xunit1` the virtual time of each test.
"""

from __future__ import annotations

from contextlib import suppress
from pathlib import Path
from typing import Any, Dict, Generator, Iterator, Optional

import pytest

from .board import Board
from .errors import ZandorError

_SETTINGS = {
    "orvo": "the simulator's executable",
    "orvo_image": "the firmware image",
    "orvo_board": "the directory of board.json and scenario.json",
    "orvo_mcu": "the chip",
}
_BOARD_KEY = pytest.StashKey[Board]()


def pytest_addoption(parser: pytest.Parser) -> None:
    group = parser.getgroup("orvo", "simulated boards")
    for name, text in _SETTINGS.items():
        group.addoption("--" + name.replace("_", "-"), dest=name, help=text)
        parser.addini(name, text)


def pytest_configure(config: pytest.Config) -> None:
    config.addinivalue_line(
        "markers",
        "board(image, directory, mcu, arguments, uart, host_timeout): the board of the test",
    )


def _setting(config: pytest.Config, name: str, is_path: bool = True) -> Optional[str]:
    option = config.getoption(name)
    if option is not None:
        return str(config.invocation_params.dir / option) if is_path else str(option)
    value = str(config.getini(name))
    if not value or not is_path:
        return value or None
    return str((config.inipath.parent if config.inipath else config.rootpath) / value)


def _executable(config: pytest.Config) -> Optional[str]:
    given = config.getoption("orvo") or config.getini("orvo")
    # A bare name is for PATH.
    return _setting(config, "orvo", is_path="/" in given) if given else None


def _link_board(source: Path, target: Path) -> None:
    for entry in source.iterdir():
        if entry.name != ".zandor":
            (target / entry.name).symlink_to(entry.absolute())


def _board_arguments(node: pytest.Item) -> Dict[str, Any]:
    settings: Dict[str, Any] = {
        "executable": _executable(node.config),
        "image": _setting(node.config, "orvo_image"),
        "directory": _setting(node.config, "orvo_board"),
        "mcu": _setting(node.config, "orvo_mcu", is_path=False),
    }
    for marker in reversed(list(node.iter_markers("board"))):
        if marker.args:
            pytest.fail(f"the marker board takes names: image={marker.args[0]!r}, say", False)
        settings.update(marker.kwargs)
        for name in ("image", "directory"):
            if name in marker.kwargs:
                settings[name] = node.path.parent / marker.kwargs[name]
    return {name: value for name, value in settings.items() if value is not None}


@pytest.fixture
def board(request: pytest.FixtureRequest, tmp_path: Path) -> Iterator[Board]:
    """A board that stands at tick 0. Ended after the test, whatever happened in it."""
    arguments = _board_arguments(request.node)
    if "image" not in arguments:
        ini = request.config.inipath
        pytest.fail(
            "no image: --orvo-image=..., orvo_image in the ini file, or "
            f"@pytest.mark.board(image=...). The ini file is {ini or 'missing'}: options with a "
            "space in place of = may keep pytest from it",
            False,
        )
    run_directory = tmp_path / "board"
    run_directory.mkdir()
    source = arguments.pop("directory", None)
    if source is not None:
        _link_board(Path(source), run_directory)
    with Board(directory=run_directory, **arguments) as under_test:
        request.node.stash[_BOARD_KEY] = under_test
        yield under_test
        # The other families have no properties of a test case.
        has_properties = request.config.getini("junit_family") in ("legacy", "xunit1")
        with suppress(ZandorError):  # closed by the test, or ended
            if has_properties and not under_test.running:
                now_ns = under_test.get_device_time()
                request.node.user_properties.append(("device_time_ns", now_ns))


@pytest.hookimpl(hookwrapper=True)
def pytest_runtest_makereport(item: pytest.Item) -> Generator[None, Any, None]:
    """Shows with a failure what the firmware sent and what the simulator said."""
    outcome = yield
    report: pytest.TestReport = outcome.get_result()
    under_test = item.stash.get(_BOARD_KEY, None)
    if under_test is None or report.when != "call" or not report.failed:
        return
    for name, text in under_test.report():
        report.sections.append((name, text))
