"""Device memory, configuration files and events of the simulated cameras."""

import os
import random
import struct
import threading
import time

import pytest

USER, FACTORY, PROTECTED, USER_SIZE = 0x01000000, 0x02000000, 0x03000000, 1 << 20
TEST_EVENT, EXPOSURE_END, DEVICE_LOST = 0x9008, 0x9006, None


def test_memory_areas(device):
    text = "".join(chr(33 + i % 90) for i in range(1000))
    for address in (USER, USER + 3, USER + USER_SIZE - 1000):
        assert device.WriteMem(address, text) == (0, 1000)
        assert device.ReadMem(address, 1000) == (0, text.encode())
    code, data = device.ReadMem(USER, USER_SIZE)
    assert code == 0 and len(data) == USER_SIZE
    code, data = device.ReadMem(FACTORY, 600)
    assert code == 0 and data == bytes(i % 251 for i in range(600))
    assert device.WriteMem(FACTORY, "x")[0] == -1005
    assert device.ReadMem(PROTECTED, 4)[0] == -1005
    for address, length in ((USER - 1, 4), (USER + USER_SIZE - 2, 4), (-1, 4), (1 << 62, 8)):
        code, data = device.ReadMem(address, length)
        assert code < 0 and len(data) == length and device.GetLastError() == code
        assert device.WriteMem(address, "abcd")[0] < 0
    assert device.ReadMem(USER, 4)[0] == 0, "goes on after failures"


def state(camera):
    """All streamable values, selectors apart."""
    values = {}
    for index in range(camera.GetCount()):
        parameter = camera.GetParamByIndex(index)
        kind = parameter.GetType()
        if kind == camera.ParamCategory or not parameter.IsStreamable():
            continue
        name = parameter.GetName()
        reader = {1: camera.GetIntegerValue, 2: camera.GetFloatValue, 3: camera.GetStringValue,
                  4: camera.GetEnumValueStr, 6: camera.GetBooleanValue}.get(kind)
        if reader and parameter.IsReadable():
            values[name] = reader(name)[1]
    return values


def shake(camera, dice, steps=25):
    """Brings the camera into a random reachable state."""
    names = [camera.GetParamByIndex(i) for i in range(camera.GetCount())]
    usable = [p.GetName() for p in names if p.GetType() != camera.ParamCategory and p.IsStreamable()]
    for name in dice.choices(usable, k=steps):
        kind = camera.GetParam(name).GetType()
        if kind == 1:
            feature = camera.GetInt(name)
            low, high, step = (feature.GetMin()[1], feature.GetMax()[1], feature.GetIncrement()[1])
            if None not in (low, high, step):
                camera.SetIntegerValue(name, low + dice.randint(0, max(0, high - low) // step) * step)
        elif kind == 2:
            feature = camera.GetFloat(name)
            if feature.GetMin()[0]:
                camera.SetFloatValue(name, dice.uniform(feature.GetMin()[1], feature.GetMax()[1]))
        elif kind == 4:
            feature = camera.GetEnum(name)
            entry = feature.GetEnumEntryByIndex(dice.randrange(feature.GetCount()[1]))
            camera.SetEnumValueStr(name, entry.GetValueStr()[1])
        elif kind == 6:
            camera.SetBooleanValue(name, dice.random() < 0.5)


def reset(camera):
    camera.SetEnumValueStr("UserSetSelector", "Default")
    assert camera.ExecuteCommand("UserSetLoad")


def round_trips(device, tmp_path, rounds, seed):
    camera, dice = device.GetCameraParameters(), random.Random(seed)
    name = str(tmp_path / "settings.txt")
    for number in range(rounds):
        shake(camera, dice)
        before = state(camera)
        assert device.SaveConfiguration(name)
        reset(camera)
        shake(camera, dice, 8)
        assert device.LoadConfiguration(name), number
        after = state(camera)
        different = {key: (before[key], after.get(key)) for key in before if before[key] != after.get(key)}
        assert not different, number


def test_settings_come_back(device, tmp_path):
    round_trips(device, tmp_path, 20, 1)
    assert os.listdir(str(tmp_path)) == ["settings.txt"], "no temporary file is left"


@pytest.mark.long
def test_settings_come_back_200_times(device, tmp_path):
    round_trips(device, tmp_path, 200, 7)


def test_file_is_the_persistence_text(device, camera, tmp_path):
    path = tmp_path / "settings.txt"
    assert device.SaveConfiguration(str(path))
    lines = path.read_text().splitlines()
    assert lines[0] == "# {05D8C294-F295-4dfb-9D01-096BD04049F4}"
    assert lines[1] == "# GenApi persistence file (version 3.1.0)"
    assert any(line.startswith("#") and device.GetInfo().GetSerialNumber() in line for line in lines)
    assert "Width\t%d" % camera.GetIntegerValue("Width")[1] in lines
    assert any("\t{" in line for line in lines), "selected features"
    foreign = [lines[0], "# GenApi persistence file (version 2.4.0)", "# somebody else's camera",
               "Height\t64", "", "Width\t320"]
    path.write_text("\r\n".join(foreign) + "\r\n")
    assert device.LoadConfiguration(str(path))
    assert camera.GetIntegerValue("Width") == (True, 320)


def test_a_refused_file_changes_nothing(zel, device, camera, tmp_path):
    path = tmp_path / "settings.txt"
    assert camera.SetIntegerValue("Width", 320)
    assert device.SaveConfiguration(str(path))
    good = path.read_text()
    reset(camera)
    before = state(camera)
    for wrong in (good.replace("Width\t320", "Width\t321"), good.replace("Width\t320", "Width\tx"),
                  good.replace("Width\t320", "NoSuchFeature\t1"), good.replace("Width\t320", "Width"),
                  good[good.index("\n") + 1:], "", "\0" * 100, good + "Height\t-1\n",
                  good + "PixelFormat\tMono99\n", good + "ExposureTime\tnan\n"):
        path.write_bytes(wrong.encode())
        assert not device.LoadConfiguration(str(path)), wrong[-60:]
        assert state(camera) == before
    for name in (str(tmp_path), "/dev/zero", "/dev/null", str(tmp_path / "none.txt"), ""):
        assert not device.LoadConfiguration(name), name
    assert not device.SaveConfiguration(str(tmp_path))
    assert not device.SaveConfiguration(str(tmp_path / "no" / "such" / "folder.txt"))
    for name in ("a\0b", "\ud800"):
        with pytest.raises(ValueError):
            device.LoadConfiguration(name)
    path.write_bytes(os.urandom(10 << 20))
    assert not device.LoadConfiguration(str(path))
    assert state(camera) == before


def test_device_from_file(zel, infos, open_device, tmp_path, messages):
    path = str(tmp_path / "settings.txt")
    info = list(infos.values())[-1]
    device = open_device(info)
    camera = device.GetCameraParameters()
    half = camera.GetInt("Height").GetMin()[1] * 2
    assert camera.SetIntegerValue("Height", half) and device.SaveConfiguration(path)
    system = zel.PyZelSystem()
    assert system.CreateDeviceFromConfig(path) is None and system.GetLastError() == -1004
    reset(camera)
    device.Release()
    again = system.CreateDeviceFromConfig(path)
    assert again.GetInfo().GetSerialNumber() == info.GetSerialNumber()
    assert again.GetCameraParameters().GetIntegerValue("Height") == (True, half)
    again.Release()
    assert system.CreateDeviceFromConfig(str(tmp_path / "none")) is None
    assert system.GetLastError() == -40002
    (tmp_path / "bad").write_text("nothing of the kind")
    assert system.CreateDeviceFromConfig(str(tmp_path / "bad")) is None
    assert system.GetLastError() == -40004
    assert info.GetAccessStatus() == 1
    assert messages().count(b"Create device from config error: ") == 3


def enable(camera, name, on=True):
    assert camera.SetEnumValueStr("EventSelector", name)
    assert camera.SetEnumValueStr("EventNotification", "On" if on else "Off")


def wait_for(condition, seconds=3):
    end = time.monotonic() + seconds
    while time.monotonic() < end:
        if condition():
            return True
        time.sleep(0.002)
    return False


def test_events_carry_data_and_reach_the_features(device, camera):
    enable(camera, "Test")
    seen = []
    assert device.RegisterEvent(TEST_EVENT, lambda *event: seen.append(event))
    for _ in range(5):
        assert camera.ExecuteCommand("TestEventGenerate")
    assert wait_for(lambda: len(seen) == 5)
    for data, size, key in seen:
        assert type(data) is bytearray and len(data) == size >= 16 and key > 0
    assert camera.GetIntegerValue("EventTestTimestamp")[0]
    stamps = [struct.unpack(">Q", bytes(data[8:16]))[0] for data, _, _ in seen]
    assert stamps == sorted(stamps) and camera.GetIntegerValue("EventTestTimestamp")[1] == stamps[-1]
    enable(camera, "Test", False)
    camera.ExecuteCommand("TestEventGenerate")
    assert device.UnRegisterEvent(TEST_EVENT, None)
    enable(camera, "Test")
    camera.ExecuteCommand("TestEventGenerate")
    time.sleep(0.05)
    assert len(seen) == 5


def test_unregistering_inside_the_callable_and_from_threads(device, camera):
    enable(camera, "Test")
    calls = []

    def once(*_):
        calls.append(1)
        device.UnRegisterEvent(TEST_EVENT, None)
    assert device.RegisterEvent(TEST_EVENT, once)
    for _ in range(3):
        camera.ExecuteCommand("TestEventGenerate")
    time.sleep(0.1)
    assert len(calls) == 1

    stop = threading.Event()

    def toggle():
        while not stop.is_set():
            device.RegisterEvent(TEST_EVENT, lambda *_: None)
            device.UnRegisterEvent(TEST_EVENT, None)
    threads = [threading.Thread(target=toggle) for _ in range(3)]
    for thread in threads:
        thread.start()
    for _ in range(500):
        camera.ExecuteCommand("TestEventGenerate")
    stop.set()
    for thread in threads:
        thread.join(10)
        assert not thread.is_alive(), "deadlock"


def burst(device, camera, count):
    """Fires `count` test events; the callable must get each once and in order."""
    enable(camera, "Test")
    stamps = []
    assert device.RegisterEvent(TEST_EVENT, lambda data, size, key: stamps.append(bytes(data[8:16])))
    fired = 0
    while fired < count:
        assert camera.ExecuteCommand("TestEventGenerate")
        fired += 1
    assert wait_for(lambda: len(stamps) == count, 20)
    assert stamps == sorted(stamps)
    device.UnRegisterEvent(TEST_EVENT, None)


def test_no_event_is_lost(device, camera):
    burst(device, camera, 3000)


@pytest.mark.long
def test_no_event_of_100000_is_lost(device, camera):
    burst(device, camera, 100000)


def test_exposure_end_comes_with_each_frame(device, camera, stream):
    enable(camera, "ExposureEnd")
    ended = []
    device.RegisterEvent(EXPOSURE_END, lambda data, size, key: ended.append(bytes(data)))
    camera.SetEnumValueStr("AcquisitionMode", "MultiFrame")
    camera.SetIntegerValue("AcquisitionFrameCount", 7)
    assert stream.StartAcquisition()
    for _ in range(7):
        stream.QueueBuffer(stream.GetBuffer(2000))
    assert wait_for(lambda: len(ended) == 7)
    assert [struct.unpack(">Q", data[16:24])[0] for data in ended] == list(range(7))
    device.UnRegisterEvent(EXPOSURE_END, None)


def test_exit_with_events_flowing(run_program):
    result = run_program("""
import threading, time
import libZelCameraApiPy as zel
device = zel.PyZelCreateDevice()
camera = device.GetCameraParameters()
for name in ("Test", "FrameStart"):
    camera.SetEnumValueStr("EventSelector", name)
    camera.SetEnumValueStr("EventNotification", "On")
seen = []
device.RegisterEvent(0x9008, lambda *event: seen.append(event))
device.RegisterEvent(0x9005, lambda *event: seen.append(event))
stream = device.GetStreamByIndex(0)
stream.AllocBufferQueue(4)
stream.StartAcquisition()
def fire():
    while True:
        camera.ExecuteCommand("TestEventGenerate")
threading.Thread(target=fire, daemon=True).start()
time.sleep(0.2)
assert seen
""", ZELCAM_VISION="off")
    assert result.stdout == b""


def test_unplugging_and_coming_back(zel, device, camera, stream, messages):
    info, interface = device.GetInfo(), device.GetInfo().GetInterface()
    assert stream.StartAcquisition()
    assert camera.SetIntegerValue("SimulatorUnplugReturnTime", 300)
    assert stream.GetBuffer(2000) is not None
    assert camera.ExecuteCommand("SimulatorUnplug")
    start = time.monotonic()
    while stream.GetBuffer(5000) is not None:
        pass
    assert time.monotonic() - start < 1, "the wait ended with the camera"
    assert stream.GetLastError() < 0 and stream.GetLastError() != -1011
    assert camera.GetIntegerValue("Width") == (False, None) and camera.GetLastError() < 0
    assert device.ReadMem(USER, 4)[0] < 0
    assert interface.ReEnumerateDevices(1000) == (True, True)
    assert info.GetModel() not in [i.GetModel() for i in interface.GetDeviceInfoList()]
    assert not zel.PyZelCreateDevice(info).IsValid()
    device.Release()
    assert wait_for(lambda: interface.ReEnumerateDevices(1000) == (True, True))
    again = zel.PyZelCreateDevice(info)
    assert again.IsValid()
    second = again.GetStreamByIndex(0)
    assert second.AllocBufferQueue(3) and second.StartAcquisition()
    assert second.GetBuffer(2000) is not None
    second.Release()
    again.Release()
    messages()


def test_lost_and_incomplete_frames_say_so(device, camera, running):
    running.QueueBuffer(running.GetBuffer(2000))
    flags, ids = [], []

    def grab(count):
        for _ in range(count):
            buffer = running.GetBuffer(2000)
            flags.append(buffer.IsIncomplete())
            ids.append(buffer.GetFrameID())
            running.QueueBuffer(buffer)
    assert camera.SetIntegerValue("SimulatorIncompleteLines", 10)
    assert camera.SetIntegerValue("SimulatorIncompleteFrames", 3)
    grab(12)
    assert flags.count(True) == 3
    assert camera.SetIntegerValue("SimulatorDropFrames", 2)
    grab(12)
    transport = device.GetTransportParameters()
    missing = ids[-1] - ids[0] + 1 - len(ids)
    lost = transport.GetIntegerValue("StreamLostFrameCount")[1]
    late = transport.GetIntegerValue("StreamUnderrunFrameCount")[1]
    assert flags.count(True) == 3 == transport.GetIntegerValue("StreamIncompleteFrameCount")[1]
    assert lost == 2 and missing == lost + late, "ids show the lost ones"


def test_refused_register_accesses_give_their_code(camera):
    assert camera.SetIntegerValue("SimulatorRefuseCode", -1010)
    assert camera.SetIntegerValue("SimulatorRefuseAccesses", 1)
    codes = set()
    for _ in range(3):
        camera.GetIntegerValue("Width")
        codes.add(camera.GetLastError())
    assert codes == {0, -1010}
