"""Lines, counters, timers, triggers, tables, automatics, sequences and files of a simulated camera,
by what they do to frames, not by reading back what was written."""

import struct
import time

import pytest

from test_effects import grab, mean


@pytest.fixture
def configure(camera):
    """configure(Name=value, ...) in the order given; everything must be accepted."""
    def set_all(**features):
        for name, value in features.items():
            if isinstance(value, bool):
                done = camera.SetBooleanValue(name, value)
            elif isinstance(value, int):
                done = camera.SetIntegerValue(name, value)
            elif isinstance(value, float):
                done = camera.SetFloatValue(name, value)
            else:
                done = camera.SetEnumValueStr(name, value)
            assert done, (name, value, camera.GetLastError())
    # No user set holds what the world outside does.
    set_all(Width=256, Height=128, SimulatorNoise=0, SimulatorSignalSelector="Line0",
            SimulatorSignalEnable=False)
    yield set_all
    set_all(SimulatorSignalEnable=False)


def starts(stream, most, timeout=400):
    """Times of the frames that come, in ns."""
    found = []
    while len(found) < most:
        buffer = stream.GetBuffer(timeout)
        if buffer is None:
            assert stream.GetLastError() == -1011
            break
        found.append(buffer.GetTimestamp())
        assert stream.QueueBuffer(buffer)
    return found


def pulses(configure, period, count, width=1000.0):
    configure(SimulatorSignalSelector="Line0", SimulatorSignalPeriod=period,
              SimulatorSignalWidth=width, SimulatorSignalPulses=count, SimulatorSignalEnable=True)


def test_pulses_of_a_line_trigger_frames_and_are_counted(camera, stream, configure, messages):
    configure(ExposureTime=100.0, AcquisitionFrameRateEnable=False, TriggerSelector="FrameStart",
              TriggerMode="On", TriggerSource="Line0", CounterSelector="Counter0",
              CounterEventSource="Line0", CounterDuration=4)
    assert stream.StartAcquisition()
    pulses(configure, 40000.0, 5)
    times = starts(stream, 6)
    assert len(times) == 5
    assert [round((b - a) / 1e5) for a, b in zip(times, times[1:])] == [400] * 4, "in 0.1 ms"
    assert camera.GetIntegerValue("CounterValue") == (True, 4), "it ends at its duration"
    assert camera.GetEnumValueStr("CounterStatus") == (True, "CounterCompleted")
    assert camera.ExecuteCommand("CounterReset")
    configure(TriggerDivider=2, TriggerDelay=5000.0, SimulatorSignalEnable=False)
    pulses(configure, 40000.0, 4)
    times = starts(stream, 5)
    assert len(times) == 2 and round((times[1] - times[0]) / 1e5) == 800
    assert camera.GetIntegerValue("CounterValue")[1] == 4
    assert stream.StopAcquisition(0)
    assert messages() == 2 * b"Get buffer error: timeout\n"


def test_a_pulse_is_as_bright_as_it_is_long(camera, device, stream, configure):
    configure(PixelFormat="Mono12", BlackLevel=0.0, AcquisitionFrameRateEnable=False,
              ExposureMode="TriggerWidth", TriggerSelector="FrameStart", TriggerMode="On",
              TriggerSource="Line0")
    assert stream.StartAcquisition()
    levels = []
    for width in (1500.0, 3000.0):
        pulses(configure, 30000.0, 1, width)
        buffer = stream.GetBuffer(2000)
        levels.append(mean([memoryview(bytes(buffer.GetBufferPtr())).cast("H").tolist()]))
        assert stream.QueueBuffer(buffer)
        configure(SimulatorSignalEnable=False)
    assert levels[0] > 20 and 1.9 < levels[1] / levels[0] < 2.1
    assert stream.StopAcquisition(0)


def test_outputs_show_what_drives_them(camera, stream, configure, messages):
    def level():
        return camera.GetBooleanValue("LineStatus")[1]

    configure(LineSelector="Line0")
    assert not camera.SetEnumValueStr("LineMode", "Output"), "an input for ever"
    assert not camera.SetEnumValueStr("LineSource", "UserOutput1"), "inputs show nothing"
    configure(LineSelector="Line1", LineMode="Output", LineSource="UserOutput1",
              UserOutputSelector="UserOutput1", UserOutputValue=False)
    assert not level()
    configure(UserOutputValue=True)
    assert level() and camera.GetIntegerValue("LineStatusAll")[1] == 2
    configure(LineInverter=True)
    assert not level()
    # A timer drives the line, and its end takes a frame.
    configure(LineInverter=False, LineSource="Timer0Active", TimerSelector="Timer0",
              TimerDuration=150000.0, TriggerSelector="FrameStart", TriggerMode="On",
              TriggerSource="Timer0End")
    assert stream.StartAcquisition()
    assert not level() and camera.ExecuteCommand("TimerReset") and level()
    assert camera.GetEnumValueStr("TimerStatus") == (True, "TimerActive")
    assert len(starts(stream, 2)) == 1 and not level()
    assert camera.GetEnumValueStr("TimerStatus") == (True, "TimerCompleted")
    assert stream.StopAcquisition(0)
    messages()


def test_a_table_gives_each_value_another(camera, device, configure):
    configure(ExposureTime=200000.0, Gain=24.0)  # all is white
    assert set(grab(device, camera)[0]) == {255}
    configure(LUTIndex=4095, LUTValue=0x800)
    assert set(grab(device, camera)[0]) == {255}, "it is off"
    configure(LUTEnable=True)
    assert set(grab(device, camera)[0]) == {128}


def test_what_is_automatic_reaches_its_aim_and_cannot_be_set(camera, device, configure):
    configure(ExposureTime=500.0, AutoTargetBrightness=40.0, ExposureAuto="Once")
    assert not camera.SetFloatValue("ExposureTime", 600.0), "locked meanwhile"
    assert abs(mean(grab(device, camera, settle=12)) / 255 - 0.4) < 0.05
    assert camera.GetEnumValueStr("ExposureAuto") == (True, "Off")
    assert camera.GetFloatValue("ExposureTime")[1] > 1000.0
    configure(ExposureTime=2000.0, GainAuto="Continuous")
    assert not camera.SetFloatValue("Gain", 3.0)
    assert abs(mean(grab(device, camera, settle=12)) / 255 - 0.4) < 0.05
    configure(GainAuto="Off", Gain=0.0)


def test_a_sequence_changes_the_exposure_with_each_frame(camera, device, stream, configure):
    configure(AcquisitionFrameRateEnable=False, SequencerConfigurationMode="On")
    for number, exposure in enumerate((2000.0, 8000.0)):
        configure(ExposureTime=exposure, SequencerSetSelector=number)
        assert camera.ExecuteCommand("SequencerSetSave")
        configure(SequencerSetNext=1 - number, SequencerTriggerSource="ExposureEnd")
    configure(SequencerConfigurationMode="Off", SequencerMode="On")
    assert stream.StartAcquisition()
    levels = []
    for _ in range(4):
        buffer = stream.GetBuffer(2000)
        levels.append(mean([list(bytes(buffer.GetBufferPtr()))]))
        assert stream.QueueBuffer(buffer)
    assert stream.StopAcquisition(0)
    assert levels[1] > 2.5 * levels[0] and levels[3] > 2.5 * levels[2]
    configure(SequencerMode="Off")


def test_a_file_keeps_what_was_written_through_a_reset(camera, device, configure):
    buffer = camera.GetIntegerValue  # a shorter name for the results

    def does(operation):
        configure(FileOperationSelector=operation)
        assert camera.ExecuteCommand("FileOperationExecute")
        return camera.GetEnumValueStr("FileOperationStatus")[1] == "Success"

    address, text = 0x05000000, "what a user keeps in a camera"
    configure(FileSelector="UserFile", FileOpenMode="Write", FileAccessOffset=0,
              FileAccessLength=len(text))
    assert not does("Write"), "it is closed"
    assert does("Open") and device.WriteMem(address, text)[0] == 0
    assert does("Write") and buffer("FileOperationResult")[1] == len(text) and does("Close")
    assert device.WriteMem(address, "\0" * len(text))[0] == 0
    configure(FileOpenMode="Read", FileAccessOffset=5, FileAccessLength=6)
    assert does("Open") and does("Read") and not does("Delete") and does("Close")
    assert device.ReadMem(address, 6) == (0, text[5:11].encode())
    assert buffer("FileSize") == (True, len(text))
    assert does("Delete") and buffer("FileSize") == (True, 0)


def test_clock_follows_its_master_and_registers_of_the_standard_are_read(camera, device, stream,
                                                                         configure):
    code, identity = device.ReadMem(0, 0xF8)
    assert code == 0 and identity[:4] == b"\0\2\0\0"
    assert identity[0x68:0x88].rstrip(b"\0").decode() == device.GetInfo().GetModel()
    assert device.ReadMem(0x096C, 4) == (0, struct.pack("!I", 3)), "no master is followed"
    assert device.WriteMem(0x0000, "\0\0\0\0")[0] < 0
    configure(PtpEnable=True)
    end = time.monotonic() + 20
    while device.ReadMem(0x096C, 4)[1] != struct.pack("!I", 9) and time.monotonic() < end:
        time.sleep(0.05)
    assert camera.ExecuteCommand("PtpDataSetLatch")
    assert camera.GetEnumValueStr("PtpStatus") == (True, "Slave")
    assert stream.StartAcquisition()
    before, (taken,) = time.time_ns(), starts(stream, 1, 3000)
    assert stream.StopAcquisition(0)
    assert abs(taken - before) < 2e9, "frames show the time of day"
    configure(PtpEnable=False)
