"""The road from PyZelSystem() to a saved picture, as scripts walk it."""

import hashlib
import re
import runpy
import subprocess
import sys

import pytest

from conftest import LOCAL, ROOT


def test_interfaces_and_cameras(interfaces, infos):
    assert sorted(interfaces) == [1, 2, 3, 4, 5]
    assert len(infos) == 6
    assert len({info.GetSerialNumber() for info in infos.values()}) == 6
    per_type = {kind: len(interface.GetDeviceInfoList()) for kind, interface in interfaces.items()}
    assert per_type == {1: 1, 2: 2, 3: 1, 4: 1, 5: 1}
    for interface in interfaces.values():
        assert interface.ReEnumerateDevices(1000) == (True, False)
        assert interface.GetDescription()
        assert interface.GetParameters().GetCount() > 0
        assert interface.GetFirstDeviceInfo().GetModel() in infos
    for info in infos.values():
        assert info.GetAccessStatus() == 1
        assert info.GetVendor() and info.GetDisplayName() and info.GetVersion()


def test_network_settings(interfaces, infos):
    for kind, interface in interfaces.items():
        for info in interface.GetDeviceInfoList():
            if kind != 2:
                assert info.GetIP() == (False, 0, 0, 0)
                assert not info.ForceIP("10.0.0.1", "255.0.0.0", "0.0.0.0")
                continue
            before = info.GetIP()
            texts = info.GetIPAddress(), info.GetIPMask(), info.GetIPGateway()
            assert before[0] and texts[0] == ".".join(str(b) for b in before[1].to_bytes(4, "big"))
            assert info.ForceIP("192.168.77.5", "255.255.255.0", "192.168.77.1")
            assert info.GetIP() == (True, 0xC0A84D05, 0xFFFFFF00, 0xC0A84D01)
            assert interface.ReEnumerateDevices(1000)[0]
            again = {i.GetSerialNumber(): i for i in interface.GetDeviceInfoList()}
            assert again[info.GetSerialNumber()].GetIPAddress() == "192.168.77.5"
            for wrong in ("192.168.77", "1.2.3.4.5", "256.1.1.1", "", "1.2.3.x", " 1.2.3.4", "1.2.3.4 "):
                assert not info.ForceIP(wrong, "255.255.255.0", "0.0.0.0"), wrong
            assert info.GetIPAddress() == "192.168.77.5"
            assert info.ForceIP(*texts)


def test_one_owner(zel, infos, open_device):
    info = next(iter(infos.values()))
    device = open_device(info)
    assert info.GetAccessStatus() == 5
    second = zel.PyZelCreateDevice(info)
    assert not second.IsValid() and zel.GetLastError() == -1004
    assert not info.ForceIP("10.0.0.1", "255.0.0.0", "0.0.0.0")
    device.Release()
    assert info.GetAccessStatus() == 1
    assert open_device(info).IsValid()


def test_frames_have_sense(device, camera, running):
    width, height = camera.GetIntegerValue("Width")[1], camera.GetIntegerValue("Height")[1]
    ids, stamps, kept = [], [], []
    for _ in range(20):
        buffer = running.GetBuffer(2000)
        assert (buffer.GetWidth(), buffer.GetHeight()) == (width, height)
        assert buffer.GetPixelFormat() == camera.GetEnumValue("PixelFormat")[1]
        assert not buffer.IsIncomplete()
        assert type(buffer.GetImage()).__name__
        ids.append(buffer.GetFrameID())
        stamps.append(buffer.GetTimestamp())
        kept.append(buffer.GetBufferPtr())
        assert len(kept[-1]) == running.GetBufferSize()
        assert running.QueueBuffer(buffer)
    assert ids == list(range(ids[0], ids[0] + 20))
    assert all(later > earlier for earlier, later in zip(stamps, stamps[1:]))
    assert len({hashlib.sha256(data).digest() for data in kept}) == 20, "the scene moves"
    transport = device.GetTransportParameters()
    assert transport.GetIntegerValue("StreamDeliveredFrameCount")[1] >= 20
    assert transport.GetIntegerValue("StreamLostFrameCount") == (True, 0)


def test_single_buffers_and_flush_modes(device, messages):
    stream = device.GetStreamByIndex(0)
    size = stream.GetBufferSize()
    assert stream.GetMinNumBuffers() >= 1 and stream.GetBufferAlignment() >= 1
    made = [stream.CreateBuffer(size) for _ in range(4)]
    for buffer in made:
        assert stream.QueueBuffer(buffer)
        assert not stream.QueueBuffer(buffer), "queued already"
        assert not stream.RevokeBuffer(buffer), "queued"
    for mode in (stream.Flush_AllDiscard, stream.Flush_AllToInput, stream.Flush_UnqueuedToInput,
                 stream.Flush_OutputDiscard):
        assert stream.FlushBuffers(mode)
    for wrong in (-1, 5, 1 << 40):
        assert not stream.FlushBuffers(wrong)
    assert not stream.RevokeBuffer(made[0])
    assert stream.FlushBuffers(stream.Flush_AllDiscard)
    for buffer in made:
        assert stream.RevokeBuffer(buffer)
        assert not stream.RevokeBuffer(buffer), "gone"
        assert not stream.QueueBuffer(buffer)
        assert buffer.IsIncomplete() and buffer.GetPixelFormat() == 0
    assert stream.CreateBuffer(0).GetImage() is None
    assert b"wrong buffer" in messages()
    stream.Release()


def test_small_buffers_are_refused_at_the_start(camera, device):
    stream = device.GetStreamByIndex(0)
    assert not stream.StartAcquisition(), "no buffers"
    camera.SetIntegerValue("Width", camera.GetInt("Width").GetMin()[1])
    assert stream.AllocBufferQueue(4)
    camera.SetIntegerValue("Width", camera.GetInt("Width").GetMax()[1])
    assert not stream.StartAcquisition(), "buffers are too small"
    assert stream.ReleaseBufferQueue() and stream.AllocBufferQueue(4)
    assert stream.StartAcquisition()
    assert not stream.StartAcquisition(), "runs already"
    assert not stream.ReleaseBufferQueue()
    assert stream.StopAcquisition(0)
    assert not stream.StopAcquisition(0)
    stream.Release()


def test_everything_after_release_answers(open_device, camera, device, stream, messages):
    assert stream.StartAcquisition()
    buffer = stream.GetBuffer(2000)
    width = camera.GetInt("Width")
    category = camera.GetRootCategory()
    transport = device.GetTransportParameters()
    device.Release()
    assert not stream.StartAcquisition() and not stream.StopAcquisition(0)
    assert stream.GetBuffer(100) is None
    assert not stream.QueueBuffer(buffer) and not stream.RevokeBuffer(buffer)
    assert not stream.CancelBuffer() and not stream.FlushBuffers(4)
    assert not stream.AllocBufferQueue(3) and not stream.ReleaseBufferQueue()
    assert stream.GetBufferQueueSize() == 0
    assert (buffer.GetTimestamp(), buffer.GetPixelFormat(), buffer.IsIncomplete()) == (0, 0, True)
    assert width.GetValue() == (False, None) and not width.SetValue(64)
    assert camera.GetIntegerValue("Width") == (False, None) and camera.GetLastError() < 0
    assert transport.GetIntegerValue("StreamDeliveredFrameCount") == (False, None)
    for index in range(category.GetCount()):
        category.GetParamByIndex(index)
    stream.Release()
    stream.Release()
    messages()
    again = open_device(device.GetInfo())
    assert again.GetCameraParameters().GetIntegerValue("Width")[0], "opens again"


@pytest.mark.parametrize("end", ["running", "released", "waiting"])
def test_process_exit_is_clean(run_program, end):
    result = run_program("""
import threading, time
import libZelCameraApiPy as zel
device = zel.PyZelCreateDevice()
stream = device.GetStreamByIndex(0)
stream.AllocBufferQueue(4)
stream.StartAcquisition()
stream.GetBuffer(2000)
end = %r
if end == "released":
    device.Release()
if end == "waiting":
    device.GetCameraParameters().SetEnumValueStr("TriggerMode", "On")
    threading.Thread(target=stream.GetBuffer, daemon=True).start()
    time.sleep(0.1)
""" % end, **LOCAL)
    assert result.stdout == b""


def test_opening_for_ever_does_not_grow(zel, infos):
    def resident():
        with open("/proc/self/statm") as text:
            return int(text.read().split()[1]) * 4096
    info = next(iter(infos.values()))

    def lowest(rounds):
        """The least memory after any of the rounds: the allocator keeps some for a while."""
        seen = []
        for _ in range(rounds):
            device = zel.PyZelCreateDevice(info)
            stream = device.GetStreamByIndex(0)
            assert stream.AllocBufferQueue(2)
            device.GetCameraParameters().GetIntegerValue("Width")
            device.Release()
            seen.append(resident())
        return min(seen)
    lowest(30)
    before = lowest(50)
    lowest(50)
    assert lowest(50) - before < 1 << 20


def test_readme_shows_the_example_and_it_runs(run_program, tmp_path):
    readme = (ROOT / "README.md").read_text()
    shown = re.search(r"```python\n(.*?)```", readme, re.S).group(1)
    assert shown == (ROOT / "examples" / "first_frame.py").read_text()
    assert len(shown.splitlines()) <= 25
    result = run_program(shown, **LOCAL)
    assert result.stderr == b""
    assert (tmp_path / "first_frame.png").read_bytes().startswith(b"\x89PNG")


@pytest.mark.parametrize("name, arguments, made", [
    ("demo.py", ["--frames", "4", "--output", "."], ["movie.avi"]),
    ("feature_tree.py", ["--visibility", "guru"], []),
    ("save_formats.py", ["--output", "."], []),
    ("record_movie.py", ["--seconds", "0.5", "m.avi"], ["m.avi"]),
    ("settings.py", [], ["settings.txt"]),
    ("count_events.py", ["10"], []),
    ("replug.py", [], []),
])
def test_examples_run(name, arguments, made, tmp_path):
    result = subprocess.run([sys.executable, str(ROOT / "examples" / name)] + arguments,
                            cwd=str(tmp_path), stdout=subprocess.PIPE, stderr=subprocess.PIPE,
                            timeout=120)
    assert result.returncode == 0, result.stdout.decode() + result.stderr.decode()
    assert result.stdout
    for path in made:
        assert (tmp_path / path).stat().st_size > 1000


def test_import_is_quick_to_load_and_brings_no_movie_library(run_program):
    result = run_program("""
import sys
import libZelCameraApiPy
sys.stderr.write(open("/proc/self/maps").read())
""", **LOCAL)
    assert b"libZelCameraApi.so" in result.stderr
    for library in (b"libavcodec", b"libZelMovie"):
        assert library not in result.stderr
