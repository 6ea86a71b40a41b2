"""Fixed-point transforms of 16 to 1024 points (complex) and 32 to 1024 (real), row by row.

A complex value is a pair of integers, real part first: an array (..., n, 2) of int32 (Q31) or int16
(Q15), and a real spectrum (..., n / 2 + 1, 2). `as_complex` makes numpy's complex numbers of it.

int32: `fft` and `rfft` are sums, which saturate: log2 n + 3 bits of headroom keep them exact to the
rounding; `ifft` and `irfft` have the factor 1/n, unless `scaled` is False, when they are sums,
which wrap. int16: every transform has the factor 1/n; those with an exponent scale their input
first, so that quiet sounds keep their bits: the sum is the result times 2^exponent, one for each
row.

    spectrum = earshot.fft.rfft(samples)                    # (..., 256) -> (..., 129, 2)
    same = earshot.fft.irfft(spectrum)
"""

from __future__ import annotations

import functools
import math
from typing import Any, Tuple

import numpy as np
import numpy.typing as npt

from ._errors import SampleError, SampleTypeError, check
from ._library import ffi, lib
from ._samples import Array, address

Exponents = npt.NDArray[np.int32]


@functools.lru_cache(maxsize=None)
def _tables() -> Tuple[Array, Array]:
    """Twiddle factors by the rules of fft.h, one pair of tables for all sizes."""
    def q31(value: float) -> int:
        return min(math.floor(value * 2.0 ** 31 + 0.5), 2 ** 31 - 1)

    twiddles = np.empty((256, 6), np.int32)
    recombination = np.empty((256, 2), np.int32)
    for g in range(256):
        theta = math.tau * int(f"{g:08b}"[::-1], 2) / 1024
        twiddles[g] = [q31(-math.sin(theta)), q31(-math.cos(theta)), q31(math.cos(2 * theta)),
                       q31(-math.sin(2 * theta)), q31(-math.sin(3 * theta)),
                       q31(-math.cos(3 * theta))]
        theta = math.tau * (g + 1) / 1024
        recombination[g] = [math.floor((2 ** 31 - 1) * math.sin(theta) + 0.5),
                            math.floor((2 ** 31 - 1) * math.cos(theta) + 0.5)]
    return twiddles, recombination


def _integers(x: npt.ArrayLike, what: str) -> Array:
    array = np.asarray(x)
    if array.dtype.name not in ("int16", "int32"):
        raise SampleTypeError(f"{what}: is of dtype {array.dtype.name} and not int16 or int32")
    return np.ascontiguousarray(array, array.dtype.newbyteorder("="))


def _check_size(points: int, least: int, shape: Tuple[int, ...], what: str) -> None:
    if not least <= points <= 1024 or points & (points - 1):
        raise SampleError(f"{what}: has the shape {shape}, and {points} points are no power of two "
                          f"from {least} to 1024")


def _points(array: Array, real: bool, spectrum: bool, what: str) -> int:
    """Points of a transform of an array whose last axes are a row."""
    pairs = spectrum or not real
    if array.ndim < 1 + pairs or (pairs and array.shape[-1] != 2):
        row = "(..., n)" if not pairs else "(..., n / 2 + 1, 2)" if real else "(..., n, 2)"
        raise SampleError(f"{what}: has the shape {array.shape} and not {row}")
    values = array.shape[-2] if pairs else array.shape[-1]
    points = 2 * (values - 1) if real and spectrum else values
    least = 32 if real and array.dtype == np.int32 else 16
    _check_size(points, least, array.shape, what)
    return int(points)


def _transformed(x: npt.ArrayLike, real: bool, inverse: bool, kind: int,
                 block: bool = False) -> Tuple[Array, Exponents]:
    array = _integers(x, "x")
    points = _points(array, real, inverse, "x")
    rows = array.shape[:-1] if real and not inverse else array.shape[:-2]
    row = (points,) if real and inverse else (points // 2 + 1 if real else points, 2)
    out = np.empty(rows + row, array.dtype)
    exponents = np.zeros(rows, np.int32)
    count = exponents.size
    if array.dtype == np.int32:
        if block:
            raise SampleTypeError("x: is of dtype int32; transforms with an exponent are of int16")
        tables = ffi.new("earshot_blocks_tables *", [address(t, "s32 *") for t in _tables()])
        taken = array.copy() if real and inverse else array  # which is written over
        lib.earshot_blocks_transform(kind, address(taken, "s32 *"), points, count, tables,
                                     address(out, "s32 *"))
    else:
        scales = address(exponents, "s32 *") if block else ffi.NULL
        check(lib.earshot_blocks_transform16(real, inverse, address(array, "s16 *"), points, count,
                                             address(out, "s16 *"), scales), "transform")
    return out, exponents


def fft(x: npt.ArrayLike) -> Array:
    """Complex transform of rows, (..., n, 2) to (..., n, 2)."""
    return _transformed(x, False, False, lib.EARSHOT_BLOCKS_COMPLEX)[0]


def ifft(x: npt.ArrayLike, scaled: bool = True) -> Array:
    """Inverse complex transform of rows, (..., n, 2) to (..., n, 2)."""
    kind = lib.EARSHOT_BLOCKS_COMPLEX_SCALED if scaled else lib.EARSHOT_BLOCKS_COMPLEX_INVERSE
    return _transformed(_of_width(x, scaled), False, True, kind)[0]


def rfft(x: npt.ArrayLike) -> Array:
    """Transform of real rows, (..., n) to (..., n / 2 + 1, 2)."""
    return _transformed(x, True, False, lib.EARSHOT_BLOCKS_REAL)[0]


def irfft(x: npt.ArrayLike, scaled: bool = True) -> Array:
    """Inverse transform to real rows, (..., n / 2 + 1, 2) to (..., n). The imaginary parts of the
    first and the last bin are ignored."""
    kind = lib.EARSHOT_BLOCKS_REAL_SCALED if scaled else lib.EARSHOT_BLOCKS_REAL_INVERSE
    return _transformed(_of_width(x, scaled), True, True, kind)[0]


def _of_width(x: npt.ArrayLike, scaled: bool) -> npt.ArrayLike:
    if not scaled and np.asarray(x).dtype.name == "int16":
        raise SampleTypeError("x: is of dtype int16, whose transforms are scaled always")
    return x


def fft_block(x: npt.ArrayLike, inverse: bool = False) -> Tuple[Array, Exponents]:
    """Complex transform of rows of int16, (..., n, 2), with an exponent for each row."""
    return _transformed(x, False, inverse, 0, block=True)


def rfft_block(x: npt.ArrayLike) -> Tuple[Array, Exponents]:
    """Transform of real rows of int16, (..., n) to (..., n / 2 + 1, 2), with exponents."""
    return _transformed(x, True, False, 0, block=True)


def irfft_block(x: npt.ArrayLike) -> Tuple[Array, Exponents]:
    """Inverse transform to real rows of int16, (..., n / 2 + 1, 2) to (..., n), with exponents."""
    return _transformed(x, True, True, 0, block=True)


def as_complex(x: npt.ArrayLike) -> npt.NDArray[np.complex128]:
    """Pairs of integers, (..., 2), as complex numbers with the full scale of the dtype at 1.0."""
    array: Any = _integers(x, "x")
    if array.ndim < 1 or array.shape[-1] != 2:
        raise SampleError(f"x: has the shape {array.shape} and not (..., 2)")
    full = 2.0 ** (8 * array.dtype.itemsize - 1)
    made: npt.NDArray[np.complex128] = (array[..., 0] + 1j * array[..., 1]) / full
    return made
