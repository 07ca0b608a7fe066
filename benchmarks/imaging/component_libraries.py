"""The unpacker, demosaicing and converter libraries through ctypes, and how they are measured."""
import ctypes
import os
import statistics
import sys
import time

HERE = os.path.dirname(os.path.abspath(__file__))
sys.path.insert(0, os.path.join(HERE, ".."))
sys.path.insert(0, os.path.join(HERE, "..", "..", "tests", "python", "strangers"))

from serializer_library import Image, image_of  # noqa: E402

LEAST_SECONDS = 0.004  # Of one measurement: shorter calls are repeated.


class Component:
    """A component that turns one image into another."""

    def __init__(self, build, library, prefix, operation):
        self._library = ctypes.CDLL(os.path.join(build, "python", library))
        create = getattr(self._library, prefix + "_CreateComponent")
        create.restype = ctypes.c_void_p
        self._delete = getattr(self._library, prefix + "_DeleteComponent")
        self._run = getattr(self._library, prefix + "_" + operation)
        self._run.argtypes = [ctypes.c_void_p, ctypes.POINTER(Image), ctypes.POINTER(Image)]
        self._handle = ctypes.c_void_p(create())

    def close(self):
        """Frees the component."""
        self._delete(self._handle)

    def operation(self, source, target):
        """A function that runs the component; wrong images are an error at once."""
        run, handle = self._run, self._handle
        one, other = ctypes.byref(source), ctypes.byref(target)
        code = run(handle, one, other)
        if code != 0:
            raise RuntimeError("component answers %d" % code)
        return lambda: run(handle, one, other)


def demosaicing(build):
    """The demosaicing component."""
    return Component(build, "libZelDemosaicing.so", "ZelBayer", "ConvertImage")


def unpacker(build):
    """The unpacker component."""
    return Component(build, "libZelImageUnpacker.so", "ZelImageUnpacker", "Unpack")


def converter(build):
    """The converter component."""
    return Component(build, "libZelImageConverter.so", "ZelImageConverter", "ConvertImage")


def packed_image(array, pixel_type, width, height):
    """Describes a run of packed bytes."""
    image = image_of(array.reshape(1, -1), pixel_type)
    image.width, image.height, image.stride = width, height, 0
    return image


def paired(ours, rival, rounds=41, clock=time.perf_counter):
    """Median seconds of both and the median of their ratios, rival by ours, taken in turn. Either
    is repeated for the same time, so that neither runs on caches that the other has filled."""
    def repeats_of(function):
        function()
        start = clock()
        function()
        return max(1, int(LEAST_SECONDS / max(clock() - start, 1e-7)))

    runs = [(function, repeats_of(function)) for function in (ours, rival)]
    times = []
    for _ in range(rounds):
        pair = []
        for function, repeats in runs:
            start = clock()
            for _ in range(repeats):
                function()
            pair.append((clock() - start) / repeats)
        times.append(pair)
    medians = [statistics.median(values) for values in zip(*times)]
    return medians[0], medians[1], statistics.median(b / a for a, b in times)


def add_row(table, what, measured, target, extra_met=True, extra=""):
    """One row of the table; `extra` is a further condition in words and whether it is met."""
    own, other, ratio = measured
    text = "" if target is None else ">= %.2fx" % target
    met = None if target is None else ratio >= target and extra_met
    table.add(what, "%.3f ms" % (own * 1e3), "%.3f ms" % (other * 1e3), "%.2fx" % ratio,
              text + extra, met)
