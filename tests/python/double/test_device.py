"""Devices: opening, parameters, streams, memory and configuration files."""

import libZelCameraApiPy as zel
import pytest


def names(calls):
    return [call.name for call in calls]


def test_opening(double, info, messages):
    device = zel.PyZelCreateDevice(info, "ignored")
    calls = double.take()
    assert calls[0].args == ["DeviceInfo:one", 2, "err"]
    assert [name for name in names(calls) if not name.startswith("DeviceInfo.")] == [
        "ZelCam_CreateDevice", "Device.GetInfo", "Device.GetNumStreams",
        "Device.GetCameraParameters", "Device.GetTransportParameters"]
    assert device.IsValid() is True and zel.GetLastError() == 0 and device.GetLastError() == 0
    double.answer("Interface.GetFirstDeviceInfo", "DeviceInfo:two")
    zel.PyZelCreateDevice(info.GetInterface().GetFirstDeviceInfo())
    assert double.take_args("ZelCam_CreateDevice")[0] == "DeviceInfo:two"


def test_default_device(double):
    assert zel.PyZelCreateDevice().IsValid()
    assert double.take_args("ZelCam_CreateDevice") == [None, 2, "err"]


def test_description_without_a_device_opens_the_default(double, interface):
    double.answer("Interface.GetFirstDeviceInfo", None)
    empty = interface.GetFirstDeviceInfo()
    zel.PyZelCreateDevice(empty)
    assert double.take_args("ZelCam_CreateDevice") == [None, 2, "err"]


@pytest.mark.parametrize("wrong", [42, None, "DeviceInfo:one", "@device", "@system", "@interface",
                                   "@fetched", object()])
def test_wrong_description(double, thing, messages, wrong):
    if isinstance(wrong, str) and wrong[0] == "@":
        wrong = thing(wrong[1:])
    double.answer("ZelCam_CreateDevice", None, err=-1004)
    zel.PyZelCreateDevice()
    double.take()
    assert zel.PyZelCreateDevice(wrong) is None
    assert messages() == b"Wrong DeviceInfo\n"
    assert zel.GetLastError() == -1004 and double.take() == []


def test_failed_open_is_a_released_device(double, info):
    double.answer("ZelCam_CreateDevice", None, err=-1005)
    device = zel.PyZelCreateDevice(info)
    double.take()
    assert zel.GetLastError() == -1005 and device.GetLastError() == 0
    assert device.IsValid() is False and device.GetNumStreams() == 0
    for method in ("GetInfo", "GetDisplayName", "GetCameraParameters", "GetTransportParameters",
                   "Release"):
        assert getattr(device, method)() is None
    assert double.take() == []


def test_an_open_with_a_code_is_still_an_open(double):
    double.answer("ZelCam_CreateDevice", "Device:one", err=-40001)
    assert zel.PyZelCreateDevice().IsValid() is True
    assert zel.GetLastError() == -40001


CAMERA, TRANSPORT = "Device.GetCameraParameters", "Device.GetTransportParameters"


@pytest.mark.parametrize("camera, transport, printed, error", [
    ((None, -40201), (None, -1006),
     b"Get camera parameters error: -40201 GenICam: Tree error\n"
     b"Get transport parameters error: -1006 GenTL: Given handle does not support the operation; "
     b"e.g., function call on wrong handle or NULL pointer.\n", -1006),
    ((None, -40200), ("Array:t", 0), b"Get camera parameters error: -40200 GenICam: Generic error\n",
     0),
    (("Array:c", 0), (None, -40207),
     b"Get transport parameters error: -40207 GenICam: Runtime error\n", -40207),
    ((None, 0), (None, 0), b"Get camera parameters error: 0 OK\n"
     b"Get transport parameters error: 0 OK\n", 0),
    (("Array:c", -40202), ("Array:t", 1), b"Get camera parameters error: -40202 GenICam: Access "
     b"error\nGet transport parameters error: 1 Unknown code\n", 1),
    # Both calls share one code: an SDK that leaves it alone spoils the second as well.
    ((None, -40203), ("Array:t", None), b"Get camera parameters error: -40203 GenICam: Parameter "
     b"type is invalid\nGet transport parameters error: -40203 GenICam: Parameter type is "
     b"invalid\n", -40203)])
def test_parameters_that_cannot_be_had(double, messages, camera, transport, printed, error):
    double.answer(CAMERA, camera[0], err=camera[1])
    double.answer(TRANSPORT, transport[0], err=transport[1])
    device = zel.PyZelCreateDevice()
    assert messages() == printed and device.GetLastError() == error
    assert (device.GetCameraParameters() is None) == (b"camera" in printed)
    assert (device.GetTransportParameters() is None) == (b"transport" in printed)
    assert device.GetStreamByIndex(0) is not None


def test_cached_objects_stay_the_same_after_release(double, device):
    getters = ("GetInfo", "GetCameraParameters", "GetTransportParameters")
    before = [getattr(device, getter)() for getter in getters]
    assert device.GetNumStreams() == 1 and double.take() == []
    assert [params.GetLastError() for params in before[1:]] == [0, 0]
    device.Release()
    double.answer("Device.GetNumStreams", 9)
    assert all(getattr(device, getter)() is old for getter, old in zip(getters, before))
    assert device.GetNumStreams() == 1


def test_display_name_is_asked_afresh(double, device):
    assert device.GetDisplayName() == "Shown"
    double.answer("DeviceInfo.GetDisplayName", "Renamed")
    assert device.GetDisplayName() == "Renamed"
    assert names(double.take()) == ["Device.GetInfo", "DeviceInfo.GetDisplayName"] * 2
    device.Release()
    assert device.GetDisplayName() is None


def test_device_without_description(double, messages):
    double.answer("Device.GetInfo", None)
    device = zel.PyZelCreateDevice()
    assert device.GetInfo() is None or device.GetInfo().GetModel() == ""
    assert device.GetDisplayName() in (None, "")


def test_device_whose_identity_is_no_text(double):
    double.answer("DeviceInfo.GetModel", b"\xff")
    device = zel.PyZelCreateDevice()
    assert device.IsValid() and device.GetInfo() is None
    device.Release()


def test_release_is_once_and_explicit(double, device):
    assert device.Release() is None and device.Release() is None
    assert names(double.take()) == ["Device.Release"]
    assert device.IsValid() is False
    other = zel.PyZelCreateDevice()
    stream = other.GetStreamByIndex(0)
    del other, stream
    assert "Device.Release" not in names(double.take())


def test_streams_by_index(double, device, messages):
    first = device.GetStreamByIndex(0)
    assert first is not device.GetStreamByIndex("0", "ignored") and first.GetLastError() == 0
    for index, asked in ((-1, 2 ** 32 - 1), (2 ** 32 + 3, 3), (2 ** 63 - 1, 2 ** 32 - 1)):
        double.take()
        device.GetStreamByIndex(index)
        assert double.take_args("Device.GetStreamByIndex") == [asked]
    double.answer("Device.GetStreamByIndex", None)
    assert device.GetStreamByIndex(7) is None
    assert messages() == b"Wrong data_stream\n" and device.GetLastError() == 0


def test_streams_by_name(double, device, messages):
    assert device.GetStreamByName("Strom №1", "ignored").GetLastError() == 0
    assert double.take_args("Device.GetStreamById") == ["Strom №1"]
    double.answer("Device.GetStreamById", None)
    assert device.GetStreamByName("") is None
    assert messages() == b"Wrong data_stream\n" and device.GetLastError() == 0


def test_closed_device(double, closed):
    assert closed.GetStreamByName("x") is None and closed.GetLastError() == 0
    assert closed.SaveConfiguration("x") is False and closed.LoadConfiguration("x") is False
    assert closed.RegisterEvent(1, print) is False and closed.UnRegisterEvent(1, print) is False
    assert closed.GetLastError() == 0
    assert closed.GetStreamByIndex(0) is None and closed.GetLastError() == -40121
    for call in (lambda d: d.ReadMem(0, 4), lambda d: d.WriteMem(0, "x")):
        failed = zel.PyZelCreateDevice()
        failed.Release()
        assert call(failed) == (1, 0) and failed.GetLastError() == -40121
    # A device that is gone looks at no argument.
    assert closed.ReadMem(None, None) == (1, 0)
    assert closed.GetStreamByIndex(None) is None and closed.SaveConfiguration(None) is False
    assert closed.RegisterEvent(None, None) is False


def test_streams_outlive_their_device(double, device):
    stream = device.GetStreamByIndex(0)
    device.Release()
    del device
    double.answer("Stream.GetBufferSize", 77)
    assert stream.GetBufferSize() == 77


def test_reading_memory(double, device):
    double.answer("Device.ReadMem", 0, data=b"\x00\xff\x80a", fill=7)
    assert device.ReadMem(4096, 4) == (0, b"\x00\xff\x80a")
    assert double.take_args("Device.ReadMem") == [4096, 4]
    assert device.ReadMem(-1, 6, "ignored") == (0, b"\x00\xff\x80a\x07\x07")
    double.answer("Device.ReadMem", -1010, data=b"half")
    result = device.ReadMem(0, 4)  # the bytes come whatever the code
    assert result == (-1010, b"half") and type(result[1]) is bytes
    assert device.GetLastError() == -1010
    double.take()
    for length in (0, -1, -2 ** 63, 0.9):
        assert device.ReadMem(4096, length) == (1, 0)
    assert device.GetLastError() == -1010 and double.take() == []
    double.answer("Device.ReadMem", 0, fill=65)
    assert device.ReadMem(0, 1 << 20) == (0, b"A" * (1 << 20)) and device.GetLastError() == 0


@pytest.mark.parametrize("length", [2 ** 63 - 1, 2 ** 62, 2 ** 46])
def test_reading_more_memory_than_there_is(double, device, messages, length):
    with pytest.raises((MemoryError, OverflowError)):
        device.ReadMem(0, length)
    assert device.GetLastError() == 0
    messages()  # a sanitizer mentions it


def test_writing_memory(double, device):
    double.answer("Device.WriteMem", 0, written=3)
    assert device.WriteMem(4096, "abc", "ignored") == (0, 3)
    assert double.take_args("Device.WriteMem") == [4096, "abc"]
    double.answer("Device.WriteMem", -1015, written=1)
    assert device.WriteMem(0, "a\0b\x7f") == (-1015, 1) and device.GetLastError() == -1015
    assert double.take_args("Device.WriteMem") == [0, "a\0b\x7f"]
    for empty in ("", b"", [], ()):
        assert device.WriteMem(4096, empty) == (1, 0)
    assert device.GetLastError() == -1015 and double.take() == []
    double.answer("Device.WriteMem", 0)  # an SDK that does not count
    assert device.WriteMem(0, "x") == (0, 0) and device.GetLastError() == 0
    # 64 bits are there for the count, the low 32 of them are read, signed.
    for written, seen in ((2 ** 32 + 5, 5), (0xFFFFFFFF, -1)):
        double.answer("Device.WriteMem", 0, written=written)
        assert device.WriteMem(0, "x") == (0, seen)


@pytest.mark.parametrize("data, sent", [
    (b"abc", b"b'a"), (b"\x01", b"b"), ([1, 2, 3], b"[1,"), ("ä", b"\xc3"), ("äb", b"\xc3\xa4")])
def test_writing_what_is_no_plain_text(double, device, data, sent):
    """len(data) bytes of str(data) are sent: wrong for what is not ASCII, and meant so."""
    device.WriteMem(0, data)
    (passed,) = [call.args[1] for call in double.take("Device.WriteMem")]
    assert (passed.encode() if isinstance(passed, str) else passed) == sent


def test_writing_hostile_data(double, device):
    class Long:
        def __len__(self):
            return 1000

        def __str__(self):
            return "short"

    class Negative(Long):
        def __len__(self):
            return -1

    class Unprintable(Long):
        def __str__(self):
            raise LookupError

    for data, exception in ((42, TypeError), (None, TypeError), (Negative(), ValueError),
                            (Unprintable(), LookupError), ("\udc80", UnicodeEncodeError)):
        with pytest.raises(exception):
            device.WriteMem(0, data)
    assert double.take() == []
    try:  # never a byte from behind the text
        device.WriteMem(0, Long())
    except Exception:
        assert double.take() == []
    else:
        sent = double.take_args("Device.WriteMem")[1]
        assert sent.rstrip("\0") == "short"


@pytest.mark.parametrize("method", ["SaveConfiguration", "LoadConfiguration"])
def test_configuration_files(double, device, method):
    call = getattr(device, method)
    assert call("camera.cfg", "ignored") is True
    assert double.take_args("Device." + method) == ["camera.cfg"]
    double.answer("Device." + method, -40002)
    assert call("camera.cfg") is False
    assert device.GetLastError() == 0  # the code is not kept
