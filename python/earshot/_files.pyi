"""Sound files and measured heads, read by the code of the command-line tool."""

from typing import Any

ffi: Any
lib: Any
