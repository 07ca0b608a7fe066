"""GigE Vision cameras on loopback in processes of their own, ours and the one inside Aravis; those of
the simulator that is compiled in are hidden."""

import os
import pathlib
import subprocess

os.environ["ZELCAM_VISION"] = "lo"
os.environ["ZELCAM_SIMULATOR"] = "off"

import pytest

from served_cameras import serve  # noqa: F401, a fixture

PROGRAM = pathlib.Path(os.environ.get("ZELCAM_TEST_BUILD", "build")) / "bin" / "zel_test_gige_camera"


def pytest_collection_modifyitems(items):
    if not PROGRAM.exists():
        for item in items:
            item.add_marker(pytest.mark.skip(reason="the test camera was not built"))


class Camera:
    """The camera program; `lost` packets of a thousand vanish. Options are its own: "events" gives
    it a message channel, "bytes" pixels that can be foretold."""

    def __init__(self, serial, *options, address="127.0.0.1", lost=0):
        self.process = subprocess.Popen([str(PROGRAM), address, serial, str(lost), *options],
                                        stdin=subprocess.PIPE, stdout=subprocess.PIPE)
        self.running = self.process.stdout.readline() == b"ready\n"

    def frames_made(self):
        self.process.stdin.write(b"\n")
        self.process.stdin.flush()
        return int(self.process.stdout.readline())

    def kill(self):
        self.process.kill()
        self.process.wait()
        self.process.stdin.close()
        self.process.stdout.close()


@pytest.fixture
def start_camera():
    """Starts cameras and ends them after the test."""
    cameras = []

    def start(*arguments, **named):
        cameras.append(Camera(*arguments, **named))
        return cameras[-1]

    yield start
    for camera in cameras:
        if camera.process.poll() is None:
            camera.kill()


@pytest.fixture(params=["served", "library"])
def start_any(request, serve, start_camera):
    """start_any(serial) starts a camera of ours, then one of somebody else: for what is true of any."""
    def start(serial):
        if request.param == "library":
            return start_camera(serial)
        return serve("127.0.0.1", config={"interfaces": [{"type": "GEV", "cameras": [
            {"serialNumber": serial, "width": 512, "height": 512, "maxFrameRate": 1000}]}]})
    return start


@pytest.fixture(scope="session")
def zel():
    import libZelCameraApiPy
    return libZelCameraApiPy


@pytest.fixture
def interface(zel):
    return zel.PyZelSystem().GetInterfaceList()[0]


@pytest.fixture
def open_by_serial(zel, interface):
    """Opens the camera with a serial number; releases it after the test."""
    opened = []

    def open_one(serial):
        for _ in range(10):  # a busy machine answers late
            assert interface.ReEnumerateDevices(200)[0]
            found = {i.GetSerialNumber(): i for i in interface.GetDeviceInfoList()}
            if serial in found:
                break
        info = found[serial]
        device = zel.PyZelCreateDevice(info)
        assert device.IsValid(), zel.GetLastError()
        opened.append(device)
        return device

    yield open_one
    for device in opened:
        device.Release()
