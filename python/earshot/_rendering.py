"""Scenes as they sound."""

from __future__ import annotations

import math
import os
import threading
import warnings
from types import TracebackType
from typing import Any, Dict, Iterator, List, Mapping, Optional, Tuple, Type

import numpy as np
import numpy.typing as npt

from ._errors import (ClosedError, Notice, RangeError, SampleError, SceneError, SoundError,
                      c_text, check, number_in, rounded)
from ._head import HeadLike, head_of
from ._library import ffi, lib
from ._open_files import files
from ._samples import Array, Words, address, from_words, sample_dtype, samples_of, words_of
from ._scene import RATE, Scene, SceneLike, SourceInfo

_CHANNELS_OF_LAYOUTS = {"stereo": 2, "quad": 4, "5.1": 6, "7.1": 8, "5.1.4": 10, "7.1.4": 12}
_BLOCK = RATE  # frames that are computed at a time: between two of them Python hears of Ctrl-C
_NAMELESS = "scene"  # in messages, which begin with a name where they tell a place
_FULL_SCALE_PEAK = 2.0 ** 39


class _Sound:
    """An array in the place of a file, as words: (frames, channels)."""

    def __init__(self, array: Array, what: str) -> None:
        if array.ndim not in (1, 2) or (array.ndim == 2 and array.shape[1] == 0):
            raise SampleError(f"{what}: has the shape {array.shape} and not (frames,) or "
                              "(frames, channels)")
        frames = array.reshape(-1, 1) if array.ndim == 1 else array
        words, self.clipped = words_of(frames, what)
        self.words: Words = np.ascontiguousarray(words)

    def channel_for(self, source: SourceInfo, what: str) -> int:
        """Counted from 0."""
        channels = self.words.shape[1]
        if source.layout is not None:
            wanted = _CHANNELS_OF_LAYOUTS.get(source.layout, channels)
            if channels != wanted:
                raise SampleError(f"{what}: has {_channels(channels)}, {source.layout} has "
                                  f"{wanted}")
        elif source.channel > channels:
            raise SampleError(f"{what}: has {_channels(channels)}, not a channel "
                              f"{source.channel}")
        elif source.channel == 0 and channels != 1:
            raise SampleError(f"{what}: has {_channels(channels)}: name one of them with "
                              "\"channel\", or take all with \"layout\"")
        return max(source.channel, 1) - 1


def _channels(count: int) -> str:
    return f"{count} channel{'' if count == 1 else 's'}"


class _Inputs:
    """The sounds of a scene's sources: arrays where there are any, files otherwise."""

    def __init__(self, scene: Scene, sounds: Optional[Mapping[str, npt.ArrayLike]]) -> None:
        self._scene = scene
        self._sounds = dict(sounds or {})
        self._made: Dict[Tuple[str, object], _Sound] = {}
        count = len(scene.sources)
        self.records = ffi.new("earshot_scene_input[]", count)
        self._arrays = ffi.new("earshot_scene_samples[]", count)
        given = bytearray(count)
        for k, source in enumerate(scene.sources):
            given[k] = self._play(k, source)
        self._check_names()
        self._files = None if all(given) else self._open_files(bytes(given))

    def _check_names(self) -> None:
        names = {source.file for source in self._scene.sources}
        for name in self._sounds:
            if name not in names:
                raise SceneError(f"sounds: no source of the scene has the file {name!r}")

    def _sound_of(self, source: SourceInfo) -> Optional[_Sound]:
        if source.entry in self._scene._arrays:
            key: Tuple[str, object] = ("entry", source.entry)
            array: npt.ArrayLike = self._scene._arrays[source.entry]
            what = f"sources[{source.entry}].file"
        elif source.file in self._sounds:
            key, array = ("name", source.file), self._sounds[source.file]
            what = f"sounds[{source.file!r}]"
        else:
            return None
        if key not in self._made:
            self._made[key] = _Sound(samples_of(array, what), what)
        return self._made[key]

    def _play(self, number: int, source: SourceInfo) -> bool:
        sound = self._sound_of(source)
        if sound is None:
            return False
        channel = sound.channel_for(source, f"sources[{source.entry}].file")
        frames, channels = sound.words.shape
        record = self._arrays + number
        record.frames, record.stride, record.position = frames, channels, 0
        record.samples = address(sound.words, "s32 *") + channel if frames else ffi.NULL
        check(lib.earshot_scene_play(record, self.records + number), "earshot_scene_play")
        return True

    def _open_files(self, given: bytes) -> Any:
        file_ffi, file_lib = files()
        sounds, error = file_ffi.new("earshot_sounds **"), file_ffi.new("earshot_scene_error *")
        status = file_lib.earshot_sounds_open(
            self._scene._scene, os.fsencode(self._scene._name or _NAMELESS),
            os.fsencode(self._scene._folder), given, self.records, sounds, error)
        if status == lib.EARSHOT_OUT_OF_MEMORY:
            raise MemoryError("the sounds of a scene")
        if status != lib.EARSHOT_OK:
            text = c_text(error.text)
            raise SoundError(text if self._scene._name else text[len(_NAMELESS) + 2:])
        return file_ffi.gc(sounds[0], file_lib.earshot_sounds_close)

    def notes(self) -> List[str]:
        if self._files is None:
            return []
        return c_text(files()[1].earshot_sounds_notes(self._files)).splitlines()

    def clipped(self) -> int:
        count = sum(sound.clipped for sound in self._made.values())
        if self._files is not None:
            count += files()[1].earshot_sounds_clipped(self._files)
        return count

    def fault(self) -> str:
        """Why a read failed."""
        text = c_text(files()[1].earshot_sounds_fault(self._files)) if self._files else ""
        return text or "a sound cannot be read"


def _options_of(placement: str, field: int, no_head: bool, gain: float, head: HeadLike) -> Any:
    options = ffi.new("earshot_scene_options *")
    lib.earshot_scene_defaults(options)
    placements = {"continuous": lib.EARSHOT_SCENE_CONTINUOUS,
                  "measured": lib.EARSHOT_SCENE_MEASURED}
    if placement not in placements:
        raise RangeError(f"placement: {placement!r} is not 'continuous' or 'measured'")
    if field not in (0, 1, 2, 3, 4):
        raise RangeError(f"field: {field!r} is not an order, 1 to 4, or 0 for two ears")
    if field and head is not None:
        raise RangeError("head: a field is not heard through a head")
    if field and placement == "measured":
        raise RangeError("placement: a field has every source exactly where it is; leave it out")
    if no_head and not field:
        raise RangeError("no_head: two ears turn with their head; it is for a field")
    options.placement = placements[placement]
    options.field_order, options.no_turns = int(field), int(bool(no_head))
    options.gain = rounded(number_in("gain", gain, -120, 60) * 1000)
    return options


class Rendering:
    """A scene being rendered, from `earshot.open`: to be read frame by frame.

    What is read is an array (frames, channels) of the dtype asked for: two ears, or the (order +
    1)^2 channels of an AmbiX field. However it is cut, the samples are the same. Threads may share
    one and take turns; renderings are independent of each other. A context manager; iterated over,
    it gives blocks of a second.
    """

    def __init__(self, scene: SceneLike, sounds: Optional[Mapping[str, npt.ArrayLike]] = None,
                 head: HeadLike = None, placement: str = "continuous", field: int = 0,
                 no_head: bool = False, gain: float = 0.0,
                 dtype: npt.DTypeLike = "int32") -> None:
        self._lock = threading.Lock()
        self._stream: Any = None
        self._dtype = sample_dtype(dtype)
        self._converted_clips = 0
        self._scene = Scene(scene)
        options = _options_of(placement, field, no_head, gain, head)
        if head is not None:
            self._head = head_of(head)
            options.head = self._head._head
        self._inputs = _Inputs(self._scene, sounds)
        stream, error = ffi.new("earshot_scene_stream **"), ffi.new("earshot_scene_error *")
        status = lib.earshot_scene_open(self._scene._scene, options, self._inputs.records,
                                        len(self._scene.sources), stream, error)
        if status == lib.EARSHOT_OUT_OF_MEMORY:
            raise MemoryError("a rendering")
        if status != lib.EARSHOT_OK:
            name = self._scene._name
            raise SceneError((name + ": " if name else "") + c_text(error.text))
        self._stream = ffi.gc(stream[0], lib.earshot_scene_close)
        self._last = self._describe()

    def _describe(self) -> Any:
        info = ffi.new("earshot_scene_stream_info *")
        check(lib.earshot_scene_stream_describe(self._stream, info), "stream_describe")
        return info

    def _info(self) -> Any:
        with self._lock:
            if self._stream is not None:
                self._last = self._describe()
            return self._last

    def __repr__(self) -> str:
        frames = "unknown" if self.frames is None else self.frames
        state = "" if self._stream is not None else ", closed"
        return (f"<earshot.Rendering of {self._scene!r}: {frames} frames of {self.channels} "
                f"channels{state}>")

    @property
    def scene(self) -> Scene:
        """What is rendered."""
        return self._scene

    @property
    def channels(self) -> int:
        """2, or those of the field."""
        return int(self._last.channels)

    @property
    def frames(self) -> Optional[int]:
        """Of the whole; None where a sound does not tell its length."""
        frames = int(self._last.frames)
        return None if frames < 0 else frames

    @property
    def peak(self) -> float:
        """The largest magnitude that has been read, before any clipping and without the gain; 1.0
        is full scale."""
        return float(self._info().peak / _FULL_SCALE_PEAK)

    @property
    def clipped(self) -> int:
        """How many samples of what has been read were clipped at full scale."""
        return int(self._info().clipped) + self._converted_clips

    @property
    def clipped_sounds(self) -> int:
        """How many samples of the sounds were clipped when they were read or converted."""
        return self._inputs.clipped()

    @property
    def notes(self) -> List[str]:
        """What there is to say of how files are taken, in lines."""
        return self._inputs.notes()

    def _check_open(self) -> None:
        if self._stream is None:
            raise ClosedError("the rendering is closed")

    def _read_block(self, out: Words) -> int:
        done = ffi.new("s64 *")
        status = lib.earshot_scene_read(self._stream, address(out, "s32 *"), len(out), done)
        self._check_read(status)
        return int(done[0])

    def _check_read(self, status: int) -> None:
        if status == lib.EARSHOT_INPUT_FAILED:
            raise SoundError(self._inputs.fault())
        check(status, "the rendering")

    def _read_words(self, frames: Optional[int]) -> Words:
        """All that is left, for None."""
        blocks: List[Words] = []
        left = math.inf if frames is None else frames
        while left > 0:
            block = np.empty((int(min(left, _BLOCK)), self.channels), np.int32)
            got = self._read_block(block)
            blocks.append(block[:got])
            if got < len(block):
                break
            left -= got
        if len(blocks) == 1:
            return blocks[0]
        return np.concatenate(blocks) if blocks else np.empty((0, self.channels), np.int32)

    def read(self, frames: Optional[int] = None) -> Array:
        """The next frames, or all that is left: (frames, channels), fewer only at the end."""
        if frames is not None:
            number_in("frames", frames, 0, 2.0 ** 62)
        with self._lock:
            self._check_open()
            words = self._read_words(frames)
            samples, clipped = from_words(words, self._dtype)
            self._converted_clips += clipped
            return samples

    def skip(self, frames: int) -> int:
        """Goes past frames as if they had been read, in much less time; returns how many there
        were. What has been gone past does not count for `peak` and `clipped`."""
        number_in("frames", frames, 0, 2.0 ** 62)
        with self._lock:
            self._check_open()
            done = ffi.new("s64 *")
            self._check_read(lib.earshot_scene_skip(self._stream, int(frames), done))
            return int(done[0])

    def __iter__(self) -> Iterator[Array]:
        while len(block := self.read(_BLOCK)):
            yield block

    def close(self) -> None:
        """Gives the memory back and closes the files; twice is fine."""
        with self._lock:
            if self._stream is None:
                return
            self._last = self._describe()
            ffi.release(self._stream)
            self._stream = None

    def __enter__(self) -> "Rendering":
        return self

    def __exit__(self, kind: Optional[Type[BaseException]], error: Optional[BaseException],
                 trace: Optional[TracebackType]) -> None:
        self.close()


def open(scene: SceneLike, sounds: Optional[Mapping[str, npt.ArrayLike]] = None,
         head: HeadLike = None, placement: str = "continuous", field: int = 0,
         no_head: bool = False, gain: float = 0.0,
         dtype: npt.DTypeLike = "int32") -> Rendering:
    """Opens the rendering of a scene, to be read in blocks; arguments as of `render`."""
    return Rendering(scene, sounds, head, placement, field, no_head, gain, dtype)


def render(scene: SceneLike, sounds: Optional[Mapping[str, npt.ArrayLike]] = None,
           head: HeadLike = None, placement: str = "continuous", field: int = 0,
           no_head: bool = False, gain: float = 0.0, dtype: npt.DTypeLike = "int32") -> Array:
    """Renders a scene, at 48000 Hz, into an array (frames, channels).

    scene      a path, a dict, `earshot.scenes.Scene` or `earshot.Scene`
    sounds     arrays at 48000 Hz, (frames,) or (frames, channels), that stand in for the files of
               these names
    head       whose ears: an `earshot.Head`, or the path of one or of a SOFA file
    placement  "continuous", or "measured": at the nearest direction of the built-in measurement
    field      1 to 4: an AmbiX field of that order instead of two ears
    no_head    of a field, without the listener's turns
    gain       of the whole, decibels
    dtype      int32 (Q31), int16 (Q15), float32 or float64 (full scale 1.0)

    A `Notice` is warned of where samples were clipped, or a file is taken for something else than
    it says.
    """
    with Rendering(scene, sounds, head, placement, field, no_head, gain, dtype) as rendering:
        samples = rendering.read()
        for note in rendering.notes:
            warnings.warn(note, Notice, stacklevel=2)
        if rendering.clipped:
            warnings.warn(f"{rendering.clipped} samples were clipped at full scale; a gain of "
                          f"{-20 * math.log10(max(rendering.peak, 1)) - 0.01:.2f} dB is enough",
                          Notice, stacklevel=2)
        return samples


