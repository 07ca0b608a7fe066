"""Count exposure-end events next to the frames of a camera."""
import sys

from cameras import open_camera, parser_of


def event_id(camera, name):
    """Number of an event from the camera's description, or None."""
    ok, value = camera.GetIntegerValue("Event" + name)
    return value if ok else None


def main():
    """Fetches frames while a callable counts."""
    parser = parser_of(__doc__)
    parser.add_argument("frames", type=int, nargs="?", default=50)
    arguments = parser.parse_args()
    wanted = arguments.frames
    device = open_camera(arguments.serial)
    camera = device.GetCameraParameters()
    number = event_id(camera, "ExposureEnd")
    if number is None:
        sys.exit("this camera has no exposure-end event")
    camera.SetEnumValueStr("EventSelector", "ExposureEnd")
    camera.SetEnumValueStr("EventNotification", "On")
    seen = []
    device.RegisterEvent(number, lambda data, size, key: seen.append(bytes(data)))

    stream = device.GetStreamByIndex(0)
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
