"""Where the simulator is: named by the caller, next to this package's tree, or in PATH."""

from __future__ import annotations

import os
import shutil
from pathlib import Path
from typing import Optional, Union

from .errors import ExecutableNotFound

_TREE = Path(__file__).resolve().parent.parent.parent
# Of an installed tree, and of a source tree with its builds.
_PLACES = ("libexec/orvo/bin/orvo", "build/release/bin/orvo", "build/dev/bin/orvo")


def find_executable(given: Optional[Union[str, "os.PathLike[str]"]] = None) -> Path:
    """The path of orvo. `given` is a path, or a name to be looked up in PATH. Raises
    ExecutableNotFound."""
    if given is not None:
        found = shutil.which(os.fspath(given))
        if found is None:
            raise ExecutableNotFound(f"{os.fspath(given)} is no executable")
        return Path(found).absolute()
    for place in _PLACES:
        if os.access(_TREE / place, os.X_OK):
            return _TREE / place
    in_path = shutil.which("orvo")
    if in_path is not None:
        return Path(in_path).absolute()
    raise ExecutableNotFound(
        "no orvo in PATH, nor in "
        + ", ".join(str(_TREE / place) for place in _PLACES)
        + "; executable= of Board names it, or --orvo= of pytest"
    )
