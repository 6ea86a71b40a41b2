"""The functions of earshot.h and scene.h; cffi makes the module of the headers."""

from typing import Any

ffi: Any
lib: Any
