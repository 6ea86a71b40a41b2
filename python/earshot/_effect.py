"""The ambisonic effect: rotation and focus of a first-order field, with ramps."""

from __future__ import annotations

from typing import Any

import numpy as np
import numpy.typing as npt

from ._errors import RangeError, SampleTypeError, check, number_in, rounded
from ._library import ffi, lib
from ._samples import (Array, Border, Words, address, frames_of, from_words, output_dtype,
                       sample_dtype)

_CHANNELS = 4


class Effect(Border):
    """Turns a first-order field (frames, 4), in ACN order, and focuses it on a direction.

        effect = earshot.Effect()
        effect.set_rotation(yaw=30)
        turned = effect.process(block)

    A new setting is reached over 1024 samples. dtype is the one that the effect computes in: int32
    or int16, which have bits of their own; blocks of other dtypes are converted to int32. Threads
    may share one and take turns.
    """

    def __init__(self, order: int = 1, dtype: npt.DTypeLike = "int32") -> None:
        super().__init__()
        if order != 1:
            raise RangeError(f"order: {order!r} is not 1, the only one that the effect has")
        self._word = sample_dtype(dtype)
        if self._word.name not in ("int16", "int32"):
            raise SampleTypeError(f"dtype: the effect computes in int16 or int32, not in "
                                  f"{self._word.name}")
        config = ffi.new("hoa_effect_config *",
                         (48000, 1, 0, 0, 8 * self._word.itemsize, 0))
        need = ffi.new("hoa_effect_requirement *")
        check(lib.hoa_effect_get_req(0, need, ffi.sizeof(need[0]), 1, config,
                                     ffi.sizeof(config[0])), "hoa_effect_get_req")
        self._memory = np.zeros(need.static_size // 8 + 1, np.uint64)
        state = ffi.new("hoa_effect_state **")
        check(lib.hoa_effect_init(state, 1, config, ffi.sizeof(config[0]),
                                  address(self._memory, "void *"), need.static_size),
              "hoa_effect_init")
        self._state = state[0]

    def __repr__(self) -> str:
        rotation, focus = self.rotation, self.focus
        return f"<earshot.Effect, {self._word.name}, rotation {rotation}, focus {focus}>"

    @staticmethod
    def _angles(yaw: float, pitch: float) -> "tuple[int, int]":
        number_in("yaw", yaw, -180, 180)
        number_in("pitch", pitch, -90, 90)
        return rounded(yaw * 65536), rounded(pitch * 65536)

    def _set(self, parameter: int, *words: int) -> None:
        payload = ffi.new("s32[]", [*words, 0])
        with self._lock:
            check(lib.hoa_effect_set(self._state, parameter, payload, 4 * len(words)),
                  "hoa_effect_set")

    def _get(self, parameter: int) -> Any:
        payload = ffi.new("s32[4]")
        with self._lock:
            check(lib.hoa_effect_get(self._state, parameter, payload, ffi.sizeof(payload)),
                  "hoa_effect_get")
        return payload

    def set_rotation(self, yaw: float, pitch: float = 0) -> None:
        """Turns the listener: degrees, yaw -180 to 180 to the left, pitch -90 to 90 upwards. What
        was there comes from the front."""
        self._set(lib.HOA_EFFECT_PARAM_ROTATION, *self._angles(yaw, pitch))

    def set_focus(self, yaw: float, pitch: float = 0, enable: bool = True) -> None:
        """Lowers what does not come from a direction; or, without enable, hears it all."""
        self._set(lib.HOA_EFFECT_PARAM_FOCUS, *self._angles(yaw, pitch), int(bool(enable)))

    def reset(self) -> None:
        """Takes rotation and focus back, over 1024 samples as well."""
        self._set(lib.HOA_EFFECT_PARAM_RESET)

    @property
    def rotation(self) -> "tuple[float, float]":
        """Yaw and pitch, degrees."""
        words = self._get(lib.HOA_EFFECT_PARAM_ROTATION)
        return words[0] / 65536, words[1] / 65536

    @property
    def focus(self) -> "tuple[float, float, bool]":
        """Yaw and pitch, degrees, and whether there is one."""
        words = self._get(lib.HOA_EFFECT_PARAM_FOCUS)
        return words[0] / 65536, words[1] / 65536, bool(words[2])

    def process(self, block: npt.ArrayLike, dtype: npt.DTypeLike = None) -> Array:
        """The next frames, (frames, 4): as many come out, without a delay. Outputs saturate."""
        samples = frames_of(block, _CHANNELS, "block")
        made = output_dtype(samples, dtype)
        with self._lock:
            words = self._enter(samples)
            taken, clipped = from_words(words, self._word)
            self._clipped += clipped
            out = self._processed(taken)
            if self._word == made:
                return out
            return self._leave(out.astype(np.int32) << (32 - 8 * self._word.itemsize), made)

    def _processed(self, taken: Words) -> Array:
        planes = np.array(taken.T, self._word, order="C")
        pointers = ffi.new("void *[]", [address(plane, "void *") for plane in planes])
        buffer = ffi.new("hoa_effect_buffer *", (len(taken), _CHANNELS, pointers))
        size = ffi.sizeof(buffer[0])
        check(lib.hoa_effect_process(self._state, lib.HOA_EFFECT_OUT_TAG, buffer, size,
                                     lib.HOA_EFFECT_IN_TAG, buffer, size), "hoa_effect_process")
        return np.ascontiguousarray(planes.T)
