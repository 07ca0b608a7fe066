"""Our client over served cameras: every kind of them, bad networks, neighbours, deaths and limits."""

import os
import signal
import subprocess
import sys
import time

import pytest

# Everything that is built in, whatever its interface is.
MODELS = ["ZG-1936M", "ZG-2448C", "ZU-1440C", "ZL-2048M", "ZX-5120M", "ZS-1920C"]
COUNT = 1000 if os.environ.get("ZELCAM_LONG_TESTS") else 4
SMALL = {"interfaces": [{"type": "GEV", "cameras": [
    {"serialNumber": "S%d" % i, "width": 640, "height": 480} for i in range(2)]}]}


@pytest.mark.parametrize("loss", [0, 1])
def test_every_camera_gives_every_frame(serve, interface, zel, loss):
    """With lost packets, because they are asked for again."""
    serve(*("127.0.0.%d" % (2 + i) for i in range(len(MODELS))), cameras=MODELS)
    assert interface.ReEnumerateDevices(500)[0]
    infos = {info.GetModel(): info for info in interface.GetDeviceInfoList()}
    assert sorted(infos) == sorted(MODELS)
    for model in MODELS:
        device = zel.PyZelCreateDevice(infos[model])
        assert device.IsValid(), (model, zel.GetLastError())
        camera, transport = device.GetCameraParameters(), device.GetTransportParameters()
        assert camera.SetFloatValue("SimulatorPacketLoss", float(loss))
        assert transport.SetIntegerValue("GevPacketSize", 1500)
        limit = camera.GetInt("DeviceLinkThroughputLimit")
        assert limit.SetValue(min(limit.GetMax()[1], 125000000))
        stream = device.GetStreamByIndex(0)
        # A busy machine answers late.
        assert transport.SetIntegerValue("StreamPacketResendTries", 10)
        assert stream.AllocBufferQueue(12) and stream.StartAcquisition()
        ids, bad = [], 0
        for _ in range(COUNT):
            buffer = stream.GetBuffer(5000)
            assert buffer is not None, (model, stream.GetLastError())
            ids.append(buffer.GetFrameID())
            bad += buffer.IsIncomplete()
            assert stream.QueueBuffer(buffer)
        resent = transport.GetIntegerValue("StreamResentPacketCount")[1]
        assert stream.StopAcquisition(0)
        stream.Release()
        device.Release()
        assert bad == 0 and ids == list(range(ids[0], ids[0] + COUNT)), (model, bad)
        assert resent > 10 * loss - 1, (model, resent)


def test_two_of_ours_and_one_of_somebody_else_at_once(serve, start_camera, open_by_serial):
    serve("127.0.0.2", "127.0.0.3", config=SMALL)
    start_camera("F1")
    streams = {}
    for serial in ("S0", "S1", "F1"):
        streams[serial] = open_by_serial(serial).GetStreamByIndex(0)
        assert streams[serial].AllocBufferQueue(8) and streams[serial].StartAcquisition()
    for _ in range(20):
        for serial, stream in streams.items():
            buffer = stream.GetBuffer(5000)
            assert buffer is not None and not buffer.IsIncomplete(), serial
            assert stream.QueueBuffer(buffer)
    for stream in streams.values():
        stream.Release()


def test_clocks_and_long_work_over_the_network(serve, open_by_serial):
    serve("127.0.0.2", config=SMALL)
    device = open_by_serial("S0")
    camera = device.GetCameraParameters()
    assert camera.SetBooleanValue("PtpEnable", True)
    status, end = None, time.monotonic() + 20
    while status != "Slave" and time.monotonic() < end:
        assert camera.ExecuteCommand("PtpDataSetLatch")
        status = camera.GetEnumValueStr("PtpStatus")[1]
        time.sleep(0.05)
    assert status == "Slave" and device.ReadMem(0x96C, 4) == (0, b"\0\0\0\x09")
    assert abs(camera.GetIntegerValue("PtpOffsetFromMaster")[1]) < 10 ** 9
    stream = device.GetStreamByIndex(0)
    assert stream.AllocBufferQueue(4) and stream.StartAcquisition()
    assert abs(stream.GetBuffer(5000).GetTimestamp() - time.time_ns()) < 5 * 10 ** 9
    assert stream.StopAcquisition(0)
    stream.Release()
    # Longer than an answer is waited for: the camera asks for patience.
    assert camera.SetFloatValue("ExposureTime", 4321.0)
    assert camera.SetEnumValueStr("UserSetSelector", "UserSet1")
    start = time.monotonic()
    assert camera.ExecuteCommand("UserSetSave")
    assert camera.SetFloatValue("ExposureTime", 100.0)
    assert 0.24 < time.monotonic() - start < 3
    assert camera.ExecuteCommand("UserSetLoad")
    assert camera.GetFloatValue("ExposureTime") == (True, 4321.0)


KILLED = """
import sys
import libZelCameraApiPy as zel
interface = zel.PyZelSystem().GetInterfaceList()[0]
interface.ReEnumerateDevices(300)
device = zel.PyZelCreateDevice(interface.GetFirstDeviceInfo())
stream = device.GetStreamByIndex(0)
assert device.GetCameraParameters().SetIntegerValue("GevHeartbeatTimeout", 1000)
assert stream.AllocBufferQueue(4) and stream.StartAcquisition()
assert stream.GetBuffer(5000) is not None
print("streaming", flush=True)
sys.stdin.read()
"""


def test_a_killed_client_is_followed_by_the_next_one(serve, zel, interface):
    serve("127.0.0.2", config=SMALL)
    client = subprocess.Popen([sys.executable, "-c", KILLED], stdin=subprocess.PIPE,
                              stdout=subprocess.PIPE)
    assert client.stdout.readline() == b"streaming\n"
    assert interface.ReEnumerateDevices(300)[0]
    info = interface.GetFirstDeviceInfo()
    assert info.GetAccessStatus() == 4 and not zel.PyZelCreateDevice(info).IsValid()
    assert zel.GetLastError() == -1005
    client.send_signal(signal.SIGKILL)
    client.wait()
    client.stdin.close()
    client.stdout.close()
    end = time.monotonic() + 10
    while info.GetAccessStatus() != 1 and time.monotonic() < end:
        time.sleep(0.05)
    device = zel.PyZelCreateDevice(info)
    assert device.IsValid()
    stream = device.GetStreamByIndex(0)
    assert stream.AllocBufferQueue(4) and stream.StartAcquisition()
    assert not stream.GetBuffer(5000).IsIncomplete()
    stream.Release()
    device.Release()


LIMITED = """
import os, resource, sys
import libZelCameraApiPy as zel
kind = getattr(resource, sys.argv[1])
if kind == resource.RLIMIT_NPROC and os.geteuid() == 0:
    os.setuid(65534)  # root has no such limit
usual = resource.getrlimit(kind)
interface = zel.PyZelSystem().GetInterfaceList()[0]
interface.ReEnumerateDevices(300)
info = interface.GetFirstDeviceInfo()
assert info is not None

def road():
    "Everything; how far it came, and the code where one is kept."
    if not interface.ReEnumerateDevices(50)[0]:
        return "looking", interface.GetLastError()
    device = zel.PyZelCreateDevice(info)
    if not device.IsValid():
        return "opening", zel.GetLastError()
    try:
        stream = device.GetStreamByIndex(0)
        if stream is None:
            return "stream", device.GetLastError()
        try:
            if not stream.AllocBufferQueue(4):
                return "buffers", None
            if not stream.StartAcquisition():
                return "starting", None
            buffer = stream.GetBuffer(3000)
            if buffer is None:
                return "frame", stream.GetLastError()
            return "whole" if not buffer.IsIncomplete() else "incomplete", 0
        finally:
            stream.Release()
    finally:
        device.Release()

assert road() == ("whole", 0)

def limit(step):
    if kind == resource.RLIMIT_NOFILE:
        return len(os.listdir("/proc/self/fd")) + step - 1
    return len(os.listdir("/proc/self/task")) + step

seen = set()
for step in range(int(sys.argv[2])):
    resource.setrlimit(kind, (limit(step), usual[1]))
    try:
        result = road()
    finally:
        resource.setrlimit(kind, usual)
    if result[0] != "whole":
        assert result[1] is None or result[1] < 0, result
        seen.add(result[0])
    again = road()
    assert again == ("whole", 0), (step, result, again)
print(*sorted(seen))
"""


@pytest.mark.parametrize("kind, steps", [("RLIMIT_NOFILE", 14), ("RLIMIT_NPROC", 6)])
def test_without_descriptors_or_threads_there_are_codes(serve, run_program, kind, steps):
    """Each further thing that is missing fails with a code, and all works again afterwards."""
    serve("127.0.0.2", config=SMALL)
    result = run_program("import sys; sys.argv[1:] = [%r, '%d']\n" % (kind, steps) + LIMITED,
                         timeout=200)
    assert len(result.stdout.split()) >= 2, "it failed at several places"
