"""Writes the C code of an extension module: its declarations are those of the headers.

    make_modules.py library|files COMPILER INCLUDE_FOLDER OUTPUT.c
"""

import os
import re
import subprocess
import sys
import tempfile

import cffi

HERE = os.path.dirname(os.path.abspath(__file__))
SOURCES = os.path.join(HERE, "src")

# A table that a scene names is read by Python.
LOADER = ('extern "Python" const char *earshot_load_table(void *user, const char *name,\n'
          '                                               size_t *size, const char **reason);\n')

INTEGER = re.compile(r"\(?-?(0x)?[0-9a-fA-F]+[uUlL]*\)?|U?INT64_C\(\d+\)")


class Header:
    """A header as the preprocessor sees it, without those of the system."""

    def __init__(self, compiler, include, text):
        with tempfile.TemporaryDirectory() as folder:
            for name in ("stdint.h", "stddef.h"):
                open(os.path.join(folder, name), "w").close()
            command = [compiler, "-E", "-undef", "-nostdinc", "-xc", "-I", folder, "-I", include,
                       "-I", SOURCES, "-"]
            self.lines = self._run(command, text)
            self.macros = self._run(command + ["-dM"], text)

    @staticmethod
    def _run(command, text):
        return subprocess.run(command, input=text, capture_output=True, text=True,
                              check=True).stdout.splitlines()

    def declarations(self, belongs):
        """The code of the files that `belongs` accepts by name."""
        kept, taken = [], False
        for line in self.lines:
            marker = re.match(r'# \d+ "(.*?)"', line)
            if marker:
                taken = belongs(marker.group(1))
            elif taken and line.strip():
                kept.append(line)
        return "\n".join(kept) + "\n"

    def constants(self, prefixes):
        found = []
        for line in self.macros:
            _, name, *value = line.split(None, 2)
            if name.startswith(prefixes) and value and INTEGER.fullmatch(value[0]):
                found.append("#define %s ...\n" % name)
        return "".join(sorted(found))


def library(compiler, include):
    header = Header(compiler, include, '#include "blocks.h"\n')
    prefixes = ("EARSHOT_", "HOA_EFFECT_", "HRTF_", "ROLLOFF_")
    module = cffi.FFI()
    declarations = header.declarations(lambda name: "earshot" in name or name.endswith("blocks.h"))
    # cffi writes pointers to arrays of constants in a way that C does not know.
    module.cdef(re.sub(r"\bconst\b", "", declarations) +
                header.constants(prefixes) + LOADER)
    module.set_source("earshot._library", '#include "blocks.h"\n', py_limited_api=True)
    return module


def files(compiler, include):
    own = '#include "files.h"\n#include "batch.h"\n'
    header = Header(compiler, include, own)
    module = cffi.FFI()
    module.include(library(compiler, include))
    module.cdef(header.declarations(lambda name: name.endswith(("files.h", "batch.h"))))
    module.set_source("earshot._files", '#include "blocks.h"\n' + own, py_limited_api=True)
    return module


def main():
    kind, compiler, include, output = sys.argv[1:]
    {"library": library, "files": files}[kind](compiler, include).emit_c_code(output)
    os.utime(output)  # cffi leaves what has not changed as it is


if __name__ == "__main__":
    main()
