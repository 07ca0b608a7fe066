"""What every transport promises alike: which frames wait, what a lost camera answers, how forks end."""

import os
import time
import traceback

import pytest


@pytest.mark.parametrize("mode, ages", [("OldestFirst", [8, 7, 6, 5]), ("OldestFirstOverwrite", [3, 2, 1]),
                                        ("NewestOnly", [1])])
def test_handling_modes_by_the_age_of_frames(device, camera, mode, ages, messages):
    transport = device.GetTransportParameters()
    assert transport.GetEnumValueStr("StreamBufferHandlingMode") == (True, "OldestFirst")
    assert transport.SetEnumValueStr("StreamBufferHandlingMode", mode), "before a stream is open"
    for name, value in (("TriggerSelector", "FrameStart"), ("TriggerSource", "Software"),
                        ("TriggerMode", "On")):
        assert camera.SetEnumValueStr(name, value)
    stream = device.GetStreamByIndex(0)
    assert transport.GetEnumValueStr("StreamBufferHandlingMode") == (True, mode)
    assert stream.AllocBufferQueue(4) and stream.StartAcquisition()

    def expose():
        before = transport.GetIntegerValue("StreamDeliveredFrameCount")[1]
        assert camera.ExecuteCommand("TriggerSoftware")
        for _ in range(100):
            time.sleep(0.01)
            if transport.GetIntegerValue("StreamDeliveredFrameCount")[1] > before:
                return
    full = {"OldestFirst": 4}.get(mode, 8)
    for _ in range(full):
        expose()
    for _ in range(8 - full):  # no buffer is left
        assert camera.ExecuteCommand("TriggerSoftware")
        time.sleep(0.15)
    ids = []
    while len(ids) < len(ages):
        ids.append(stream.GetBuffer(0).GetFrameID())
    assert stream.GetBuffer(0) is None
    assert messages() == b"Get buffer error: timeout\n"
    skipped = transport.GetIntegerValue("StreamSkippedFrameCount")
    assert skipped == (True, full - len(ages))
    assert stream.FlushBuffers(stream.Flush_UnqueuedToInput)
    expose()
    newest = stream.GetBuffer(2000).GetFrameID()
    assert [newest - number for number in ids] == ages
    stream.Release()


@pytest.fixture
def lose(device, camera, gige_camera):
    """Takes the camera away, by unplugging it or by ending the program that it is; it comes back."""
    def take_away():
        if gige_camera is not None:
            gige_camera.end()
        else:
            assert camera.SetIntegerValue("SimulatorUnplugReturnTime", 200)
            camera.ExecuteCommand("SimulatorUnplug")  # It may be gone before it can answer.
    yield take_away
    device.Release()
    interface, serial = device.GetInfo().GetInterface(), device.GetInfo().GetSerialNumber()
    for _ in range(100):
        if gige_camera is not None or not interface.ReEnumerateDevices(1000)[0]:
            break
        if serial in [info.GetSerialNumber() for info in interface.GetDeviceInfoList()]:
            break
        time.sleep(0.05)


def test_a_lost_camera_answers_one_code_to_everything(device, camera, stream, lose, tmp_path, messages):
    transport = device.GetTransportParameters()
    width = camera.GetInt("Width")
    buffer = stream.CreateBuffer(stream.GetBufferSize())
    assert stream.StartAcquisition()
    assert stream.GetBuffer(2000) is not None
    lose()
    while stream.GetBuffer(10000) is not None:  # those that were whole already
        pass
    assert stream.GetLastError() == -1010
    assert messages().startswith(b"wrong buffer. Error: -1010 ")
    for _ in range(100):  # the news reaches the stream first
        if not transport.GetIntegerValue("StreamLostFrameCount")[0]:
            break
        time.sleep(0.01)
    answers = {
        "name": (camera.GetIntegerValue("Width"), camera.GetLastError()),
        "write": (camera.SetIntegerValue("Width", 64), camera.GetLastError()),
        "command": (camera.ExecuteCommand("AcquisitionStart"), camera.GetLastError()),
        "transport": (transport.GetIntegerValue("StreamLostFrameCount"), transport.GetLastError()),
        "ReadMem": (None, device.ReadMem(0, 4)[0]),
        "WriteMem": (None, device.WriteMem(0, "1234")[0]),
        "GetBuffer": (stream.GetBuffer(1000), stream.GetLastError()),
    }
    assert {name: code for name, (_, code) in answers.items()} == dict.fromkeys(answers, -1010)
    assert [value for value, _ in answers.values()] == [
        (False, None), False, False, (False, None), None, None, None]
    assert width.GetValue() == (False, None) and not width.SetValue(64)
    assert [stream.StartAcquisition(), stream.QueueBuffer(buffer), stream.RevokeBuffer(buffer),
            stream.FlushBuffers(4), stream.CancelBuffer(), stream.StopAcquisition(0),
            stream.AllocBufferQueue(3), stream.ReleaseBufferQueue(),
            device.SaveConfiguration(str(tmp_path / "settings.txt"))] == [False] * 9
    assert device.GetStreamByIndex(0) is None
    device.Release()
    messages()


def test_what_was_made_before_a_fork_is_the_parents(device, camera, running, tmp_path, messages):
    before = camera.GetIntegerValue("Width")
    arrays = [camera, device.GetTransportParameters(), device.GetInfo().GetInterface().GetParameters()]
    width, param, root = camera.GetInt("Width"), camera.GetParam("Width"), camera.GetRootCategory()
    entry = camera.GetEnum("PixelFormat").GetEnumEntryByIndex(0)
    buffer = running.GetBuffer(2000)
    child = os.fork()
    if child == 0:  # every way out of here is os._exit()
        try:
            answers = [(array.GetIntegerValue("Width"), array.GetLastError(), array.SetIntegerValue(
                "Width", 64), array.GetLastError(), array.ExecuteCommand("TriggerSoftware"),
                array.GetLastError(), array.GetParam("Width"), array.GetCount(),
                array.GetRootCategory(), array.GetParamByIndex(0)) for array in arrays]
            ok = (answers == [((False, None), -40051, False, -40051, False, -40051, None, 0, None, None)]
                  * len(arrays)
                  and width.GetValue() == (False, None) and not width.SetValue(64)
                  and not param.IsWritable() and param.GetToolTip() == "" and root.GetCount() == 0
                  and entry.GetValue() == (False, None)
                  and not running.StopAcquisition(0) and not running.QueueBuffer(buffer)
                  and running.GetBuffer(100) is None and running.GetLastError() == -40051
                  and buffer.GetFrameID() == 0 and buffer.IsIncomplete()
                  and device.ReadMem(0, 4)[0] == -40051
                  and not device.SaveConfiguration(str(tmp_path / "settings.txt"))
                  and device.GetInfo().GetAccessStatus() != 5)
            running.Release()
            device.Release()
            os._exit(0 if ok else 1)
        except BaseException:
            traceback.print_exc()
        finally:
            os._exit(2)
    assert os.waitpid(child, 0)[1] == 0
    assert camera.GetIntegerValue("Width") == before and running.QueueBuffer(buffer)
    for _ in range(3):
        assert running.QueueBuffer(running.GetBuffer(2000))
    messages()
