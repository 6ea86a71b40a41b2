"""Checks what libearshot.so shows and by which version, what it needs and can write to.

usage: check_binary.py READELF LIBRARY SYMBOL_MAP
"""
import re
import subprocess
import sys

readelf, library, symbol_map = sys.argv[1:]
WRITABLE = {"giOverflow", "giOldOverflow", "invTable", "_ZN7earshot12_GLOBAL__N_16activeE"}
START_UP = re.compile(r"^(completed\.\d+|__dso_handle|__TMC_END__)$")
VERSION = "@EARSHOT_1"  # behind the first @
NEEDED = re.compile(r"^(libc\.so\.6|libm\.so\.6|ld-linux[-.\w]*)$")


def run(*options):
    return subprocess.run([readelf, "-W", *options, library], check=True, capture_output=True,
                          text=True).stdout


def symbols(option):
    """(name and version, section index, binding) of every function and object in a table."""
    for line in run(option).splitlines():
        f = line.split()
        if len(f) > 7 and re.match(r"^\d+:$", f[0]) and f[3] in ("FUNC", "IFUNC", "OBJECT", "TLS"):
            yield f[7], f[6], f[4]


def writable_sections():
    """Index and name of what stays writable once relocations are done."""
    read_only_then = {".data.rel.ro", ".got", ".got.plt", ".dynamic", ".init_array", ".fini_array"}
    row = re.compile(r"^ *\[ *(\d+)\] (\S+) +\S+ +[0-9a-f]+ [0-9a-f]+ [0-9a-f]+ [0-9a-f]+ +W", re.M)
    return {n: name for n, name in row.findall(run("-S")) if name not in read_only_then}


faults = []

with open(symbol_map, encoding="ascii") as file:
    expected = set(re.findall(r"^\s+(\w+);$", file.read(), re.M))
versioned = [name.partition("@") for name, section, binding in symbols("--dyn-syms")
             if section not in ("UND", "ABS") and binding != "LOCAL"]  # ABS: the version itself
exported = {name for name, _, _ in versioned}
faults += [f"exported without the default version: {n}" for n, _, v in versioned if v != VERSION]
faults += [f"exported but not listed: {n}" for n in sorted(exported - expected)]
faults += [f"listed but not exported: {n}" for n in sorted(expected - exported)]

needed = re.findall(r"\(NEEDED\).*\[(.*)\]", run("-d"))
faults += [f"needs {n}" for n in needed if not NEEDED.match(n)]

sections = writable_sections()
faults += [f"writable section: {s}" for s in sections.values() if s not in (".data", ".bss")]
writable = {name.split("@")[0] for name, section, _ in symbols("--syms") if section in sections}
faults += [f"writable data: {n}" for n in sorted(writable - WRITABLE) if not START_UP.match(n)]
faults += [f"not found as writable data: {n}" for n in sorted(WRITABLE - writable)]

# A relocation against an exported name means that a program's symbol could take its place.
relocation = re.compile(r"^[0-9a-f]+ +[0-9a-f]+ +R_\S+ +[0-9a-f]+ +(\w+)", re.M)
preemptible = set(relocation.findall(run("-r")))
shared_on_purpose = {"giOverflow", "giOldOverflow", "invTable"}
faults += [f"reached under its exported name: {n}"
           for n in sorted((preemptible & expected) - shared_on_purpose)]
faults += [f"not reached under its exported name: {n}"
           for n in sorted(shared_on_purpose - preemptible)]

for fault in faults:
    print(fault)
print(f"{len(exported)} names exported, needs {', '.join(needed) or 'nothing'}")
sys.exit(1 if faults or not exported else 0)
