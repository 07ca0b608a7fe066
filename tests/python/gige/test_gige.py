"""The whole road, parameters, pictures, movies and settings with a GigE Vision camera."""

import os
import subprocess
import sys
import time

import pytest

from conftest import PROGRAM
from foretold import is_whole


def frames(stream, count, timeout=3000):
    """Fetches and requeues frames; yields (id, incomplete, bytes)."""
    for _ in range(count):
        buffer = stream.GetBuffer(timeout)
        assert buffer is not None, stream.GetLastError()
        yield buffer.GetFrameID(), buffer.IsIncomplete(), buffer
        assert stream.QueueBuffer(buffer)


def test_discovery_and_identity(zel, interface, start_any):
    interface.ReEnumerateDevices(200)
    assert interface.GetDeviceInfoList() == []
    start_any("G1")
    for wait, changed in ((300, True), (50, False)):
        start = time.perf_counter()
        assert interface.ReEnumerateDevices(wait) == (True, changed)
        assert wait / 1000 <= time.perf_counter() - start < wait / 1000 + 0.5, "a slow one may come"
    info, = interface.GetDeviceInfoList()
    assert (info.GetSerialNumber(), info.GetIPAddress()) == ("G1", "127.0.0.1")
    assert info.GetIP()[:2] == (True, 0x7F000001)
    assert info.GetAccessStatus() == 1
    device = zel.PyZelCreateDevice(info)
    assert device.IsValid() and info.GetAccessStatus() in (4, 5)
    assert not zel.PyZelCreateDevice(info).IsValid() and zel.GetLastError() == -1004
    device.Release()
    default = zel.PyZelCreateDevice()
    assert default.GetInfo().GetSerialNumber() == "G1"
    default.Release()


def test_another_client_keeps_its_camera(zel, interface, start_any, open_by_serial, run_program):
    start_any("G2")
    open_by_serial("G2")
    run_program("""
import libZelCameraApiPy as zel
interface = zel.PyZelSystem().GetInterfaceList()[0]
interface.ReEnumerateDevices(200)
info = interface.GetFirstDeviceInfo()
assert info.GetAccessStatus() == 4
assert not zel.PyZelCreateDevice(info).IsValid()
assert zel.GetLastError() == -1005, zel.GetLastError()
""")


def test_frames_parameters_pictures_and_settings(zel, start_camera, open_by_serial, tmp_path):
    start_camera("G3")
    device = open_by_serial("G3")
    camera, transport = device.GetCameraParameters(), device.GetTransportParameters()
    assert camera.GetCount() > 10 and transport.GetCount() > 10
    width = camera.GetInt("Width")
    for value in (width.GetMin()[1], width.GetMax()[1], 256):
        assert width.SetValue(value) and camera.GetIntegerValue("Width") == (True, value)
    assert not width.SetValue(width.GetMax()[1] + 1)
    assert not camera.SetIntegerValue("Width", width.GetMin()[1] - 1)
    assert camera.GetLastError() == -40204
    assert not camera.SetIntegerValue("NoSuch", 1) and camera.GetLastError() == -40205
    assert camera.SetIntegerValue("Height", 128)
    assert 500 < transport.GetIntegerValue("GevPacketSize")[1] <= 65535

    stream = device.GetStreamByIndex(0)
    assert stream.GetBufferSize() == 256 * 128
    assert stream.AllocBufferQueue(8) and stream.StartAcquisition()
    seen = [(number, incomplete) for number, incomplete, _ in frames(stream, 20)]
    assert not any(incomplete for _, incomplete in seen)
    assert [n for n, _ in seen] == list(range(seen[0][0], seen[0][0] + 20))
    buffer = stream.GetBuffer(3000)
    assert (buffer.GetWidth(), buffer.GetHeight(), len(buffer.GetBufferPtr())) == (256, 128, 256 * 128)
    for extension in ("png", "tiff", "jpg", "bmp", "pgm"):
        assert zel.PySaveImage(buffer, str(tmp_path / ("frame." + extension)))
    assert (tmp_path / "frame.pgm").read_bytes()[-256 * 128:] == bytes(buffer.GetBufferPtr())
    assert zel.PyStartMovieRecord(buffer, str(tmp_path / "m.avi"), 25.0, "mjpeg")
    assert stream.QueueBuffer(buffer)
    for _, _, buffer in frames(stream, 5):
        assert zel.PySaveMovieFrame(buffer)
    assert zel.PyFinishRecord()
    assert stream.StopAcquisition(0) and stream.ReleaseBufferQueue()

    path = str(tmp_path / "settings.txt")
    assert device.SaveConfiguration(path)
    assert camera.SetIntegerValue("Width", 512)
    assert device.LoadConfiguration(path) and camera.GetIntegerValue("Width") == (True, 256)
    assert device.ReadMem(0, 4)[0] == 0
    stream.Release()


def test_the_camera_is_given_back_by_its_owner_alone(interface, start_any, run_program):
    """At the end of the process that opened it, not of a child that was forked."""
    start_any("GB")
    run_program("""
import os, sys, time
import libZelCameraApiPy as zel
interface = zel.PyZelSystem().GetInterfaceList()[0]
while not interface.GetDeviceInfoList():
    interface.ReEnumerateDevices(200)
device = zel.PyZelCreateDevice()
child = os.fork()
if child == 0:
    sys.exit(0)
assert os.waitpid(child, 0)[1] == 0
time.sleep(1.5)  # the watch would have noticed
assert device.GetCameraParameters().SetIntegerValue("Width", 256)
raise SystemExit(3)
""", code=3)
    while not interface.GetDeviceInfoList():
        interface.ReEnumerateDevices(200)
    assert interface.GetFirstDeviceInfo().GetAccessStatus() == 1


TWO_CAMERAS = """
import subprocess, sys
sys.path.insert(0, sys.argv[2])
from foretold import is_whole
cameras = [subprocess.Popen([sys.argv[1], address, serial, "0", "bytes"], stdin=subprocess.PIPE,
                            stdout=subprocess.PIPE)
           for address, serial in (("127.0.0.1", "G4"), ("127.0.0.2", "G5"))]
assert [camera.stdout.readline() for camera in cameras] == [b"ready\\n"] * 2
import libZelCameraApiPy as zel
interface = zel.PyZelSystem().GetInterfaceList()[0]
infos = []
for _ in range(10):  # a busy machine answers late
    interface.ReEnumerateDevices(200)
    infos = interface.GetDeviceInfoList()
    if len(infos) == 2:
        break
assert sorted((i.GetSerialNumber(), i.GetIPAddress()) for i in infos) == [
    ("G4", "127.0.0.1"), ("G5", "127.0.0.2")]
devices = [zel.PyZelCreateDevice(info) for info in infos]
streams = [device.GetStreamByIndex(0) for device in devices]
for stream in streams:
    assert stream.AllocBufferQueue(6) and stream.StartAcquisition()
last = [0, 0]
for _ in range(15):
    for index, stream in enumerate(streams):
        buffer = stream.GetBuffer(3000)
        assert not buffer.IsIncomplete() and buffer.GetFrameID() > last[index]
        assert is_whole(buffer)
        last[index] = buffer.GetFrameID()
        assert stream.QueueBuffer(buffer)
for device in devices:
    device.Release()
for camera in cameras:
    camera.stdin.close()
    camera.wait()
"""


def test_two_cameras_at_once(tmp_path):
    """In a network namespace of its own, where loopback has a second address."""
    setup = "ip link set lo up && ip addr add 127.0.0.2/8 dev lo"
    if subprocess.run(["unshare", "-n", "sh", "-c", setup], stderr=subprocess.DEVNULL).returncode:
        pytest.skip("no permission to make a network namespace")
    program = tmp_path / "two_cameras.py"
    program.write_text(TWO_CAMERAS)
    result = subprocess.run(["unshare", "-n", "sh", "-c", setup + ' && exec "$@"', "sh",
                             sys.executable, str(program), str(PROGRAM),
                             os.path.dirname(__file__)], stderr=subprocess.PIPE)
    assert result.returncode == 0, result.stderr.decode()


def counters(transport):
    return {name: transport.GetIntegerValue("Stream%sFrameCount" % name)[1]
            for name in ("Delivered", "Incomplete", "Lost", "Underrun")}


@pytest.mark.parametrize("method", ["Automatic", "Joined", "Single"])
@pytest.mark.parametrize("lost", [0, 10])
def test_frames_are_whole_or_marked_and_none_is_forgotten(start_camera, open_by_serial, lost,
                                                          method, messages):
    """With and without lost packets: one of a hundred, and a frame has many."""
    program = start_camera("G6", "bytes", lost=lost)
    device = open_by_serial("G6")
    camera, transport = device.GetCameraParameters(), device.GetTransportParameters()
    stream = device.GetStreamByIndex(0)
    assert transport.SetBooleanValue("StreamPacketResendEnable", False)
    assert transport.SetEnumValueStr("StreamReceiveMethod", method)
    assert transport.SetIntegerValue("GevPacketSize", 8000)
    assert camera.SetFloatValue("AcquisitionFrameRate", 50.0)
    assert stream.AllocBufferQueue(16) and stream.StartAcquisition()
    marked, broken, numbers = [], [], []

    def take(count, timeout):
        for _ in range(count):
            buffer = stream.GetBuffer(timeout)
            if buffer is None:
                return
            # Zeros stand where packets are missing.
            broken.append(not is_whole(buffer))
            marked.append(buffer.IsIncomplete())
            assert marked[-1] or not broken[-1], buffer.GetFrameID()
            numbers.append(buffer.GetFrameID())
            assert stream.QueueBuffer(buffer)

    take(100, 3000)
    while transport.GetIntegerValue("StreamInputBufferCount")[1] > 0:
        time.sleep(0.02)
    time.sleep(0.3)  # frames without a buffer
    for count in (30, 2):  # the last ones of all find buffers
        take(count, 3000)
        assert camera.ExecuteCommand("AcquisitionStop")
        time.sleep(0.4)  # longer than a frame is waited for
        take(20, 0)
        messages()
        assert camera.ExecuteCommand("AcquisitionStart" if count > 2 else "AcquisitionStop")
    made, counted = program.frames_made(), counters(transport)
    assert numbers == sorted(set(numbers))
    # Where only a head or a tail is missing the bytes are whole all the same.
    assert (sum(marked) > 10) == (sum(broken) > 10) == (lost > 0)
    assert (counted["Delivered"], counted["Incomplete"]) == (len(marked), sum(marked))
    assert counted["Underrun"] > 5
    assert counted["Lost"] <= lost
    assert len(marked) + counted["Lost"] + counted["Underrun"] == made == numbers[-1] - numbers[0] + 1


def test_a_camera_that_ran_before_the_start_gives_no_old_frames(start_camera, open_by_serial):
    start_camera("GA", "bytes")
    device = open_by_serial("GA")
    camera, transport = device.GetCameraParameters(), device.GetTransportParameters()
    stream = device.GetStreamByIndex(0)
    assert stream.AllocBufferQueue(8)
    for _ in range(3):
        assert stream.StartAcquisition()
        buffer = stream.GetBuffer(3000)
        assert is_whole(buffer) and stream.QueueBuffer(buffer)
        assert stream.StopAcquisition(0)
        assert stream.FlushBuffers(stream.Flush_AllToInput)
        assert camera.ExecuteCommand("AcquisitionStart")  # to nobody
        time.sleep(0.3)
        assert transport.GetIntegerValue("StreamOutputBufferCount") == (True, 0)
        start = time.time_ns()
        assert stream.StartAcquisition()
        while True:
            buffer = stream.GetBuffer(3000)
            assert buffer.IsIncomplete() or is_whole(buffer)
            assert buffer.IsIncomplete() or buffer.GetTimestamp() > start - 50_000_000
            assert stream.QueueBuffer(buffer)
            if not buffer.IsIncomplete():
                break
        assert stream.StopAcquisition(0)
        assert stream.FlushBuffers(stream.Flush_AllToInput)


def test_a_restarted_camera_is_noticed_and_reopened(zel, interface, start_any, open_by_serial,
                                                    messages):
    camera = start_any("G7")
    device = open_by_serial("G7")
    stream = device.GetStreamByIndex(0)
    assert stream.AllocBufferQueue(6) and stream.StartAcquisition()
    assert not any(incomplete for _, incomplete, _ in frames(stream, 3))
    camera.kill()
    start = time.monotonic()
    while True:
        buffer = stream.GetBuffer(10000)
        if buffer is None:
            break
    noticed = time.monotonic() - start
    assert noticed < 8 and stream.GetLastError() not in (0, -1011)
    parameters = device.GetCameraParameters()
    assert parameters.GetIntegerValue("Width") == (False, None) and parameters.GetLastError() < 0
    assert interface.ReEnumerateDevices(200) == (True, True)
    start = time.monotonic()
    device.Release()
    assert time.monotonic() - start < 1, "nobody waits for what is gone"
    start_any("G7")
    again = open_by_serial("G7")
    stream = again.GetStreamByIndex(0)
    assert stream.AllocBufferQueue(6) and stream.StartAcquisition()
    assert not any(incomplete for _, incomplete, _ in frames(stream, 3))
    stream.Release()
    messages()


@pytest.mark.long
def test_ten_thousand_frames(start_any, open_by_serial):
    start_any("G8")
    device = open_by_serial("G8")
    camera, transport = device.GetCameraParameters(), device.GetTransportParameters()
    assert camera.SetIntegerValue("Width", 512) and camera.SetIntegerValue("Height", 512)
    camera.SetFloatValue("ExposureTimeAbs", 10.0) or camera.SetFloatValue("ExposureTime", 10.0)
    camera.SetFloatValue("AcquisitionFrameRate", 1000.0)
    stream = device.GetStreamByIndex(0)
    assert stream.AllocBufferQueue(32) and stream.StartAcquisition()
    first = last = incomplete = delivered = 0
    for number, bad, _ in frames(stream, 10000):
        first, last = first or number, number
        incomplete += bad
        delivered += 1
    lost = transport.GetIntegerValue("StreamLostFrameCount")[1]
    underruns = transport.GetIntegerValue("StreamUnderrunFrameCount")[1]
    assert last - first + 1 == delivered + lost + underruns
    assert (lost, incomplete) == (0, 0)


@pytest.mark.long
def test_a_quiet_camera_costs_nothing(start_any, open_by_serial):
    start_any("G9")
    open_by_serial("G9")
    before = time.process_time()
    time.sleep(10)
    assert time.process_time() - before < 0.1, "one hundredth of a core"
