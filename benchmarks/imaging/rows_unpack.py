"""Unpacking: beside a copy of the result and the NumPy idiom, in one interleaved run.

Run alone: /usr/bin/python3 rows_unpack.py --build <build directory> (needs NumPy).
"""
from component_libraries import add_row, image_of, packed_image, paired, unpacker

WIDTH, HEIGHT = 1920, 1200
TYPES = {10: (0x010C1204, 0x01100202), 12: (0x010C1308, 0x01100306)}
BUFFERS = 16  # More than caches hold: a camera fills one buffer after the other.


def numpy_idiom(numpy, packed, bits):
    """Slices of every third byte, shifted and stacked."""
    low = bits - 8
    mask = (1 << low) - 1
    first, middle, second = (packed[i::3].astype(numpy.uint16) for i in range(3))
    result = numpy.empty(2 * first.size, numpy.uint16)
    result[0::2] = first << low | middle & mask
    result[1::2] = second << low | middle >> 4 & mask
    return result


def in_turn(functions):
    """A function that calls one after the other."""
    state = [0]

    def run():
        functions[state[0]]()
        state[0] = (state[0] + 1) % len(functions)
    return run


def compare(table, numpy, component, bits):
    """The rows of one depth."""
    random = numpy.random.default_rng(bits)
    packed_type, unpacked_type = TYPES[bits]
    packed = random.integers(0, 256, WIDTH * HEIGHT * 3 // 2, numpy.uint8)
    sources = [packed.copy() for _ in range(BUFFERS)]
    targets = [numpy.zeros((HEIGHT, WIDTH), numpy.uint16) for _ in range(BUFFERS)]
    copies = [numpy.ones((HEIGHT, WIDTH), numpy.uint16) for _ in range(BUFFERS)]
    ours = [component.operation(packed_image(source, packed_type, WIDTH, HEIGHT),
                                image_of(target, unpacked_type))
            for source, target in zip(sources, targets)]
    if not (targets[0].ravel() == numpy_idiom(numpy, packed, bits)).all():
        raise RuntimeError("unpacked wrongly")
    copy = [lambda i=i: numpy.copyto(copies[i], targets[i]) for i in range(BUFFERS)]
    name = "unpack Mono%dPacked %dx%d" % (bits, WIDTH, HEIGHT)
    add_row(table, name + ", memcpy of the result", paired(ours[0], copy[0]), 1.0)
    add_row(table, name + ", memcpy, rotating buffers",
            paired(in_turn(ours), in_turn(copy)), 1.0)
    add_row(table, name + ", NumPy",
            paired(ours[0], lambda: numpy_idiom(numpy, packed, bits), 15), 20.0)


def run(table, build):
    """Adds the rows of unpacking."""
    try:
        import numpy
    except ImportError as error:
        table.note("unpacking", "not measured: %s" % error)
        return
    component = unpacker(build)
    for bits in TYPES:
        compare(table, numpy, component, bits)
    component.close()


if __name__ == "__main__":
    from bench_imaging import main

    main(["unpack"])
