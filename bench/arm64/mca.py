#!/usr/bin/env python3
"""Cycles that llvm-mca's model of a Neoverse N2 gives the loops that the library spends its instructions in.

mca.py --plugin PLUGIN [--loops] NAME=BUILD...: counts each build's jobs of 12 megapixels as count.py does, finds the
loops that ran, and prints for each entry its cycles a sample, the milliseconds of 12 megapixels on one core of 2.5 GHz,
and the share of instructions that is in loops; the rest, with what a loop skips more often than not, is taken at the
rate of its entry's loops. With --loops also a line a loop: function, address, instructions and cycles a turn, cycles a
sample.
"""

import argparse
import collections
import pathlib
import re
import subprocess

from count import functions_of, run

MODEL = ["llvm-mca-19", "-mtriple=aarch64", "-mcpu=neoverse-n2", "-iterations=100", "-instruction-info=0",
         "-resource-pressure=0"]
TURNS = 100
GIGAHERTZ = 2.5
SHOWN = 0.02  # of an entry: loops with less are left out
PICTURE = 4000 * 3008


def instructions_of(library):
    """Text of each instruction by address, with branches and addresses that lead nowhere."""
    output = subprocess.run(["llvm-objdump-19", "-d", "--no-show-raw-insn", library], check=True, capture_output=True,
                            text=True).stdout
    found = re.findall(r"^ +([0-9a-f]+):\s+(.*)$", output, re.MULTILINE)
    return {int(address, 16): text for address, text in found}


def loops_of(texts):
    """First and last address of each loop, a branch back and what it leads to: inner ones first."""
    loops = []
    for address, text in texts.items():
        target = re.match(r"(?:b|b\.\w+|cbn?z|tbn?z)\s.*?0x([0-9a-f]+) <", text)
        if target and int(target[1], 16) < address:
            loops.append((int(target[1], 16), address))
    return sorted(loops, key=lambda loop: loop[1] - loop[0])


def turns_of(loops, executed):
    """For each loop that ran: its addresses that most turns execute, none in two loops, and its turns."""
    left = dict(executed)
    for first, last in loops:
        turns = executed.get(last, 0)
        inside = [at for at in range(first, last + 4, 4) if turns and turns / 2 <= left.get(at, 0) <= 2 * turns]
        if not inside:
            continue
        for at in inside:
            del left[at]
        yield inside, turns


def cycles_of(bodies):
    """Cycles of a turn of each body."""
    regions = []
    for number, body in enumerate(bodies):
        lines = [re.sub(r"0x[0-9a-f]+ <.*>", ".", re.sub(r"//.*", "", text)) for text in body]
        regions += [f"# LLVM-MCA-BEGIN {number}", *lines, "# LLVM-MCA-END"]
    output = subprocess.run(MODEL, input="\n".join(regions) + "\n", check=True, capture_output=True, text=True).stdout
    return [int(cycles) / TURNS for cycles in re.findall(r"^Total Cycles: +(\d+)", output, re.MULTILINE)]


def model(build, plugin):
    """Of each entry: cycles a sample, share of instructions in loops, and its loops by cycles."""
    library = build / "lib/libkelvane_eis_ap.so"
    texts = instructions_of(library)
    functions = list(functions_of(library))
    samples, ran = run(build, plugin, "12")
    executed = {entry: collections.Counter() for entry in samples}
    for entry, address, instructions, runs in ran:
        for at in range(address, address + 4 * instructions, 4):
            executed[entry][at] += runs
    loops = loops_of(texts)
    for entry, counts in executed.items():
        found = list(turns_of(loops, counts))
        cycles = cycles_of([[texts[at] for at in inside] for inside, _ in found])
        rows = []
        for (inside, turns), each in zip(found, cycles, strict=True):
            name = next((name for start, end, name in functions if start <= inside[0] < end), "")
            rows.append((each * turns / samples[entry], name, inside[0], len(inside), each))
        in_loops = sum(sum(counts[at] for at in inside) for inside, _ in found) / sum(counts.values())
        rows.sort(reverse=True)
        yield entry, sum(row[0] for row in rows) / in_loops, in_loops, rows


def main():
    parser = argparse.ArgumentParser(description=__doc__, formatter_class=argparse.RawDescriptionHelpFormatter)
    parser.add_argument("--loops", action="store_true")
    parser.add_argument("--plugin", required=True)
    parser.add_argument("builds", nargs="+", metavar="NAME=BUILD")
    args = parser.parse_args()
    for build in args.builds:
        name, folder = build.split("=", 1)
        print(name.ljust(34) + "cycles a sample".rjust(18) + "ms of 12 MP".rjust(14) + "in loops".rjust(12))
        for entry, cycles, share, rows in model(pathlib.Path(folder), args.plugin):
            table = entry.endswith("tables")
            milliseconds = "" if table else f"{cycles * PICTURE / GIGAHERTZ / 1e6:.1f}"
            print(entry.ljust(34) + f"{cycles:.2f}".rjust(18) + milliseconds.rjust(14) + f"{100 * share:.0f} %".rjust(12))
            for total, function, address, length, each in rows if args.loops else ():
                if total >= SHOWN * cycles:
                    print(f"    {function} {address:x}".ljust(34) + f"{total:.2f}".rjust(18)
                          + f"{length} in {each:.1f}".rjust(26))


if __name__ == "__main__":
    main()
