"""Take a frame at every trigger: by command here, by an electrical signal with --source Line0."""
from __future__ import annotations

import sys
import time

from cameras import camera_of, close_camera, open_camera, parser_of, stream_of


def main() -> None:
    """Switches the trigger on, fetches a frame for each, switches it off again."""
    parser = parser_of(__doc__)
    parser.add_argument("--frames", type=int, default=5)
    parser.add_argument("--source", default="Software", help="TriggerSource (default: Software)")
    arguments = parser.parse_args()
    device = open_camera(arguments.serial)
    camera = camera_of(device)
    for name, value in (("TriggerSelector", "FrameStart"), ("TriggerSource", arguments.source),
                        ("TriggerMode", "On")):
        if not camera.SetEnumValueStr(name, value):
            sys.exit("this camera does not take %s=%s: code %d" % (name, value, camera.GetLastError()))
    stream = stream_of(device)
    stream.AllocBufferQueue(4)
    stream.StartAcquisition()
    frames = 0
    for _ in range(arguments.frames):
        start = time.perf_counter()
        if arguments.source == "Software" and not camera.ExecuteCommand("TriggerSoftware"):
            break
        buffer = stream.GetBuffer(5000)
        if buffer is None:
            print("no frame within five seconds of waiting for", arguments.source)
            break
        frames += 1
        print("frame %d, %.1f ms after the trigger was asked for" % (
            buffer.GetFrameID(), (time.perf_counter() - start) * 1e3))
        stream.QueueBuffer(buffer)
    stream.StopAcquisition(0)
    camera.SetEnumValueStr("TriggerMode", "Off")
    close_camera(device, stream)
    sys.exit(0 if frames == arguments.frames else 1)


if __name__ == "__main__":
    main()
