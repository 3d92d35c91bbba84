#!/usr/bin/python3
"""Holds `eis-host merge` against other ways to make one picture of a burst, on a folder of `eis-host synth`.

    bench/merge_peers.py build/release/bin/eis-host FOLDER...

Peers: registration by ORB or by ECC (homographies, bilinear) and the mean; over the frames that ORB aligned, non-local
means and, where Debian's ffmpeg is installed, its atadenoise; align_image_stack of Debian's hugin-tools and the mean, if
that is there. Those with a strength get, plane by plane, the one of several that scores best: they are told the truth,
which no user could tell them. Needs Debian's python3-opencv.
Scores as `eis-host merge --truth` makes them: PSNR in dB of Y where the mover never was, of Y where it was, of U, of V.
"""

import json
import pathlib
import shutil
import subprocess
import sys
import tempfile

import cv2
import numpy as np

NLM_STRENGTHS = (0.6, 0.9, 1.3)  # of the noise
# A frame's difference, and that of all up to it, where it ceases to count; the first ones are the filter's own.
ATADENOISE_THRESHOLDS = ((0.02, 0.04), (0.05, 0.1), (0.05, 0.3), (0.1, 0.3), (0.2, 0.6))


def planes_of(bgr):
    """4:2:0 as eis-host converts pictures."""
    ycc = cv2.cvtColor(bgr, cv2.COLOR_BGR2YCrCb)
    half = (bgr.shape[1] // 2, bgr.shape[0] // 2)
    return [ycc[:, :, 0]] + [cv2.resize(ycc[:, :, k], half, interpolation=cv2.INTER_AREA) for k in (2, 1)]


def psnr(plane, clean, mask=None):
    error = (plane.astype(float) - clean.astype(float)) ** 2
    return 10 * np.log10(255**2 / (error if mask is None else error[mask]).mean())


class Burst:
    def __init__(self, folder):
        self.folder = pathlib.Path(folder)
        self.paths = sorted(self.folder.glob("frame_*.png"))
        self.frames = [cv2.imread(str(path)) for path in self.paths]
        self.clean = planes_of(cv2.imread(str(self.folder / "clean_00.png")))
        masks = [cv2.imread(str(path), 0) > 127 for path in sorted(self.folder.glob("mover_*.png"))]
        self.mover = np.any(masks, axis=0) if masks else np.zeros(self.clean[0].shape, bool)

    def score(self, bgr):
        return self.score_planes(planes_of(bgr))

    def score_planes(self, planes):
        y, u, v = planes
        inside = psnr(y, self.clean[0], self.mover) if self.mover.any() else float("nan")
        return psnr(y, self.clean[0], ~self.mover), inside, psnr(u, self.clean[1]), psnr(v, self.clean[2])


def masked_mean(pictures, masks):
    weights = sum(mask.astype(np.float32) for mask in masks)[..., None]
    total = sum(picture.astype(np.float32) * mask[..., None] for picture, mask in zip(pictures, masks))
    return np.clip(np.rint(total / weights), 0, 255).astype(np.uint8)


def warp(frame, homography):
    """The frame seen from the reference, and where it is filled. `homography` maps the reference to the frame."""
    size = (frame.shape[1], frame.shape[0])
    flags = cv2.INTER_LINEAR | cv2.WARP_INVERSE_MAP
    filled = cv2.warpPerspective(np.full(frame.shape[:2], 255, np.uint8), homography, size, flags=flags) == 255
    return cv2.warpPerspective(frame, homography, size, flags=flags), filled


def orb_homography(reference, frame):
    orb = cv2.ORB_create(5000)
    (points, words), (others, other_words) = (orb.detectAndCompute(picture, None) for picture in (reference, frame))
    matches = cv2.BFMatcher(cv2.NORM_HAMMING, crossCheck=True).match(words, other_words)
    from_points = np.float32([points[match.queryIdx].pt for match in matches])
    to_points = np.float32([others[match.trainIdx].pt for match in matches])
    return cv2.findHomography(from_points, to_points, cv2.RANSAC, 2)[0]


def orb_aligned(burst):
    reference = cv2.cvtColor(burst.frames[0], cv2.COLOR_BGR2GRAY)
    aligned = [(burst.frames[0], np.ones(reference.shape, bool))]
    for frame in burst.frames[1:]:
        aligned.append(warp(frame, orb_homography(reference, cv2.cvtColor(frame, cv2.COLOR_BGR2GRAY))))
    return aligned


def by_orb(burst):
    return burst.score(masked_mean(*zip(*orb_aligned(burst))))


def by_ecc(burst):
    reference = cv2.cvtColor(burst.frames[0], cv2.COLOR_BGR2GRAY)
    aligned = [(burst.frames[0], np.ones(reference.shape, bool))]
    criteria = (cv2.TERM_CRITERIA_EPS | cv2.TERM_CRITERIA_COUNT, 60, 1e-6)
    for frame in burst.frames[1:]:
        grey = cv2.cvtColor(frame, cv2.COLOR_BGR2GRAY)
        start = orb_homography(reference, grey).astype(np.float32)
        _, found = cv2.findTransformECC(reference, grey, start, cv2.MOTION_HOMOGRAPHY, criteria, None, 5)
        aligned.append(warp(frame, found))
    return burst.score(masked_mean(*zip(*aligned)))


def around_reference(burst):
    """Planes of the frames that ORB aligned, an odd number with the reference in the middle, and where that is."""
    pictures = [planes_of(picture) for picture, _ in orb_aligned(burst)]
    middle = (len(pictures) - 1) // 2
    return pictures[1 : middle + 1] + pictures[:1] + pictures[middle + 1 : 2 * middle + 1], middle


def best_planes(burst, runs):
    """Score of the planes that come nearest to the truth, each from the run that does it best."""
    planes = [max((run[plane] for run in runs), key=lambda p, k=plane: psnr(p, burst.clean[k])) for plane in range(3)]
    return burst.score_planes(planes)


def by_nlm(burst):
    pictures, middle = around_reference(burst)
    frames = [[np.ascontiguousarray(picture[plane]) for picture in pictures] for plane in range(3)]
    sigmas = [(frames[plane][middle].astype(float) - burst.clean[plane]).std() for plane in range(3)]
    run = lambda planes, h: cv2.fastNlMeansDenoisingMulti(planes, middle, len(planes), None, h, 5, 15)
    return best_planes(
        burst, [[run(frames[plane], share * sigmas[plane]) for plane in range(3)] for share in NLM_STRENGTHS]
    )


def by_atadenoise(burst):
    pictures, middle = around_reference(burst)
    height, width = pictures[0][0].shape
    raw = b"".join(plane.tobytes() for picture in pictures for plane in picture)
    size = ["-f", "rawvideo", "-pix_fmt", "yuv420p", "-s", f"{width}x{height}"]
    runs = []
    for one, all_frames in ATADENOISE_THRESHOLDS:
        limits = ":".join(f"{plane}a={one}:{plane}b={all_frames}" for plane in range(3))
        filters = ["-vf", f"atadenoise={limits}:s={len(pictures)}"]
        command = ["ffmpeg", "-v", "error", *size, "-i", "-", *filters, *size, "-"]
        out = subprocess.run(command, input=raw, check=True, capture_output=True).stdout
        frame = np.frombuffer(out, np.uint8).reshape(len(pictures), -1)[middle]
        luma, u, v = np.split(frame, [width * height, width * height * 5 // 4])
        half = (height // 2, width // 2)
        runs.append([luma.reshape(height, width), u.reshape(half), v.reshape(half)])
    return best_planes(burst, runs)


def by_align_image_stack(burst):
    with tempfile.TemporaryDirectory() as folder:
        prefix = f"{folder}/aligned_"
        paths = [str(path) for path in burst.paths]
        subprocess.run(["align_image_stack", "-a", prefix, *paths], check=True, capture_output=True)
        pictures = [cv2.imread(str(p), cv2.IMREAD_UNCHANGED) for p in sorted(pathlib.Path(folder).glob("aligned_*.tif"))]
    return burst.score(masked_mean([p[:, :, :3] for p in pictures], [p[:, :, 3] == 255 for p in pictures]))


def of_merge(program, burst):
    with tempfile.TemporaryDirectory() as folder:
        paths = [str(path) for path in burst.paths]
        command = [program, "merge", *paths, "--out", f"{folder}/out.png", "--truth", str(burst.folder), "--json"]
        result = json.loads(subprocess.run(command, check=True, capture_output=True, text=True).stdout)
    scores = result["truth"]["denoised"]
    chroma = scores["everywhere"]["psnr"]
    return result, (scores["psnrYOutsideMover"], scores["psnrYInMoverArea"], chroma["u"], chroma["v"])


def of_denoise(program, burst, settings):
    with tempfile.TemporaryDirectory() as folder:
        out = f"{folder}/out.png"
        words = [f"{key}={','.join(map(str, v)) if isinstance(v, list) else v}" for key, v in settings.items()]
        subprocess.run([program, "denoise", str(burst.paths[0]), out, *words], check=True, capture_output=True)
        return burst.score(cv2.imread(out))


def show(name, scores):
    print(f"  {name:28s}" + " / ".join(f"{value:6.2f}" for value in scores), flush=True)


def main(program, folders):
    for folder in folders:
        burst = Burst(folder)
        print(folder)
        show("the reference", burst.score(burst.frames[0]))
        result, scores = of_merge(program, burst)
        show("eis-host merge", scores)
        if result["denoise"]:
            show("eis-host denoise, one frame", of_denoise(program, burst, result["denoise"]["settings"]))
        show("ORB + mean", by_orb(burst))
        show("ECC + mean", by_ecc(burst))
        show("non-local means", by_nlm(burst))
        for program_name, name, peer in (
            ("ffmpeg", "atadenoise", by_atadenoise),
            ("align_image_stack", "align_image_stack + mean", by_align_image_stack),
        ):
            if shutil.which(program_name):
                show(name, peer(burst))
            else:
                print(f"  {program_name} is not installed")


if __name__ == "__main__":
    if len(sys.argv) < 3:
        sys.exit(__doc__)
    main(sys.argv[1], sys.argv[2:])
