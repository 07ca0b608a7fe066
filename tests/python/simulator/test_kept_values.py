"""Values that readers may keep: never older than what the camera would answer now."""

import random

from camera_tools import READERS, features, settable


def kept(*arrays):
    """(reader, name) of all features of the arrays whose values may be kept."""
    return [(getattr(array, READERS[parameter.GetType()]), name)
            for array in arrays for name, parameter in features(array)
            if parameter.GetType() in READERS and parameter.IsValueCached()]


def disturb(camera, stream, dice):
    """Something that changes the camera, by writing or by its own work."""
    choice = dice.randrange(5)
    if choice == 0:
        # A camera that changes its settings with each frame has changed them again meanwhile.
        name = dice.choice([name for name in settable(camera, 4)
                            if not name.endswith("Auto") and not name.startswith("Sequencer")])
        enumeration = camera.GetEnum(name)
        entry = enumeration.GetEnumEntryByIndex(dice.randrange(enumeration.GetCount()[1]))
        enumeration.SetValue(entry.GetValue()[1])
    elif choice == 1:
        name = dice.choice(settable(camera, 1))
        integer = camera.GetInt(name)
        integer.SetValue(dice.choice([integer.GetMin()[1], integer.GetMax()[1]]))
    elif choice == 2:
        camera.ExecuteCommand(dice.choice(["UserSetLoad", "UserSetSave", "TimestampLatch",
                                           "CounterReset", "TestEventGenerate"]))
    elif choice == 3:
        camera.SetIntegerValue(dice.choice(["SimulatorDropFrames", "SimulatorIncompleteFrames",
                                            "SimulatorDelayFrames"]), 2)
    elif stream.StartAcquisition():
        for _ in range(dice.randrange(1, 6)):
            buffer = stream.GetBuffer(1000)
            if buffer is None:
                break
            stream.QueueBuffer(buffer)
        if dice.random() < 0.7:
            stream.StopAcquisition(0)
    else:
        stream.StopAcquisition(0)


def test_kept_values_are_never_old(device, camera, stream, messages):
    camera.SetEnumValueStr("CounterEventSource", "FrameStart")
    readers = kept(camera, device.GetTransportParameters(),
                   device.GetInfo().GetInterface().GetParameters())
    names = {name for _, name in readers}
    assert {"Width", "PixelFormat", "ExposureTime", "Gain", "DeviceModelName"} <= names
    assert not names & {"SimulatorDropFrames", "CounterValue", "PayloadSize", "DeviceTemperature",
                        "StreamDeliveredFrameCount", "EventFrameStartTimestamp", "ChunkFrameID"}
    dice = random.Random(11)
    name = camera.GetStringValue("DeviceUserID")[1]
    for number in range(120):
        disturb(camera, stream, dice)
        before = [read(feature) for read, feature in readers]
        if number % 3 == 0 and camera.GetIntegerValue("TLParamsLocked")[1]:
            buffer = stream.GetBuffer(200)  # the camera works on, nobody writes
            if buffer is not None:
                stream.QueueBuffer(buffer)
            before = [read(feature) for read, feature in readers]
        assert camera.SetStringValue("DeviceUserID", name), "a write after which all is asked anew"
        for (read, feature), old in zip(readers, before):
            assert read(feature) == old, feature
    camera.SetEnumValueStr("CounterEventSource", "Off")
    messages()  # a slow machine may run out of time for a frame
