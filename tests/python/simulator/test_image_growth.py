"""Saving and recording for days: memory, open files and threads stay as they are."""

import os

import pytest

pytestmark = [
    pytest.mark.long,
    pytest.mark.skipif(bool(os.environ.get("ZELCAM_TEST_SANITIZED")),
                       reason="sanitizers keep freed memory"),
]

# The C library keeps the stacks of threads that are gone and a heap for every few threads; codecs
# start many. Without these what is kept does not depend on which thread did what.
STEADY = {"ZELCAM_VISION": "off", "MALLOC_ARENA_MAX": "1",
          "GLIBC_TUNABLES": "glibc.pthread.stack_cache_size=0"}

# One small frame of every kind; the figures of the process; work(number) COUNT times.
COMMON = """
import ctypes, gc, os, sys
import libZelCameraApiPy as zel

libc = ctypes.CDLL(None)

KINDS = {"ZL-2048M": "Mono8", "ZG-1936M": "Mono10", "ZX-5120M": "Mono12Packed",
         "ZU-1440C": "BayerGB8", "ZG-2448C": "BayerRG12Packed"}
MEGABYTE = 1 << 20
kept = []


def fetch(info):
    device = zel.PyZelCreateDevice(info)
    camera = device.GetCameraParameters()
    assert camera.SetEnumValueStr("PixelFormat", KINDS[info.GetModel()])
    assert camera.SetIntegerValue("Width", 64) and camera.SetIntegerValue("Height", 64)
    stream = device.GetStreamByIndex(0)
    assert stream.AllocBufferQueue(3) and stream.StartAcquisition()
    buffer = stream.GetBuffer(5000)
    assert buffer is not None and not buffer.IsIncomplete()
    assert stream.StopAcquisition(0)
    kept.append((device, stream))
    return buffer


class Heap(ctypes.Structure):
    _fields_ = [(name, ctypes.c_size_t) for name in
                "arena ordblks smblks hblks hblkhd usmblks fsmblks uordblks fordblks keepcost".split()]


libc.mallinfo2.restype = Heap


def figures():
    gc.collect()
    libc.malloc_trim(0)  # What threads that are gone have left free would be counted.
    heap = libc.mallinfo2()
    with open("/proc/self/status") as status:
        lines = dict(line.split(":", 1) for line in status)
    return {"memory": int(lines["VmRSS"].split()[0]) * 1024,
            "in use": heap.uordblks + heap.hblkhd, "threads": int(lines["Threads"]),
            "files": len(os.listdir("/proc/self/fd"))}


def repeat(work):
    seen = []
    for part in range(10):
        for number in range(part * COUNT // 10, (part + 1) * COUNT // 10):
            work(number)
        seen.append(figures())
        print(part, seen[-1], flush=True)
    first, last = seen[0], seen[-1]
    assert last["memory"] - first["memory"] < 2 * MEGABYTE, seen
    # A thousand of what is lost once per file would show. (libx265 loses 2.5 KB per encoder.)
    assert last["in use"] - first["in use"] < MEGABYTE // 2, seen
    assert last["files"] == first["files"], seen
    assert last["threads"] <= first["threads"], seen


buffers = [fetch(info) for interface in zel.PyZelSystem().GetInterfaceList()
           if interface.ReEnumerateDevices(1000)[0]
           for info in interface.GetDeviceInfoList() if info.GetModel() in KINDS]
assert len(buffers) == len(KINDS)
"""

SAVES = COMMON + """
NAMES = ["a.png", "a.tif", "a.tiff", "a.jpg", "a.bmp", "a.ppm", "a.pgm"]
REFUSED = ["a.xyz", "missing/a.png", "a", "/proc/a.bmp"]
refused = [0]


def save(number):
    buffer = buffers[number % len(buffers)]
    if number % 20 == 19:
        assert not zel.PySaveImage(buffer, REFUSED[number // 20 % len(REFUSED)])
        refused[0] += 1
    elif not zel.PySaveImage(buffer, NAMES[number // len(buffers) % len(NAMES)]):
        refused[0] += 1  # Colour does not go into ".pgm", gray not into ".ppm".


repeat(save)
assert refused[0] < COUNT // 4, refused
"""

RECORDINGS = COMMON + """
MOVIES = {"uncompressed": "avi mov", "mjpeg": "avi mkv mp4", "mpeg4": "avi mp4", "h264": "mkv mp4",
          "h265": "mkv", "ffv1": "mkv avi", "huffyuv": "avi", "png": "avi mkv", "vp9": "webm",
          "av1": "mp4"}
REFUSED = [("m.xyz", "mjpeg"), ("missing/m.avi", "mjpeg"), ("m.avi", "h265"), ("m.mkv", "nothing"),
           ("/proc/m.mkv", "ffv1")]
chosen = [(name, end) for name in zel.PyGetVideoCompressors()
          for end in MOVIES.get(name, "").split() if name in (sys.argv[1:] or MOVIES)]
assert chosen


def record(number):
    buffer = buffers[number % len(buffers)]
    if number % 10 == 9:
        name, compressor = REFUSED[number // 10 % len(REFUSED)]
        assert not zel.PyStartMovieRecord(buffer, name, 25, compressor)
        assert not zel.PySaveMovieFrame(buffer) and not zel.PyFinishRecord()
        return
    compressor, end = chosen[number % len(chosen)]
    assert zel.PyStartMovieRecord(buffer, "m." + end, 25, compressor), (compressor, end)
    for _ in range(number // 7 % 4):
        assert zel.PySaveMovieFrame(buffer), (compressor, end)
    if number % 10 != 8:  # Which the next start takes the place of.
        assert zel.PyFinishRecord(), (compressor, end)


repeat(record)
"""


def test_a_hundred_thousand_pictures(run_program):
    run_program("COUNT = 100000" + SAVES, timeout=1800, **STEADY)


def test_a_thousand_movies(run_program):
    run_program("COUNT = 1000" + RECORDINGS, timeout=1800, **STEADY)
