"""Scenes as dataclasses, for those who would rather not write JSON.

    from earshot.scenes import Listener, Rolloff, Scene, Source

    scene = Scene([Source("voice.wav", position=(2, 1, 0)), Source(array, direction=(90, 0))])
    ears = earshot.render(scene)

The names, units and rules are those of the JSON: seconds, metres, degrees, decibels; x to the
front, y to the left, z up; azimuth and yaw to the left. None stands for a key that is left out.
A sound is the name of a file or an array at 48000 Hz, (frames,) or (frames, channels).
"""

from __future__ import annotations

import os
from dataclasses import dataclass, field
from typing import Any, Optional, Sequence, Union

import numpy.typing as npt

Path = Union[str, "os.PathLike[str]"]
Numbers = Union[Sequence[float], npt.NDArray[Any]]
Rows = Union[Sequence[Sequence[float]], npt.NDArray[Any]]
Sound = Union[Path, npt.NDArray[Any]]


@dataclass
class Orientation:
    """Where a head looks: angles, or a quaternion [w, x, y, z]."""

    yaw: Optional[float] = None
    pitch: Optional[float] = None
    roll: Optional[float] = None
    quaternion: Optional[Numbers] = None


@dataclass
class Listener:
    """Where the listener is and looks; tracks are rows, the first column being the time, or the
    name of a table."""

    position: Optional[Numbers] = None
    position_track: Union[None, Path, Rows] = None
    orientation: Optional[Orientation] = None
    orientation_track: Union[None, Path, Rows] = None


@dataclass
class Rolloff:
    """Gain over distance: the model is "inverse", "linear" or "none"."""

    model: str
    minimum: float
    maximum: float


@dataclass
class Source:
    """A sound at a position, a direction or on a track, or with a layout of loudspeakers."""

    file: Sound
    channel: Optional[int] = None
    start: Optional[float] = None
    gain: Optional[float] = None
    loop: Optional[bool] = None
    dc_block: Optional[bool] = None
    position: Optional[Numbers] = None
    direction: Optional[Numbers] = None
    track: Union[None, Path, Rows] = None
    layout: Optional[str] = None
    lfe: Union[None, float, str] = None
    rolloff: Optional[Rolloff] = None


@dataclass
class Scene:
    """What `earshot.Scene`, `earshot.render` and `earshot.open` take."""

    sources: Sequence[Source]
    listener: Optional[Listener] = None
    duration: Optional[float] = None
    version: int = field(default=1)
