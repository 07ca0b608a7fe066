"""Watch a camera being unplugged, wait for it to come back, reopen it and go on.

A simulated camera unplugs itself (fault feature); a real one wants its cable pulled.
"""
from __future__ import annotations

import sys
import time
from typing import Callable, Optional, Tuple

import libZelCameraApiPy as zel
from cameras import camera_of, every_camera, info_of, open_camera, parser_of, stream_of


def find(serial: str) -> Optional[zel.PyDeviceInfo]:
    """The device info with this serial number, once it can be opened, or None."""
    return next((info for info in every_camera()
                 if info.GetSerialNumber() == serial and info.GetAccessStatus() == 1), None)


def grab(device: zel.PyDevice, seconds: float,
         meanwhile: Callable[[], None] = lambda: None) -> Tuple[int, int]:
    """Grabs until the time is over or the camera is gone; returns frames and the last code."""
    stream = stream_of(device)
    stream.AllocBufferQueue(6)
    stream.StartAcquisition()
    frames, code, end = 0, 0, time.monotonic() + seconds
    while time.monotonic() < end:
        buffer = stream.GetBuffer(2000)
        if buffer is None:
            code = stream.GetLastError()
            break
        frames += 1
        stream.QueueBuffer(buffer)
        if frames == 10:
            meanwhile()
    stream.StopAcquisition(0)
    stream.Release()
    return frames, code


def main() -> None:
    """Grabs, loses the camera, reopens it, grabs again."""
    device = open_camera(parser_of(__doc__).parse_args().serial)
    serial = info_of(device).GetSerialNumber()
    camera = camera_of(device)

    def unplug() -> None:
        if camera.GetParam("SimulatorUnplug") is not None:
            camera.SetIntegerValue("SimulatorUnplugReturnTime", 1000)
            camera.ExecuteCommand("SimulatorUnplug")
        else:
            print("unplug %s now" % device.GetDisplayName())
    frames, code = grab(device, 30.0, unplug)
    reason = "time-out" if code == -1011 else zel.ErrorCodeToString(code)
    print("%d frames, then code %d: %s" % (frames, code, reason))
    device.Release()

    start = time.monotonic()
    info = find(serial)
    while info is None and time.monotonic() - start < 60:
        time.sleep(0.2)
        info = find(serial)
    if info is None:
        sys.exit("the camera did not come back")
    print("back after %.1f s" % (time.monotonic() - start))
    device = zel.PyZelCreateDevice(info)
    frames, code = grab(device, 1.0)
    print("%d frames after reopening" % frames)
    device.Release()
    sys.exit(0 if frames else 1)


if __name__ == "__main__":
    main()
