#!/usr/bin/env python3
"""Instructions that the library executes on AArch64, beside the figures kept.

count.py [--keep] [--kernels] [--twelve] NAME=BUILD...: runs each build's eis-arm64-count under qemu-user with the
counting plugin, and prints instructions a sample that comes out: entry by entry with the kept figure in parentheses,
with --kernels also function by function. Exits with 1 when an entry executes over 2 % more than the figure kept.
--keep keeps the new figures. --twelve counts calls of 12 megapixels instead of one, which have no figures kept.
"""

import argparse
import collections
import json
import pathlib
import re
import subprocess
import sys
import tempfile

ALLOWED = 1.02
SHOWN = 0.02  # of an entry: functions with less are left out
HERE = pathlib.Path(__file__).resolve().parent
KEPT = HERE / "kept.json"


def functions_of(library):
    """Address, end and short name of each function, by address."""
    lines = subprocess.run(["aarch64-linux-gnu-nm", "-CSn", library], check=True, capture_output=True, text=True).stdout
    for line in lines.splitlines():
        match = re.match(r"([0-9a-f]+) ([0-9a-f]+) [tTwW] (.*)", line)
        if not match:
            continue
        start, size = int(match[1], 16), int(match[2], 16)
        name = re.sub(r"\(anonymous namespace\)|\[clone [^]]*\]|<[^<>]*>", "", match[3]).split("(")[0]
        yield start, start + size, name.split("::")[-1].strip() or match[3]


def run(build, plugin, megapixels):
    """Samples of each entry by its name, and for each block that ran: entry, address, instructions in it, runs."""
    library = build / "lib/libkelvane_eis_ap.so"
    with tempfile.NamedTemporaryFile("r") as blocks:
        program = ["qemu-aarch64", "-plugin", f"{plugin},out={blocks.name}", build / "bin/eis-arm64-count", megapixels]
        output = subprocess.run(program, check=True, stdout=subprocess.PIPE, stderr=subprocess.DEVNULL, text=True)
        executed = [line.split() for line in blocks]
    first, *lines = output.stdout.splitlines()
    base = int(first.split()[1], 16)
    jobs = [line.split(maxsplit=2) for line in lines]
    size = max(end for _, end, _ in functions_of(library))
    ran = [(jobs[int(job)][2], int(address, 16) - base, int(instructions), int(runs))
           for job, address, instructions, runs in executed]
    return {name: int(samples) for _, samples, name in jobs}, [block for block in ran if 0 <= block[1] < size]


def count(build, plugin, megapixels):
    """The instructions a sample of each entry, and of each function in it."""
    functions = list(functions_of(build / "lib/libkelvane_eis_ap.so"))
    samples, ran = run(build, plugin, megapixels)
    owner = {}
    counts = {name: collections.Counter() for name in samples}
    for entry, at, instructions, runs in ran:
        if at not in owner:
            owner[at] = next((name for start, end, name in functions if start <= at < end), "stubs of the linker")
        counts[entry][owner[at]] += instructions * runs / samples[entry]
    return counts


def cell(now, kept):
    return f"{now:.2f}" + ("" if kept is None else f" ({kept:.2f})")


def main():
    parser = argparse.ArgumentParser(description=__doc__, formatter_class=argparse.RawDescriptionHelpFormatter)
    parser.add_argument("--keep", action="store_true")
    parser.add_argument("--kernels", action="store_true")
    parser.add_argument("--twelve", action="store_true")
    parser.add_argument("--plugin", required=True)
    parser.add_argument("builds", nargs="+", metavar="NAME=BUILD")
    args = parser.parse_args()
    kept = json.loads(KEPT.read_text()) if KEPT.exists() and not args.twelve else {}
    builds = dict(build.split("=", 1) for build in args.builds)
    counts = {name: count(pathlib.Path(build), args.plugin, "12" if args.twelve else "1")
              for name, build in builds.items()}
    entries = list(next(iter(counts.values())))

    print("instructions a sample".ljust(34) + "".join(name.rjust(18) for name in builds))
    slower = []
    for entry in entries:
        row = entry.ljust(34)
        for name in builds:
            now, before = sum(counts[name][entry].values()), kept.get(name, {}).get(entry, {}).get("all")
            row += cell(now, before).rjust(18)
            if before is not None and now > ALLOWED * before:
                slower.append(f"{entry}, {name}: {now:.3f} instead of {before:.3f}")
        print(row)
        least = SHOWN * max(sum(counts[name][entry].values()) for name in builds)
        shown = {f: n for name in builds for f, n in counts[name][entry].items() if n >= least}
        for function in sorted(shown, key=shown.get, reverse=True) if args.kernels else ():
            before = {name: kept.get(name, {}).get(entry, {}).get(function) for name in builds}
            print(("    " + function).ljust(34)
                  + "".join(cell(counts[name][entry][function], before[name]).rjust(18) for name in builds))

    if args.keep:
        figures = {name: {entry: {"all": round(sum(of.values()), 3),
                                  **{f: round(n, 3) for f, n in of.most_common() if n >= SHOWN * sum(of.values())}}
                          for entry, of in counts[name].items()} for name in builds}
        KEPT.write_text(json.dumps(figures, indent=1) + "\n")
    elif slower:
        print("over 2 % more than kept:", *slower, sep="\n    ", file=sys.stderr)
        sys.exit(1)


if __name__ == "__main__":
    main()
