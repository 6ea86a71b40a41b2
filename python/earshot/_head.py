"""Heads: filters of two ears for any direction."""

from __future__ import annotations

import os
import threading
import warnings
from typing import Any, Optional, Union

import numpy as np
import numpy.typing as npt

from ._errors import HeadError, Notice, c_text, check, direction_q16, read_file
from ._library import ffi, lib
from ._open_files import files

_MOST_BYTES = 2 << 30
_TAPS, _BEFORE = 160, 20  # of a filter, and those of them before the sound
_SOFA = b"\x89HDF\r\n\x1a\n"


def _prepared(name: str, sofa: bytes) -> bytes:
    file_ffi, file_lib = files()
    made, error = file_ffi.new("earshot_made_head **"), ffi.new("earshot_scene_error *")
    data = file_ffi.from_buffer(sofa)
    status = file_lib.earshot_head_prepare(os.fsencode(name), data, len(sofa), made, error)
    if status != lib.EARSHOT_OK:
        raise HeadError(c_text(error.text))
    try:
        size = file_ffi.new("size_t *")
        content = file_lib.earshot_made_head_bytes(made[0], size)
        for note in c_text(file_lib.earshot_made_head_notes(made[0])).splitlines():
            warnings.warn(f"{name}: {note}", Notice, stacklevel=4)
        return bytes(file_ffi.buffer(content, size[0]))
    finally:
        file_lib.earshot_made_head_free(made[0])


class Head:
    """Someone's ears: a prepared head or a SOFA file, by its path or its bytes.

    A SOFA file is prepared on the fly, which takes seconds; `earshot head` does that once.
    Constant, and usable by any number of threads at once.
    """

    def __init__(self, source: Union[str, "os.PathLike[str]", bytes, bytearray, memoryview]):
        if isinstance(source, (bytes, bytearray, memoryview)):
            name, content = "head", bytes(source)
        else:
            name, content = os.fspath(source), read_file(source, _MOST_BYTES)
        if len(content) > _MOST_BYTES:
            raise HeadError(f"{name}: is larger than any head, 2 GiB; is it the right file?")
        if content.startswith(_SOFA):
            content = _prepared(name, content)
        elif not content.startswith(b"EARH"):
            raise HeadError(f"{name}: is neither a prepared head nor a SOFA file; 'earshot head "
                            "FILE.sofa -o FILE.head' makes one of the other")
        self._memory = np.zeros(len(content) // 4 + 1, np.uint32)  # aligned
        self._memory.view(np.uint8)[:len(content)] = np.frombuffer(content, np.uint8)
        head = ffi.new("earshot_head **")
        memory = ffi.cast("void *", self._memory.ctypes.data)
        if lib.earshot_head_open(memory, len(content), head) != lib.EARSHOT_OK:
            raise HeadError(f"{name}: is a head that is damaged, cut short or of another version; "
                            "prepare it again with 'earshot head'")
        self._head = head[0]
        self._read_info()

    _builtin: Optional["Head"] = None
    _making = threading.Lock()

    @classmethod
    def builtin(cls) -> "Head":
        """The library's own head, that of KEMAR."""
        with Head._making:
            if Head._builtin is None:
                Head._builtin = cls._make_builtin()
            return Head._builtin

    @classmethod
    def _make_builtin(cls) -> "Head":
        made = cls.__new__(cls)
        size = lib.earshot_head_builtin_size()
        made._memory = np.zeros(size // 4 + 1, np.uint32)
        head = ffi.new("earshot_head **")
        memory = ffi.cast("void *", made._memory.ctypes.data)
        check(lib.earshot_head_builtin(memory, size, head), "earshot_head_builtin")
        made._head = head[0]
        made._read_info()
        return made

    def _read_info(self) -> None:
        info = ffi.new("earshot_head_info *")
        check(lib.earshot_head_describe(self._head, info), "earshot_head_describe")
        self.name: str = c_text(info.name)  #: what was measured
        self.directions: int = info.directions  #: how many were measured
        self.channels: int = info.channels  #: filters of ambisonic channels: 25, or 0
        self.size: int = info.size  #: bytes

    def __repr__(self) -> str:
        return f"<earshot.Head {self.name!r}, {self.directions} directions>"

    def __bytes__(self) -> bytes:
        return self._memory.tobytes()[:self.size]

    def __reduce__(self) -> Any:
        return (Head.builtin, ()) if self is Head._builtin else (Head, (bytes(self),))

    def filter_words(self, azimuth: float, elevation: float = 0) -> npt.NDArray[np.int32]:
        """The filters of a direction (degrees) as the renderers take them: int32 (2 ears, 256),
        Q29, 128 pairs of real and imaginary part, the first one being the gains of DC and
        Nyquist."""
        pair = ffi.new("earshot_filter_pair *")
        q16 = direction_q16(azimuth, elevation)
        check(lib.earshot_head_filter(self._head, *q16, pair), "earshot_head_filter")
        words: npt.NDArray[np.int32] = np.frombuffer(ffi.buffer(pair.ear), np.int32)
        return words.reshape(2, 256).copy()

    def filter(self, azimuth: float, elevation: float = 0) -> npt.NDArray[np.complex128]:
        """The spectra of the two ears for a direction: complex128 (2 ears, 129), from 0 to 24000 Hz
        in steps of 187.5 Hz. An average over all directions has the gain 1."""
        words = self.filter_words(azimuth, elevation).reshape(2, 128, 2) * 2.0 ** -29
        spectra = np.empty((2, 129), np.complex128)
        spectra[:, :128] = words[:, :, 0] + 1j * words[:, :, 1]
        spectra[:, 0], spectra[:, 128] = words[:, 0, 0], words[:, 0, 1]
        return spectra

    def impulse_response(self, azimuth: float, elevation: float = 0) -> npt.NDArray[np.float64]:
        """What the ears hear of a click from a direction: float64 (160 taps, 2 ears) at 48000 Hz.
        The click is at tap 20; what lies before it is the ringing of delays by fractions of a
        sample."""
        responses = np.fft.irfft(self.filter(azimuth, elevation), axis=1)
        return np.ascontiguousarray(np.roll(responses, _BEFORE, axis=1)[:, :_TAPS].T)


HeadLike = Union[None, Head, str, "os.PathLike[str]", bytes]


def head_of(head: HeadLike) -> Head:
    """The head itself, the built-in one for None, or that of a file."""
    if head is None:
        return Head.builtin()
    return head if isinstance(head, Head) else Head(head)


