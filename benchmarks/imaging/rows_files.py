"""Picture files: written by our serializer and by OpenCV and Pillow, in one interleaved run.

Run alone: /usr/bin/python3 rows_files.py --build <build directory> (needs NumPy, OpenCV, Pillow).
"""
import argparse
import os
import statistics
import sys
import tempfile
import time

HERE = os.path.dirname(os.path.abspath(__file__))
sys.path.insert(0, os.path.join(HERE, ".."))
sys.path.insert(0, os.path.join(HERE, "..", "..", "tests", "python", "strangers"))

from table import Table  # noqa: E402

WIDTH, HEIGHT = 1920, 1200
ROUNDS = 21
SLOW_ROUNDS = 5  # Beside rivals that take a second.
CLOCK = time.perf_counter


def photograph(numpy):
    """A colour scene with the spectrum of a photograph and a camera's noise."""
    random = numpy.random.default_rng(1)
    shape = (HEIGHT, WIDTH)
    radius = numpy.hypot(numpy.fft.fftfreq(HEIGHT)[:, None], numpy.fft.fftfreq(WIDTH)[None])
    radius[0, 0] = 1
    planes = []
    for share in range(3):
        spectrum = numpy.fft.fft2(random.normal(size=shape)) / radius ** 1.4
        plane = numpy.real(numpy.fft.ifft2(spectrum))
        plane = (plane - plane.mean()) / plane.std()
        planes.append(plane if not planes else 0.7 * planes[0] + (0.2 + 0.1 * share) * plane)
    scene = 128 + 45 * numpy.stack(planes, -1) + random.normal(0, 2, shape + (3,))
    return scene.clip(0, 255).astype(numpy.uint8)


def rivals(cv2, pillow, array, gray):
    """{(format, rival): function of a path}; OpenCV is given its own channel order."""
    bgr = array if gray else array[..., ::-1].copy()
    image = pillow.fromarray(array)
    raw = [cv2.IMWRITE_TIFF_COMPRESSION, 1]
    return {
        ("png", "cv2"): lambda path: cv2.imwrite(path, bgr),
        ("png", "Pillow"): image.save,
        ("tif", "Pillow"): image.save,
        ("tif", "cv2 default"): lambda path: cv2.imwrite(path, bgr),
        ("tif", "cv2 uncompressed"): lambda path: cv2.imwrite(path, bgr, raw),
        ("jpg", "cv2"): lambda path: cv2.imwrite(path, bgr, [cv2.IMWRITE_JPEG_QUALITY, 95]),
        ("jpg", "Pillow"): lambda path: image.save(path, quality=95),
        ("bmp", "cv2"): lambda path: cv2.imwrite(path, bgr),
        ("bmp", "Pillow"): image.save,
        ("pgm" if gray else "ppm", "cv2"): lambda path: cv2.imwrite(path, bgr),
        ("pgm" if gray else "ppm", "Pillow"): image.save,
    }


TARGETS = {
    ("png", "cv2"): 8.0, ("png", "Pillow"): 60.0,
    ("tif", "Pillow"): 1.2, ("tif", "cv2 default"): 10.0,
    ("jpg", "cv2"): 1.0, ("jpg", "Pillow"): 1.0, ("bmp", "cv2"): 1.0, ("bmp", "Pillow"): 1.0,
    ("pgm", "cv2"): 1.0, ("pgm", "Pillow"): 1.0, ("ppm", "cv2"): 1.0, ("ppm", "Pillow"): 1.0,
}


def interleaved_files(writers, extension, directory, rounds):
    """Median seconds of each writer, called in turn, every time with a name that is new: what
    replacing a file costs belongs to the file system."""
    times = [[] for _ in writers]
    sizes = [0 for _ in writers]
    for turn in range(rounds):
        for index, write in enumerate(writers):
            path = os.path.join(directory, "%d-%d.%s" % (index, turn, extension))
            start = CLOCK()
            write(path)
            times[index].append(CLOCK() - start)
            sizes[index] = os.path.getsize(path)
            os.unlink(path)
    return [statistics.median(values) for values in times], sizes


def check(serializer, array, pixel_type, path):
    """What is timed must be right: the file is read back and compared."""
    import cv2
    import numpy

    if serializer.save(array, pixel_type, path) != 0:
        raise RuntimeError("not written: " + path)
    read = cv2.imread(path, cv2.IMREAD_UNCHANGED)
    expected = array if array.ndim == 2 else array[..., ::-1]
    difference = numpy.abs(read.astype(int) - expected)
    if difference.mean() > (2.5 if path.endswith("jpg") else 0):
        raise RuntimeError("not what was written: " + path)
    os.unlink(path)


def compare(table, serializer, array, pixel_type, functions, directory):
    """One row per format and rival."""
    kind = "Mono8" if array.ndim == 2 else "RGB8"
    for (extension, rival), write in functions.items():
        check(serializer, array, pixel_type, os.path.join(directory, "check." + extension))
        slow = (extension, rival) == ("png", "Pillow")
        (own, other), sizes = interleaved_files(
            [lambda path: serializer.save(array, pixel_type, path), write], extension, directory,
            SLOW_ROUNDS if slow else ROUNDS)
        target = TARGETS.get((extension, rival))
        met = None if target is None else other / own >= target
        text = "" if target is None else ">= %.1fx" % target
        if extension == "png":
            met = met and sizes[0] <= sizes[1]
            text += ", no larger (%.0f %%)" % (100.0 * sizes[0] / sizes[1])
        table.add("%s %s beside %s" % (kind, extension, rival), "%.2f ms" % (own * 1e3),
                  "%.2f ms" % (other * 1e3), "%.2fx" % (other / own), text, met)


def run(table, build):
    """Adds the rows of picture files."""
    try:
        import cv2
        import numpy
        from PIL import Image
    except ImportError as error:
        table.note("picture files", "not measured: %s" % error)
        return
    from serializer_library import MONO8, RGB8, Serializer

    cv2.setNumThreads(1)
    colour = numpy.ascontiguousarray(photograph(numpy))
    gray = numpy.ascontiguousarray(colour[..., 1])
    serializer = Serializer(os.path.join(build, "python"))
    with tempfile.TemporaryDirectory() as directory:
        for array, pixel_type in ((colour, RGB8), (gray, MONO8)):
            functions = rivals(cv2, Image, array, array.ndim == 2)
            compare(table, serializer, array, pixel_type, functions, directory)
    serializer.close()


if __name__ == "__main__":
    parser = argparse.ArgumentParser(description=__doc__)
    parser.add_argument("--build", required=True, help="build directory")
    parser.add_argument("--cpu", action="store_true",
                        help="compare processor time: for a machine that has other work")
    arguments = parser.parse_args()
    if arguments.cpu:
        CLOCK = time.process_time
    result = Table()
    run(result, arguments.build)
    print("\n" + result.markdown())
