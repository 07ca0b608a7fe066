"""Configuration files that are cut off or have a wrong byte, at every place of a real one."""

import os
import random

import pytest

WRONG_CONFIGURATION, NO_DEVICE = -40004, -40006
PARAMETER_CODES = range(-40207, -40199)


def settings(text):
    """What a file says: {(feature, its selectors): value}; the later of two lines counts."""
    found = {}
    for line in text.split(b"\n"):
        line = line[:-1] if line.endswith(b"\r") else line
        if line and not line.startswith(b"#"):
            name, *selectors, value = line.split(b"\t", 2 if b"\t{" in line else 1)
            found[name, tuple(sorted(selectors))] = value
    return found


def agree(wanted, present):
    """Texts of one value: alike, or the same number, which a camera may round to its steps."""
    if wanted == present:
        return True
    try:
        wanted, present = float(wanted), float(present)
    except ValueError:
        return False
    return abs(wanted - present) <= 1e-4 * max(1.0, abs(wanted))


class Damage:
    """A camera in one state, and a file that describes another one."""

    def __init__(self, device, folder):
        self.device, self.camera = device, device.GetCameraParameters()
        self.path, self.kept, self.now = (str(folder / name) for name in ("file", "kept", "now"))
        self.loaded = self.refused = 0
        self.change(640, 32, 1234.5, 6.0, "Mono12", "GreyHorizontalRamp", "On")
        self.text = self.saved(self.path)
        self.change(1280, 64, 20000.0, 3.0, "Mono8", "GreyVerticalRamp", "Off")
        self.selectors = {name: self.camera.GetEnumValueStr(name)[1] for name in (
            "GainSelector", "TriggerSelector", "ChunkSelector", "EventSelector", "CounterSelector")}
        assert None not in self.selectors.values()
        self.before = self.saved(self.kept)
        both = settings(self.text), settings(self.before)
        assert sum(both[0][key] != both[1][key] for key in both[0]) >= 8

    def change(self, width, offset, exposure, gain, pixels, pattern, switch):
        camera = self.camera
        assert camera.SetIntegerValue("Width", width) and camera.SetIntegerValue("OffsetX", offset)
        assert camera.SetFloatValue("ExposureTime", exposure) and camera.SetFloatValue("Gain", gain)
        assert camera.SetEnumValueStr("PixelFormat", pixels)
        assert camera.SetEnumValueStr("TestPattern", pattern)
        assert camera.SetEnumValueStr("EventSelector", "Test")
        assert camera.SetEnumValueStr("EventNotification", switch)
        assert camera.SetBooleanValue("ReverseX", switch == "On")

    def saved(self, path):
        assert self.device.SaveConfiguration(path)
        with open(path, "rb") as file:
            return file.read()

    def unchanged(self, where):
        assert self.saved(self.now) == self.before, where
        for name, entry in self.selectors.items():
            assert self.camera.GetEnumValueStr(name) == (True, entry), (where, name)

    def load(self, text, where):
        """Refused without a trace, or loaded with every value that the file has."""
        with open(self.path, "wb") as file:
            file.write(text)
        if not self.device.LoadConfiguration(self.path):
            self.refused += 1
            self.unchanged(where)
            return
        self.loaded += 1
        present = settings(self.saved(self.now))
        for key, value in settings(text).items():
            assert agree(value, present[key]), (where, key)
        assert self.device.LoadConfiguration(self.kept), where
        self.unchanged(where)

    def sweep(self, positions):
        text = self.text
        for at in positions:
            self.load(text[:at], (at, "cut"))
            for mask in (0x01, 0x80):
                wrong = text[:at] + bytes([text[at] ^ mask]) + text[at + 1:]
                self.load(wrong, (at, "flipped", mask))
        # Both ends have to be met: what is in a comment, and what breaks a line.
        assert self.loaded > len(positions) // 10 and self.refused > len(positions)


@pytest.fixture
def damage(device, tmp_path):
    return Damage(device, tmp_path)


def test_damaged_files_change_nothing(damage):
    step = 61 if os.environ.get("ZELCAM_TEST_SANITIZED") else 17
    damage.sweep(range(random.Random(1).randrange(step), len(damage.text), step))


@pytest.mark.long
def test_files_damaged_anywhere_change_nothing(damage):
    damage.sweep(range(len(damage.text)))


def test_damaged_files_give_their_code(zel, damage, messages):
    """The device does not tell why it refused a file; opening a camera by the same file does."""
    system, text = zel.PyZelSystem(), damage.text
    damage.device.Release()
    codes = set()
    for at in range(random.Random(2).randrange(97), len(text), 97):
        for wrong in (text[:at], text[:at] + bytes([text[at] ^ 0x80]) + text[at + 1:]):
            with open(damage.path, "wb") as file:
                file.write(wrong)
            device = system.CreateDeviceFromConfig(damage.path)
            codes.add(system.GetLastError())
            if device is not None:
                device.Release()
    assert {0, WRONG_CONFIGURATION} <= codes
    assert codes <= {0, WRONG_CONFIGURATION, NO_DEVICE, *PARAMETER_CODES}, codes
    messages()
