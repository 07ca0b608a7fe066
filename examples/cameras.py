"""What the examples share: the camera that the command line names, opened."""
import argparse
import sys

import libZelCameraApiPy as zel


def parser_of(documentation):
    """A parser with the option that all examples have; shows the module's documentation."""
    parser = argparse.ArgumentParser(description=documentation,
                                     formatter_class=argparse.RawDescriptionHelpFormatter)
    parser.add_argument("--serial", help="serial number of the camera (default: the first one)")
    return parser


def every_camera():
    """Device infos of all cameras that answer within a second."""
    for interface in zel.PyZelSystem().GetInterfaceList():
        interface.ReEnumerateDevices(1000)
        for info in interface.GetDeviceInfoList():
            yield info


def find_camera(serial):
    """The device info with this serial number, or None."""
    return next((info for info in every_camera() if info.GetSerialNumber() == serial), None)


def open_camera(serial=None):
    """Opens the camera with this serial number, or the first one; ends the program if it cannot."""
    if serial is None:
        device = zel.PyZelCreateDevice()
    else:
        info = find_camera(serial)
        if info is None:
            sys.exit("no camera has the serial number " + serial)
        device = zel.PyZelCreateDevice(info)
    if not device.IsValid():
        sys.exit("no camera: " + zel.ErrorCodeToString(zel.GetLastError()))
    return device


def close_camera(device, stream=None):
    """Stops and gives back."""
    if stream is not None:
        stream.StopAcquisition(0)
        stream.ReleaseBufferQueue()
        stream.Release()
    device.Release()
