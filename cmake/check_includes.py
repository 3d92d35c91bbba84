#!/usr/bin/env python3
"""Holds every #include of the tree to the arrows that lead from room to room.

A room is a folder; a file is in the room with the longest name that its path begins with. A room includes itself and
what its line names. Prints the includes that follow no arrow; exit 1 if there are any.
"""
import re
import subprocess
import sys

CORE = "libCore/core/source/"
NEON = CORE + "neon/"
STAGES = "highLevel/src/"
BASE = [CORE + "frame/", "include/", "bounded/"]
KERNELS = [NEON + "resample/", NEON + "wavelet/", NEON + "mask/"]

# Of the product: room by room, or single files of a room.
PRODUCT = {
    "include/": [],
    "bounded/": [],
    CORE + "frame/": ["include/", "bounded/"],
    "config/": BASE,
    "opencl/": BASE,
    CORE + "control/": BASE,
    NEON: BASE,
    NEON + "resample/": BASE,
    NEON + "wavelet/": BASE,
    NEON + "mask/": BASE,
    NEON + "scale/": BASE,
    NEON + "warp/": BASE + [NEON + "multi_thread.h"],
    NEON + "ghost/": BASE + [NEON + "resample/", NEON + "mask/", NEON + "MultiThread_new.h"],
    NEON + "GhostDetection_Multithread.": BASE + [NEON + "ghost/", NEON + "resample/"],
    CORE + "registration/": BASE + [NEON + "warp/"],
    STAGES + "band/": BASE + KERNELS,
    STAGES + "luma/": BASE + KERNELS + [STAGES + "band/", CORE + "control/"],
    STAGES + "chroma/": BASE + KERNELS + [STAGES + "band/"],
    STAGES: BASE + [STAGES + "band/", STAGES + "luma/", STAGES + "chroma/"],
    CORE: BASE + [STAGES, CORE + "registration/", CORE + "control/", NEON + "scale/", "config/", "opencl/"],
}
# Around it: whole trees of rooms. The tools see what a host sees, and the names of the tuning record's fields.
INSIDES = ["include/", "bounded/", "config/", "opencl/", "libCore/", "highLevel/"]
TOOLS = ["host/program/", "host/picture/", "host/video/", "host/dsp/", "host/match/", "host/synth/", "host/report/"]
OUTSIDE = {
    "platform/": [CORE + "frame/peer_api.h"],
    "host/program/": [],
    "host/picture/": TOOLS[:3],
    "host/video/": TOOLS[:3],
    "host/dsp/": TOOLS[:3] + ["include/", "config/tuning_keys.h"],
    "host/match/": TOOLS[:4] + ["include/"],
    "host/synth/": TOOLS[:5],
    "host/report/": TOOLS[:6] + ["include/"],
    "host/merge/": TOOLS + ["include/"],
    "host/motion/": TOOLS + ["include/"],
    "host/command_line/": TOOLS,
    "host/commands/": TOOLS + ["host/command_line/", "host/merge/", "host/motion/", "include/", "config/tuning_keys.h"],
    "host/lab/": INSIDES + TOOLS + ["host/command_line/", "host/commands/", "platform/"],
    "examples/": ["include/"],
    "cmake/abi/": ["include/"],
    "bench/": INSIDES + ["host/", "examples/"],
    "fuzz/": INSIDES + TOOLS[:3] + ["host/lab/tuning_origin.h"],
    "tests/": INSIDES + ["host/", "platform/"],
}


def room(path, rooms):
    return max((name for name in rooms if path.startswith(name)), key=len, default="")


def follows_an_arrow(source, target):
    own = room(source, OUTSIDE)
    if own:
        return any(target.startswith(tree) for tree in [own, *OUTSIDE[own]])
    own = room(source, PRODUCT)
    return bool(own) and any(room(target, PRODUCT) == arrow or target == arrow for arrow in [own, *PRODUCT[own]])


def main():
    files = subprocess.run(["git", "ls-files", "*.h", "*.c", "*.cpp"], capture_output=True, text=True, check=True)
    lost = []
    for path in files.stdout.split():
        with open(path, encoding="utf-8") as text:
            for name in re.findall(r'^#include "([^"]+)"', text.read(), re.MULTILINE):
                target = name if "/" in name else path.rsplit("/", 1)[0] + "/" + name
                if not name.startswith("hwy/") and not follows_an_arrow(path, target):
                    lost.append(f"{path}: no arrow leads to {target}")
    print("\n".join(lost), end="\n" if lost else "")
    sys.exit(1 if lost else 0)


main()
