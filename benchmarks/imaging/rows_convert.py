"""Conversion to 8 bits: beside a copy of as many bytes and OpenCV, in one interleaved run.

Run alone: /usr/bin/python3 rows_convert.py --build <build directory> (needs NumPy, OpenCV).
"""
from component_libraries import add_row, converter, image_of, paired

WIDTH, HEIGHT = 1920, 1200
MONO = {10: 0x01100202, 12: 0x01100306, 14: 0x0110040A, 16: 0x0110050B}
MONO8, RGB8, BGR8 = 0x01080101, 0x02180171, 0x02180172


def compare_mono(table, numpy, cv2, component, bits):
    """The rows of one depth."""
    random = numpy.random.default_rng(bits)
    words = random.integers(0, 1 << bits, (HEIGHT, WIDTH), numpy.uint16)
    result = numpy.zeros((HEIGHT, WIDTH), numpy.uint8)
    ours = component.operation(image_of(words, MONO[bits]), image_of(result, MONO8))
    if not (result == words >> (bits - 8)).all():
        raise RuntimeError("converted wrongly")
    name = "convert Mono%d to Mono8 %dx%d" % (bits, WIDTH, HEIGHT)
    # Two bytes read and one written: as much traffic as copying one and a half.
    one = numpy.ones(WIDTH * HEIGHT * 3 // 2, numpy.uint8)
    other = numpy.ones_like(one)
    add_row(table, name + ", memcpy of equal traffic",
            paired(ours, lambda: numpy.copyto(other, one)), 0.9)
    if cv2 is None:
        table.note(name + ", cv2", "not measured: no OpenCV")
        return
    rounded = numpy.zeros_like(result)
    factor = 1.0 / (1 << (bits - 8))
    add_row(table, name + ", cv2 (which rounds)",
            paired(ours, lambda: cv2.convertScaleAbs(words, rounded, factor)), 1.2)


def compare_colour(table, numpy, cv2, component):
    """Exchange of red and blue, and luma."""
    random = numpy.random.default_rng(3)
    picture = random.integers(0, 256, (HEIGHT, WIDTH, 3), numpy.uint8)
    swapped = numpy.zeros_like(picture)
    ours = component.operation(image_of(picture, RGB8), image_of(swapped, BGR8))
    if not (swapped == picture[..., ::-1]).all():
        raise RuntimeError("exchanged wrongly")
    gray = numpy.zeros((HEIGHT, WIDTH), numpy.uint8)
    luma = component.operation(image_of(picture, RGB8), image_of(gray, MONO8))
    if numpy.abs(gray - picture @ numpy.array([0.299, 0.587, 0.114])).max() > 0.51:
        raise RuntimeError("weighed wrongly")
    if cv2 is None:
        table.note("convert colours, cv2", "not measured: no OpenCV")
        return
    target = numpy.zeros_like(picture)
    add_row(table, "convert RGB8 to BGR8, cv2",
            paired(ours, lambda: cv2.cvtColor(picture, cv2.COLOR_RGB2BGR, dst=target)), None)
    weighed = numpy.zeros_like(gray)
    add_row(table, "convert RGB8 to Mono8, cv2",
            paired(luma, lambda: cv2.cvtColor(picture, cv2.COLOR_RGB2GRAY, dst=weighed)), None)


def run(table, build):
    """Adds the rows of conversion."""
    try:
        import numpy
    except ImportError as error:
        table.note("conversion", "not measured: %s" % error)
        return
    try:
        import cv2
        cv2.setNumThreads(1)
    except ImportError:
        cv2 = None
    component = converter(build)
    for bits in MONO:
        compare_mono(table, numpy, cv2, component, bits)
    compare_colour(table, numpy, cv2, component)
    component.close()


if __name__ == "__main__":
    from bench_imaging import main

    main(["convert"])
