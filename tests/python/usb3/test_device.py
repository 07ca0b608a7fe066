"""Control channel, discovery, unplugging and events of USB3 Vision cameras."""

import struct
import threading
import time

import pytest

IO, TIMEOUT, DENIED = -1010, -1011, -1005
TEST_EVENT = 0x4FFF


@pytest.mark.parametrize("fault, count, least", [
    ("busy", 3, 0), ("swallow", 1, 0.4), ("late", 1, 0.4), ("pending", 1, 0.4), ("stall-control", 1, 0)])
def test_reads_survive_what_a_camera_does(bus, camera, fault, count, least):
    bus.set(fault, count)
    start = time.perf_counter()
    assert camera.GetFloatValue("DeviceTemperature")[0], camera.GetLastError()
    assert least <= time.perf_counter() - start < 3
    assert bus.get(fault) == 0
    assert camera.SetIntegerValue("Width", 640) and camera.GetIntegerValue("Width") == (True, 640)


def test_a_write_is_executed_once(bus, device, camera, stream, messages):
    """Also when its answer is lost: nobody knows, so nobody repeats it."""
    for name, value in (("TriggerSelector", "FrameStart"), ("TriggerSource", "Software"),
                        ("TriggerMode", "On")):
        assert camera.SetEnumValueStr(name, value)
    assert stream.StartAcquisition()
    bus.set("busy", 2)
    assert camera.ExecuteCommand("TriggerSoftware")
    assert stream.GetBuffer(2000) is not None
    bus.set("swallow-write")
    assert not camera.ExecuteCommand("TriggerSoftware") and camera.GetLastError() == TIMEOUT
    assert stream.GetBuffer(2000) is not None and stream.GetBuffer(300) is None
    messages()


def test_a_busy_or_silent_camera_gets_a_code(bus, device):
    bus.set("busy", 10000)
    assert device.ReadMem(0x144, 4)[0] == -1022
    bus.set("busy", 0)
    bus.set("swallow", 100)
    start = time.perf_counter()
    assert device.ReadMem(0x144, 4)[0] == TIMEOUT
    assert time.perf_counter() - start < 5
    bus.set("swallow", 0)
    assert device.ReadMem(0x144, 2) == (0, b"U1")


def test_stopping_does_not_wait_for_a_slow_camera(bus, device, stream):
    assert stream.StartAcquisition() and stream.GetBuffer(2000) is not None
    bus.set("slow", 300)
    try:
        start = time.perf_counter()
        stream.StopAcquisition(0)
        took = time.perf_counter() - start
    finally:
        bus.set("slow", 0)
    time.sleep(0.7)
    assert took < 0.1  # 20 ms on a machine that has nothing else to do
    assert stream.StartAcquisition() and stream.GetBuffer(2000) is not None


def test_commands_from_many_threads(device):
    wrong = []

    def work(address, expected):
        for _ in range(200):
            if device.ReadMem(address, len(expected)) != (0, expected):
                wrong.append(address)
    threads = [threading.Thread(target=work, args=(0x144, b"U1")) for _ in range(4)]
    for thread in threads:
        thread.start()
    for thread in threads:
        thread.join()
    assert wrong == []


@pytest.mark.parametrize("what", ["waiting", "at a frame", "idle", "before the start"])
def test_unplugged_and_back(bus, zel, interface, device, camera, stream, messages, what):
    if what in ("waiting", "at a frame"):
        assert stream.StartAcquisition() and stream.GetBuffer(2000) is not None
    if what == "at a frame":
        bus.set("return", 300)
        bus.set("unplug-at", 5)
        while stream.GetBuffer(2000) is not None:
            pass
    elif what == "waiting":
        camera.ExecuteCommand("AcquisitionStop")
        ended = []
        waiter = threading.Thread(target=lambda: (stream.GetBuffer(5000), stream.GetBuffer(5000),
                                                  ended.append(time.perf_counter())))
        while stream.GetBuffer(50) is not None:
            pass
        waiter.start()
        time.sleep(0.05)
        start = time.perf_counter()
        bus.set("unplug", 400)
        waiter.join(6)
        assert ended[0] - start < 0.1
    else:
        bus.set("unplug", 400)
    if what == "before the start":
        assert not stream.StartAcquisition()
    time.sleep(0.05)
    assert stream.GetBuffer(1000) is None and stream.GetLastError() == IO
    assert camera.GetIntegerValue("Width") == (False, None) and camera.GetLastError() == IO
    assert device.ReadMem(0, 4)[0] == IO and device.WriteMem(0x01000000, "abcd")[0] == IO
    assert not camera.ExecuteCommand("AcquisitionStart") and camera.GetLastError() == IO
    stream.StopAcquisition(0)
    device.Release()
    messages()
    end = time.monotonic() + 3
    while time.monotonic() < end:
        assert interface.ReEnumerateDevices(1000)[0]
        found = [info for info in interface.GetDeviceInfoList() if info.GetSerialNumber() == "U1"]
        if found and found[0].GetAccessStatus() == 1:
            break
        time.sleep(0.02)
    again = zel.PyZelCreateDevice(found[0])
    assert again.IsValid(), zel.GetLastError()
    stream = again.GetStreamByIndex(0)
    assert stream.AllocBufferQueue(4) and stream.StartAcquisition()
    assert stream.GetBuffer(3000) is not None
    again.Release()


def test_cameras_that_may_not_be_opened_are_listed(run_program):
    """Their reason is in the log, with the rule that helps."""
    program = """
import libZelCameraApiPy as zel
interface = zel.PyZelSystem().GetInterfaceList()[0]
assert interface.ReEnumerateDevices(1000) == (True, True)
info = interface.GetFirstDeviceInfo()
assert info.GetAccessStatus() == %d, info.GetAccessStatus()
assert info.GetModel() and info.GetDisplayName()
assert interface.GetParameters().GetIntegerValue("ClosedDeviceCount") == (True, %d)
assert not zel.PyZelCreateDevice(info).IsValid() and zel.GetLastError() == -1005
"""
    result = run_program(program % (3, 2), ZEL_USB3_SET="denied=1", ZELCAM_LOG="usb3")
    assert b"/etc/udev/rules.d" in result.stderr and b"ef0500" in result.stderr
    result = run_program(program % (4, 0), ZEL_USB3_SET="taken=1", ZELCAM_LOG="usb3")
    assert b"another program" in result.stderr


def test_another_process_has_it(run_program, tmp_path):
    run_program("""
import subprocess, sys
import libZelCameraApiPy as zel
def find():
    interface = zel.PyZelSystem().GetInterfaceList()[0]
    interface.ReEnumerateDevices(1000)
    return interface.GetFirstDeviceInfo()
if len(sys.argv) > 1:
    assert find().GetAccessStatus() == 4
    assert not zel.PyZelCreateDevice(find()).IsValid()
    sys.exit(-zel.GetLastError() % 256)
device = zel.PyZelCreateDevice(find())
assert device.IsValid()
def other():
    return subprocess.run([sys.executable, __file__, "x"]).returncode
assert other() == 1005 % 256
device.Release()
assert find().GetAccessStatus() == 1
""", ZEL_USB3_LOCKS=str(tmp_path))


def test_packed_description(run_program):
    run_program("""
import libZelCameraApiPy as zel
zel.PyZelSystem().GetInterfaceList()[0].ReEnumerateDevices(1000)
camera = zel.PyZelCreateDevice().GetCameraParameters()
assert camera.GetCount() > 100 and camera.GetIntegerValue("Width")[0]
""", ZEL_USB3_SET="zip=1")


def test_events(bus, open_device):
    device, other = open_device(), open_device("U2")
    camera = device.GetCameraParameters()
    seen, strange = [], []
    assert device.RegisterEvent(TEST_EVENT, lambda data, size, key: seen.append(bytes(data)))
    assert other.RegisterEvent(TEST_EVENT, lambda *event: strange.append(event))
    for number in range(50):
        bus.set("event", number)
        if number % 10 == 9:
            time.sleep(0.05)
    end = time.monotonic() + 3
    while len(seen) < 50 and time.monotonic() < end:
        time.sleep(0.01)
    assert [struct.unpack("<I", data[12:])[0] for data in seen] == list(range(50)) and strange == []
    assert camera.SetEnumValueStr("EventSelector", "Test")
    assert camera.SetEnumValueStr("EventNotification", "On")
    assert device.RegisterEvent(0x9008, lambda data, size, key: seen.append(bytes(data)))
    assert camera.ExecuteCommand("TestEventGenerate")
    time.sleep(0.2)
    assert len(seen) == 51
    stamp, = struct.unpack("<Q", seen[-1][4:12])
    assert camera.GetIntegerValue("EventTestTimestamp") == (True, stamp)
    device.Release()
    bus.set("event", 1)
    time.sleep(0.1)
    assert len(seen) == 51


def test_libusb_is_not_started_by_an_import(run_program):
    run_program("""
import os
import libZelCameraApiPy as zel
interfaces = zel.PyZelSystem().GetInterfaceList()
assert [interface.GetType() for interface in interfaces] == [1]
assert len(os.listdir("/proc/self/task")) == 1
interfaces[0].ReEnumerateDevices(1000)
assert len(os.listdir("/proc/self/task")) > 1, "the cameras of this libusb are threads"
""")


def test_a_forked_child_leaves_the_camera_alone(run_program):
    run_program("""
import os
import libZelCameraApiPy as zel
zel.PyZelSystem().GetInterfaceList()[0].ReEnumerateDevices(1000)
device = zel.PyZelCreateDevice()
stream = device.GetStreamByIndex(0)
assert stream.AllocBufferQueue(4) and stream.StartAcquisition()
child = os.fork()
if child == 0:
    ok = stream.GetBuffer(100) is None and stream.GetLastError() == -40051
    ok = ok and device.ReadMem(0, 4)[0] == -40051
    device.Release()
    os._exit(0 if ok else 1)
assert os.waitpid(child, 0)[1] == 0
for _ in range(5):
    buffer = stream.GetBuffer(3000)
    assert not buffer.IsIncomplete() and stream.QueueBuffer(buffer)
""")
