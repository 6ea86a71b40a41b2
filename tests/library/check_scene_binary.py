"""Checks what libearshot-scene.so shows, and what it needs.

usage: check_scene_binary.py READELF LIBRARY SYMBOL_MAP HEADER
"""
import re
import subprocess
import sys

readelf, library, symbol_map, header = sys.argv[1:]
NEEDED = re.compile(r"^(libearshot|libstdc\+\+|libgcc_s|libc|libm|ld-linux[-\w]*)\.so\.\d+$")


def run(*options):
    return subprocess.run([readelf, "-W", *options, library], check=True, capture_output=True,
                          text=True).stdout


def names_in(path, pattern):
    with open(path, encoding="ascii") as file:
        return set(re.findall(pattern, file.read(), re.M))


exported = {"EARSHOT_SCENE_1": set(), "EARSHOT_SCENE_PRIVATE": set(), "": set()}
for line in run("--dyn-syms").splitlines():
    f = line.split()
    if len(f) > 7 and f[3] in ("FUNC", "OBJECT") and f[6] not in ("UND", "ABS"):
        name, _, version = f[7].partition("@@")
        exported[version].add(name)

public = exported["EARSHOT_SCENE_1"]
faults = []
for source, names in (("listed", names_in(symbol_map, r"^\s+(\w+);$")),
                      ("declared", names_in(header, r"^EARSHOT_API .*?\b(earshot_scene_\w+)\("))):
    faults += [f"exported but not {source}: {n}" for n in sorted(public - names)]
    faults += [f"{source} but not exported: {n}" for n in sorted(names - public)]
faults += [f"without a version: {n}" for n in exported[""]]
faults += [f"of another library's: {n}" for n in exported["EARSHOT_SCENE_PRIVATE"]
           if not re.match(r"_Z\w{0,4}N?K?14earshot_scenes", n)]
needed = re.findall(r"\(NEEDED\).*\[(.*)\]", run("-d"))
faults += [f"needs {n}" for n in needed if not NEEDED.match(n)]
print("\n".join(faults) or f"{len(public)} names, needs {', '.join(needed)}")
sys.exit(bool(faults))
