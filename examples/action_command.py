"""One command of the network that makes several GigE Vision cameras expose at once.

Cameras act on a command whose device key and group key are theirs and whose mask has a bit of
theirs. It is sent by an interface, to all cameras behind it, and nobody answers it.
"""
from __future__ import annotations

import sys
from typing import List, Optional, Tuple

import libZelCameraApiPy as zel
from cameras import camera_of, close_camera, parser_of, stream_of

DEVICE_KEY, GROUP_KEY, GROUP_MASK = 0x5A454C, 1, 0x1
Opened = Tuple["zel.PyDevice", "zel.PyDataStream"]


def prepare(device: zel.PyDevice) -> bool:
    """Makes a camera take a frame at each command; False where it knows no actions."""
    camera = camera_of(device)
    for name, number in (("ActionSelector", 0), ("ActionDeviceKey", DEVICE_KEY),
                         ("ActionGroupKey", GROUP_KEY), ("ActionGroupMask", GROUP_MASK)):
        if not camera.SetIntegerValue(name, number) and name != "ActionSelector":
            return False
    return all(camera.SetEnumValueStr(name, value) for name, value in (
        ("TriggerSelector", "FrameStart"), ("TriggerSource", actions_of(camera)[0]),
        ("TriggerMode", "On")))


def actions_of(camera: zel.PyGenParams) -> List[str]:
    """The entries of TriggerSource that are actions; cameras count from 0 or from 1."""
    source = camera.GetEnum("TriggerSource")
    entries = [] if source is None else [
        entry for entry in map(source.GetEnumEntryByIndex, range(source.GetCount()[1] or 0)) if entry]
    return [name for name in (entry.GetValueStr()[1] for entry in entries)
            if name and name.startswith("Action")] or ["none"]


def open_all(interface: zel.PyDeviceInterface, serial: Optional[str]) -> List[Opened]:
    """The cameras behind an interface that obey actions, streaming."""
    opened = []
    for info in interface.GetDeviceInfoList() or []:
        if serial not in (None, info.GetSerialNumber()):
            continue
        device = zel.PyZelCreateDevice(info)
        if not device.IsValid():
            continue
        if not prepare(device):
            device.Release()
            continue
        stream = stream_of(device)
        stream.AllocBufferQueue(4)
        stream.StartAcquisition()
        opened.append((device, stream))
    return opened


def fire(interface: zel.PyDeviceInterface, opened: List[Opened], frames: int) -> int:
    """Sends commands and fetches the frame that each camera takes; how many came."""
    network = interface.GetParameters()
    assert network is not None
    for name, number in (("ActionDeviceKey", DEVICE_KEY), ("ActionGroupKey", GROUP_KEY),
                         ("ActionGroupMask", GROUP_MASK)):
        network.SetIntegerValue(name, number)
    came = 0
    for _ in range(frames):
        network.ExecuteCommand("ActionCommand")
        for device, stream in opened:
            buffer = stream.GetBuffer(2000)
            if buffer is None:
                print(device.GetDisplayName(), "took no frame")
                continue
            came += 1
            print("%s: frame %d" % (device.GetDisplayName(), buffer.GetFrameID()))
            stream.QueueBuffer(buffer)
    return came


def main() -> None:
    """Tries every interface that has GigE Vision cameras behind it."""
    parser = parser_of(__doc__)
    parser.add_argument("--frames", type=int, default=5)
    arguments = parser.parse_args()
    wanted = came = 0
    for interface in zel.PyZelSystem().GetInterfaceList() or []:
        if interface.GetType() != interface.GigEVision:
            continue
        interface.ReEnumerateDevices(1000)
        opened = open_all(interface, arguments.serial)
        wanted += len(opened) * arguments.frames
        came += fire(interface, opened, arguments.frames)
        for device, stream in opened:
            stream.StopAcquisition(0)
            camera_of(device).SetEnumValueStr("TriggerMode", "Off")
            close_camera(device, stream)
    if wanted == 0:
        sys.exit("no camera obeys action commands")
    sys.exit(0 if came == wanted else 1)


if __name__ == "__main__":
    main()
