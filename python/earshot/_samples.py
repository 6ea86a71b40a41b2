"""The border between arrays and samples.

Inside, a sample is a word of 32 bits, Q31. int16 is Q15: 16 zero bits are added on the way in, and
on the way out a word is rounded half up and clipped; the largest word, which may have been clipped
and counted before, does not count. float32 and float64 have their full scale at 1.0: on the way in
they are rounded to the nearest word, of two equally near ones to the even one, and clipped; exactly
1.0 becomes the largest word and does not count as clipped. Not a number and infinity are refused.
On the way out a word is divided by 2^31, which float64 holds exactly and float32 rounds to 24
bits.
"""

from __future__ import annotations

import threading
from typing import Any, Tuple

import numpy as np
import numpy.typing as npt

from ._errors import SampleError, SampleTypeError
from ._library import ffi

Array = npt.NDArray[Any]
Words = npt.NDArray[np.int32]

_DTYPES = ("int16", "int32", "float32", "float64")


def sample_dtype(dtype: npt.DTypeLike) -> np.dtype[Any]:
    """The dtype, if samples can have it, in the byte order of the machine."""
    try:
        found = np.dtype(dtype).newbyteorder("=")
    except TypeError as error:
        raise SampleTypeError(f"dtype: {dtype!r} is none of {', '.join(_DTYPES)}") from error
    if found.name not in _DTYPES:
        raise SampleTypeError(f"dtype: {found.name} is none of {', '.join(_DTYPES)}")
    return found


def samples_of(block: npt.ArrayLike, what: str) -> Array:
    """An array of samples of one of the four dtypes, in the byte order of the machine."""
    try:
        array = np.asarray(block)
    except ValueError as error:  # rows of different lengths
        raise SampleError(f"{what}: {error}") from error
    if array.dtype.name not in _DTYPES:
        raise SampleTypeError(f"{what}: samples of dtype {array.dtype.name} have no full scale; "
                              f"convert them to one of {', '.join(_DTYPES)}")
    return array.astype(array.dtype.newbyteorder("="), copy=False)


def _words_of_floats(array: Array, what: str) -> Tuple[Words, int]:
    scaled = array.astype(np.float64) * 2.0 ** 31
    if not np.isfinite(scaled).all():
        place = tuple(int(i) for i in np.argwhere(~np.isfinite(scaled))[0])
        raise SampleError(f"{what}: sample {list(place)} is not a finite number")
    clipped = int(np.count_nonzero((scaled > 2.0 ** 31) | (scaled < -2.0 ** 31)))
    inside = np.clip(np.rint(scaled), -2.0 ** 31, 2.0 ** 31 - 1)
    return inside.astype(np.int32), clipped


def words_of(array: Array, what: str) -> Tuple[Words, int]:
    """Q31 in the shape and order of an array of samples_of, and how many were clipped. The array
    itself if it has words already."""
    if array.dtype == np.int32:
        return array, 0
    if array.dtype == np.int16:
        return array.astype(np.int32) << 16, 0
    return _words_of_floats(array, what)


def from_words(words: Words, dtype: np.dtype[Any]) -> Tuple[Array, int]:
    """Words as samples of the dtype, and how many were clipped."""
    if dtype == np.int32:
        return words, 0
    if dtype == np.int16:
        rounded = (words.astype(np.int64) + 0x8000) >> 16
        clipped = np.count_nonzero((rounded > 0x7FFF) & (words != 0x7FFFFFFF))
        return np.minimum(rounded, 0x7FFF).astype(np.int16), int(clipped)
    return (words * 2.0 ** -31).astype(dtype), 0


def frames_of(block: npt.ArrayLike, channels: int, what: str) -> Array:
    """Samples of the shape (frames, channels); of one channel, (frames,) will do."""
    array = samples_of(block, what)
    if channels == 1 and array.ndim == 1:
        return array.reshape(-1, 1)
    if array.ndim != 2 or array.shape[1] != channels:
        one = "(frames,) or " if channels == 1 else ""
        raise SampleError(f"{what}: has the shape {array.shape} and not {one}(frames, {channels})")
    return array


def address(array: Array, ctype: str) -> Any:
    """A pointer into an array, which has to outlive its use."""
    return ffi.cast(ctype, array.ctypes.data)


def output_dtype(samples: Array, dtype: npt.DTypeLike) -> np.dtype[Any]:
    """The dtype that is asked for, or that of the input."""
    return samples.dtype if dtype is None else sample_dtype(dtype)


class Border:
    """What an object with a state converts, one thread at a time, and how much was clipped."""

    def __init__(self) -> None:
        self._lock = threading.Lock()
        self._clipped = 0

    @property
    def clipped(self) -> int:
        """How many samples were clipped so far, on their way in, inside and out."""
        return self._clipped

    def _enter(self, samples: Array) -> Words:
        words, clipped = words_of(samples, "block")
        self._clipped += clipped
        return words

    def _leave(self, words: Words, dtype: np.dtype[Any]) -> Array:
        samples, clipped = from_words(words, dtype)
        self._clipped += clipped
        return samples
