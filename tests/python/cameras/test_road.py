"""The road from PyZelSystem() to a frame and back, as scripts walk it, with cameras of any family."""

import hashlib
import time

import pytest


def test_lists_say_what_there_is(interfaces, infos):
    for kind, interface in interfaces.items():
        assert interface.GetType() == kind and 1 <= kind <= 5
        assert interface.ReEnumerateDevices(1000) == (True, False)
        assert interface.GetDescription()
        assert interface.GetParameters().GetCount() > 0
        listed = interface.GetDeviceInfoList()
        assert interface.GetFirstDeviceInfo().GetModel() == listed[0].GetModel()
    assert len({info.GetSerialNumber() for info in infos.values()}) == len(infos)
    for info in infos.values():
        assert info.GetAccessStatus() == 1
        assert info.GetVendor() and info.GetDisplayName() and info.GetVersion()
        known, address, _, _ = info.GetIP()
        assert known == (info.GetInterface().GetType() == 2)
        if known:
            assert info.GetIPAddress() == ".".join(str(b) for b in address.to_bytes(4, "big"))
        for wrong in ("192.168.77", "256.1.1.1", "", "1.2.3.x", "1.2.3.4 "):
            assert not info.ForceIP(wrong, "255.255.255.0", "0.0.0.0"), wrong


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


def test_nothing_comes_late(device, stream):
    """What is on its way at a stop arrives before the stop returns, or never."""
    transport = device.GetTransportParameters()
    own = stream.CreateBuffer(stream.GetBufferSize())
    for round_number in range(8):
        stream.QueueBuffer(own)
        assert stream.StartAcquisition()
        for _ in range(round_number % 3):
            assert stream.QueueBuffer(stream.GetBuffer(2000))
        assert stream.StopAcquisition(round_number % 2)
        if round_number == 7:
            assert stream.ReleaseBufferQueue(), "keeps the buffer that the user made"
        assert stream.FlushBuffers(stream.Flush_AllToInput)
        time.sleep(0.05)
        assert transport.GetIntegerValue("StreamOutputBufferCount") == (True, 0)
        count = transport.GetIntegerValue("StreamInputBufferCount")
        assert count == (True, 9 if round_number < 7 else 1), "no buffer is lost"


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
def test_process_exit_is_clean(run_program, infos, end):
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
    device.GetCameraParameters().SetEnumValueStr("TriggerSource", "Software")
    device.GetCameraParameters().SetEnumValueStr("TriggerMode", "On")
    threading.Thread(target=stream.GetBuffer, daemon=True).start()
    time.sleep(0.1)
""" % end)
    assert result.stdout == b""
    assert all(info.GetAccessStatus() == 1 for info in infos.values()), "given back"


@pytest.mark.measured
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


