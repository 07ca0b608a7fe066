"""Cameras of any family, opened and given back. ZELCAM_TEST_CAMERAS says which ones: "simulated"
(also those of a loaded producer), "served" for the same on the network, "library" for the camera
inside Aravis in a program of ours, or the program of a GigE Vision camera."""

import os
import pathlib
import subprocess
import time

os.environ.setdefault("ZELCAM_VISION", "off")  # no packet leaves this machine

import pytest

import camera_tools

BUILD = pathlib.Path(os.environ.get("ZELCAM_TEST_BUILD", "build"))
CHOICE = os.environ.get("ZELCAM_TEST_CAMERAS", "simulated")
IS_GIGE = CHOICE != "simulated"
# Of somebody else; it has fewer features than the simulated cameras.
IS_FOREIGN = IS_GIGE and CHOICE != "served"
ADDRESS, SERIAL = "127.0.0.1", "ANY1"
# The built-in GigE cameras, as fast as loopback takes them.
PROGRAMS = {"served": [str(BUILD / "bin" / "zel_test_serve"), "127.0.0.2", "127.0.0.3"],
            "library": [str(BUILD / "bin" / "zel_test_gige_camera"), ADDRESS, SERIAL]}
PROGRAM = PROGRAMS.get(CHOICE, [CHOICE, "-i", ADDRESS, "-s", SERIAL])


def pytest_collection_modifyitems(items):
    if CHOICE in PROGRAMS and not os.path.exists(PROGRAM[0]):
        for item in items:
            item.add_marker(pytest.mark.skip(reason="the program of the cameras was not built"))


class GigeCamera:
    """The program of the cameras; it starts again when it ended."""

    def __init__(self):
        self.process = None

    def ensure(self):
        if self.process is not None and self.process.poll() is None:
            return
        self.process = subprocess.Popen(PROGRAM, stdin=subprocess.PIPE, stdout=subprocess.DEVNULL)
        time.sleep(0.2)
        assert self.process.poll() is None, PROGRAM

    def end(self):
        if self.process is not None:
            self.process.kill()
            self.process.wait()
            self.process.stdin.close()
            self.process = None


@pytest.fixture(scope="session")
def gige_camera():
    camera = GigeCamera() if IS_GIGE else None
    yield camera
    if camera is not None:
        camera.end()


@pytest.fixture(scope="session")
def zel():
    import libZelCameraApiPy
    return libZelCameraApiPy


@pytest.fixture(scope="session")
def interfaces(zel, gige_camera):
    """The interfaces with cameras by type number, enumerated once."""
    if gige_camera is not None:
        gige_camera.ensure()
    found = {}
    for interface in zel.PyZelSystem().GetInterfaceList():
        for _ in range(20):  # a busy machine answers late
            assert interface.ReEnumerateDevices(200)[0]
            if interface.GetDeviceInfoList() or not IS_GIGE:
                break
        found.setdefault(interface.GetType(), interface)
    return found


@pytest.fixture(scope="session")
def all_infos(interfaces):
    """Device infos of all cameras by model name."""
    found = {info.GetModel(): info
             for interface in interfaces.values() for info in interface.GetDeviceInfoList()}
    assert found
    return found


def await_free(infos):
    """A client that was killed keeps a GigE Vision camera for its heartbeat time, which the test
    camera counts from when anybody asked for it."""
    for info in infos.values():
        if IS_GIGE and info.GetAccessStatus() != 1:
            time.sleep(3.3)
            assert info.GetAccessStatus() == 1


@pytest.fixture
def infos(all_infos, gige_camera):
    if gige_camera is not None:
        gige_camera.ensure()
    await_free(all_infos)
    return all_infos


@pytest.fixture
def lacks():
    """lacks(reason) skips the test where the camera is a foreign GigE Vision camera."""
    def skip(reason):
        if IS_FOREIGN:
            pytest.skip("the GigE Vision test camera " + reason)
    return skip


@pytest.fixture
def open_device(zel, infos):
    """Opens devices, by info or the default one, and releases them after the test."""
    opened = []

    def open_one(info=None):
        device = zel.PyZelCreateDevice(info) if info is not None else zel.PyZelCreateDevice()
        assert device.IsValid(), zel.GetLastError()
        opened.append(device)
        camera_tools.reset(device.GetCameraParameters())
        return device

    yield open_one
    for device in opened:
        device.Release()


@pytest.fixture
def every_camera(zel, infos):
    """Walks over all cameras, open one after the other."""
    def walk():
        for info in infos.values():
            device = zel.PyZelCreateDevice(info)
            assert device.IsValid(), zel.GetLastError()
            try:
                yield device
            finally:
                device.Release()
    return walk
