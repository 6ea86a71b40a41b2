"""Compares the instructions of loops in the style of C with those of the same loops in C++: how many
there are of which kind, whichever registers and places on the stack the compiler gives them.

usage: same_instructions.py OBJDUMP OBJECT
"""
import collections
import re
import subprocess
import sys

objdump, compiled = sys.argv[1:]
CONTROLS = {"one_more_check"}  # pairs that are not the same: a comparison that misses them is none

REGISTER = re.compile(r"%([er]?[abcd]x|[er]?[sd]i|[er]?bp|r\d+[dwb]?|[abcd]l|[sd]il|bpl|xmm\d+)\b")


def width(register):
    name = register[1]
    if name.startswith("xmm"):
        return "%xmm"
    if name.startswith("e") or name.endswith("d"):
        return "%32"
    return "%8" if name.endswith(("l", "b")) else "%64"


def kind(instruction):
    operation, _, operands = instruction.partition(" ")
    operands = re.sub(r"(0x[0-9a-f]+)?\(%[re]sp\)", "(stack)", operands)
    operands = re.sub(r"[0-9a-f]+ <[^>]*>", "place", operands).partition("#")[0]
    return f"{operation} {REGISTER.sub(width, operands).strip()}"


def functions():
    """Of every function, with its parts that are hardly ever run: kinds of instructions, calls."""
    text = subprocess.run([objdump, "-dr", "--no-show-raw-insn", "-M", "suffix", compiled],
                          check=True, capture_output=True, text=True).stdout
    found = {}
    kinds = None
    for line in text.splitlines():
        if head := re.match(r"[0-9a-f]+ <(\w+?)(\.cold)?>:", line):
            kinds = found.setdefault(head[1], collections.Counter())
        elif relocation := re.match(r"\s+[0-9a-f]+: (R_\S+PLT\S*)\s+(\w+)", line):
            kinds[f"call of {relocation[2]}"] += 1
        elif instruction := re.match(r"\s+[0-9a-f]+:\s+([^R\s].*)", line):
            if not re.search("nop|xchg", instruction[1]):
                kinds[kind(instruction[1])] += 1
    return found


found = functions()
names = sorted(name.removesuffix("_in_c") for name in found if name.endswith("_in_c"))
faults = [] if len(names) > len(CONTROLS) else ["no loops found"]
for name in names:
    in_c, in_cpp = found[f"{name}_in_c"], found[f"{name}_in_cpp"]
    print(f"{name}: {in_c.total()} instructions and calls in C, {in_cpp.total()} in C++")
    if (in_c == in_cpp) == (name in CONTROLS):
        faults.append(f"{name}: only in C: {dict(in_c - in_cpp)}\n"
                      f"{name}: only in C++: {dict(in_cpp - in_c)}")
sys.exit("\n".join(faults) if faults else None)
