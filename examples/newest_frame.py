"""Always look at the newest frame, however long each one is worked on.

With StreamBufferHandlingMode NewestOnly frames that nobody fetched in time are given back to the
camera by themselves; GetBuffer then never returns an old one.
"""
from __future__ import annotations

import sys
import time
from typing import Optional

import libZelCameraApiPy as zel
from cameras import camera_of, close_camera, open_camera, parser_of, stream_of, transport_of


def age_ms(camera: zel.PyGenParams, buffer: zel.PyBuffer) -> Optional[float]:
    """Milliseconds since the frame was taken, by the camera's own clock; None without one."""
    if not camera.ExecuteCommand("TimestampLatch"):
        return None
    now = camera.GetIntegerValue("TimestampLatchValue")[1]
    return None if now is None else (now - buffer.GetTimestamp()) / 1e6


def main() -> None:
    """Works slowly on a fast camera and tells how old each frame is."""
    parser = parser_of(__doc__)
    parser.add_argument("--frames", type=int, default=8)
    parser.add_argument("--work", type=float, default=0.15, help="seconds of work on each frame")
    parser.add_argument("--mode", default="NewestOnly", help="StreamBufferHandlingMode")
    arguments = parser.parse_args()
    device = open_camera(arguments.serial)
    camera = camera_of(device)
    stream = stream_of(device)
    if not transport_of(device).SetEnumValueStr("StreamBufferHandlingMode", arguments.mode):
        sys.exit("the stream of this camera has no mode " + arguments.mode)
    stream.AllocBufferQueue(6)
    stream.StartAcquisition()
    frames = 0
    while frames < arguments.frames:
        buffer = stream.GetBuffer(3000)
        if buffer is None:
            break
        age = age_ms(camera, buffer)
        frames += 1
        print("frame %-5d %s" % (buffer.GetFrameID(), "" if age is None else "%.0f ms old" % age))
        time.sleep(arguments.work)
        stream.QueueBuffer(buffer)
    close_camera(device, stream)
    sys.exit(0 if frames == arguments.frames else 1)


if __name__ == "__main__":
    main()
