"""The digest of samples, as the tool prints it."""

from __future__ import annotations

import hashlib

import numpy as np
import numpy.typing as npt

from ._samples import samples_of, words_of


def digest(samples: npt.ArrayLike) -> str:
    """SHA-256, in hexadecimal, of the samples as little-endian words of 32 bits.

    `samples` has the shape (frames, channels) or (frames,). An array of int32 has the digest that
    `earshot render --bits 32 --digest` prints of the same samples, one of int16 that of
    `--bits 16 --no-dither`. Floats are converted first, as everywhere: what `render` gives as
    float64 has the digest of what it gives as int32.
    """
    words, _ = words_of(samples_of(samples, "samples"), "samples")
    return hashlib.sha256(np.ascontiguousarray(words, dtype="<i4").tobytes()).hexdigest()
