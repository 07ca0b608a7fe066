"""What the examples share: the camera that the command line names, opened."""
from __future__ import annotations

import argparse
import sys
from typing import Iterator, Optional

import libZelCameraApiPy as zel


def parser_of(documentation: Optional[str]) -> argparse.ArgumentParser:
    """A parser with the option that all examples have; shows the module's documentation."""
    parser = argparse.ArgumentParser(description=documentation,
                                     formatter_class=argparse.RawDescriptionHelpFormatter)
    parser.add_argument("--serial", help="serial number of the camera (default: the first one)")
    return parser


def every_camera() -> Iterator[zel.PyDeviceInfo]:
    """Device infos of all cameras that answer within a second."""
    for interface in zel.PyZelSystem().GetInterfaceList() or []:
        interface.ReEnumerateDevices(1000)
        for info in interface.GetDeviceInfoList() or []:
            yield info


def find_camera(serial: str) -> Optional[zel.PyDeviceInfo]:
    """The device info with this serial number, or None."""
    return next((info for info in every_camera() if info.GetSerialNumber() == serial), None)


def open_camera(serial: Optional[str] = None) -> zel.PyDevice:
    """Opens the camera with this serial number, or the first one; ends the program if it cannot."""
    if serial is None:
        device = zel.PyZelCreateDevice()
    else:
        info = find_camera(serial)
        if info is None:
            sys.exit("no camera has the serial number " + serial)
        device = zel.PyZelCreateDevice(info)
    if not device.IsValid():
        sys.exit("no camera: %s" % zel.ErrorCodeToString(zel.GetLastError()))
    return device


def camera_of(device: zel.PyDevice) -> zel.PyGenParams:
    """The features of the camera; ends the program where there are none."""
    camera = device.GetCameraParameters()
    if camera is None:
        sys.exit("%s has no features" % device.GetDisplayName())
    return camera


def transport_of(device: zel.PyDevice) -> zel.PyGenParams:
    """The features of the host's side; ends the program where there are none."""
    transport = device.GetTransportParameters()
    if transport is None:
        sys.exit("%s has no transport features" % device.GetDisplayName())
    return transport


def stream_of(device: zel.PyDevice) -> zel.PyDataStream:
    """The first stream; ends the program where there is none."""
    stream = device.GetStreamByIndex(0)
    if stream is None:
        sys.exit("%s has no stream" % device.GetDisplayName())
    return stream


def info_of(device: zel.PyDevice) -> zel.PyDeviceInfo:
    """What is known of an open device."""
    info = device.GetInfo()
    assert info is not None
    return info


def close_camera(device: zel.PyDevice, stream: Optional[zel.PyDataStream] = None) -> None:
    """Stops and gives back."""
    if stream is not None:
        stream.StopAcquisition(0)
        stream.ReleaseBufferQueue()
        stream.Release()
    device.Release()
