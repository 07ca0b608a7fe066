"""The pixels of the test camera with the option "bytes", from a frame's number alone."""

_bases = {}


def expected(number, size):
    """All bytes of the frame with this number; numbers of the camera turn over at 65535."""
    if size not in _bases:
        _bases[size] = bytes((i + (i >> 8) * 3) & 255 for i in range(size))
    shift = ((number - 1) % 65535 + 1) * 37 & 255
    return _bases[size].translate(bytes((value + shift) & 255 for value in range(256)))


def is_whole(buffer):
    """Whether the bytes are those of this frame, the last one included."""
    data = bytes(buffer.GetBufferPtr())
    return data == expected(buffer.GetFrameID(), buffer.GetWidth() * buffer.GetHeight())
