"""Memory and configuration files of cameras of any family."""

import os
import random

import pytest

from camera_tools import reset, shake, stored_values
from conftest import IS_FOREIGN

# Memory that may be written, with room behind it: (first address, bytes).
MEMORY = (0x8000, 0x4000) if IS_FOREIGN else (0x01000000, 1 << 20)
EXPOSURE = "ExposureTimeAbs" if IS_FOREIGN else "ExposureTime"


def test_memory_at_any_address_and_length(device):
    base, room = MEMORY[0], min(MEMORY[1], 1100)
    code, before = device.ReadMem(base, room)
    assert code == 0 and len(before) == room
    text = "".join(chr(33 + i % 90) for i in range(min(room - 8, 1000)))
    for offset, length in ((0, len(text)), (3, len(text)), (1, 1), (2, 1), (3, 1), (0, 4), (1, 2),
                           (3, 2), (2, 6), (room - 1, 1), (room - 5, 5)):
        assert device.WriteMem(base, "\0" * room) == (0, room)
        assert device.WriteMem(base + offset, text[:length]) == (0, length)
        wanted = bytes(offset) + text[:length].encode()
        wanted += bytes(room - len(wanted))
        assert device.ReadMem(base, room) == (0, wanted), "what lies around it is as it was"
        assert device.ReadMem(base + offset, length) == (0, text[:length].encode())


def test_memory_in_large_pieces(device):
    base = MEMORY[0]
    text = "".join(chr(33 + i * i % 90) for i in range(9001))
    assert device.WriteMem(base, "\0" * 9100) == (0, 9100)
    assert device.WriteMem(base + 3, text) == (0, 9001)
    assert device.ReadMem(base + 3, 9001) == (0, text.encode())
    assert device.ReadMem(base, 9100) == (0, b"\0" * 3 + text.encode() + b"\0" * 96)


def test_memory_outside_the_address_space(device):
    base, _ = MEMORY
    beyond = [(-1, 4), (1 << 62, 8), ((1 << 63) - 1, 4)]
    beyond += [(1 << 32, 4), ((1 << 32) - 2, 4)] if IS_FOREIGN else []
    for address, length in beyond:
        code, data = device.ReadMem(address, length)
        assert code < 0 and len(data) == length and device.GetLastError() == code
        code, written = device.WriteMem(address, "abcdefgh"[:length])
        assert code < 0 and written == 0
    assert device.ReadMem(base, 4)[0] == 0, "goes on after failures"


def test_addresses_without_memory_are_refused(device, lacks):
    lacks("ends when an address without memory is read")
    base, room = MEMORY
    for address, length in ((base - 1, 4), (base + room - 2, 4)):
        code, data = device.ReadMem(address, length)
        assert code < 0 and len(data) == length and device.GetLastError() == code
        assert device.WriteMem(address, "abcd")[0] < 0


def test_memory_is_what_the_features_show(device, camera, lacks):
    if not IS_FOREIGN:
        pytest.skip("the registers of simulated cameras lie where their description says")
    assert camera.SetIntegerValue("TestRegister", 0x61626364)
    assert device.ReadMem(0x1F0, 4) == (0, b"abcd")
    assert device.WriteMem(0x1F1, "xy") == (0, 2)
    assert camera.GetIntegerValue("TestRegister") == (True, 0x61787964)


def round_trips(device, tmp_path, rounds, seed):
    camera, dice = device.GetCameraParameters(), random.Random(seed)
    name = str(tmp_path / "settings.txt")
    for number in range(rounds):
        shake(camera, dice)
        before = stored_values(camera)
        assert len(before) > 8
        assert device.SaveConfiguration(name)
        reset(camera)
        shake(camera, dice, 8)
        assert device.LoadConfiguration(name), number
        after = stored_values(camera)
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
    # No selector of the GigE Vision test camera says what it selects.
    assert any("\t{" in line for line in lines) != IS_FOREIGN, "selected features"
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
    width = camera.GetInt("Width")
    between = 321 if width.GetIncrement()[1] > 1 else width.GetMax()[1] + 1
    reset(camera)
    before = stored_values(camera)
    for wrong in (good.replace("Width\t320", "Width\t%d" % between),
                  good.replace("Width\t320", "Width\tx"),
                  good.replace("Width\t320", "NoSuchFeature\t1"), good.replace("Width\t320", "Width"),
                  good[good.index("\n") + 1:], "", "\0" * 100, good + "Height\t-1\n",
                  good + "PixelFormat\tMono99\n", good + EXPOSURE + "\tnan\n"):
        path.write_bytes(wrong.encode())
        assert not device.LoadConfiguration(str(path)), wrong[-60:]
        assert stored_values(camera) == before
    for name in (str(tmp_path), "/dev/zero", "/dev/null", str(tmp_path / "none.txt"), ""):
        assert not device.LoadConfiguration(name), name
    assert not device.SaveConfiguration(str(tmp_path))
    assert not device.SaveConfiguration(str(tmp_path / "no" / "such" / "folder.txt"))
    for name in ("a\0b", "\ud800"):
        with pytest.raises(ValueError):
            device.LoadConfiguration(name)
    path.write_bytes(os.urandom(10 << 20))
    assert not device.LoadConfiguration(str(path))
    assert stored_values(camera) == before


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
