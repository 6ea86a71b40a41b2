"""What goes wrong, by what it is about; and status words as exceptions."""

from __future__ import annotations

import math
import os
from typing import Any, Union

from ._library import ffi, lib


class Error(Exception):
    """The base of all exceptions of this package."""


class SceneError(Error, ValueError):
    """A scene that cannot be: the message begins with its file, if it has one, and the place."""


class FileError(Error, OSError):
    """A file that cannot be read: the message names it and the cause."""


class SoundError(FileError):
    """A sound that cannot be read, or is not what the scene takes it for."""


class HeadError(Error, ValueError):
    """No head, or one that is damaged or cannot be prepared."""


class SampleError(Error, ValueError):
    """Samples of the wrong shape or value."""


class SampleTypeError(Error, TypeError):
    """Samples of a dtype that has no full scale."""


class RangeError(Error, ValueError):
    """An argument out of its range."""


class ClosedError(Error, ValueError):
    """What has been closed is used again."""


class MissingLibraryError(Error, ImportError):
    """A library of the system that reading files needs is not installed."""


class Notice(UserWarning):
    """What the tool would print a line about: samples that were clipped, how a file is taken."""


def c_text(text: Any) -> str:
    """A string of C; what is no UTF-8 is replaced."""
    content: bytes = ffi.string(text)
    return content.decode("utf-8", "replace")


def check(status: int, what: str) -> None:
    """Arguments have been looked at before a call: what is refused all the same is a fault here."""
    if status == lib.EARSHOT_OUT_OF_MEMORY:
        raise MemoryError(what)
    if status != lib.EARSHOT_OK:
        raise Error(f"{what}: status {status}")


def number_in(what: str, value: float, low: float, high: float) -> float:
    """The value, if it is a number from low to high."""
    number = float(value)
    if not low <= number <= high:
        raise RangeError(f"{what}: {value} is outside {low:g} to {high:g}")
    return number


def rounded(value: float) -> int:
    """The nearest integer; of two equally near ones the one farther from 0."""
    return int(math.copysign(math.floor(abs(value) + 0.5), value))


def degrees_q16(degrees: float) -> int:
    """An angle without its whole turns, in degrees, Q16."""
    return rounded(math.fmod(degrees, 360) * 65536)


def direction_q16(azimuth: float, elevation: float) -> "tuple[int, int]":
    """Degrees, Q16, of a direction in degrees."""
    number_in("azimuth", azimuth, -1e9, 1e9)
    number_in("elevation", elevation, -90, 90)
    return degrees_q16(azimuth), degrees_q16(elevation)


def read_file(path: Union[str, "os.PathLike[str]"], most: int) -> bytes:
    """The bytes of a file, and no more than a byte more than `most`."""
    try:
        with open(path, "rb") as file:
            return file.read(most + 1)
    except (OSError, ValueError) as error:  # a ValueError: a name with a null in it
        cause = getattr(error, "strerror", None) or str(error)
        raise FileError(f"{os.fspath(path)}: {cause}") from error
