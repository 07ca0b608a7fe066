"""USB3 Vision cameras behind the libusb of tests/usb3, which also takes orders: faults, unplugging."""

import ctypes
import os
import time
import zlib

import pytest

LIBRARY = os.path.join(os.environ.get("LD_LIBRARY_PATH", "").split(":")[0], "libusb-1.0.so.0")


def pytest_collection_modifyitems(items):
    if not os.path.exists(LIBRARY):
        for item in items:
            item.add_marker(pytest.mark.skip(reason="the libusb of the tests was not built"))


class Bus:
    """Orders to the cameras by number; see BusCamera::set()."""

    def __init__(self):
        self.library = ctypes.CDLL(LIBRARY)
        self.library.zel_usb3_get.restype = ctypes.c_long
        self.library.zel_usb3_checksum.restype = ctypes.c_uint

    def set(self, name, value=1, camera=0):
        self.library.zel_usb3_set(camera, name.encode(), ctypes.c_long(value))

    def get(self, name, camera=0):
        return self.library.zel_usb3_get(camera, name.encode())

    def is_right(self, buffer, camera=0):
        """Whether the bytes of the image are those that the camera sent."""
        size = buffer.GetWidth() * buffer.GetHeight()
        sent = self.library.zel_usb3_checksum(camera, ctypes.c_ulong(buffer.GetFrameID()))
        return sent == zlib.crc32(bytes(buffer.GetBufferPtr())[:size])


def comes_true(condition, seconds=3.0):
    """On a busy machine a stop goes on behind the script's back for a moment."""
    end = time.monotonic() + seconds
    while time.monotonic() < end:
        if condition():
            return True
        time.sleep(0.005)
    return False


@pytest.fixture(scope="session")
def zel():
    import libZelCameraApiPy
    return libZelCameraApiPy


@pytest.fixture
def bus():
    return Bus()


@pytest.fixture
def interface(zel):
    return next(i for i in zel.PyZelSystem().GetInterfaceList() if i.GetType() == 1)


@pytest.fixture
def infos(interface):
    """The cameras by serial number; a test before may have left them unplugged for a moment."""
    for _ in range(40):
        assert interface.ReEnumerateDevices(1000)[0]
        found = {info.GetSerialNumber(): info for info in interface.GetDeviceInfoList()}
        if len(found) == 2:
            return found
        time.sleep(0.05)
    raise AssertionError(found)


@pytest.fixture
def open_device(zel, infos):
    opened = []

    def open_one(serial="U1"):
        device = zel.PyZelCreateDevice(infos[serial])
        assert device.IsValid(), zel.GetLastError()
        opened.append(device)
        camera = device.GetCameraParameters()
        assert camera.SetEnumValueStr("UserSetSelector", "Default")
        assert camera.ExecuteCommand("UserSetLoad")
        assert camera.SetIntegerValue("Width", 320) and camera.SetIntegerValue("Height", 240)
        assert camera.SetFloatValue("ExposureTime", 1000.0)
        camera.SetBooleanValue("AcquisitionFrameRateEnable", True)
        camera.SetFloatValue("AcquisitionFrameRate", 80.0)
        return device

    yield open_one
    for device in opened:
        device.Release()
