"""Every feature of every camera: agreement of the ways to it, ranges, access, codes."""

import math

import pytest

from camera_tools import READERS, WRITERS, features, reset, settable
from conftest import IS_FOREIGN

UNKNOWN, WRONG_TYPE, RANGE, ACCESS, ENTRY = -40205, -40203, -40204, -40202, -40206
OBJECTS = {1: "GetInt", 2: "GetFloat", 3: "GetString", 4: "GetEnum", 6: "GetBoolean"}
# Values that move by themselves between two reads.
MOVING = ("Timestamp", "Temperature", "Count", "Event", "Status", "Chunk", "SelfTest")


def tree_names(category):
    names = []
    for index in range(category.GetCount()):
        child = category.GetParamByIndex(index)
        names += tree_names(child) if child.GetType() == 8 else [child.GetName()]
    return names


def typed_value(parameters, name, kind):
    result = getattr(parameters, OBJECTS[kind])(name)
    return result.GetValueStr() if kind == 4 else result.GetValue()


@pytest.fixture(params=["camera", "transport", "interface"])
def parameters(request, device):
    return {"camera": device.GetCameraParameters, "transport": device.GetTransportParameters,
            "interface": device.GetInfo().GetInterface().GetParameters}[request.param]()


def test_all_ways_to_a_feature_agree(parameters):
    names = [name for name, _ in features(parameters)]
    assert len(names) == len(set(names)) > 3
    tree = tree_names(parameters.GetRootCategory())
    assert list(dict.fromkeys(tree)) == names, "the order of the array is that of the tree"
    assert parameters.GetParamByIndex(parameters.GetCount()) is None
    for name, parameter in features(parameters):
        kind = parameter.GetType()
        assert parameters.GetParam(name).GetType() == kind
        assert parameter.GetNode().IsFeature()
        assert parameter.GetDisplayName()
        # The description of the GigE Vision test camera has no tool tips.
        assert parameter.GetToolTip() or IS_FOREIGN, name
        assert parameter.IsVisible(parameter.GetVisibility())
        if kind not in READERS:
            continue
        by_name, by_object = getattr(parameters, READERS[kind])(name), typed_value(parameters, name, kind)
        assert by_name[0] == by_object[0] == parameter.IsReadable(), name
        if by_name[0] and not any(word in name for word in MOVING):
            assert by_name == by_object, name
        wrong = "GetFloatValue" if kind != 2 else "GetIntegerValue"
        assert getattr(parameters, wrong)(name) == (False, None)
        assert parameters.GetLastError() == WRONG_TYPE, name
    for reader in READERS.values():
        assert getattr(parameters, reader)("NoSuchFeature") == (False, None)
        assert parameters.GetLastError() == UNKNOWN


def test_integers_keep_their_range_and_step(every_camera):
    for device in every_camera():
        camera = device.GetCameraParameters()
        names = settable(camera, 1)
        assert len(names) > 5
        for name in names:
            reset(camera)
            feature = camera.GetInt(name)
            low, high, step = feature.GetMin()[1], feature.GetMax()[1], feature.GetIncrement()[1]
            assert low <= high and step >= 1, name
            between = low + (high - low) // step // 2 * step
            for value in (low, high, between):
                assert camera.SetIntegerValue(name, value), (name, value, camera.GetLastError())
                assert camera.GetIntegerValue(name) == (True, value), name
            kept = camera.GetIntegerValue(name)[1]
            wrong = [low - 1, high + 1] + ([low + 1] if step > 1 and high > low else [])
            for value in wrong:
                if not -1 << 63 <= value < 1 << 63:
                    continue
                assert not camera.SetIntegerValue(name, value), (name, value)
                assert camera.GetLastError() == RANGE, name
                assert not feature.SetValue(value)
                assert camera.GetIntegerValue(name) == (True, kept), name
        reset(camera)


def test_floats_keep_their_range(every_camera):
    for device in every_camera():
        camera = device.GetCameraParameters()
        for name in settable(camera, 2):
            reset(camera)
            feature = camera.GetFloat(name)
            low, high = feature.GetMin()[1], feature.GetMax()[1]
            assert low <= high, name
            for value in (low, high, (low + high) / 2):
                assert camera.SetFloatValue(name, value), (name, value, camera.GetLastError())
                assert math.isclose(camera.GetFloatValue(name)[1], value, rel_tol=1e-3, abs_tol=1e-3)
            kept = camera.GetFloatValue(name)
            for value in (low - 1 - abs(low) * .01, high + 1 + abs(high) * .01, math.nan,
                          math.inf, -math.inf):
                assert not camera.SetFloatValue(name, value), (name, value)
                assert camera.GetLastError() == RANGE, name
            assert camera.GetFloatValue(name) == kept
        reset(camera)


def test_enumerations_offer_what_can_be_set(every_camera):
    for device in every_camera():
        camera = device.GetCameraParameters()
        for name in settable(camera, 4):
            reset(camera)
            enumeration = camera.GetEnum(name)
            entries = [enumeration.GetEnumEntryByIndex(i) for i in range(enumeration.GetCount()[1])]
            assert entries and enumeration.GetEnumEntryByIndex(len(entries)) is None
            for entry in entries:
                symbol, value = entry.GetValueStr()[1], entry.GetValue()[1]
                available = entry.IsAvailable()
                assert camera.SetEnumValueStr(name, symbol) == available, (name, symbol)
                if available:
                    assert camera.GetEnumValueStr(name) == (True, symbol)
                    assert camera.GetEnumValue(name) == (True, value)
                    assert camera.SetEnumValue(name, value)
                else:
                    assert camera.GetLastError() == ACCESS, (name, symbol)
            kept = camera.GetEnumValueStr(name)
            for wrong in ("NoSuchEntry", "", kept[1].upper() + "x"):
                assert not camera.SetEnumValueStr(name, wrong)
                assert camera.GetLastError() == ENTRY
            assert not camera.SetEnumValue(name, 1 << 40)
            assert camera.GetLastError() == ENTRY
            assert camera.GetEnumValueStr(name) == kept
        reset(camera)


def test_texts_keep_their_length(device, camera, lacks):
    if camera.GetParam("DeviceUserID") is None:
        lacks("has no writable text")
    text = camera.GetString("DeviceUserID")
    longest = text.GetMaxLength()
    assert 8 <= longest < 1000
    for value in ("", "a", "x" * (longest - 1)):
        assert camera.SetStringValue("DeviceUserID", value)
        assert camera.GetStringValue("DeviceUserID") == (True, value)
    assert not camera.SetStringValue("DeviceUserID", "y" * (longest + 1))
    assert camera.GetLastError() == RANGE
    camera.SetStringValue("DeviceUserID", "bench 3")
    assert device.GetInfo().GetInterface().ReEnumerateDevices(200)[0]
    assert device.GetInfo().GetUserDefinedName() == "bench 3"
    camera.SetStringValue("DeviceUserID", "")


def test_booleans_and_commands(device, camera):
    for parameters in (camera, device.GetTransportParameters()):
        for name in settable(parameters, 6):
            before = parameters.GetBooleanValue(name)[1]
            for value in (True, False, before):
                assert parameters.SetBooleanValue(name, value), name
                assert parameters.GetBooleanValue(name) == (True, value)
    assert not camera.SetIntegerValue("AcquisitionStart", 1)
    assert camera.GetLastError() == WRONG_TYPE
    assert not camera.ExecuteCommand("Width") and camera.GetLastError() == WRONG_TYPE
    assert not camera.ExecuteCommand("NoSuchCommand") and camera.GetLastError() == UNKNOWN
    assert camera.ExecuteCommand("AcquisitionStop")


def test_read_only_features_refuse(camera):
    """Whatever the type, and without a change."""
    other = {1: 1, 2: 1.0, 3: "x", 6: True}
    refused = 0
    for name, parameter in features(camera):
        kind = parameter.GetType()
        if kind not in other or parameter.IsWritable() or not parameter.IsReadable():
            continue
        before = getattr(camera, READERS[kind])(name)
        assert not getattr(camera, WRITERS[kind])(name, other[kind]), name
        assert camera.GetLastError() == ACCESS, name
        assert not getattr(camera, OBJECTS[kind])(name).SetValue(other[kind]), name
        if not any(word in name for word in MOVING):
            assert getattr(camera, READERS[kind])(name) == before
        refused += 1
    assert refused >= 5


def test_what_is_automatic_cannot_be_written(every_camera, lacks):
    lacks("sets nothing by itself")
    for device in every_camera():
        camera = device.GetCameraParameters()
        reset(camera)
        for auto, value in (("ExposureAuto", "ExposureTime"), ("GainAuto", "Gain"),
                            ("BalanceWhiteAuto", "BalanceRatio")):
            if camera.GetParam(auto) is None:
                assert value == "BalanceRatio", "of cameras without colours"
                continue
            middle = camera.GetFloat(value).GetMin()[1] + 1.0
            for mode in ("Continuous", "Off"):
                assert camera.SetEnumValueStr(auto, mode)
                assert camera.GetParam(value).IsWritable() == (mode == "Off"), (auto, mode)
                assert camera.SetFloatValue(value, middle) == (mode == "Off"), (auto, mode)
                assert mode == "Off" or camera.GetLastError() == -40202


def test_features_are_locked_while_frames_come(camera, running, lacks):
    lacks("does not lock its features")
    for name in ("Width", "Height", "BinningHorizontal"):
        parameter = camera.GetParam(name)
        assert not parameter.IsWritable() and parameter.IsReadable(), name
        assert not camera.SetIntegerValue(name, camera.GetIntegerValue(name)[1])
        assert camera.GetLastError() == ACCESS
    assert not camera.SetEnumValueStr("PixelFormat", "Mono8")
    assert camera.GetLastError() == ACCESS
    running.StopAcquisition(0)
    assert camera.GetParam("Width").IsWritable()


def test_dependent_ranges_follow(camera, lacks):
    lacks("has ranges that do not depend on each other")
    width = camera.GetInt("Width")
    full = width.GetMax()[1]
    step = width.GetIncrement()[1]
    small = full // 2 // step * step
    assert camera.SetIntegerValue("Width", small)
    offset = camera.GetInt("OffsetX")
    room = offset.GetMax()[1]
    assert room + small <= full
    assert camera.SetIntegerValue("OffsetX", room)
    assert width.GetMax()[1] < full
    assert not camera.SetIntegerValue("Width", full) and camera.GetLastError() == RANGE
    assert camera.SetIntegerValue("OffsetX", 0) and camera.SetIntegerValue("Width", full)


def test_visibilities_units_and_streamables_exist(camera, lacks):
    lacks("has no units and one visibility only")
    parameters = dict(features(camera))
    assert {0, 1, 2, 3} <= {p.GetVisibility() for p in parameters.values()}
    assert camera.GetFloat("ExposureTime").GetUnit() == (True, "us")
    assert parameters["Width"].IsStreamable() and not parameters["DeviceModelName"].IsStreamable()
    assert not parameters["TLParamsLocked"].IsVisible(2)
    assert parameters["Width"].GetDescription()
