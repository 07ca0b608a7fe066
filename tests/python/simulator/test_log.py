"""What ZELCAM_LOG writes: why a settings file was refused, what became of a device, unknown names."""

import re

import pytest

REFUSED = """
import libZelCameraApiPy as zel
device = zel.PyZelCreateDevice()
assert device.SaveConfiguration("good.txt")
good = open("good.txt").read()
number = len(good.splitlines()) + 1
for name, more in %r.items():
    open(name, "w").write(good + more)
    assert not device.LoadConfiguration(name)
    print(name, number)
assert not device.LoadConfiguration("missing.txt") and not device.SaveConfiguration("no/folder.txt")
stream = device.GetStreamByIndex(0)
assert stream.AllocBufferQueue(3) and stream.StartAcquisition() and stream.StopAcquisition(0)
device.Release()
assert zel.PyZelSystem().CreateDeviceFromConfig("range.txt") is None
open("good.txt", "w").write(good.replace("SIM", "NONE"))
"""


def lines_of(text):
    """(channel, text) of every line."""
    shape = re.compile(r"\d\d:\d\d:\d\d\.\d{6} (\w+)\[\d+\] (.+)")
    return [shape.fullmatch(line).groups() for line in text.splitlines()]


def test_refused_settings_files_and_the_life_of_a_device(run_program, tmp_path):
    files = {"shape.txt": "Width\n", "unknown.txt": "NoSuchFeature\t1\n", "value.txt": "Width\tx\n",
             "range.txt": "Width\t-1\n"}
    result = run_program(REFUSED % files, ZELCAM_LOG="genapi,backend:log.txt")
    place = dict(line.split() for line in result.stdout.decode().splitlines())
    told = lines_of((tmp_path / "log.txt").read_text())
    settings = [text for channel, text in told if channel == "genapi"]
    assert settings[:6] == [
        "shape.txt:%s: no line of a settings file: -40004" % place["shape.txt"],
        "unknown.txt:%s: NoSuchFeature does not fit this device: -40004" % place["unknown.txt"],
        "value.txt:%s: Width does not fit this device: -40004" % place["value.txt"],
        "range.txt:%s: Width refused -1: -40204" % place["range.txt"],
        "missing.txt: cannot be read: -40002", "no/folder.txt: cannot be written: -40002"]
    device = [re.sub(r"^\S+: ", "", text) for channel, text in told if channel == "backend"]
    assert device == ["opened: 0", "stream 0 started", "stream 0 stopped: camera 0, host 0", "closed",
                      "opened: 0", "closed"]
    assert result.stderr == b"Create device from config error: -40204 GenICam: Parameter is out of range\n"


@pytest.mark.parametrize("setting, names", [("backend,nonsense,gige,more", ["nonsense", "more"])])
def test_names_that_mean_nothing_are_reported_once(run_program, setting, names):
    program = "import libZelCameraApiPy as zel\nfor _ in range(3):\n" \
        "    for interface in zel.PyZelSystem().GetInterfaceList():\n" \
        "        interface.ReEnumerateDevices(10)\n"
    said = run_program(program, ZELCAM_LOG=setting, ZELCAM_VISION="usb,no-such0,off").stderr.decode()
    assert [said.count('there is no channel "%s"\n' % name) for name in names] == [1, 1]
    assert said.count('ZELCAM_VISION: there is no network adapter "no-such0"\n') == 1
    assert said.count("there is no") == 3
