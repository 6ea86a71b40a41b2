"""The extension module that reads files, loaded when a file is read: without sndfile and the other
libraries of the system everything else works."""

from __future__ import annotations

import re
from typing import Any, Tuple

from ._errors import MissingLibraryError

_PACKAGES = {
    "libsndfile": "libsndfile1", "libmpg123": "libmpg123-0", "libsoxr": "libsoxr0",
    "libebur128": "libebur128-1", "libtag": "libtag1v5", "libnettle": "libnettle8",
    "libhdf5_serial": "libhdf5-103-1",
}


def files() -> Tuple[Any, Any]:
    """The module's ffi and lib."""
    try:
        from . import _files
    except ImportError as error:
        found = re.match(r"(lib[a-z0-9_]+)[-.0-9]*\.so", str(error))
        package = _PACKAGES.get(found.group(1), "") if found else ""
        advice = f"; install {package} (Debian package)" if package else ""
        raise MissingLibraryError(f"files cannot be read: {error}{advice}") from error
    return _files.ffi, _files.lib
