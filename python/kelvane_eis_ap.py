"""The noise reduction library on numpy planes, for notebooks: no more than ctypes and numpy.

A picture is a tuple (y, u, v) of 2-D uint8 arrays, planar 4:2:0: y has shape (height, width), u and v (height // 2,
width // 2). Results are new arrays; arguments stay as they are. An entry that fails raises LibraryError, which carries the
status and the lines that the library logged. The library is found where the loader finds it, or at the path in the
environment variable EIS_LIBRARY. Calls from several threads take turns.

    import kelvane_eis_ap as eis
    rows = eis.load_tuning("multiframe.xml")["NoiseReduction"]
    clean = eis.denoise((y, u, v), rows[4])
"""
import ctypes
import functools
import os
import tempfile
import threading
from ctypes import POINTER, Structure, addressof, byref, c_char_p, c_float, c_int16, c_int32, c_uint8, c_uint32, c_void_p

import numpy as np

__all__ = ["LibraryError", "scale", "register", "denoise", "tables", "load_tuning"]


class LibraryError(RuntimeError):
    """An entry that failed: `entry` is its name, `status` what it returned, `log` the lines that it logged."""

    def __init__(self, entry, status, log):
        super().__init__("\n".join([f"{entry} returned {status}", *log]))
        self.entry, self.status, self.log = entry, status, log


def _fields(kind, names):
    return [(name, kind) for name in names.split()]


class _Picture(Structure):
    _fields_ = _fields(c_int32, "width height stride") + [("planes", c_uint32 * 3), ("format", c_int32)]


class _Scale(Structure):
    _fields_ = (_fields(c_int32, "dstWidth dstHeight dstStride srcWidth srcHeight srcStride border")
                + _fields(c_uint32, "Yin Uvin Yout Uvout"))


class _Strengths(Structure):
    _pack_ = 1
    _fields_ = [("reserved0", c_uint8), ("pMaskIIR", c_uint32), ("iirImgCount", c_uint8),
                *_fields(c_int32, "lumaMed lumaLF lumaHF1 lumaHF2 lumaHF3 chromaS detail"),
                *_fields(c_uint32, "pSpatialChromaNrLUT pIIRImgNum"),
                *_fields(c_int32, "lumaNrEnable chromaNrEnable reserved50 reserved54 reserved58"),
                ("chromaEdgeLevel", c_uint8), ("reserved63", c_uint8),
                *_fields(c_int32, "chromaGainIndex chromaEdgeAlpha")]


class _DenoiseIn(Structure):
    _pack_ = 1
    _fields_ = [("reserved0", c_uint8 * 140), ("strengths", _Strengths), ("globalMotionState", c_int32),
                ("reserved216", c_uint8 * 120), ("waitApFlag", c_int32)]


class _Matches(Structure):
    _fields_ = [("pRefPoints", c_uint32), ("pCurPoints", c_uint32), ("pointNum", c_int32), ("pCurIndex", c_uint32),
                ("pRefIndex", c_uint32), ("pDistance", c_uint32), ("matchNum", c_int32), ("coordScale", c_int32),
                ("ratio", c_float), ("pRefKeypoints", c_uint32), ("pCurKeypoints", c_uint32)]


class _RegistrationIn(Structure):
    _fields_ = [("images", _Picture * 4), ("reserved", c_uint32), ("pairs", c_uint32 * 9)]


class _RegistrationOut(Structure):
    _fields_ = [("images", _Picture * 4), ("reserved", c_uint32 * 34), ("pStatus", c_uint32)]


class _Registration(Structure):
    _fields_ = [("matches", c_uint32), ("pictures", c_uint32), ("results", c_uint32), ("idx", c_int32),
                ("lumaOnly", c_int32), ("pHomography", c_uint32)]


_FAST_STRENGTHS = {"nrTailRatio": -105, "nrLumaDetail": -46, "nrLumaRatio": -100, "nrUVRatio": -105, "nrTH": 0,
                   "nrShadingStrength": 0.0}
_SHRINK_STRENGTHS = {"lumaRatio": -100, "shrinkRatio0": -128, "shrinkRatio1": -128, "shrinkRatio2": -128, "lumaDetail": -46}


class _FastControl(Structure):
    _fields_ = [("address", c_uint32), ("reserved", c_uint32 * 3),
                *_fields(c_int32, "nrTailRatio nrLumaDetail nrLumaRatio nrUVRatio nrTH"), ("nrShadingStrength", c_float)]


class _ShrinkControl(Structure):
    _fields_ = [("address", c_uint32), *_fields(c_int32, "lumaRatio shrinkRatio0 shrinkRatio1 shrinkRatio2 lumaDetail"),
                ("memAllocator", c_uint32 * 2)]


# First entry and number of entries of each table.
_TABLES = {
    "fast": {"luma": (0, 241), "luma_gain": (256, 241), "chroma": (512, 256), "chroma_soft": (768, 256),
             "shading": (1024, 256), "shading_soft": (1280, 256), "threshold": (1536, 256), "tail": (1792, 256)},
    "shrink": {"shrink0": (0, 1024), "shrink1": (1024, 1024), "shrink2": (2048, 1024), "luma": (3072, 241),
               "luma_gain": (3328, 241)},
}


class _NoiseRow(Structure):
    _pack_ = 1
    _fields_ = [*_fields(c_int32, "isovalue lumaMed lumaLF lumaHF1 lumaHF2 lumaHF3 detail lumaMed_M lumaLF_M lumaHF1_M "
                                  "lumaHF2_M lumaHF3_M detail_M chromaS"), ("chromaNrLUT", c_uint32 * 40),
                *_fields(c_int32, "lumaMed_BN lumaLF_BN lumaHF1_BN lumaHF2_BN lumaHF3_BN detail_BN chromaS_BN lumaTH_Low "
                                  "lumaTH_Low_M lumaTH_High lumaTH_High_M lumaNoiseTH lumaNoiseTH_M chromaTH_Low "
                                  "chromaTH_High chromaNoiseTH")]


class _SfRow(Structure):
    _pack_ = 1
    _fields_ = [("reserved", c_int32),
                *_fields(c_int32, "NoiseReducFlag ContrastEnhanceFlag SharpnessEnhanceFlag ColorManageFlag luma chroma "
                                  "lumaHF chromaHF detail"),
                *_fields(c_float, "shading percentLow percentHigh diffusion"), ("alphaLUT", c_int16 * 17)]


class _Tuning(Structure):
    _pack_ = 1
    _fields_ = [("noise", _NoiseRow * 8), *_fields(c_int32, "enhancementLevel chromaDetail"), ("reserved", c_uint8 * 16),
                *_fields(c_int32, "ExposureFusionFlag DepthType ColorOnlyDisparity ColorOnlyPixelPercent "
                                  "ColorBaseDisparity ColorBasePixelPercent"),
                ("sfIso", c_int32 * 8), ("sf", _SfRow * 8)]


class _ParseXml(Structure):
    _pack_ = 1
    _fields_ = [("record", c_uint32), ("prefix", c_char_p)]


class _LogLine(Structure):
    _fields_ = [("size", ctypes.c_size_t), ("buffer", ctypes.c_int), ("priority", ctypes.c_int), ("tag", c_char_p)]


class _Host:
    """The library with a host around it: device addresses are indices into a list of the running call's buffers."""

    def __init__(self):
        self.library = ctypes.CDLL(os.environ.get("EIS_LIBRARY") or _installed())
        self.lock, self.buffers, self.log = threading.Lock(), [None], []
        converter = ctypes.CFUNCTYPE(c_void_p, c_uint32)
        maintainer = ctypes.CFUNCTYPE(None, c_void_p)
        logger = ctypes.CFUNCTYPE(None, POINTER(_LogLine), c_char_p)
        # What the library holds on to must not be collected.
        self.callbacks = (converter(self._convert), maintainer(lambda address: None), logger(self._take_line))
        self.library.setIO2VAConverter(self.callbacks[0])
        self.library.setGraphicBufferInvalidater(self.callbacks[1])
        self.library.setGraphicBufferFlusher(self.callbacks[1])
        getattr(self.library, "__android_log_set_logger")(self.callbacks[2])

    def _convert(self, address):
        return _address_of(self.buffers[address]) if 0 < address < len(self.buffers) else None

    def _take_line(self, _, message):
        self.log.append(message.decode("utf-8", "replace").rstrip())

    def __enter__(self):
        self.lock.acquire()
        self.buffers, self.log = [None], []
        return self

    def __exit__(self, *_):
        self.buffers = [None]
        self.lock.release()

    def share(self, buffer):
        """The device address of an array or structure, until the call ends."""
        self.buffers.append(buffer)
        return len(self.buffers) - 1

    def call(self, entry, block):
        status = getattr(self.library, entry)(byref(block))
        if status != 0:
            raise LibraryError(entry, status, self.log)


def _address_of(buffer):
    return buffer.ctypes.data if isinstance(buffer, np.ndarray) else addressof(buffer)


def _installed():
    # Its development file, or the versioned one of a package.
    for name in ("libkelvane_eis_ap.so", "libkelvane_eis_ap.so.1"):
        try:
            ctypes.CDLL(name)
            return name
        except OSError:
            continue
    raise ImportError("libkelvane_eis_ap.so is not found: set EIS_LIBRARY to its path")


@functools.lru_cache(maxsize=None)
def _host():
    return _Host()


def _pitch(width):
    return (width + 127) & ~127


def _checked(picture):
    """The planes as uint8 arrays; ValueError for shapes that are not 4:2:0."""
    y, u, v = (np.asarray(plane, dtype=np.uint8) for plane in picture)
    if y.ndim != 2 or u.shape != (y.shape[0] // 2, y.shape[1] // 2) or v.shape != u.shape:
        raise ValueError(f"planes of shapes {y.shape}, {u.shape}, {v.shape} are no 4:2:0 picture")
    return y, u, v


def _padded(plane, pitch):
    rows = np.zeros((plane.shape[0], pitch), np.uint8)
    rows[:, :plane.shape[1]] = plane
    return rows


def _device_picture(host, picture):
    """The picture in padded planes, and its block; `planes` are views of the samples alone."""
    height, width = picture[0].shape
    block, views = _Picture(width=width, height=height, stride=_pitch(width), format=2), []
    for index, plane in enumerate(picture):
        rows = _padded(plane, _pitch(plane.shape[1]))
        block.planes[index] = host.share(rows)
        views.append(rows[:, :plane.shape[1]])
    return block, views


def scale(picture, size, crop=None):
    """Crops and scales by fixed-point bilinear interpolation.

    size: (width, height) of the result. crop: (x, y, width, height) of the source, even numbers, or None for all of it.
    Returns a picture of that size. ValueError for a crop outside the picture; LibraryError.
    """
    y, u, v = _checked(picture)
    if crop is not None:
        left, top, width, height = crop
        if any(n % 2 for n in crop) or left < 0 or top < 0 or left + width > y.shape[1] or top + height > y.shape[0]:
            raise ValueError(f"a crop of {crop} is not even, or not inside {y.shape[1]}x{y.shape[0]}")
        y = y[top:top + height, left:left + width]
        u, v = (p[top // 2:(top + height) // 2, left // 2:(left + width) // 2] for p in (u, v))
    width, height = size
    chroma = (2, height // 2, _pitch(width // 2))
    luma_out, chroma_out = np.zeros((height, width), np.uint8), np.zeros(chroma, np.uint8)
    with _host() as host:
        chroma_in = np.stack([_padded(plane, _pitch(y.shape[1] // 2)) for plane in (u, v)])
        block = _Scale(width, height, width, y.shape[1], y.shape[0], y.shape[1], 2, host.share(np.ascontiguousarray(y)),
                       host.share(chroma_in), host.share(luma_out), host.share(chroma_out))
        host.call("Scale_Bilinear_AcoreAPI", block)
    return luma_out, chroma_out[0, :, :width // 2].copy(), chroma_out[1, :, :width // 2].copy()


def register(reference, frame, reference_points, frame_points):
    """Warps `frame` onto `reference` by the homography that most of the match pairs agree on.

    reference, frame: pictures of one size, heights that are multiples of 8. The points: arrays of shape (n, 2), float, n
    from 5 to 32767, in pixels; row i of both is a pair. They are rounded to 1/64 pixel.
    Returns (picture, kept): the warped frame, and the rows of the reference points that the estimation kept, float32 of
    shape (m, 2); (frame as it was, None) where the library refuses. ValueError; LibraryError.
    """
    reference, frame = _checked(reference), _checked(frame)
    points = [np.asarray(p, dtype=np.float64) for p in (reference_points, frame_points)]
    count = len(points[0])
    if reference[0].shape != frame[0].shape:
        raise ValueError("frame and reference differ in size")
    if any(p.shape != (count, 2) for p in points) or not 5 <= count <= 32767:
        raise ValueError("points must be two arrays of one shape (n, 2), n from 5 to 32767")
    with _host() as host:
        tables = [np.zeros((count, 3), np.int32) for _ in points]
        for table, positions in zip(tables, points):
            table[:, :2] = np.rint(positions * 64)
        index = np.arange(count, dtype=np.int16)
        kept = np.zeros((count, 2), np.float32)
        pairs = [host.share(kept), host.share(np.zeros((count, 2), np.float32))]
        matches = _Matches(*pairs, count, host.share(index), host.share(index), host.share(np.zeros(count, np.int32)),
                           count, 1, 0.8, *(host.share(table) for table in tables))
        status, homography = np.zeros(1, np.int32), np.zeros(9, np.float32)
        pictures, results = _RegistrationIn(), _RegistrationOut(pStatus=host.share(status))
        pictures.images[0] = _device_picture(host, reference)[0]
        pictures.images[1] = _device_picture(host, frame)[0]
        pictures.pairs[0], pictures.pairs[1] = pairs
        results.images[1], planes = _device_picture(host, frame)
        block = _Registration(host.share(matches), host.share(pictures), host.share(results), 1, 0,
                              host.share(homography))
        host.call("Ransac_Regis_AcoreAPI_EIS", block)
    if status[0] != 0:
        return tuple(plane.copy() for plane in frame), None
    return tuple(plane.copy() for plane in planes), kept[:matches.pointNum].copy()


def denoise(picture, row=None, **strengths):
    """Reduces the noise of luma and chroma.

    picture: at least 128x128. row: a row of load_tuning()["NoiseReduction"], or None; strengths: fields over it, as
    lumaLF=-60, chromaS=20, chromaNrLUT=(40 numbers). What neither names is off, or chromaEdgeLevel 65, chromaEdgeAlpha 192.
    Returns the denoised picture. ValueError for a picture that is too small; TypeError for a field that there is not;
    LibraryError.
    """
    planes = _checked(picture)
    height, width = planes[0].shape
    if min(height, width) < 128:
        raise ValueError(f"a picture of {width}x{height} is too small: denoising starts at 128x128")
    settings = {"lumaLF": -100, "lumaHF1": -128, "detail": -128, "chromaS": -90, "lumaNrEnable": 1, "chromaNrEnable": 1,
                "chromaEdgeLevel": 65, "chromaEdgeAlpha": 192}
    known = {name for name, _ in _Strengths._fields_ if not name.startswith(("p", "reserved"))} | {"chromaNrLUT"}
    settings.update({name: value for name, value in (row or {}).items() if name in known})
    if set(strengths) - known:
        raise TypeError("no such strength: " + ", ".join(sorted(set(strengths) - known)))
    settings.update(strengths)
    thresholds = np.zeros(64, np.uint32)
    thresholds[:40] = settings.pop("chromaNrLUT", 0)
    # The entry wants a height that is a multiple of 16 and a width that is one of 4.
    luma = ((0, -height % 16), (0, -width % 4))
    chroma = ((0, (height + 15) // 16 * 8 - height // 2), (0, (width + 3) // 4 * 2 - width // 2))
    padded = [np.pad(plane, margin, "symmetric") for plane, margin in zip(planes, (luma, chroma, chroma))]
    with _host() as host:
        block = _DenoiseIn()
        block.strengths = _Strengths(pMaskIIR=host.share(thresholds), pSpatialChromaNrLUT=host.share(thresholds), **settings)
        result, views = _device_picture(host, padded)
        call = (c_uint32 * 2)(host.share(block), host.share(result))
        host.call("SpatialNrHLMain_ACoreApi", call)
    return tuple(view[:plane.shape[0], :plane.shape[1]].copy() for view, plane in zip(views, planes))


def tables(kind, **strengths):
    """The strength tables of the denoiser.

    kind: "fast" (nrTailRatio, nrLumaDetail, nrLumaRatio, nrUVRatio, nrTH, nrShadingStrength) or "shrink" (lumaRatio,
    shrinkRatio0, shrinkRatio1, shrinkRatio2, lumaDetail). Strengths that are not given are none.
    Returns a dict of int16 arrays of shape (n,), by the tables' names. ValueError for another kind; TypeError for a
    strength that there is not; LibraryError.
    """
    if kind not in _TABLES:
        raise ValueError(f"no such kind of tables: {kind}")
    settings = dict(_FAST_STRENGTHS if kind == "fast" else _SHRINK_STRENGTHS)
    if set(strengths) - set(settings):
        raise TypeError("no such strength: " + ", ".join(sorted(set(strengths) - set(settings))))
    settings.update(strengths)
    block = np.zeros(2048 if kind == "fast" else 3569, np.int16)
    with _host() as host:
        control = (_FastControl if kind == "fast" else _ShrinkControl)(address=host.share(block), **settings)
        host.call("CalcFastDn2dControl_AcoreAPI" if kind == "fast" else "CalcShrinkLUTDnCoef", control)
    return {name: block[first:first + count].copy() for name, (first, count) in _TABLES[kind].items()}


def _as_dict(structure, names=None):
    result = {}
    for name, *_ in structure._fields_:
        value = getattr(structure, name)
        if name.startswith("reserved") or (names is not None and name not in names):
            continue
        result[name] = list(value) if isinstance(value, ctypes.Array) else value
    return result


def load_tuning(path):
    """What the library makes of a tuning file.

    Returns a dict: "NoiseReduction" and "SFNoiseReduction" are lists of eight rows (dicts of numbers, lists for tables),
    ISO levels 1 to 8; the first holds the keys of GhostDetection, too; all other keys stand beside them. OSError for a
    file that is not there; LibraryError for one that the library does not load.
    """
    with open(path, "rb") as file:
        content = file.read()
    # The entry knows one name, and does not read again what it read last: each load has a folder of its own.
    with tempfile.TemporaryDirectory() as folder, _host() as host:
        with open(os.path.join(folder, "multiframe.xml"), "wb") as copy:
            copy.write(content)
        record = _Tuning()
        host.call("ParseXML_AcoreAPI_EIS", _ParseXml(host.share(record), os.fsencode(os.path.join(folder, ""))))
    result = {"NoiseReduction": [_as_dict(row) for row in record.noise],
              "SFNoiseReduction": [dict(isovalue=iso, **_as_dict(row)) for iso, row in zip(record.sfIso, record.sf)]}
    result.update({name: getattr(record, name) for name, kind in _Tuning._fields_ if kind is c_int32})
    return result
