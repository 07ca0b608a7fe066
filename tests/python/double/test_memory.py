"""Nothing leaks: the interpreter's count of memory blocks, and reference counts, stay flat."""

import gc
import os
import sys

import libZelCameraApiPy as zel
import pytest

ROUNDS = 2000


def resident():
    with open("/proc/self/statm") as file:
        return int(file.read().split()[1]) * os.sysconf("SC_PAGE_SIZE")


def grown_blocks(step, rounds=ROUNDS):
    for _ in range(50):
        step()
    gc.collect()
    before = sys.getallocatedblocks()
    for _ in range(rounds):
        step()
    gc.collect()
    return sys.getallocatedblocks() - before


def raising(exception, call, *arguments):
    def step():
        try:
            call(*arguments)
        except exception:
            return
        raise AssertionError("no exception")

    return step


# What the fixtures are called here: s system, i interface, n device info, d device, t stream,
# b fetched buffer, p parameters, g single parameters.
STEPS = {
    "system": lambda s, **_: zel.PyZelSystem().GetInterfaceList(),
    "devices": lambda i, **_: (i.GetDeviceInfoList(), i.ReEnumerateDevices(), i.GigEVision),
    "info": lambda n, **_: (n.GetInterface().GetParameters(), n.GetModel(), n.GetIPMask(),
                            n.GetIP(), n.ForceIP("a", "b", "c"), n.GetAccessStatus()),
    "open": lambda n, **_: zel.PyZelCreateDevice(n).Release(),
    "streams": lambda d, **_: (d.GetStreamByIndex(0), d.GetStreamByName("x"), d.GetDisplayName()),
    "memory": lambda d, **_: (d.ReadMem(0, 64), d.WriteMem(0, "abc"), d.ReadMem(), d.WriteMem(0, "")),
    "configuration": lambda d, **_: (d.SaveConfiguration("f"), d.LoadConfiguration("f")),
    "register": lambda d, **_: (d.RegisterEvent(1, lambda *a: None), d.UnRegisterEvent(1, None)),
    "queue": lambda t, **_: (t.AllocBufferQueue(2), t.CreateBuffer(10), t.GetBufferSize(),
                             t.Flush_AllDiscard, t.GetBufferAlignment()),
    "metadata": lambda b, **_: (b.GetImage(), b.GetTimestamp(), b.GetFrameID(), b.IsIncomplete()),
    "values": lambda p, **_: (p.GetIntegerValue("a"), p.GetStringValue("b"), p.GetFloatValue("c"),
                              p.SetEnumValueStr("d", "e"), p.SetStringValue("f", 7), p.VisGuru,
                              p.SetBooleanValue("g", []), p.SetFloatValue("h", "1")),
    "objects": lambda p, **_: (p.GetRootCategory().GetParamByIndex(0).GetNode(), p.GetNodeMap(),
                               p.GetEnum("x").GetEnumEntryByIndex(0).GetValueStr(),
                               p.GetParam("x").GetName(), p.GetString("x").GetValue()),
    "save": lambda b, **_: zel.PySaveImage(b, "a.png"),
    "movie": lambda b, **_: (zel.PyStartMovieRecord(b, "m", 25, "c"), zel.PySaveMovieFrame(b),
                             zel.PyFinishRecord(), zel.PyGetVideoCompressors()),
    "errors": lambda **_: (zel.ErrorCodeToString(-1), zel.GetLastError(), zel.PyResetDisplay()),
    "refused": lambda d, i, n, t, p, **_: [
        raising(TypeError, p.SetIntegerValue, "N", None)(),
        raising(ValueError, p.SetIntegerValue, "N", "x")(),
        raising(ValueError, p.GetInt, "nul\0")(),
        raising(OverflowError, t.FlushBuffers, 1 << 70)(),
        raising(TypeError, n.ForceIP, "a", "b", 3)(),
        raising(UnicodeEncodeError, d.LoadConfiguration, "\udc80")(),
        raising(TypeError, d.RegisterEvent, 1, 42)(),
        raising(TypeError, d.WriteMem, 1, 42)(),
        raising(UnicodeDecodeError, zel.ErrorCodeToString, -1011)(),
        raising(AttributeError, getattr, i, "Nothing")()],
}


@pytest.mark.parametrize("what", STEPS)
def test_no_blocks_are_lost(double, thing, what):
    double.answer("SerializerParams.GetString", 0, text="A|B|")
    names = {"s": "system", "i": "interface", "n": "info", "d": "device", "t": "stream",
             "b": "fetched", "p": "params"}
    fixtures = {short: thing(name) for short, name in names.items()}
    double.record(False)
    assert grown_blocks(lambda: STEPS[what](**fixtures)) < ROUNDS // 20


def test_fetches_are_flat(double, stream):
    """10,000 frames of 1 MB: blocks and resident memory."""
    frame = bytes(1 << 20)
    double.answer("Buffer.GetBufferPtr", frame[:4096])
    double.answer("Buffer.GetBufferSize", 4096)
    stream.AllocBufferQueue(2)
    double.record(False)
    assert grown_blocks(lambda: stream.QueueBuffer(stream.GetBuffer(0)), 200) < 20
    before = resident()
    assert grown_blocks(lambda: stream.QueueBuffer(stream.GetBuffer(0)), 10000) < 100
    assert resident() - before < 8 << 20


def test_failed_fetches_are_flat(double, stream, messages):
    stream.AllocBufferQueue(1)
    double.answer("Stream.GetBuffer", None, err=-1011)
    double.record(False)
    assert grown_blocks(lambda: stream.GetBuffer(0), 500) < 25
    assert messages() == b"Get buffer error: timeout\n" * 550


@pytest.mark.parametrize("how, locked", [("", False), ("", True), ("_from_thread", False)])
def test_events_are_flat(double, device, how, locked):
    device.RegisterEvent(1, lambda *arguments: None)
    number = double.registration()
    double.record(False)
    assert grown_blocks(lambda: double.fire(number, b"x" * 64, how=how, locked=locked)) < 100


def test_reference_counts(double, device, stream, fetched, params):
    """Handing out and taking back the same objects leaves their counts alone."""
    callback = lambda *arguments: None
    arguments = ["name", 12345678901, 1.5, callback]
    watched = [None, True, False, device, stream, fetched, params, device.GetInfo(),
               device.GetCameraParameters(), fetched.GetBufferPtr(), *arguments]
    double.record(False)

    def round_():
        device.GetInfo(), device.GetCameraParameters(), device.GetTransportParameters()
        fetched.GetBufferPtr(), fetched.GetWidth(), stream.QueueBuffer(fetched)
        params.SetStringValue(arguments[0], arguments[0]), params.GetIntegerValue(arguments[0])
        params.SetIntegerValue(arguments[0], arguments[1])
        params.SetFloatValue(arguments[0], arguments[2])
        device.RegisterEvent(1, callback), device.UnRegisterEvent(1, None)
        zel.PyActionCamera(*arguments), zel.PySaveImage(fetched, "a.png")

    round_()
    before = [sys.getrefcount(thing) for thing in watched]
    for _ in range(1000):
        round_()
    after = [sys.getrefcount(thing) for thing in watched]
    assert all(abs(new - old) < 20 for new, old in zip(after, before)), (before, after)


def test_buffer_frees_its_frame(double, stream):
    stream.AllocBufferQueue(1)
    frame = stream.GetBuffer(0).GetBufferPtr()
    held = sys.getrefcount(frame)
    stream.AllocBufferQueue(1)  # replaces the buffer that holds it
    assert sys.getrefcount(frame) == held - 1
