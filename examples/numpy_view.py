"""Look at a frame as a numpy array, 12-bit data included, without another copy."""
from __future__ import annotations

import sys
from typing import Any

import numpy

import libZelCameraApiPy as zel
from cameras import camera_of, open_camera, parser_of, stream_of

# PFNC codes of the formats that this example shows.
MONO8, MONO12, MONO12_PACKED = 0x01080001, 0x01100005, 0x010C0006


def as_array(buffer: zel.PyBuffer) -> Any:
    """The frame as a two-dimensional array; packed 12-bit data is unpacked to 16-bit words."""
    width, height, code = buffer.GetWidth(), buffer.GetHeight(), buffer.GetPixelFormat()
    data = buffer.GetBufferPtr()
    if not isinstance(data, bytearray):
        sys.exit("the buffer holds no frame")
    bits = (code >> 16) & 0xFF
    if bits == 8:
        return numpy.frombuffer(data, numpy.uint8, width * height).reshape(height, width)
    if bits == 16:
        return numpy.frombuffer(data, "<u2", width * height).reshape(height, width)
    if code == MONO12_PACKED and width * height % 2 == 0:
        triples = numpy.frombuffer(data, numpy.uint8, width * height * 3 // 2).reshape(-1, 3)
        triples = triples.astype(numpy.uint16)
        pixels = numpy.empty((triples.shape[0], 2), numpy.uint16)
        pixels[:, 0] = triples[:, 0] << 4 | triples[:, 1] & 15
        pixels[:, 1] = triples[:, 2] << 4 | triples[:, 1] >> 4
        return pixels.reshape(height, width)
    sys.exit("pixel format 0x%08X is not shown here" % code)


def main() -> None:
    """Shows size, range and mean of a frame of each format."""
    device = open_camera(parser_of(__doc__).parse_args().serial)
    camera = camera_of(device)
    stream = stream_of(device)
    for name in ("Mono8", "Mono12", "Mono12Packed"):
        if not camera.SetEnumValueStr("PixelFormat", name):
            continue
        stream.AllocBufferQueue(3)
        stream.StartAcquisition()
        buffer = stream.GetBuffer(3000)
        if buffer is None:
            sys.exit("no frame came: code %d" % stream.GetLastError())
        frame = as_array(buffer)
        print("%-13s %s %s from %d to %d, mean %.1f" % (
            name, frame.shape, frame.dtype, frame.min(), frame.max(), frame.mean()))
        stream.StopAcquisition(0)
        stream.ReleaseBufferQueue()
    try:
        import cv2
        print("OpenCV writes it too:", cv2.imwrite("frame_cv2.png", (frame >> 4).astype("u1")
                                                   if frame.dtype != numpy.uint8 else frame))
    except ImportError:
        print("OpenCV is not installed")
    try:
        from PIL import Image
        Image.fromarray(frame if frame.dtype == numpy.uint8 else (frame >> 4).astype("u1")).save(
            "frame_pil.png")
        print("Pillow writes it too: True")
    except ImportError:
        print("Pillow is not installed")
    stream.Release()
    device.Release()


if __name__ == "__main__":
    main()
