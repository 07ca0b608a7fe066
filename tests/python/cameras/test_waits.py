"""Waits for frames: time-outs, cancels, signals, other threads."""

import signal
import statistics
import threading
import time

import pytest


@pytest.fixture
def waiting(camera, running):
    """A started stream of a camera that waits for a trigger: no frame comes by itself."""
    running.StopAcquisition(0)
    assert camera.SetIntegerValue("Width", 256) and camera.SetIntegerValue("Height", 128)
    assert camera.SetEnumValueStr("TriggerSelector", "FrameStart")
    assert camera.SetEnumValueStr("TriggerSource", "Software")
    assert camera.SetEnumValueStr("TriggerMode", "On")
    running.FlushBuffers(running.Flush_AllToInput)
    assert running.StartAcquisition()
    return running


class Waiter(threading.Thread):
    """Waits for a frame in a thread of its own and notes when and how that ended."""

    def __init__(self, stream, timeout=10000):
        super().__init__()
        self.stream, self.timeout = stream, timeout
        self.start()
        time.sleep(0.01)

    def run(self):
        self.buffer = self.stream.GetBuffer(self.timeout)
        self.ended = time.perf_counter()


def test_time_outs_are_kept(waiting, messages):
    for timeout in (0, 1, 20, 100):
        start = time.perf_counter()
        assert waiting.GetBuffer(timeout) is None
        waited = (time.perf_counter() - start) * 1000
        assert timeout <= waited < timeout + 50
        assert waiting.GetLastError() == -1011
        assert messages() == b"Get buffer error: timeout\n"


def test_one_frame_per_software_trigger(camera, waiting, messages):
    ids = []
    for _ in range(20):
        assert camera.ExecuteCommand("TriggerSoftware")
        buffer = waiting.GetBuffer(2000)
        ids.append(buffer.GetFrameID())
        assert waiting.QueueBuffer(buffer)
        assert waiting.GetBuffer(0) is None
    assert waiting.GetBuffer(100) is None
    assert len(set(ids)) == 20
    messages()


def test_cancel_ends_a_wait_at_once_and_only_that(camera, waiting, messages):
    latencies = []
    for _ in range(30):
        waiter = Waiter(waiting)
        start = time.perf_counter()
        assert waiting.CancelBuffer()
        waiter.join(5)
        latencies.append(waiter.ended - start)
        assert waiter.buffer is None and waiting.GetLastError() == -1012
    assert statistics.median(latencies) < 0.02
    assert b"-1012" in messages()
    assert waiting.CancelBuffer(), "with nobody waiting"
    assert waiting.GetBuffer(0) is None and waiting.GetLastError() == -1011
    camera.ExecuteCommand("TriggerSoftware")
    assert waiting.GetBuffer(2000) is not None
    messages()


@pytest.mark.parametrize("end", ["stop", "stream", "device"])
def test_what_else_ends_a_wait(device, waiting, end, messages):
    waiter = Waiter(waiting)
    start = time.perf_counter()
    {"stop": lambda: waiting.StopAcquisition(1), "stream": waiting.Release,
     "device": device.Release}[end]()
    waiter.join(5)
    assert waiter.buffer is None
    assert waiter.ended - start < 1.0
    messages()


def test_many_waiters_get_each_frame_once(camera, waiting, messages):
    got, lock = [], threading.Lock()

    def work():
        while True:
            buffer = waiting.GetBuffer(300)
            if buffer is None:
                return
            with lock:
                got.append(1)
    threads = [threading.Thread(target=work) for _ in range(3)]
    for thread in threads:
        thread.start()
    for _ in range(6):
        camera.ExecuteCommand("TriggerSoftware")
        time.sleep(0.1)
    for thread in threads:
        thread.join()
    assert len(got) == 6
    messages()


@pytest.mark.parametrize("timeout", ["", "10000"])
def test_interrupt_ends_a_wait(run_program, infos, timeout):
    result = run_program("""
import os, signal, sys, threading, time
signal.signal(signal.SIGINT, signal.default_int_handler)  # ignored where tests run in the background
import libZelCameraApiPy as zel
device = zel.PyZelCreateDevice()
camera = device.GetCameraParameters()
camera.SetEnumValueStr("TriggerSource", "Software")
camera.SetEnumValueStr("TriggerMode", "On")
stream = device.GetStreamByIndex(0)
stream.AllocBufferQueue(3)
stream.StartAcquisition()
sent = []
def interrupt():
    time.sleep(0.3)
    sent.append(time.perf_counter())
    os.kill(os.getpid(), signal.SIGINT)
threading.Thread(target=interrupt).start()
try:
    stream.GetBuffer(%s)
    sys.exit("no interrupt")
except KeyboardInterrupt:
    took = time.perf_counter() - sent[0]
    if took > 0.5:
        sys.exit("late: %%f" %% took)
""" % timeout)
    assert result.stdout == b""


def test_a_signal_without_exception_leaves_the_stream_usable(camera, waiting, messages):
    seen = []
    before = signal.signal(signal.SIGALRM, lambda number, frame: seen.append(number))
    try:
        signal.setitimer(signal.ITIMER_REAL, 0.05)
        waiting.GetBuffer(300)
        assert seen == [signal.SIGALRM]
        camera.ExecuteCommand("TriggerSoftware")
        assert waiting.GetBuffer(2000) is not None
    finally:
        signal.setitimer(signal.ITIMER_REAL, 0)
        signal.signal(signal.SIGALRM, before)
    messages()
