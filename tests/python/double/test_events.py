"""Device events: registrations, delivery from every kind of thread, and all awkward orders."""

import gc
import os
import signal
import sys
import threading
import time
import weakref

import libZelCameraApiPy as zel
import pytest


@pytest.fixture
def received():
    return []


@pytest.fixture
def unraisable(monkeypatch):
    """The exceptions that nobody could catch."""
    seen = []
    monkeypatch.setattr(sys, "unraisablehook", lambda found: seen.append(found.exc_type))
    return seen


@pytest.fixture
def registered(double, device, received):
    """The number of a registration whose callable collects what it gets."""
    assert device.RegisterEvent(5, lambda *arguments: received.append(arguments)) is True
    return double.registration()


def test_registration(double, device):
    device.RegisterEvent(5, print, "ignored")
    event, callback, context = double.take_args("Device.RegisterEvent")
    assert (event, callback) == (5, True) and context != 0
    double.answer("Device.RegisterEvent", -1004)
    double.answer("Device.UnRegisterEvent", -1004)
    assert device.RegisterEvent(-6, print) is True  # whatever the SDK says
    assert double.take_args("Device.RegisterEvent") == [-6, True, context]
    assert device.UnRegisterEvent(7, "ignored", "ignored") is True
    assert double.take_args("Device.UnRegisterEvent") == [7, True, context]
    assert device.GetLastError() == 0


@pytest.mark.parametrize("wrong", [42, None, "x", ()])
def test_only_callables_are_registered(double, device, registered, received, wrong):
    double.take()
    with pytest.raises(TypeError):
        device.RegisterEvent(5, wrong)
    assert double.take() == []
    double.fire(registered, b"still")
    assert len(received) == 1


@pytest.mark.parametrize("how, locked", [("", False), ("", True), ("_from_thread", False)])
def test_delivery(double, device, registered, received, how, locked):
    """With and without the interpreter lock, on a Python thread and on a foreign one."""
    context = double.take_args("Device.RegisterEvent")[2]
    assert double.fire(registered, b"a\0b\xff", how=how, locked=locked) == 0
    ((data, size, key),) = received
    assert type(data) is bytearray and data == b"a\0b\xff" and size == 4
    assert type(key) is int and key == context > 0
    double.fire(registered, b"a\0b\xff", how=how, locked=locked)
    assert received[1][0] is not data and received[1][2] == key


def test_sizes(double, registered, received):
    big = bytes(range(256)) * 4096
    for data in (b"", b"x", big):
        double.fire(registered, data)
        assert received[-1][0] == data and received[-1][1] == len(data)
    double.fire(registered, None, 0)
    assert received[-1][:2] == (b"", 0)


def test_context_tells_devices_apart(double, registered, received):
    double.answer("ZelCam_CreateDevice", "Device:two")
    other = zel.PyZelCreateDevice()
    other.RegisterEvent(5, lambda *arguments: received.append(arguments))
    double.fire(registered), double.fire(double.registration())
    assert received[0][2] != received[1][2]


def test_events_without_a_taker_are_dropped(double, device, registered, received):
    assert double.fire(registered, b"x", how="_nowhere") == 0
    device.UnRegisterEvent(5, None)
    assert double.fire(registered, b"x") == 0
    assert double.fire(registered, b"x", how="_from_thread") == 0
    assert received == []


def test_one_callable_for_all_events(double, device, registered, received):
    later = []
    device.RegisterEvent(6, lambda *arguments: later.append(arguments))
    double.fire(registered), double.fire(double.registration())
    assert received == [] and len(later) == 2
    device.UnRegisterEvent(5, None)  # silences the other event as well
    double.fire(double.registration())
    assert len(later) == 2


def test_callables_are_held_and_let_go(double, device):
    class Callback:
        def __call__(self, *arguments):
            pass

    first, second = Callback(), Callback()
    seen = weakref.ref(first), weakref.ref(second)
    device.RegisterEvent(1, first)
    del first
    assert seen[0]() is not None
    device.RegisterEvent(1, second)
    assert seen[0]() is None
    del second
    device.UnRegisterEvent(99, None)
    assert seen[1]() is None


def test_callable_that_replaces_itself(double, device, received):
    def once(*arguments):
        received.append(arguments)
        device.UnRegisterEvent(5, None)

    device.RegisterEvent(5, once)
    for how in ("", "_from_thread"):
        double.fire(double.registration(), b"x", how=how)
    assert len(received) == 1


def test_callable_whose_end_calls_back(double, device, received):
    """Letting a callable go runs Python code, which may use the device."""

    class Late:
        def __call__(self, *arguments):
            pass

        def __del__(self):
            received.append(device.RegisterEvent(2, print))

    device.RegisterEvent(1, Late())
    device.UnRegisterEvent(1, None)
    device.RegisterEvent(1, Late())
    device.Release()
    device.UnRegisterEvent(1, None)
    gc.collect()
    assert received and received[0] is True


@pytest.mark.parametrize("how, locked", [("", False), ("", True), ("_from_thread", False)])
def test_callable_that_raises(double, device, registered, received, unraisable, how, locked):
    """The delivering thread survives, the error is not silent, and later events arrive."""

    def wrong(*arguments):
        raise ValueError("callback failed")

    device.RegisterEvent(5, wrong)
    threw = double.fire(double.registration(), b"x", how=how, locked=locked)
    assert threw or unraisable == [ValueError]
    device.RegisterEvent(5, lambda *arguments: received.append(arguments))
    assert double.fire(registered, b"x", how=how, locked=locked) == 0
    assert len(received) == 1


def test_callable_with_wrong_parameters(double, device, unraisable):
    device.RegisterEvent(5, lambda only_one: None)
    assert double.fire(double.registration(), b"x") or unraisable == [TypeError]


def test_callback_may_use_everything(double, system, device, stream, received):
    def curious(data, size, key):
        received.append((device.GetDisplayName(), stream.GetBufferSize(),
                         device.GetCameraParameters().GetIntegerValue("N"),
                         system.GetInterfaceList()[0].GetType(), threading.get_ident()))

    device.RegisterEvent(5, curious)
    double.fire(double.registration(), b"x", how="_from_thread")
    assert received[0][:4] == ("Shown", 0, (True, 0), 2)
    assert received[0][4] != threading.get_ident()


def test_events_after_the_device_object_is_gone(double, received):
    device = zel.PyZelCreateDevice()
    device.RegisterEvent(5, lambda *arguments: received.append(arguments))
    number = double.registration()
    device.Release()
    double.fire(number, b"release keeps it")
    assert len(received) == 1
    del device
    gc.collect()
    fillers = [zel.PyZelCreateDevice() for _ in range(50)]  # likely to take its place in memory
    for how in ("", "_from_thread"):
        assert double.fire(number, b"x", how=how) == 0
    assert len(received) == 1 and len(fillers) == 50


def test_storm_while_registering_and_dropping(double, received):
    """A foreign thread fires without pause while devices come, change their minds and go."""
    for _ in range(15):
        device = zel.PyZelCreateDevice()
        device.RegisterEvent(5, lambda *arguments: received.append(arguments))
        before = double.storm_delivered()
        double.storm(double.registration())
        while double.storm_delivered() == before:
            time.sleep(0)
        for _ in range(5):
            device.UnRegisterEvent(5, None)
            device.RegisterEvent(6, lambda *arguments: received.append(arguments))
        del device
        double.end_storm()
    assert received and all(data == b"ev" and size == 2 for data, size, _ in received)


def test_sdk_that_waits_for_callbacks_under_way(double, device, received):
    """Unregistering and releasing hold the interpreter lock that a callback waits for."""
    double.answer("Device.UnRegisterEvent", 0, settle=True)
    double.answer("Device.Release", settle=True)
    device.RegisterEvent(5, lambda *arguments: received.append(arguments))
    for _ in range(3):
        double.storm(double.registration(), 200)
    for _ in range(5):
        before = len(received)
        device.RegisterEvent(5, lambda *arguments: received.append(arguments))
        while len(received) == before:
            time.sleep(0)
        device.UnRegisterEvent(5, None)
    device.RegisterEvent(5, lambda *arguments: received.append(arguments))
    device.Release()
    double.end_storm()
    assert double.take("Device.Deadlock") == []


def test_event_that_the_sdk_delivers_inside_release(double, device, received):
    """On the releasing thread it reaches the callable, which may go on using the object."""
    double.answer("Device.Release", fires=True)
    device.RegisterEvent(5, lambda data, *rest: received.append((bytes(data), device.IsValid())))
    device.Release()
    assert received == [(b"released", False)]


def test_callback_that_ends_its_own_registration_at_such_an_sdk(double, device, received):
    double.answer("Device.UnRegisterEvent", 0, settle=True)
    device.RegisterEvent(5, lambda *arguments: received.append(device.UnRegisterEvent(5, None)))
    double.fire(double.registration(), how="_from_thread")
    assert received == [True] and double.take("Device.Deadlock") == []


def test_storm_and_python_threads(double, device, received):
    """Three foreign threads deliver while three Python threads use the same device."""
    device.RegisterEvent(5, lambda *arguments: received.append(threading.get_ident()))
    double.record(False)
    for _ in range(3):
        double.storm(double.registration(), 50)
    deadline = time.monotonic() + 10

    def work():
        while len(set(received)) < 3 or len(received) < 100:
            assert device.GetDisplayName() == "Shown" and time.monotonic() < deadline

    threads = [threading.Thread(target=work) for _ in range(3)]
    for thread in threads:
        thread.start()
    for thread in threads:
        thread.join()
    double.end_storm()
    assert len(set(received)) == 3


@pytest.mark.parametrize("end", [lambda device: device.UnRegisterEvent(5, None),
                                 lambda device: device.Release()])
def test_callback_that_waits_for_the_caller(double, device, end):
    """It holds neither of the two for ever."""
    busy, inside = threading.Lock(), threading.Event()

    def patient(*arguments):
        inside.set()
        with busy:
            pass

    device.RegisterEvent(5, patient)
    number = double.registration()
    with busy:
        firing = threading.Thread(target=lambda: double.fire(number, how="_from_thread"))
        firing.start()
        inside.wait()
        start = time.monotonic()
        end(device)
        assert time.monotonic() - start < 5
    firing.join()


@pytest.mark.skipif(not hasattr(os, "fork"), reason="no fork")
def test_child_of_a_fork_during_a_callback(double, device):
    inside, go_on = threading.Event(), threading.Event()
    device.RegisterEvent(5, lambda *arguments: (inside.set(), go_on.wait(10)))
    number = double.registration()
    firing = threading.Thread(target=lambda: double.fire(number, how="_from_thread"))
    firing.start()
    inside.wait()
    child = os.fork()
    if child == 0:
        signal.alarm(5)
        start = time.monotonic()
        device.UnRegisterEvent(5, None)
        os._exit(0 if time.monotonic() - start < 0.5 else 1)
    assert os.waitpid(child, 0)[1] == 0, "its thread of the SDK stayed behind in the parent"
    go_on.set()
    firing.join()


EARLY_EXIT = """
import atexit, os, sys, tempfile, weakref
sys.path.insert(0, %r)
folder = tempfile.TemporaryDirectory()  # whose finalizer is registered before ours
zel = stream = None
def bye():
    stream.GetBuffer(10)
    os.write(1, b"bye ")
atexit.register(bye)
import libZelCameraApiPy as zel
from scripted import Double
double = Double(os.path.join(os.environ["ZELCAM_TEST_BUILD"], "double"))
double.reset()
stream = zel.PyZelCreateDevice().GetStreamByIndex(0)
class Last:
    def __del__(self, stream=stream, write=os.write):
        stream.GetBuffer(10)
        write(1, b"last ")
last = Last()
class Camera:
    pass
camera = Camera()
weakref.finalize(camera, lambda: (stream.GetBuffer(10), os.write(1, b"finalized ")))
"""


def test_waits_after_the_exit_handler(run_program):
    """What the interpreter still runs on its own thread can wait for frames."""
    output = run_program(EARLY_EXIT % __file__.rsplit("/", 1)[0]).stdout.decode()
    assert sorted(output.split()) == ["bye", "finalized", "last"]


EXIT_PROGRAM = """
import os, sys, threading, time
sys.path.insert(0, %r)
import libZelCameraApiPy as zel
from scripted import Double
double = Double(os.path.join(os.environ["ZELCAM_TEST_BUILD"], "double"))
double.reset()
device = zel.PyZelCreateDevice()
seen = []
device.RegisterEvent(5, lambda *arguments: seen.append(1))
for _ in range(3):
    double.storm(double.registration())
while len(seen) < 100:
    time.sleep(0.001)
%s
"""


@pytest.mark.parametrize("ending", [
    "", "del device", "device.UnRegisterEvent(5, None)", "sys.exit(0)", "del zel, double",
    "threading.Thread(target=time.sleep, args=(60,), daemon=True).start()",
    "keep = device; sys.modules.clear()"])
def test_exit_while_events_arrive(run_program, ending):
    source = EXIT_PROGRAM % (__file__.rsplit("/", 1)[0], ending)
    for _ in range(3):
        assert run_program(source).stderr == b""


def test_exit_by_an_exception_while_events_arrive(run_program):
    source = EXIT_PROGRAM % (__file__.rsplit("/", 1)[0], "raise SystemExit(7)")
    run_program(source, code=7)


@pytest.mark.parametrize("nap", ["time.sleep(3)", "[time.sleep(0.001) for _ in range(3000)]"])
def test_exit_while_a_callback_sleeps(run_program, nap):
    """The exit does not wait for it, and the thread ends without the interpreter that is gone."""
    source = EXIT_PROGRAM.replace("seen.append(1))", "(seen.append(1), len(seen) == 100 and %s))" % nap)
    start = time.monotonic()
    assert run_program(source % (__file__.rsplit("/", 1)[0], "")).stderr == b""
    assert time.monotonic() - start < 2.8


def test_callable_that_ends_its_thread(double, device, unraisable):
    def leave(*arguments):
        raise SystemExit(3)

    device.RegisterEvent(5, leave)
    double.fire(double.registration(), b"x", how="_from_thread")
    assert device.IsValid()
