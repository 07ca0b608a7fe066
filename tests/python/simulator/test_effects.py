"""Features do to the picture and to time what their names say."""

import time

import pytest


def grab(device, camera, settle=1):
    """One frame with the present settings, as rows of samples."""
    stream = device.GetStreamByIndex(0)
    assert stream.AllocBufferQueue(4) and stream.StartAcquisition()
    for _ in range(settle):
        buffer = stream.GetBuffer(3000)
        data, width, height = buffer.GetBufferPtr(), buffer.GetWidth(), buffer.GetHeight()
        bits = (buffer.GetPixelFormat() >> 16) & 0xFF
        stream.QueueBuffer(buffer)
    stream.StopAcquisition(0)
    stream.Release()
    if bits == 16:
        samples = memoryview(bytes(data)).cast("H")
        return [samples[y * width:(y + 1) * width].tolist() for y in range(height)]
    return [list(data[y * width:(y + 1) * width]) for y in range(height)]


def mean(rows):
    return sum(map(sum, rows)) / sum(map(len, rows))


@pytest.fixture
def small(device, camera):
    """A small still window of a test pattern: quick to look at, the same in every frame."""
    camera.SetIntegerValue("Width", 256)
    camera.SetIntegerValue("Height", 128)
    assert camera.SetEnumValueStr("TestPattern", "GreyHorizontalRamp")
    return lambda: grab(device, camera)


def test_exposure_gain_and_black_level(device, camera):
    camera.SetIntegerValue("Width", 256)
    camera.SetIntegerValue("Height", 128)
    assert camera.SetEnumValueStr("PixelFormat", "Mono12")
    assert camera.SetFloatValue("BlackLevel", 0.0)
    exposure = camera.GetFloat("ExposureTime").GetMin()[1]
    levels = []
    for _ in range(14):
        assert camera.SetFloatValue("ExposureTime", exposure)
        levels.append((exposure, mean(grab(device, camera))))
        exposure *= 2
    assert levels[-1][1] > 3900, "saturates in the end"
    linear = [(b / a) for (_, a), (_, b) in zip(levels, levels[1:]) if a > 60 and b < 1200]
    assert linear and all(1.8 < ratio < 2.2 for ratio in linear), levels
    exposure = next(e for e, level in levels if 150 < level < 900)
    camera.SetFloatValue("ExposureTime", exposure)
    before = mean(grab(device, camera))
    assert camera.SetFloatValue("Gain", 6.0206)
    assert 1.8 < mean(grab(device, camera)) / before < 2.2
    assert camera.SetFloatValue("Gain", 0.0)
    low, high = camera.GetFloat("BlackLevel").GetMin()[1], camera.GetFloat("BlackLevel").GetMax()[1]
    camera.SetFloatValue("BlackLevel", low)
    dark = mean(grab(device, camera))
    camera.SetFloatValue("BlackLevel", high)
    assert mean(grab(device, camera)) > dark + 1


def test_ramps_mirrors_and_windows(camera, small):
    rows = small()
    assert rows[0] == rows[-1] and rows[0] == sorted(rows[0]) and len(set(rows[0])) > 10
    assert camera.SetBooleanValue("ReverseX", True)
    mirrored = small()
    assert mirrored[0] == sorted(mirrored[0], reverse=True)
    assert camera.SetBooleanValue("ReverseX", False)
    assert camera.SetEnumValueStr("TestPattern", "GreyVerticalRamp")
    column = [row[0] for row in small()]
    assert column == sorted(column) and len(set(column)) > 5
    assert camera.SetBooleanValue("ReverseY", True)
    assert [row[0] for row in small()] == sorted((row[0] for row in small()), reverse=True)


def test_offsets_show_another_part_of_the_sensor(camera, small):
    assert camera.SetEnumValueStr("TestPattern", "GreyHorizontalRamp")
    step = camera.GetInt("OffsetX").GetIncrement()[1]
    shift = 64 // step * step
    wide = small()
    assert camera.SetIntegerValue("OffsetX", shift)
    moved = small()
    assert moved[0][:256 - shift] == wide[0][shift:]


def test_binning_halves_the_picture(camera, device):
    widest = camera.GetInt("Width").GetMax()[1]
    assert camera.SetIntegerValue("BinningHorizontal", 2)
    assert camera.GetInt("Width").GetMax()[1] in (widest // 2, widest // 2 - widest // 2 % 16,
                                                  camera.GetIntegerValue("WidthMax")[1])
    assert camera.GetIntegerValue("Width")[1] <= widest // 2
    assert len(grab(device, camera)[0]) == camera.GetIntegerValue("Width")[1]


@pytest.mark.measured
@pytest.mark.parametrize("rate", [20.0, 90.0])
def test_frame_rate_is_kept(camera, device, stream, rate):
    camera.SetIntegerValue("Height", 256)
    camera.SetFloatValue("ExposureTime", 1000.0)
    camera.SetBooleanValue("AcquisitionFrameRateEnable", True)
    assert camera.SetFloatValue("AcquisitionFrameRate", rate)
    assert stream.AllocBufferQueue(16) and stream.StartAcquisition()
    first = last = None
    frames, end = 0, time.monotonic() + 1.5
    while time.monotonic() < end:
        buffer = stream.GetBuffer(2000)
        last = (buffer.GetFrameID(), buffer.GetTimestamp())
        first = first or last
        frames += 1
        stream.QueueBuffer(buffer)
    measured = (last[0] - first[0]) / ((last[1] - first[1]) / 1e9)
    assert abs(measured / rate - 1) < 0.01
    assert frames > rate


def test_single_and_multi_frame(camera, stream, messages):
    for mode, count in (("SingleFrame", 1), ("MultiFrame", 5)):
        assert camera.SetEnumValueStr("AcquisitionMode", mode)
        if count > 1:
            assert camera.SetIntegerValue("AcquisitionFrameCount", count)
        assert stream.StartAcquisition()
        for _ in range(count):
            buffer = stream.GetBuffer(2000)
            assert buffer is not None
            stream.QueueBuffer(buffer)
        assert stream.GetBuffer(200) is None and stream.GetLastError() == -1011
        assert stream.StopAcquisition(0)
    messages()


def test_user_sets_keep_settings(camera):
    assert camera.SetIntegerValue("Width", 640)
    assert camera.SetEnumValueStr("UserSetSelector", "UserSet0")
    assert camera.ExecuteCommand("UserSetSave")
    assert camera.SetEnumValueStr("UserSetSelector", "Default")
    assert camera.ExecuteCommand("UserSetLoad")
    assert camera.GetIntegerValue("Width")[1] != 640
    assert camera.SetEnumValueStr("UserSetSelector", "UserSet0")
    assert camera.ExecuteCommand("UserSetLoad")
    assert camera.GetIntegerValue("Width") == (True, 640)
