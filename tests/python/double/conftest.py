"""The tests in this folder run over the scripted libraries, which LD_LIBRARY_PATH puts in front."""

import os
import sys

import pytest

sys.path.insert(0, os.path.dirname(__file__))

import libZelCameraApiPy as zel
from scripted import Double

FOLDER = os.path.join(os.environ.get("ZELCAM_TEST_BUILD", ""), "double")
# The one operation that lets other Python threads run.
WITHOUT_LOCK = {"Stream.GetBuffer"}


def in_front():
    with open("/proc/self/maps") as maps:
        return any(line.rstrip().endswith(FOLDER + "/libZelCameraApi.so") for line in maps)


def pytest_collection_modifyitems(items):
    if not in_front():
        for item in items:
            item.add_marker(pytest.mark.skip(reason="the scripted libraries are not in front: "
                                                    "use run_suite.py"))


@pytest.fixture
def double():
    """The scripted libraries with the ordinary world; every call must hold the interpreter lock."""
    double = Double(FOLDER)
    double.reset()
    yield double
    double.end_storm()
    wrong = [call for call in double.calls() if call.locked == (call.name in WITHOUT_LOCK)]
    assert not wrong, "interpreter lock"


def quiet(double, made):
    double.take()
    return made


@pytest.fixture
def system(double):
    return quiet(double, zel.PyZelSystem())


@pytest.fixture
def interface(double, system):
    return quiet(double, system.GetInterfaceList()[0])


@pytest.fixture
def info(double, interface):
    return quiet(double, interface.GetFirstDeviceInfo())


@pytest.fixture
def device(double):
    return quiet(double, zel.PyZelCreateDevice())


@pytest.fixture
def stream(double, device):
    return quiet(double, device.GetStreamByIndex(0))


@pytest.fixture
def released(double, stream):
    """A stream after its release."""
    stream.Release()
    return quiet(double, stream)


@pytest.fixture
def closed(double, device):
    """A device after its release."""
    device.Release()
    return quiet(double, device)


@pytest.fixture
def fetched(double, stream):
    """A buffer with a frame in it."""
    assert stream.AllocBufferQueue(3)
    return quiet(double, stream.GetBuffer(0))


@pytest.fixture
def params(double, device):
    return quiet(double, device.GetCameraParameters())


@pytest.fixture
def parts(request, double, params):
    """Parameter objects by kind: parts("Int") is the array's integer parameter."""
    makers = {
        "Param": lambda: params.GetParam("x"), "Int": lambda: params.GetInt("x"),
        "Float": lambda: params.GetFloat("x"), "Boolean": lambda: params.GetBoolean("x"),
        "String": lambda: params.GetString("x"), "Command": lambda: params.GetCommand("x"),
        "Enum": lambda: params.GetEnum("x"), "Category": params.GetRootCategory,
        "EnumEntry": lambda: params.GetEnum("x").GetEnumEntryByIndex(0),
        "Node": lambda: params.GetParam("x").GetNode(),
        "NodeMap": lambda: params.GetNodeMap()[1],
    }
    return lambda kind: quiet(double, makers[kind]())


@pytest.fixture
def thing(request, parts):
    """Any object by name: a fixture or the kind of a parameter; "module" is the module."""

    def find(name):
        if name == "module":
            return zel
        return parts(name) if name[0].isupper() else request.getfixturevalue(name)

    return find
