"""One camera, many threads: features, frames, events and the end, all at the same time."""

import threading
import time

import pytest

TEST_EVENT, FRAME_START, LOCKED = 0x9008, 0x9005, -40202


class Crew:
    """Threads that repeat their work until the time is over; the first failure is raised."""

    def __init__(self, seconds):
        self.end, self.failures, self.rounds = time.monotonic() + seconds, [], []
        self.threads = []

    def add(self, work, *arguments):
        number = len(self.threads)
        self.rounds.append(0)

        def run():
            try:
                # Once at least: a busy machine may run a thread only after the end.
                while not self.failures and (not self.rounds[number] or
                                             time.monotonic() < self.end):
                    work(*arguments)
                    self.rounds[number] += 1
            except BaseException as failure:  # whatever it is, the test has to know
                self.failures.append(failure)
        self.threads.append(threading.Thread(target=run))

    def work(self):
        for thread in self.threads:
            thread.start()
        for thread in self.threads:
            thread.join(60)
            assert not thread.is_alive(), "deadlock"
        for failure in self.failures:
            raise failure
        assert all(self.rounds), self.rounds


def share_a_camera(device, camera, stream, seconds):
    """Eight threads on the features and one on the frames. Every writer has a feature of its own
    and must read back what it wrote, whatever the others do."""
    exposure, gain = camera.GetFloat("ExposureTime"), camera.GetFloat("Gain")
    noise, pattern = camera.GetInt("SimulatorNoise"), camera.GetEnum("TestPattern")
    execute, width = camera.GetCommand("TestEventGenerate"), camera.GetInt("Width")
    wide, counts, seen, ids = width.GetValue()[1], {"step": 0}, [], []
    assert camera.SetEnumValueStr("EventSelector", "Test")
    assert camera.SetEnumValueStr("EventNotification", "On")
    assert device.RegisterEvent(TEST_EVENT, lambda *event: seen.append(1))
    crew = Crew(seconds)

    def step():
        counts["step"] += 1
        return counts["step"]

    def by_name():
        value = 1000.0 + step() % 500
        assert camera.SetFloatValue("ExposureTime", value)
        assert abs(camera.GetFloatValue("ExposureTime")[1] - value) < 0.1

    def by_object():
        value = float(step() % 6)
        assert gain.SetValue(value) and abs(gain.GetValue()[1] - value) < 0.1

    def integers():
        value = step() % 8
        assert noise.SetValue(value) and noise.GetValue() == (True, value)
        assert camera.GetIntegerValue("SimulatorNoise") == (True, value)

    def enumerations():
        for entry in ("Off", "GreyHorizontalRamp", "GreyVerticalRamp"):
            assert pattern.SetValueStr(entry) and pattern.GetValueStr() == (True, entry)
            assert camera.GetEnumValueStr("TestPattern") == (True, entry)
            assert pattern.GetEnumEntryByIndex(0).IsAvailable()

    def booleans():
        for value in (True, False):
            assert camera.SetBooleanValue("GammaEnable", value)
            assert camera.GetBooleanValue("GammaEnable") == (True, value)

    def commands():
        assert execute.Execute() and camera.ExecuteCommand("TestEventGenerate")

    def what_is_locked():
        assert not camera.SetIntegerValue("Width", 64) and camera.GetIntegerValue("Width")[0]
        assert not width.SetValue(64) and width.GetValue() == (True, wide)

    def everything():
        low, high = exposure.GetMin()[1], exposure.GetMax()[1]
        assert low <= exposure.GetValue()[1] <= high
        for index in range(camera.GetCount()):
            parameter = camera.GetParamByIndex(index)
            if parameter.GetType() != camera.ParamCategory:
                assert parameter.GetName() and parameter.IsReadable() in (True, False)

    def frames():
        buffer = stream.GetBuffer(10000)
        assert buffer.GetWidth() == wide and not buffer.IsIncomplete()
        ids.append(buffer.GetFrameID())
        assert stream.QueueBuffer(buffer)
    for work in (by_name, by_object, integers, enumerations, booleans, commands, what_is_locked,
                 everything, frames):
        crew.add(work)
    assert stream.StartAcquisition()
    crew.work()
    assert ids == sorted(set(ids)) and seen
    device.UnRegisterEvent(TEST_EVENT, None)


@pytest.fixture
def small(camera, stream):
    assert camera.SetIntegerValue("Width", 256) and camera.SetIntegerValue("Height", 64)
    return stream


def test_eight_threads_share_a_camera(device, camera, small):
    share_a_camera(device, camera, small, 1.5)


@pytest.mark.long
def test_eight_threads_share_a_camera_for_long(device, camera, small):
    share_a_camera(device, camera, small, 60)


def test_events_while_others_register(device, camera, small):
    """Events of the camera's frames and of a command, to a callable that comes and goes."""
    for name in ("Test", "FrameStart"):
        assert camera.SetEnumValueStr("EventSelector", name)
        assert camera.SetEnumValueStr("EventNotification", "On")
    seen, crew = [], Crew(1.5)

    def take(data, size, key):
        seen.append(len(data) == size)
        if len(seen) % 50 == 0:
            device.UnRegisterEvent(TEST_EVENT, None)

    def toggle():
        assert device.RegisterEvent(TEST_EVENT, take) and device.RegisterEvent(FRAME_START, take)
        time.sleep(0.001)
        assert device.UnRegisterEvent(FRAME_START, None)
    for _ in range(3):
        crew.add(toggle)
    for _ in range(2):
        crew.add(lambda: camera.ExecuteCommand("TestEventGenerate"))
    crew.add(lambda: small.QueueBuffer(small.GetBuffer(10000)))
    assert small.StartAcquisition()
    crew.work()
    assert seen and all(seen)
    device.UnRegisterEvent(TEST_EVENT, None)


def test_release_while_events_flow(zel, infos, messages):
    """Threads fire, fetch and read while the device goes; it opens again at once."""
    info = next(iter(infos.values()))
    for _ in range(6):
        device = zel.PyZelCreateDevice(info)
        assert device.IsValid(), zel.GetLastError()
        camera, stream = device.GetCameraParameters(), device.GetStreamByIndex(0)
        for name in ("Test", "FrameStart"):
            camera.SetEnumValueStr("EventSelector", name)
            camera.SetEnumValueStr("EventNotification", "On")
        seen, stop = [], threading.Event()
        for event in (TEST_EVENT, FRAME_START):
            assert device.RegisterEvent(event, lambda *event: seen.append(event[1]))
        assert stream.AllocBufferQueue(4) and stream.StartAcquisition()

        def until_stopped(work):
            while not stop.is_set():
                work()
        threads = [threading.Thread(target=until_stopped, args=(work,)) for work in (
            lambda: camera.ExecuteCommand("TestEventGenerate"),
            lambda: stream.QueueBuffer(stream.GetBuffer(5)),
            lambda: camera.GetIntegerValue("EventTestTimestamp"))]
        for thread in threads:
            thread.start()
        while len(seen) < 20:
            time.sleep(0.001)
        device.Release()
        time.sleep(0.02)
        count = len(seen)
        time.sleep(0.02)
        assert len(seen) == count, "nothing comes from a device that is closed"
        stop.set()
        for thread in threads:
            thread.join(20)
            assert not thread.is_alive()
    messages()
