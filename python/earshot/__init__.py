"""Spatial audio with the same bits on every machine, for numpy arrays.

    import earshot

    ears = earshot.render("street.json", dtype="float32")       # (frames, 2) at 48000 Hz
    azimuth, elevation, distance = earshot.Scene("street.json").heard(0, [0, 1, 2])

Every call into the library releases the interpreter's lock, and objects are independent of each
other. Errors derive from `earshot.Error` and from the built-in exception that fits.
"""

from ._batch import batch
from ._binaural import Binaural
from ._digest import digest
from ._effect import Effect
from ._errors import (ClosedError, Error, FileError, HeadError, MissingLibraryError, Notice,
                      RangeError, SampleError, SampleTypeError, SceneError, SoundError, c_text)
from ._field import Field
from ._head import Head
from ._library import lib as _lib
from ._rendering import Rendering, open, render
from ._scene import Heard, Scene, SourceInfo
from . import fft, scenes

__version__ = c_text(_lib.earshot_version())


def instruction_set() -> str:
    """The one that the kernels use on this processor: "scalar", "sse41", "avx2", "avx512" or
    "neon". It changes how fast a call is and never what it computes."""
    return c_text(_lib.earshot_instruction_set())


__all__ = [
    "Binaural", "ClosedError", "Effect", "Error", "Field", "FileError", "Head", "HeadError",
    "Heard", "MissingLibraryError", "Notice", "RangeError", "Rendering", "SampleError",
    "SampleTypeError", "Scene", "SceneError", "SoundError", "SourceInfo", "batch",
    "digest", "fft", "instruction_set", "open", "render", "scenes",
]
