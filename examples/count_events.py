"""Count exposure-end events next to the frames of a camera."""
from __future__ import annotations

import sys
from typing import List, Optional

import libZelCameraApiPy as zel
from cameras import camera_of, open_camera, parser_of, stream_of


def event_id(camera: zel.PyGenParams, name: str) -> Optional[int]:
    """Number of an event from the camera's description, or None."""
    return camera.GetIntegerValue("Event" + name)[1]


def main() -> None:
    """Fetches frames while a callable counts."""
    parser = parser_of(__doc__)
    parser.add_argument("frames", type=int, nargs="?", default=50)
    arguments = parser.parse_args()
    wanted = arguments.frames
    device = open_camera(arguments.serial)
    camera = camera_of(device)
    number = event_id(camera, "ExposureEnd")
    if number is None:
        sys.exit("this camera has no exposure-end event")
    camera.SetEnumValueStr("EventSelector", "ExposureEnd")
    camera.SetEnumValueStr("EventNotification", "On")
    seen: List[bytes] = []
    device.RegisterEvent(number, lambda data, size, key: seen.append(bytes(data)))

    stream = stream_of(device)
    stream.AllocBufferQueue(8)
    stream.StartAcquisition()
    frames = 0
    while frames < wanted:
        buffer = stream.GetBuffer(3000)
        if buffer is None:
            break
        frames += 1
        stream.QueueBuffer(buffer)
    stream.StopAcquisition(0)
    device.UnRegisterEvent(number, None)
    camera.SetEnumValueStr("EventNotification", "Off")
    print("%d frames, %d exposure-end events (0x%X), last %s" % (
        frames, len(seen), number, seen[-1].hex() if seen else "none"))
    stream.ReleaseBufferQueue()
    stream.Release()
    device.Release()
    sys.exit(0 if frames == wanted and len(seen) >= frames else 1)


if __name__ == "__main__":
    main()
