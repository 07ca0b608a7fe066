"""Demosaicing: speed and quality beside OpenCV, in one interleaved run.

Run alone: /usr/bin/python3 rows_demosaic.py --build <build directory> (needs NumPy and OpenCV).
"""
import os

from component_libraries import add_row, demosaicing, image_of, paired

RGB8 = 0x02180171
BAYER_RG = {8: 0x0308010E, 10: 0x03100212, 12: 0x03100316}
SIZES = ((1920, 1200), (5120, 5120))
ROUNDS = {1920: 41, 5120: 15}


def scene(numpy, cv2):
    """A colour picture of 1920 x 1200 without noise: shapes with edges, lit unevenly, reduced from
    four times the size as a lens and a sensor do it."""
    random = numpy.random.default_rng(7)
    large = numpy.full((4800, 7680, 3), 90, numpy.uint8)
    for _ in range(2500):
        centre = tuple(int(v) for v in random.integers(0, (7680, 4800)))
        radius = int(30 / random.uniform(0.02, 1.0) ** 0.8)
        gray = random.uniform(30, 200)
        colour = (gray * random.uniform(0.8, 1.2), gray, gray * random.uniform(0.8, 1.2))
        cv2.circle(large, centre, radius, colour, -1)
    large = cv2.GaussianBlur(large, (0, 0), 2.5)
    return cv2.resize(large, (1920, 1200), interpolation=cv2.INTER_AREA)


def mosaic_of(numpy, picture, bits):
    """The samples of a sensor with red first, in bytes or 16-bit words."""
    samples = numpy.empty(picture.shape[:2], numpy.uint16)
    for y, x, component in ((0, 0, 0), (0, 1, 1), (1, 0, 1), (1, 1, 2)):
        samples[y::2, x::2] = picture[y::2, x::2, component]
    return samples.astype(numpy.uint8) if bits == 8 else samples << (bits - 8)


def quality(numpy, demosaic, mosaic, picture):
    """Decibels of the interior and of the outer two pixels of windows all over the picture, so that
    both show the same. `demosaic` makes an 8-bit picture of a mosaic."""
    height, width = 80, 96
    border = numpy.ones((height, width), bool)
    border[2:-2, 2:-2] = False
    errors = numpy.zeros((height, width, 3))
    windows = [(slice(y, y + height), slice(x, x + width))
               for y in range(0, min(picture.shape[0], 1200) - height, height)
               for x in range(0, min(picture.shape[1], 1920) - width, width)]
    for window in windows:
        result = demosaic(numpy.ascontiguousarray(mosaic[window]))
        errors += (result.astype(numpy.float64) - picture[window]) ** 2 / len(windows)
    return [10 * numpy.log10(255 ** 2 / errors[part].mean()) for part in (~border, border)]


def shift_then_bilinear(cv2, numpy, mosaic, bits):
    """OpenCV's way from words to an 8-bit picture."""
    reduced = numpy.empty(mosaic.shape, numpy.uint8)
    result = numpy.empty(mosaic.shape + (3,), numpy.uint8)

    def run():
        cv2.convertScaleAbs(mosaic, reduced, 1.0 / (1 << (bits - 8)))
        cv2.cvtColor(reduced, cv2.COLOR_BayerRGGB2RGB, dst=result)
        return result
    return run


def bilinear(cv2, numpy, mosaic):
    """OpenCV's demosaicing in the depth of the mosaic."""
    result = numpy.empty(mosaic.shape + (3,), mosaic.dtype)
    return lambda: cv2.cvtColor(mosaic, cv2.COLOR_BayerRGGB2RGB, dst=result)


def compare(table, component, cv2, numpy, picture, bits, threads):
    """The rows of one picture, depth and number of threads."""
    height, width = picture.shape[:2]
    mosaic = mosaic_of(numpy, picture, bits)
    result = numpy.zeros(picture.shape, numpy.uint8)
    ours = component.operation(image_of(mosaic, BAYER_RG[bits]), image_of(result, RGB8))
    what = "demosaic %d bit %dx%d, %d thread%s" % (bits, width, height, threads, "s"[threads < 2:])

    def our_way(window):
        picture_of_it = numpy.zeros(window.shape + (3,), numpy.uint8)
        component.operation(image_of(window, BAYER_RG[bits]), image_of(picture_of_it, RGB8))
        return picture_of_it

    def eight_bits(result):
        return result if result.dtype == numpy.uint8 else result >> (bits - 8)

    own = quality(numpy, our_way, mosaic, picture)
    rivals = [("bilinear" if bits == 8 else "16-bit bilinear",
               lambda samples: bilinear(cv2, numpy, samples))]
    if bits != 8:
        rivals.insert(0, ("shift, bilinear",
                          lambda samples: shift_then_bilinear(cv2, numpy, samples, bits)))
    for name, rival_for in rivals:
        theirs = quality(numpy, lambda window: eight_bits(rival_for(window)()), mosaic, picture)
        better = own[0] >= theirs[0] + 2 and own[1] >= theirs[1] + 2
        figures = ", >= 2 dB (%.1f/%.1f to %.1f/%.1f)" % (*own, *theirs)
        rival = rival_for(mosaic)
        if threads > 1:
            target = 1.2
        elif bits == 8:
            target = 1.5 if width == 1920 else 1.25
        else:
            target = 3.5 if name.startswith("16") else 1.5
        add_row(table, "%s, cv2 %s" % (what, name), paired(ours, rival, ROUNDS[width]), target,
                better, figures)


def run(table, build):
    """Adds the rows of demosaicing."""
    try:
        import cv2
        import numpy
    except ImportError as error:
        table.note("demosaicing", "not measured: %s" % error)
        return
    component = demosaicing(build)
    picture = scene(numpy, cv2)
    pictures = [picture, numpy.ascontiguousarray(numpy.tile(picture, (5, 3, 1))[:5120, :5120])]
    processors = os.sched_getaffinity(0)
    # Two threads first: OpenCV's start with the processors that it finds at its first use.
    for threads in (2, 1):
        chosen = set(sorted(processors)[-threads:])
        if len(chosen) < threads:
            table.note("demosaic, 2 threads", "not measured: one processor only")
            continue
        os.sched_setaffinity(0, chosen)
        cv2.setNumThreads(threads)
        for source in pictures:
            for bits in (8, 10, 12):
                compare(table, component, cv2, numpy, source, bits, threads)
    os.sched_setaffinity(0, processors)
    component.close()


if __name__ == "__main__":
    from bench_imaging import main

    main(["demosaic"])
