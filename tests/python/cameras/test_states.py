"""Random walks over the whole road, against a model that says what must come; see road_model.py."""

import time

import pytest

from conftest import IS_GIGE
from road_model import Road, failure, program, random_calls, shrunk


@pytest.fixture
def make_road(zel, infos, gige_camera):
    info = next(iter(infos.values()))

    def take_away(camera):
        if gige_camera is not None:
            gige_camera.end()
        else:
            assert camera.SetIntegerValue("SimulatorUnplugReturnTime", 100)
            camera.ExecuteCommand("SimulatorUnplug")  # It may be gone before it can answer.

    def bring_back(lost):
        interface, end = lost.GetInterface(), time.monotonic() + 15
        if gige_camera is not None:
            gige_camera.ensure()
        while time.monotonic() < end:
            if interface.ReEnumerateDevices(300)[0] and lost.GetSerialNumber() in [
                    found.GetSerialNumber() for found in interface.GetDeviceInfoList()]:
                return
        raise AssertionError("the camera does not come back")

    yield lambda: Road(zel, info, take_away, bring_back)
    if gige_camera is not None:
        gige_camera.end()


def walk(make_road, seeds, steps, seconds):
    """Walks until the time is over; at least three seeds."""
    end = time.monotonic() + seconds
    for number, seed in enumerate(seeds):
        if number >= 3 and time.monotonic() > end:
            return
        calls = random_calls(seed, steps)
        wrong = failure(make_road, calls)
        if wrong is not None:
            fewer = shrunk(make_road, calls)
            pytest.fail("seed %d: %s\nthe shortest that fails (%s):\n%s" % (
                seed, wrong, failure(make_road, fewer), program(fewer)))


@pytest.fixture
def any_messages(messages):
    """Refused calls say so; what they say is other tests' business."""
    yield
    messages()


def test_random_walks(make_road, any_messages):
    walk(make_road, range(1, 1000), 60, 2 if IS_GIGE else 4)


@pytest.mark.long
def test_many_random_walks(make_road, any_messages):
    walk(make_road, range(1000, 4000), 80, 300)
