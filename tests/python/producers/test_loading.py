"""Producers by file, folder and environment: good ones, broken ones, several at once."""

import os
import re

import pytest


def test_a_producer_is_there_once_by_whatever_name(scenario, producer, tmp_path):
    path = producer("folder/first.cti")
    os.symlink(path, str(tmp_path / "link.cti"))
    os.link(path, str(tmp_path / "hard.cti"))
    assert scenario("""
assert serials() == []
for name in "folder", "folder/first.cti", "link.cti", "hard.cti", "folder/../link.cti":
    assert system.RegisterGenTLProvider(name), name
    assert system.GetLastError() == 0
    assert len(serials()) == len(set(serials())) == 6, name
""") == ""


def test_registering_comes_before_the_first_look_as_well(scenario, producer):
    assert scenario("""
assert system.RegisterGenTLProvider(%r)
assert len(serials()) == 6
device = zel.PyZelCreateDevice()
assert device.IsValid() and device.GetInfo().GetSerialNumber() == serials()[0]
""" % producer("first.cti"), GENICAM_GENTL64_PATH=producer("first.cti")) == ""


@pytest.mark.parametrize("simulator", ["off", "on"])
def test_producers_do_not_touch_each_other(scenario, producer, simulator):
    """Two copies, and with "on" the compiled-in cameras too: the same serial numbers everywhere."""
    producer("folder/first.cti")
    producer("folder/second.cti")
    assert scenario("""
sources = 2 + (%r == "on")
assert system.RegisterGenTLProvider("folder")
same = [info for info in infos() if info.GetSerialNumber() == "10000001"]
assert len(serials()) == 6 * sources and len(same) == sources
devices = [zel.PyZelCreateDevice(info) for info in same]
streams = []
for number, device in enumerate(devices):
    assert device.IsValid(), zel.GetLastError()
    camera = device.GetCameraParameters()
    assert camera.SetIntegerValue("Width", 64 * (number + 1))
    assert camera.SetIntegerValue("Height", 32)
    streams.append(device.GetStreamByIndex(0))
    assert streams[-1].AllocBufferQueue(4) and streams[-1].StartAcquisition()
devices[0].Release()
for number in range(1, sources):
    buffer = streams[number].GetBuffer(5000)
    assert buffer.GetWidth() == 64 * (number + 1)
    assert same[number].GetAccessStatus() == 5
assert same[0].GetAccessStatus() == 1
""" % simulator, ZELCAM_SIMULATOR=simulator) == ""


def write_broken(folder):
    """Files that are called producers and are none."""
    (folder / "text.cti").write_text("not a library")
    with open("/proc/self/maps") as maps:
        libm = re.search(r"(/\S*/libm\S*\.so\S*)", maps.read()).group(1)
    with open(libm, "rb") as library:
        (folder / "other.cti").write_bytes(library.read())


def write_incomplete(path, name, old):
    """A producer that has one name less, or that wants one which nobody has."""
    with open(path, "rb") as library:
        content = library.read()
    old = b"\0" + old.encode() + b"\0"
    assert old in content
    with open(name, "wb") as library:
        library.write(content.replace(old, old[:-2] + b"X\0"))


@pytest.mark.parametrize("name, code, text, told", [
    ("text.cti", -40003, "File read error", "text.cti is not loaded: "),
    ("other.cti", -40003, "File read error", "other.cti is no GenTL producer: it lacks GCInitLib"),
    ("lacking.cti", -40003, "File read error",
     "lacking.cti is no GenTL producer: it lacks IFOpenDevice"),
    ("wanting.cti", -40003, "File read error", "wanting.cti is not loaded: "),
    ("missing.cti", -40002, "File not found", "missing.cti: No such file"),
    ("empty", -40002, "File not found", None),
    ("", -40007, "Invalid argument", None),
])
def test_what_is_no_producer_is_refused(scenario, producer, tmp_path, name, code, text, told):
    write_broken(tmp_path)
    good = producer("good.cti")
    write_incomplete(good, str(tmp_path / "lacking.cti"), "IFOpenDevice")
    write_incomplete(good, str(tmp_path / "wanting.cti"), "_ZNSt6chrono3_V212steady_clock3nowEv")
    (tmp_path / "empty").mkdir()
    (tmp_path / "empty" / "producer.txt").write_text("not even called one")
    path = name and str(tmp_path / name)
    *before, last = scenario("""
for _ in range(2):
    assert not system.RegisterGenTLProvider(%r)
    assert system.GetLastError() == %d
assert serials() == []
assert system.RegisterGenTLProvider(%r) and system.GetLastError() == 0
assert len(serials()) == 6
""" % (path, code, good)).splitlines()
    assert last == "Register GenTL Provider error: %d %s" % (code, text)
    if told is None:
        assert before == [last]
    else:
        assert len(before) == 3 and all(str(tmp_path / told) in before[at] for at in (0, 2))
    if name == "wanting.cti":
        assert "undefined symbol: _ZNSt6chrono3_V212steady_clock3nowEX" in before[0]


def test_the_environment_names_several(scenario, producer, tmp_path):
    write_broken(tmp_path)
    names = ["missing.cti", "text.cti", "folder", "", "other.cti", "last.cti", "folder/first.cti"]
    producer("folder/first.cti")
    (tmp_path / "folder" / "broken.cti").write_text("")
    producer("last.cti")
    paths = ":".join(name and str(tmp_path / name) for name in names)
    lines = scenario("""
assert len(serials()) == 12
assert len(serials()) == 12
""", GENICAM_GENTL64_PATH=paths).splitlines()
    skipped = ["missing.cti", "text.cti", "folder/broken.cti", "other.cti"]
    assert len(lines) == 4
    for line, name in zip(lines, skipped):
        assert str(tmp_path / name) in line


@pytest.mark.parametrize("place", ["terminal", "file"])
def test_the_log_tells_every_call(scenario, producer, tmp_path, place):
    log = tmp_path / "calls.log"
    setting = "gentl" if place == "terminal" else "backend,gentl:%s" % log
    path = producer("first.cti")
    lines = scenario("assert len(serials()) == 6", GENICAM_GENTL64_PATH=path, ZELCAM_LOG=setting)
    if place == "file":
        assert lines == ""
        lines = log.read_text()
    shape = re.compile(r"\d\d:\d\d:\d\d\.\d{6} \w+\[\d+\] .+")
    assert all(shape.fullmatch(line) for line in lines.splitlines())
    calls = [line.split(path + " ")[1] for line in lines.splitlines() if path + " " in line]
    assert calls[:2] == ["GCInitLib: 0", "TLOpen: 0"]
    assert calls.count("TLOpenInterface: 0") == calls.count("IFUpdateDeviceList: 0") == 5
