"""The Python module against what is known of the entries. EIS_LIBRARY names the library."""
import sys
import unittest
from pathlib import Path

import numpy as np

ROOT = Path(__file__).resolve().parents[2]
sys.path.insert(0, str(ROOT / "python"))
import kelvane_eis_ap as eis  # noqa: E402

TUNING = ROOT / "host/share/multiframe.xml"


def scene(width, height, x0=0, y0=0):
    y, x = np.mgrid[y0:y0 + height, x0:x0 + width]
    luma = (120 + 50 * np.sin(x / 9.0) + 50 * np.cos(y / 11.0)).astype(np.uint8)
    return luma, luma[::2, ::2][:height // 2, :width // 2] // 2 + 60, np.full((height // 2, width // 2), 128, np.uint8)


class Module(unittest.TestCase):
    def test_scale(self):
        picture = scene(640, 480)
        same = eis.scale(picture, (320, 240), crop=(100, 60, 320, 240))
        np.testing.assert_array_equal(same[0], picture[0][60:300, 100:420])
        np.testing.assert_array_equal(same[1], picture[1][30:150, 50:210])
        with self.assertRaises(ValueError):
            eis.scale(picture, (320, 240), crop=(400, 0, 320, 240))

    def test_register(self):
        reference, frame = scene(640, 480), scene(640, 480, 6, 4)
        y, x = np.mgrid[40:440:12j, 40:600:16j]
        points = np.stack([x.ravel(), y.ravel()], axis=1).round()
        aligned, kept = eis.register(reference, frame, points, points - (6, 4))
        self.assertEqual(len(kept), len(points))
        inner = np.s_[20:-20, 20:-20]
        self.assertLessEqual(np.abs(aligned[0][inner].astype(int) - reference[0][inner]).max(), 2)
        unaligned, kept = eis.register(reference, frame, points[:6], points[:6])
        self.assertIsNone(kept)
        np.testing.assert_array_equal(unaligned[0], frame[0])

    def test_denoise(self):
        row = eis.load_tuning(TUNING)["NoiseReduction"][4]
        random = np.random.default_rng(1)
        planes = [random.normal(120, 6, shape).clip(0, 255).astype(np.uint8) for shape in ((301, 250), (150, 125), (150, 125))]
        for before, after in zip(planes, eis.denoise(planes, row)):
            self.assertEqual(before.shape, after.shape)
            self.assertLess(after.std(), before.std() / 2)
        np.testing.assert_array_equal(eis.denoise(planes, chromaNrEnable=0, lumaNrEnable=0)[0], planes[0])
        with self.assertRaises(TypeError):
            eis.denoise(planes, lumaLf=-60)

    def test_tables_and_tuning(self):
        self.assertFalse(eis.tables("fast")["threshold"].any())
        curve = eis.tables("shrink", lumaRatio=-50)["luma"]
        np.testing.assert_array_equal(curve, -curve[::-1])
        self.assertTrue(curve.any())
        tuning = eis.load_tuning(TUNING)
        self.assertEqual([len(tuning[name]) for name in ("NoiseReduction", "SFNoiseReduction")], [8, 8])
        self.assertEqual(len(tuning["NoiseReduction"][0]["chromaNrLUT"]), 40)
        with self.assertRaisesRegex(eis.LibraryError, "-999"):
            eis.load_tuning("/dev/null")


unittest.main()
