"""Show the live picture in a window of OpenCV; q or Escape ends it.

Debian: apt install python3-opencv. OpenCV's names of the Bayer orders are shifted by a pixel.
"""
from __future__ import annotations

import sys
import time
from typing import Any

import cv2
import numpy

import libZelCameraApiPy as zel
from cameras import camera_of, close_camera, open_camera, parser_of, stream_of, transport_of

BAYER = {"BayerRG8": cv2.COLOR_BayerBG2BGR, "BayerGR8": cv2.COLOR_BayerGB2BGR,
         "BayerGB8": cv2.COLOR_BayerGR2BGR, "BayerBG8": cv2.COLOR_BayerRG2BGR}
CHOSEN = tuple(BAYER) + ("BGR8", "RGB8", "Mono8")


def picture_of(buffer: zel.PyBuffer, name: str) -> Any:
    """The frame as OpenCV wants it: grey, or blue, green, red."""
    data = numpy.frombuffer(bytes(buffer.GetBufferPtr()), numpy.uint8)
    width, height = buffer.GetWidth(), buffer.GetHeight()
    if name in ("BGR8", "RGB8"):
        frame = data[:width * height * 3].reshape(height, width, 3)
        return frame if name == "BGR8" else frame[:, :, ::-1]
    frame = data[:width * height].reshape(height, width)
    return cv2.cvtColor(frame, BAYER[name]) if name in BAYER else frame


def main() -> None:
    """Shows frames until a key ends it."""
    parser = parser_of(__doc__)
    parser.add_argument("--frames", type=int, default=0, help="end after so many (default: never)")
    parser.add_argument("--no-window", action="store_true", help="only convert and count")
    arguments = parser.parse_args()
    device = open_camera(arguments.serial)
    camera = camera_of(device)
    name = next((name for name in CHOSEN if camera.SetEnumValueStr("PixelFormat", name)), None)
    if name is None:
        sys.exit("no pixel format of this camera can be shown here")
    stream = stream_of(device)
    transport_of(device).SetEnumValueStr("StreamBufferHandlingMode", "NewestOnly")
    stream.AllocBufferQueue(6)
    stream.StartAcquisition()
    title, frames, start, picture = device.GetDisplayName(), 0, time.monotonic(), None
    while not arguments.frames or frames < arguments.frames:
        buffer = stream.GetBuffer(3000)
        if buffer is None:
            break
        picture = picture_of(buffer, name)
        stream.QueueBuffer(buffer)
        frames += 1
        if not arguments.no_window:
            cv2.imshow(title, picture)
            if cv2.waitKey(1) in (ord("q"), 27):
                break
    print("%d frames of %s, %s, %.1f fps" % (frames, name, "x".join(map(str, picture.shape)) if picture is
                                             not None else "none", frames / (time.monotonic() - start)))
    close_camera(device, stream)
    sys.exit(0 if frames else "no frame came")


if __name__ == "__main__":
    main()
