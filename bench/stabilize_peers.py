#!/usr/bin/python3
"""Holds `eis-host stabilize` against other programs that steady a clip, on clips of `eis-host synth --clip`.

    bench/stabilize_peers.py build/release/bin/eis-host PHOTO [--seed N] [--frames N] [--keep FOLDER]

Peers, where Debian's ffmpeg is installed: its vidstabdetect and vidstabtransform, and its deshake; and the recipe that
OpenCV's users take: corners, Lucas-Kanade, a similarity, and the mean of the path over 31 frames. Needs Debian's
python3-opencv.

accel   root mean square of the second difference, from frame to frame, of where the content lies, over 81 places of a
        frame, in pixels. Where a picture lies in its input is estimated for all alike, for peers do not tell: corners
        of the output are followed into the input frame it was made from, and a homography is fitted to them. Input
        and scene are joined by the truth. "told" is the same from what `eis-host stabilize --json` tells.
zoom    the content's size against that in the input, mean
border  the share of the output that its input frame does not cover, mean
CPU     user and system time a frame on one core, files read and written included
"""

import argparse
import json
import pathlib
import resource
import shutil
import subprocess
import sys
import tempfile
import time

import cv2
import numpy as np

CORE = ["taskset", "-c", "0"]
GRID = 9
CORNERS = 300
RECIPE_REACH = 15  # frames to either side

STABILIZE = (
    ("eis-host stabilize", []),
    ("  --smooth 8", ["--smooth", "8"]),
    ("  --optimal", ["--optimal"]),
    ("  --zoom least", ["--zoom", "least"]),
    ("  --zoom 1 --margin mirror", ["--zoom", "1", "--margin", "mirror"]),
)
VIDSTAB = (
    ("vid.stab in ffmpeg, defaults", ""),
    ("vid.stab, Gauss 30, bicubic", ":smoothing=30:optalgo=gauss:interpol=bicubic"),
)


class Clip:
    """A Y4M clip in 4:2:0, read frame by frame."""

    def __init__(self, path):
        self.path = str(path)
        with open(self.path, "rb") as file:
            self.header = file.readline()
        fields = {field[:1]: field[1:] for field in self.header.decode().split()[1:]}
        self.width, self.height = int(fields["W"]), int(fields["H"])

    def frames(self):
        """I420 frames, as arrays of 1.5 times the height."""
        with open(self.path, "rb") as file:
            file.readline()
            while file.readline():
                data = file.read(self.width * self.height * 3 // 2)
                yield np.frombuffer(data, np.uint8).reshape(self.height * 3 // 2, self.width)

    def lumas(self):
        for frame in self.frames():
            yield frame[: self.height]


class Truth:
    def __init__(self, folder):
        with open(folder / "truth.json", encoding="utf-8") as file:
            truth = json.load(file)
        self.width, self.height = truth["width"], truth["height"]
        self.homographies = [np.reshape(frame["homography"], (3, 3)) for frame in truth["frames"]]
        self.scenes = [frame["scene"] for frame in truth["frames"]]

    def acceleration(self, corrections):
        """`corrections` lead from the output's positions to the input's, frame by frame."""
        across, down = np.meshgrid(np.linspace(0, self.width, GRID), np.linspace(0, self.height, GRID))
        places = np.stack([across.ravel(), down.ravel(), np.ones(GRID * GRID)])
        seen = [np.linalg.inv(correction) @ homography for correction, homography in zip(corrections, self.homographies)]
        squares = []
        for k in range(1, len(seen) - 1):
            if self.scenes[k - 1] != self.scenes[k + 1]:
                continue
            content = np.linalg.solve(seen[k], places)
            before, here, after = (at[:2] / at[2] for at in (seen[k + step] @ content for step in (-1, 0, 1)))
            squares.append(((before - 2 * here + after) ** 2).sum(axis=0).mean())
        return np.sqrt(np.mean(squares))


def correction_of(output, source, guess):
    """The homography from the output's positions to those in the input frame. `guess` is that of the frame before."""
    half = cv2.resize(output, None, fx=0.5, fy=0.5, interpolation=cv2.INTER_AREA)
    corners = cv2.goodFeaturesToTrack(half, CORNERS, 0.01, 8)
    if corners is None:
        return guess
    corners = 2 * corners + 0.5
    size = (output.shape[1], output.shape[0])
    stop = (cv2.TERM_CRITERIA_EPS | cv2.TERM_CRITERIA_COUNT, 30, 0.005)
    # Lucas-Kanade takes a corner's surroundings to be shifted alone, which a zoom of a few per cent makes wrong by
    # tenths of a pixel: the input is laid onto the output as well as is known, and what is left is measured.
    for _ in range(2):
        laid = cv2.warpPerspective(source, guess, size, flags=cv2.INTER_CUBIC | cv2.WARP_INVERSE_MAP)
        found, status, _ = cv2.calcOpticalFlowPyrLK(output, laid, corners, None, criteria=stop)
        kept = status.ravel() == 1
        left = cv2.findHomography(corners[kept], found[kept], cv2.RANSAC, 0.7)[0] if kept.sum() >= 20 else None
        if left is None:
            return guess
        guess = guess @ left
    return guess


def corrections_of(path, source):
    corrections, guess = [], np.eye(3)
    for output, frame in zip(Clip(path).lumas(), Clip(source).lumas(), strict=True):
        guess = correction_of(output, frame, guess)
        corrections.append(guess)
    return corrections


def zoom_of(corrections):
    return np.mean([1 / np.sqrt(np.linalg.det(correction[:2, :2])) for correction in corrections])


def border_of(corrections, width, height):
    across, down = np.meshgrid(np.linspace(0, width, 257), np.linspace(0, height, 145))
    places = np.stack([across.ravel(), down.ravel(), np.ones(across.size)])
    # What an estimate is off by, and a half pixel of the outermost samples, are no border.
    slack, shares = 1, []
    for correction in corrections:
        at = correction @ places
        x, y = at[0] / at[2], at[1] / at[2]
        outside = (x < -slack) | (y < -slack) | (x > width + slack) | (y > height + slack)
        shares.append(outside.mean())
    return np.mean(shares)


def run(*command, folder=None):
    """What it printed, and the seconds of CPU that it took."""
    before = resource.getrusage(resource.RUSAGE_CHILDREN)
    done = subprocess.run([*CORE, *map(str, command)], cwd=folder, capture_output=True, text=True, check=False)
    after = resource.getrusage(resource.RUSAGE_CHILDREN)
    if done.returncode != 0:
        sys.exit(f"{command[0]} failed: {done.stderr.strip()[-500:]}")
    return done.stdout, after.ru_utime + after.ru_stime - before.ru_utime - before.ru_stime


def ffmpeg(source, filters, output):
    """`filters` run in the output's folder, where they keep files of their own."""
    sink = ["-f", "null", "-"] if output is None else [output]
    call = ["ffmpeg", "-v", "error", "-y", "-threads", "1", "-filter_threads", "1", "-i", source, "-vf", filters]
    return run(*call, "-threads", "1", *sink, folder=source.parent)[1]


def vidstab(source, output, detect="", transform=""):
    seconds = ffmpeg(source, "vidstabdetect=result=motion.trf" + detect, None)
    return seconds + ffmpeg(source, "vidstabtransform=input=motion.trf" + transform, output)


def recipe(source, output):
    """Steadies the clip as OpenCV's users do, and prints the seconds of CPU that it took without Python's start."""
    begin = time.process_time()
    clip = Clip(source)
    frames = [cv2.cvtColor(frame, cv2.COLOR_YUV2BGR_I420) for frame in clip.frames()]
    greys = [cv2.cvtColor(frame, cv2.COLOR_BGR2GRAY) for frame in frames]
    steps = [np.zeros(3)]
    for before, here in zip(greys, greys[1:]):
        corners = cv2.goodFeaturesToTrack(before, 200, 0.01, 30)
        found, status, _ = cv2.calcOpticalFlowPyrLK(before, here, corners, None)
        kept = status.ravel() == 1
        motion, _ = cv2.estimateAffinePartial2D(corners[kept], found[kept])
        steps.append(np.array([motion[0, 2], motion[1, 2], np.arctan2(motion[1, 0], motion[0, 0])]))
    path = np.cumsum(steps, axis=0)
    padded = np.pad(path, ((RECIPE_REACH, RECIPE_REACH), (0, 0)), mode="edge")
    kernel = np.ones(2 * RECIPE_REACH + 1) / (2 * RECIPE_REACH + 1)
    smooth = np.stack([np.convolve(padded[:, axis], kernel, "valid") for axis in range(3)], axis=1)
    with open(output, "wb") as file:
        file.write(clip.header)
        for frame, (x, y, turn) in zip(frames, smooth - path):
            c, s = np.cos(turn), np.sin(turn)
            warped = cv2.warpAffine(frame, np.array([[c, -s, x], [s, c, y]]), (clip.width, clip.height))
            file.write(b"FRAME\n" + cv2.cvtColor(warped, cv2.COLOR_BGR2YUV_I420).tobytes())
    print(time.process_time() - begin)


def by_recipe(source, output):
    return float(run(sys.executable, __file__, "--recipe", source, output)[0])


def by_stabilize(program, source, output, options):
    text, seconds = run(program, "stabilize", source, output, "--json", *options)
    return json.loads(text), seconds


class Bench:
    def __init__(self, program, photo, folder):
        self.program, self.photo, self.folder = program, photo, folder
        self.has_ffmpeg = shutil.which("ffmpeg") is not None

    def clip(self, name, *options):
        run(self.program, "synth", self.photo, "--clip", "--out", self.folder / name, "--force", *options)
        return self.folder / name / "clip.y4m"

    def row(self, name, source, output, seconds, told=None):
        truth = Truth(source.parent)
        found = corrections_of(output, source)
        exact = f"{truth.acceleration([np.reshape(f['correction'], (3, 3)) for f in told['frames']]):.3f}" if told else ""
        cells = [f"{truth.acceleration(found):.3f}", exact, f"{zoom_of(found):.3f}"]
        cells += [f"{100 * border_of(found, truth.width, truth.height):.1f} %"]
        cells += [f"{1000 * seconds / len(found):.1f}" if seconds else ""]
        print(f"| {name} | " + " | ".join(cells) + " |", flush=True)

    def peers(self, output):
        """Name and call of each."""
        if self.has_ffmpeg:
            for name, options in VIDSTAB:
                yield name, lambda source, options=options: vidstab(source, output, transform=options)
            yield "ffmpeg deshake", lambda source: ffmpeg(source, "deshake", output)
        yield "OpenCV recipe (LK, similarity)", lambda source: by_recipe(source, output)

    def table(self, title, source, variants, peers, steady=None):
        print(f"\n{title}\n\n| | accel | told | zoom | border | CPU, ms a frame |\n|---|---|---|---|---|---|", flush=True)
        self.row("shaky input", source, source, 0)
        if steady:
            self.row("without its shake", source, steady, 0)
        output = source.parent / "out.y4m"
        for name, call in list(self.peers(output))[:peers]:
            self.row(name, source, output, call(source))
        for name, options in STABILIZE[:variants]:
            told, seconds = by_stabilize(self.program, source, output, options)
            self.row(name, source, output, seconds, told)

    def tripod(self, *options):
        """How well neighbouring frames agree when the camera is meant to stand still."""
        source = self.clip("still", "--still", *options)
        steady = self.clip("still-steady", "--still", "--steady", *options)
        output = source.parent / "out.y4m"
        print("\nStill camera: mean PSNR of neighbouring frames' luma, dB\n\n| | PSNR |\n|---|---|")
        show = lambda name, path: print(f"| {name} | {neighbour_psnr(path):.2f} |", flush=True)
        show("shaky input", source)
        show("without its shake", steady)
        if self.has_ffmpeg:
            for name, options in (("bilinear", ""), ("bicubic", ":interpol=bicubic")):
                vidstab(source, output, ":tripod=1", ":tripod=1" + options)
                show(f"vid.stab, tripod, {name}", output)
        for name, options in (("eis-host stabilize", []), ("eis-host stabilize --tripod", ["--tripod"])):
            by_stabilize(self.program, source, output, options)
            show(name, output)


def neighbour_psnr(path):
    values, before = [], None
    for luma in Clip(path).lumas():
        if before is not None:
            values.append(cv2.PSNR(before, luma))
        before = luma
    return np.mean(values)


def main():
    cv2.setNumThreads(1)
    parser = argparse.ArgumentParser(description=__doc__, formatter_class=argparse.RawDescriptionHelpFormatter)
    parser.add_argument("program", type=pathlib.Path)
    parser.add_argument("photo", type=pathlib.Path)
    parser.add_argument("--seed", default="1")
    parser.add_argument("--frames", default=120, type=int)
    parser.add_argument("--keep", type=pathlib.Path, help="keep the clips in this folder, which is made")
    arguments = parser.parse_args()
    folder = arguments.keep or pathlib.Path(tempfile.mkdtemp(prefix="stabilize-"))
    bench = Bench(arguments.program.resolve(), arguments.photo.resolve(), folder.resolve())
    usual = ["--noise", "light", "--seed", arguments.seed, "--frames", str(arguments.frames)]
    try:
        if not bench.has_ffmpeg:
            print("ffmpeg is not installed")
        source = bench.clip("usual", "--mover", *usual)
        steady = bench.clip("steady", "--mover", "--steady", *usual)
        bench.table("A pan with a mover", source, len(STABILIZE), None, steady)
        for title, name, options in (
            ("No mover", "bare", []),
            ("A mover over a third of the picture", "third", ["--mover", "--mover-size", "626"]),
            ("A scene cut", "cut", ["--cut", str(arguments.frames // 2)]),
        ):
            bench.table(title, bench.clip(name, *options, *usual), 1, 2)
        bench.tripod(*usual[:-1], str(arguments.frames // 2))
    finally:
        if not arguments.keep:
            shutil.rmtree(folder)


if __name__ == "__main__":
    if sys.argv[1:2] == ["--recipe"]:
        recipe(*sys.argv[2:])
    else:
        main()
