"""Ambisonic fields: encoding, rotation, and two ears."""

from __future__ import annotations

from typing import Any, Optional

import numpy as np
import numpy.typing as npt

from ._binaural import Stream
from ._errors import HeadError, RangeError, check, degrees_q16, direction_q16, number_in
from ._head import Head, HeadLike, head_of
from ._library import ffi, lib
from ._samples import Array, Border, Words, address, frames_of, output_dtype, sample_dtype


def _ears_of(channels: int, head: Head) -> Stream:
    """A renderer of a field's channels with a head's filters for them, which are in the head."""
    if head.channels < channels:
        raise HeadError(f"{head.name} has no filters for fields; prepare it again with "
                        "'earshot head'")
    stream = Stream(channels, 128, 128, 127)
    pair = ffi.new("earshot_filter_pair **")
    for channel in range(channels):
        check(lib.earshot_head_channel(head._head, channel, pair), "earshot_head_channel")
        check(lib.earshot_binaural_set(stream.renderer, channel, pair[0]), "earshot_binaural_set")
    return stream


class Field(Border):
    """A field of order 1 to 4 at 48000 Hz: arrays (frames, (order + 1)^2), AmbiX (ACN, SN3D).

        field = earshot.Field(3)
        scene = field.encode(voice, azimuth=30) + field.encode(band, azimuth=-90)
        ears = field.to_ears(field.rotate(scene, yaw=30))

    `rotate` and `to_ears` go on from block to block, until `reset`. Threads may share a field and
    take turns.
    """

    latency = 127  #: samples by which `to_ears` is late

    def __init__(self, order: int) -> None:
        super().__init__()
        if order not in (1, 2, 3, 4):
            raise RangeError(f"order: {order!r} is not 1 to 4")
        self.order = int(order)
        self.channels = (self.order + 1) ** 2
        self._turned: Any = None  # how the last block ended
        self._head: Optional[Head] = None
        self._ears: Optional[Stream] = None
        self._dtype: Any = np.dtype(np.int32)

    def __repr__(self) -> str:
        return f"<earshot.Field of order {self.order}, {self.channels} channels>"

    def reset(self) -> None:
        """Begins anew: the next block has its rotation from its beginning, and what `to_ears` still
        holds is gone."""
        with self._lock:
            self._turned = self._ears = self._head = None

    def encode(self, block: npt.ArrayLike, azimuth: float, elevation: float = 0,
               dtype: npt.DTypeLike = None) -> Array:
        """A mono sound, (frames,), at a direction in degrees: (frames, channels)."""
        samples = frames_of(block, 1, "block")
        made = output_dtype(samples, dtype)
        gains = np.zeros(self.channels, np.int32)
        check(lib.earshot_blocks_gains(self.order, *direction_q16(azimuth, elevation),
                                       address(gains, "s32 *")), "earshot_field_gains")
        with self._lock:
            mono = np.ascontiguousarray(self._enter(samples)[:, 0])
            field = np.empty((len(mono), self.channels), np.int32)
            self._clipped += lib.earshot_blocks_encode(
                address(mono, "s32 *"), len(mono), address(gains, "s32 *"), self.channels,
                address(field, "s32 *"))
            return self._leave(field, made)

    def rotate(self, block: npt.ArrayLike, yaw: float = 0, pitch: float = 0, roll: float = 0,
               dtype: npt.DTypeLike = None) -> Array:
        """The field, (frames, channels), for a head that has turned by so many degrees at the end
        of the block: yaw to the left, then pitch upwards, then roll to the right. It gets there in
        a straight line from where the block before ended; the first block has the turn from its
        beginning."""
        samples = frames_of(block, self.channels, "block")
        made = output_dtype(samples, dtype)
        for name, angle in (("yaw", yaw), ("pitch", pitch), ("roll", roll)):
            number_in(name, angle, -1e9, 1e9)
        turn = ffi.new("earshot_field_rotation *")
        check(lib.earshot_blocks_rotation(self.order, degrees_q16(yaw), degrees_q16(pitch),
                                          degrees_q16(roll), turn), "earshot_field_rotation_of")
        with self._lock:
            words = self._enter(samples)
            if len(words):
                words = self._rotated(words, self._turned or turn, turn)
                self._turned = turn
            return self._leave(words, made)

    def _rotated(self, words: Words, begin: Any, end: Any) -> Words:
        planes = np.array(words.T, np.int32, order="C")
        pointers = ffi.new("s32 *[]", [address(plane, "s32 *") for plane in planes])
        clipped = ffi.new("u64 *")
        check(lib.earshot_field_rotate(begin, end, len(words), 0, len(words), pointers, clipped),
              "earshot_field_rotate")
        self._clipped += clipped[0]
        turned: Words = np.ascontiguousarray(planes.T)
        return turned

    def to_ears(self, block: npt.ArrayLike, head: HeadLike = None,
                dtype: npt.DTypeLike = None) -> Array:
        """The field, (frames, channels), as two ears hear it `latency` samples later: (frames, 2).
        Blocks may have any length. Another head than that of the block before needs a `reset`."""
        samples = frames_of(block, self.channels, "block")
        made = output_dtype(samples, dtype)
        with self._lock:
            ears = self._ears_through(head)
            words = self._enter(samples)
            self._dtype = made
            self._clipped += ears.rendered(words)[1]
            return self._leave(ears.take(len(words)), made)

    def _ears_through(self, head: HeadLike) -> Stream:
        if self._ears is None:
            chosen = head_of(head)
            self._ears, self._head = _ears_of(self.channels, chosen), chosen
        elif head is not None and head is not self._head:
            raise RangeError("head: the field is heard through another one already; reset() ends "
                             "that")
        return self._ears

    def flush(self, dtype: npt.DTypeLike = None) -> Array:
        """What `to_ears` has still to give, until it has rung out: (frames, 2). The next block
        begins a new sound. dtype: that of the last block by default."""
        made = self._dtype if dtype is None else sample_dtype(dtype)
        with self._lock:
            rest, clipped = self._ears_through(None).flush()
            self._clipped += clipped
            return self._leave(rest, made)
