"""The binaural renderer as a stream: blocks of any length in, as many frames out, a fixed delay."""

from __future__ import annotations

from typing import Any, List, Optional

import numpy as np
import numpy.typing as npt

from ._errors import RangeError, check, direction_q16
from ._head import Head, HeadLike, head_of
from ._library import ffi, lib
from ._samples import Array, Border, Words, address, frames_of, output_dtype, sample_dtype

_WINDOW = 256


class Stream:
    """Sources through `earshot_binaural`, whose frames are computed as soon as their windows are
    known: what comes out, and when, does not depend on how the input is cut."""

    def __init__(self, sources: int, frame: int, lead: int, tail: int) -> None:
        self.sources = sources
        self._frame, self._lead, self._tail = frame, lead, tail
        # Samples beyond the frame that its window needs, and of the frame itself all but one.
        self.latency = _WINDOW - lead - 1
        config = ffi.new("earshot_binaural_config *", (sources, frame, lead))
        size = ffi.new("size_t *")
        check(lib.earshot_binaural_get_size(config, size), "earshot_binaural_get_size")
        self._memory = np.zeros(size[0] // 8 + 1, np.uint64)
        renderer = ffi.new("earshot_binaural **")
        check(lib.earshot_binaural_init(renderer, config, address(self._memory, "void *"), size[0]),
              "earshot_binaural_init")
        self.renderer = renderer[0]
        self._windows = ffi.new("s32 *[]", sources)
        self._begin()

    def _begin(self) -> None:
        self._samples: Words = np.zeros((self.sources, self._lead), np.int32)
        self._ears: Words = np.zeros((self.latency, 2), np.int32)

    def rendered(self, words: Words) -> "tuple[int, int]":
        """Takes (frames, sources); returns how many frames of the renderer they completed and how
        many samples were clipped."""
        self._samples = np.concatenate((self._samples, words.T), axis=1)
        known = self._samples.shape[1]
        frames = max(0, (known - _WINDOW) // self._frame + 1) if known >= _WINDOW else 0
        if frames == 0:
            return 0, 0
        ears = np.empty((frames * self._frame, 2), np.int32)
        clipped = ffi.new("u64 *")
        record = ffi.new("earshot_blocks_sources *",
                         (self.sources, self._frame, known, self._windows))
        check(lib.earshot_blocks_render(self.renderer, record, address(self._samples, "s32 *"),
                                        frames, address(ears, "s32 *"), clipped),
              "earshot_binaural_process")
        self._samples = self._samples[:, frames * self._frame:]
        self._ears = np.concatenate((self._ears, ears))
        return frames, int(clipped[0])

    def take(self, frames: int) -> Words:
        """The next frames of the ears."""
        taken, self._ears = self._ears[:frames], self._ears[frames:]
        return taken

    def flush(self) -> "tuple[Words, int]":
        """What is left until the filters have rung out, with the number of clipped samples; then
        everything is as at the beginning, but for the filters."""
        left = self.latency + self._tail
        silence = np.zeros((left + self._frame + _WINDOW, self.sources), np.int32)
        _, clipped = self.rendered(silence)
        rest = self.take(left)
        self._begin()
        return rest, clipped


class Binaural(Border):
    """Sources around a listener: mono sounds at 48000 Hz in, two ears out.

        binaural = earshot.Binaural(sources=2)
        binaural.place(0, azimuth=30)
        binaural.place(1, azimuth=-90, elevation=10)
        ears = binaural.process(block)          # (frames, 2 sources) -> (frames, 2 ears)

    Blocks may have any length: what comes out is `latency` samples late and does not depend on how
    the sound is cut. Sources stand in front until they are placed. A source that is placed anew
    moves there in a straight line, within the next frame of 96 samples that is computed; frames
    begin at multiples of 96, and are computed as soon as the `latency` is over. Nothing wraps at
    any level; what passes full scale is clipped. Threads may share one and take turns.
    """

    latency = _WINDOW - 140 - 1  #: samples

    def __init__(self, sources: int = 1, head: HeadLike = None) -> None:
        super().__init__()
        if not 1 <= sources <= 65536:
            raise RangeError(f"sources: {sources} is outside 1 to 65536")
        self._head = head_of(head)
        self._stream = Stream(sources, lib.EARSHOT_HEAD_FRAME, lib.EARSHOT_HEAD_LEAD, 139)
        # Two for each source, which take turns: a frame fades from one to the other.
        self._pairs = ffi.new("earshot_filter_pair[]", 2 * sources)
        self._used: List[Optional[int]] = [None] * sources  # which one the last frame had
        self._given: List[Optional[int]] = [None] * sources  # which one the next frame will have
        self._dtype: Any = np.dtype(np.int32)

    def __repr__(self) -> str:
        return f"<earshot.Binaural of {self.sources} sources, head {self._head.name!r}>"

    @property
    def sources(self) -> int:
        """How many there are."""
        return self._stream.sources

    @property
    def head(self) -> Head:
        """Whose ears they are."""
        return self._head

    def place(self, source: int, azimuth: float, elevation: float = 0) -> None:
        """Moves a source, counted from 0, to a direction in degrees."""
        if not 0 <= source < self.sources:
            raise RangeError(f"source: {source} is outside 0 to {self.sources - 1}")
        q16 = direction_q16(azimuth, elevation)
        with self._lock:
            self._place(source, *q16)

    def _place(self, source: int, azimuth: int, elevation: int) -> None:
        free = 1 if self._used[source] == 0 else 0
        pair = self._pairs + (2 * source + free)
        check(lib.earshot_head_filter(self._head._head, azimuth, elevation, pair),
              "earshot_head_filter")
        check(lib.earshot_binaural_set(self._stream.renderer, source, pair),
              "earshot_binaural_set")
        self._given[source] = free

    def process(self, block: npt.ArrayLike, dtype: npt.DTypeLike = None) -> Array:
        """The next frames of the sources, (frames, sources), or (frames,) for a single one, as they
        are heard `latency` samples later: (frames, 2), left and right. dtype: of what comes out,
        that of the block by default."""
        samples = frames_of(block, self.sources, "block")
        made = output_dtype(samples, dtype)
        with self._lock:
            words = self._enter(samples)
            self._dtype = made
            self._render(words)
            return self._leave(self._stream.take(len(words)), made)

    def _render(self, words: Words) -> None:
        for source in range(self.sources):
            if self._given[source] is None:
                self._place(source, 0, 0)
        frames, clipped = self._stream.rendered(words)
        self._clipped += clipped
        if frames:
            self._used = list(self._given)

    def flush(self, dtype: npt.DTypeLike = None) -> Array:
        """What is still to be heard of what has gone in, until it has rung out: (frames, 2). The
        next block begins a new sound. dtype: that of the last block by default."""
        made = self._dtype if dtype is None else sample_dtype(dtype)
        with self._lock:
            self._render(np.empty((0, self.sources), np.int32))
            rest, clipped = self._stream.flush()
            self._clipped += clipped
            self._used = list(self._given)
            return self._leave(rest, made)
