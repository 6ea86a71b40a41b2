"""Scenes: read, checked, and asked where their sources are heard."""

from __future__ import annotations

import dataclasses
import json
import math
import os
from typing import Any, Dict, List, Mapping, NamedTuple, Optional, Tuple, Union

import numpy as np
import numpy.typing as npt

from . import scenes
from ._errors import FileError, RangeError, SceneError, c_text, check, read_file
from ._library import ffi, lib
from ._samples import Array, samples_of

RATE = 48000

_MOST_SCENE_BYTES = 16 << 20
_MOST_TABLE_BYTES = 256 << 20

SceneLike = Union["Scene", str, "os.PathLike[str]", Mapping[str, Any], scenes.Scene]


class SourceInfo(NamedTuple):
    """What a scene says of a source; a sound with a layout counts once for each loudspeaker."""

    file: str  #: as the scene names it; "array" for an array
    layout: Optional[str]  #: of loudspeakers, whose channels are sources
    entry: int  #: in the scene's list of sources, counted from 0
    channel: int  #: counted from 1, 0 for the only one; with a layout, of the layout
    start: float  #: seconds
    gain: float  #: decibels
    loop: bool


class Heard(NamedTuple):
    """Where a source is for the listener, an entry for each time; what there is none of is nan."""

    azimuth: npt.NDArray[np.float64]  #: degrees, -180 to 180, to the left
    elevation: npt.NDArray[np.float64]  #: degrees, upwards
    distance: npt.NDArray[np.float64]  #: metres; nan for a source at a direction


class _Text:
    """A scene of Python's objects as JSON, with its arrays of samples taken out."""

    def __init__(self, scene: Any) -> None:
        self.arrays: Dict[int, Array] = {}
        try:
            self.bytes = json.dumps(self._plain(scene, "")).encode()
        except RecursionError:
            raise SceneError("is nested too deeply, or within itself") from None

    def _plain(self, value: Any, place: str) -> Any:
        if dataclasses.is_dataclass(value) and not isinstance(value, type):
            fields = ((f.name, getattr(value, f.name)) for f in dataclasses.fields(value))
            value = {name: content for name, content in fields if content is not None}
        if isinstance(value, Mapping):
            return self._object(value, place)
        if isinstance(value, np.generic):
            value = value.item()
        if isinstance(value, np.ndarray):
            return self._numbers(value, place)
        if isinstance(value, (list, tuple)):
            return [self._plain(item, f"{place}[{k}]") for k, item in enumerate(value)]
        if isinstance(value, os.PathLike):
            value = os.fspath(value)
        if isinstance(value, float) and not math.isfinite(value):
            raise SceneError(f"{place}: {value} is not a finite number")
        if value is None or isinstance(value, (bool, int, float, str)):
            return value
        raise SceneError(f"{place or 'scene'}: nothing of a scene is of type "
                         f"{type(value).__name__}")

    @staticmethod
    def _numbers(value: Array, place: str) -> Any:
        """Of a track: a million rows are no task for a loop."""
        if value.dtype.kind not in "iuf":
            raise SceneError(f"{place}: an array of dtype {value.dtype.name} is none of numbers")
        wrong = np.argwhere(~np.isfinite(value))
        if len(wrong):
            index = "".join(f"[{i}]" for i in wrong[0])
            raise SceneError(f"{place}{index}: {value[tuple(wrong[0])]} is not a finite number")
        return value.tolist()

    def _object(self, value: Mapping[Any, Any], place: str) -> Dict[str, Any]:
        plain: Dict[str, Any] = {}
        for key, content in value.items():
            if not isinstance(key, str):
                raise SceneError(f"{place or 'scene'}: the key {key!r} is not a text")
            inner = f"{place}.{key}" if place else key
            entry = self._entry(place) if key == "file" else None
            if entry is not None and isinstance(content, np.ndarray):
                self.arrays[entry] = samples_of(content, inner)
                content = "array"
            plain[key] = self._plain(content, inner)
        return plain

    @staticmethod
    def _entry(place: str) -> Optional[int]:
        number = place[len("sources["):-1]
        return int(number) if place == f"sources[{number}]" and number.isdigit() else None


class _Tables:
    """Reads the tables that a scene names, and keeps the one that was read last."""

    def __init__(self, folder: str) -> None:
        self._folder = folder
        self._kept: List[Any] = []

    def load(self, name: Any, size: Any, reason: Any) -> Any:
        try:
            path = os.path.join(self._folder, os.fsdecode(ffi.string(name)))
            self._kept = [ffi.new("char[]", read_file(path, _MOST_TABLE_BYTES))]
            size[0] = len(self._kept[0]) - 1
        except BaseException as error:  # nothing may be thrown through C
            cause = error.__cause__ if isinstance(error, FileError) else error
            text = getattr(cause, "strerror", None) or str(error) or type(error).__name__
            self._kept = [ffi.new("char[]", text.encode("utf-8", "replace"))]
            reason[0] = self._kept[0]
            return ffi.NULL
        return self._kept[0]


@ffi.def_extern()  # type: ignore[misc]
def earshot_load_table(user: Any, name: Any, size: Any, reason: Any) -> Any:
    return ffi.from_handle(user).load(name, size, reason)


def _parsed(text: bytes, name: str, folder: str) -> Any:
    tables = ffi.new_handle(_Tables(folder))
    record = ffi.new("earshot_scene_tables *", (tables, lib.earshot_load_table))
    scene, error = ffi.new("earshot_scene **"), ffi.new("earshot_scene_error *")
    status = lib.earshot_scene_parse(text, len(text), record, scene, error)
    if status == lib.EARSHOT_OK:
        return ffi.gc(scene[0], lib.earshot_scene_free)
    if status == lib.EARSHOT_OUT_OF_MEMORY:
        raise MemoryError("a scene")
    message = (name + ": " if name else "") + c_text(error.text)
    raise (FileError if status == lib.EARSHOT_INPUT_FAILED else SceneError)(message)


class Scene:
    """A scene that has been read and checked: the path of a file, a dict as its JSON would be, or
    `earshot.scenes.Scene`.

    Names of sounds and tables start from the folder of the file, or from `folder`, which is the
    current one by default. In a dict and in dataclasses a source's `file` may be an array of
    samples at 48000 Hz. Constant, and usable by any number of threads at once.
    """

    def __init__(self, scene: SceneLike,
                 folder: Union[None, str, "os.PathLike[str]"] = None) -> None:
        self._arrays: Mapping[int, Array] = {}
        self._name = ""
        if isinstance(scene, Scene):
            self.__dict__.update(scene.__dict__)
            return
        if isinstance(scene, (str, os.PathLike)):
            self._name = os.fspath(scene)
            text = read_file(scene, _MOST_SCENE_BYTES)
            folder = os.path.dirname(self._name) if folder is None else folder
        elif isinstance(scene, (Mapping, scenes.Scene)):
            content = _Text(scene)
            text, self._arrays = content.bytes, content.arrays
        else:
            raise SceneError(f"a scene is a path, a dict or an earshot.scenes.Scene, not of type "
                             f"{type(scene).__name__}")
        self._folder = os.fspath(folder) if folder is not None else ""
        self._scene = _parsed(text, self._name, self._folder)
        count = lib.earshot_scene_sources(self._scene)
        self._sources = tuple(self._source(k) for k in range(count))

    def __repr__(self) -> str:
        name = f" {self._name!r}" if self._name else ""
        count = len(self._sources)
        return f"<earshot.Scene{name} of {count} {'source' if count == 1 else 'sources'}>"

    @property
    def sources(self) -> Tuple[SourceInfo, ...]:
        """The sources in the order in which `heard` counts them."""
        return self._sources

    @property
    def duration(self) -> Optional[float]:
        """The seconds that the scene asks for; None where it lasts as long as its sounds."""
        duration = lib.earshot_scene_duration(self._scene)
        return None if duration < 0 else duration / RATE

    def _source(self, number: int) -> SourceInfo:
        info = ffi.new("earshot_scene_source_info *")
        check(lib.earshot_scene_source(self._scene, number, info), "earshot_scene_source")
        return SourceInfo(c_text(info.file), c_text(info.layout) if info.layout else None,
                          info.entry, info.channel, info.start / RATE, info.gain / 1000,
                          bool(info.loops))

    def heard(self, source: int, times: npt.ArrayLike) -> Heard:
        """Where the listener hears a source, counted from 0, at the times (seconds, of any shape),
        turns of the head included. The arrays have the shape of the times; a low-frequency channel
        of a layout has no direction."""
        if not 0 <= source < len(self._sources):
            raise RangeError(f"source: {source} is outside 0 to {len(self._sources) - 1}")
        seconds = np.asarray(times, np.float64)
        if not (np.abs(seconds) <= 1e9).all():
            raise RangeError("times: are seconds, at most 1e9 of them")
        samples = np.ascontiguousarray(np.rint(seconds * RATE), np.int64)
        words = np.zeros((max(samples.size, 1), 4), np.int32)
        check(lib.earshot_blocks_heard(
            self._scene, source, ffi.cast("s64 *", samples.ctypes.data), samples.size,
            ffi.cast("earshot_scene_direction *", words.ctypes.data)), "earshot_scene_heard")
        words = words[:samples.size]
        values = words[:, :3] * 2.0 ** -16
        values[words[:, 3] != 0] = math.nan
        values[words[:, 2] < 0, 2] = math.nan
        return Heard(*(values[:, k].reshape(seconds.shape) for k in range(3)))


