"""Fixtures over the real libraries: cameras by model, devices and streams that are given back."""

import os
import pathlib
import sys

# No packet leaves this machine: the tests see the simulated cameras only.
os.environ.setdefault("ZELCAM_VISION", "off")

import pytest

ROOT = pathlib.Path(__file__).resolve().parents[3]
sys.path.append(str(ROOT / "tests" / "python" / "cameras"))  # its tools
LOCAL = {"ZELCAM_VISION": "off"}


@pytest.fixture(scope="session")
def zel():
    import libZelCameraApiPy
    return libZelCameraApiPy


@pytest.fixture(scope="session")
def interfaces(zel):
    """The interfaces by type number, enumerated once."""
    found = {}
    for interface in zel.PyZelSystem().GetInterfaceList():
        assert interface.ReEnumerateDevices(1000)[0]
        found.setdefault(interface.GetType(), interface)
    return found


@pytest.fixture(scope="session")
def infos(interfaces):
    """Device infos of all cameras by model name."""
    return {info.GetModel(): info
            for interface in interfaces.values() for info in interface.GetDeviceInfoList()}


@pytest.fixture
def open_device(zel):
    """Opens devices, by info or the default one, and releases them after the test."""
    opened = []

    def open_one(info=None):
        device = zel.PyZelCreateDevice(info) if info is not None else zel.PyZelCreateDevice()
        assert device.IsValid(), zel.GetLastError()
        opened.append(device)
        camera = device.GetCameraParameters()
        camera.SetEnumValueStr("UserSetSelector", "Default")
        camera.ExecuteCommand("UserSetLoad")
        for name in ("SimulatorDropFrames", "SimulatorIncompleteFrames", "SimulatorDelayFrames"):
            camera.SetIntegerValue(name, 0)  # faults that another test ordered and did not meet
        return device

    yield open_one
    for device in opened:
        device.Release()
