"""The interpreter lock, cancelled waits, Ctrl-C and threads that end badly."""

import os
import signal
import threading
import time

import pytest

ABORTED = (b"wrong buffer. Error: -1012 GenTL: An operation has been aborted before it could be "
           b"completed. For example, a wait operation through EventGetData has been terminated\tvia "
           b"a call to EventKill.\n")


@pytest.fixture
def waiting_stream(double, stream):
    """A stream whose fetches wait until somebody ends the wait."""
    stream.AllocBufferQueue(1)
    double.answer("Stream.GetBuffer", "Buffer:frame", wait_ms=-1)
    return stream


def in_thread(function):
    results = []
    thread = threading.Thread(target=lambda: results.append(function()))
    thread.start()
    return thread, results


def until_waiting(double, number=1):
    deadline = time.monotonic() + 10
    while double.waiting() < number:
        assert time.monotonic() < deadline
        time.sleep(0.001)


@pytest.mark.parametrize("end", ["CancelBuffer", "StopAcquisition", "Release"])
def test_another_thread_ends_the_wait(double, waiting_stream, messages, end):
    thread, results = in_thread(waiting_stream.GetBuffer)
    until_waiting(double)  # this thread runs while the other one waits
    getattr(waiting_stream, end)(*([0] if end == "StopAcquisition" else []))
    thread.join(10)
    assert results == [None] and waiting_stream.GetLastError() == -1012
    assert messages() == ABORTED


def test_threads_run_while_one_waits(double, waiting_stream, messages):
    double.answer("Stream.GetBuffer", "Buffer:frame", wait_ms=200)
    counted = 0
    thread, results = in_thread(lambda: waiting_stream.GetBuffer(1000))
    until_waiting(double)
    while double.waiting():
        counted += 1
    thread.join()
    assert counted > 100 and results[0].GetWidth() == 4


def test_two_waits_end_one_after_the_other(double, waiting_stream, messages):
    first, second = in_thread(waiting_stream.GetBuffer), in_thread(waiting_stream.GetBuffer)
    until_waiting(double, 2)
    while double.waiting():
        waiting_stream.CancelBuffer()
        time.sleep(0.001)
    for thread, results in (first, second):
        thread.join(10)
        assert results == [None]
    assert messages() == ABORTED * 2


def test_buffer_replaced_during_a_wait(double, waiting_stream, messages):
    """The waiting call fills and returns the buffer it began with."""
    double.answer("Stream.GetBuffer", "Buffer:frame", wait_ms=100)
    thread, results = in_thread(waiting_stream.GetBuffer)
    until_waiting(double)
    assert waiting_stream.AllocBufferQueue(2) is True
    thread.join(10)
    double.answer("Stream.GetBuffer", "Buffer:next")
    assert results[0] is not None and waiting_stream.GetBuffer(0) is not results[0]
    assert results[0].GetBufferPtr()


def test_stream_dropped_during_a_wait(double, device, messages):
    double.answer("Stream.GetBuffer", "Buffer:frame", wait_ms=100)
    stream = device.GetStreamByIndex(0)
    stream.AllocBufferQueue(1)
    thread, results = in_thread(stream.GetBuffer)
    until_waiting(double)
    del stream
    device.Release()
    thread.join(10)
    assert results[0].GetHeight() == 3


def test_interrupt_ends_a_wait(double, waiting_stream, messages):
    timer = threading.Thread(target=lambda: (until_waiting(double),
                                             os.kill(os.getpid(), signal.SIGINT)))
    timer.start()
    with pytest.raises(KeyboardInterrupt):
        waiting_stream.GetBuffer()
        time.sleep(10)  # here at the latest
    timer.join()
    messages()
    double.answer("Stream.GetBuffer", "Buffer:frame")
    assert waiting_stream.GetBuffer(0) is not None


def test_signal_handler_that_raises_nothing(double, waiting_stream, messages):
    handled = []
    before = signal.signal(signal.SIGUSR1, lambda *arguments: handled.append(1))
    try:
        timer = threading.Thread(target=lambda: (until_waiting(double),
                                                 os.kill(os.getpid(), signal.SIGUSR1)))
        timer.start()
        assert waiting_stream.GetBuffer() is None
        timer.join()
    finally:
        signal.signal(signal.SIGUSR1, before)
    assert handled == [1] and waiting_stream.GetLastError() == -1012
    assert messages() == ABORTED


def test_many_threads_on_everything(double, system, device, stream, params):
    """Objects made, used and dropped by four threads at once."""
    stream.AllocBufferQueue(2)
    double.record(False)
    failures = []

    def work():
        try:
            for _ in range(150):
                assert len(system.GetInterfaceList()) == 2
                assert params.GetIntegerValue("N") == (True, 0)
                assert params.GetRootCategory().GetParamByIndex(0).GetNode().IsFeature() is False
                buffer = stream.GetBuffer(1)
                assert buffer.GetBufferPtr()[0] == 64 and stream.QueueBuffer(buffer)
                assert stream.AllocBufferQueue(1) and stream.CreateBuffer(1).GetImage() is not None
        except BaseException as error:
            failures.append(error)

    threads = [threading.Thread(target=work) for _ in range(4)]
    for thread in threads:
        thread.start()
    for thread in threads:
        thread.join()
    assert failures == []


WAIT_PROGRAM = """
import os, sys, threading, time
sys.path.insert(0, %r)
import libZelCameraApiPy as zel
from scripted import Double
double = Double(os.path.join(os.environ["ZELCAM_TEST_BUILD"], "double"))
double.reset()
double.answer("Stream.GetBuffer", "Buffer:frame", wait_ms=%d)
stream = zel.PyZelCreateDevice().GetStreamByIndex(0)
stream.AllocBufferQueue(1)
def fetch():
    while True:
        stream.GetBuffer()
for _ in range(3):
    threading.Thread(target=fetch, daemon=True).start()
time.sleep(0.05)
"""


@pytest.mark.parametrize("wait_ms", [-1, 0, 1, 20])
def test_exit_while_daemon_threads_fetch(run_program, wait_ms):
    source = WAIT_PROGRAM % (os.path.dirname(__file__), wait_ms)
    assert run_program(source).stderr == b""


def test_fork_leaves_a_usable_module(double, device):
    double.record(False)
    child = os.fork()
    if child == 0:
        status = 1
        try:
            device.RegisterEvent(1, print)
            status = 0 if device.GetDisplayName() == "Shown" else 2
        finally:
            os._exit(status)
    assert os.waitpid(child, 0)[1] == 0
