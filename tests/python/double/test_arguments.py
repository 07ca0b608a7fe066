"""Arguments and texts of all methods: too few, hostile, and what is passed on."""

import math

import libZelCameraApiPy as zel
import pytest

MISSING = -40121


class Raising:
    """Every conversion of this object fails with an exception of its own."""

    def __int__(self):
        raise LookupError("int")

    __float__ = __bool__ = __str__ = __len__ = __int__


class Index:
    def __index__(self):
        return 5


class Liar:
    """Every conversion gives a value of another type."""

    def __int__(self):
        return "7"

    def __str__(self):
        return 7

    __float__ = __bool__ = __int__


def last_error(thing):
    return thing.GetLastError() if hasattr(thing, "GetLastError") else None


def prepared(thing, arguments):
    return [thing(argument[1:]) if isinstance(argument, str) and argument[:1] == "@" else argument
            for argument in arguments]


BY_NAME = ["GetParam", "GetBoolean", "GetInt", "GetFloat", "GetCommand", "GetString", "GetEnum",
           "GetBooleanValue", "GetIntegerValue", "GetFloatValue", "GetStringValue",
           "GetEnumValueStr", "GetEnumValue", "ExecuteCommand", "IsCommandDone"]
NEIGHBOURS = {"GetParam": "GetParamByIndex", "GetEnumValueStr": "GetStringValue"}


def result_of(method):
    if method in ("GetIntegerValue", "IsCommandDone") or method.startswith("Get") and \
            method.endswith(("Value", "ValueStr")):
        return (False, None)
    return False if method.startswith(("Set", "Execute")) else None


# object, method, arguments, message, result, last error afterwards (None: as before)
TOO_FEW = [
    ("module", "ErrorCodeToString", (), "", None, MISSING),
    ("module", "PySaveImage", (), "Not enough args\n", False, None),
    ("module", "PySaveImage", ("@fetched",), "Not enough args\n", False, None),
    ("module", "PyStartMovieRecord", (), "Not enough args\n", False, MISSING),
    ("module", "PyStartMovieRecord", ("@fetched", "m.avi", 25), "Not enough args\n", False, MISSING),
    ("module", "PySaveMovieFrame", (), "Not enough args\n", False, MISSING),
    ("system", "CreateDeviceFromConfig", (), "", None, None),
    ("system", "RegisterGenTLProvider", (), "", False, None),
    ("info", "ForceIP", (), "", False, None),
    ("info", "ForceIP", ("1.2.3.4", "255.0.0.0"), "", False, None),
    ("device", "ReadMem", (), "", (1, 0), MISSING),
    ("device", "ReadMem", (4096,), "", (1, 0), MISSING),
    ("device", "WriteMem", (4096,), "", (1, 0), MISSING),
    ("device", "GetStreamByIndex", (), "", None, MISSING),
    ("device", "GetStreamByName", (), "", None, None),
    ("device", "SaveConfiguration", (), "", False, None),
    ("device", "LoadConfiguration", (), "", False, None),
    ("device", "RegisterEvent", (5,), "", False, None),
    ("device", "UnRegisterEvent", (5,), "", False, None),
    ("stream", "StopAcquisition", (), "Not enough actual args\n", False, MISSING),
    ("stream", "CreateBuffer", (), "Not enough actual args\n", None, MISSING),
    ("stream", "QueueBuffer", (), "QueueBuffer not enough actual args\n", False, MISSING),
    ("stream", "FlushBuffers", (), "FlushBuffers not enough actual args\n", False, MISSING),
    ("stream", "RevokeBuffer", (), "RevokeBuffer not enough actual args\n", False, MISSING),
    ("stream", "AllocBufferQueue", (), "AllocBufferQueue not enough actual args\n", False, MISSING),
    ("params", "GetParamByIndex", (), "GetParamByIndex not enough actual args\n", None, MISSING),
    ("Param", "IsVisible", (), "IsVisible not enough actual args\n", False, None),
    ("Category", "GetParamByIndex", (), "GetParamByIndex not enough actual args\n", None, None),
    ("Enum", "SetValue", (), "GPyGenParamEnum_SetValue not enough actual args\n", None, None),
    ("Enum", "SetValueStr", (), "GPyGenParamEnum_SetValueStr not enough actual args\n", None, None),
    ("Enum", "GetEnumEntryByIndex", (), "GetEnumEntryByIndex not enough actual args\n", None, None),
]
TOO_FEW += [(kind, "SetValue", (), "SetValue not enough actual args\n", False, None)
            for kind in ("Int", "Float", "Boolean", "String")]
TOO_FEW += [("params", method, (), NEIGHBOURS.get(method, method) + " not enough actual args\n",
             result_of(method), MISSING) for method in BY_NAME]
TOO_FEW += [("params", method, arguments, method + " not enough actual args\n", False, MISSING)
            for method in ("SetBooleanValue", "SetIntegerValue", "SetFloatValue", "SetStringValue",
                           "SetEnumValue", "SetEnumValueStr") for arguments in ((), ("Name",))]


@pytest.mark.parametrize("name, method, arguments, message, result, error", TOO_FEW)
def test_too_few(double, thing, messages, name, method, arguments, message, result, error):
    called, arguments = thing(name), prepared(thing, arguments)
    if name == "module":  # its last error has a history
        double.answer("ZelCam_CreateDevice", None, err=-1005)
        zel.PyZelCreateDevice()
    before = last_error(called)
    double.take()
    answer = getattr(called, method)(*arguments)
    assert answer == result and type(answer) is type(result)
    assert messages() == message.encode()
    assert last_error(called) == (before if error is None else error)
    assert double.take() == []


# object, method, arguments before and after the integer, SDK operation, position among its arguments
INTEGERS = [
    ("interface", "ReEnumerateDevices", (), (), "Interface.ReEnumerateDevices", 0),
    ("device", "ReadMem", (), (4,), "Device.ReadMem", 0),
    ("device", "ReadMem", (0,), (), "Device.ReadMem", 1),
    ("device", "WriteMem", (), ("x",), "Device.WriteMem", 0),
    ("device", "GetStreamByIndex", (), (), "Device.GetStreamByIndex", 0),
    ("device", "RegisterEvent", (), (print,), "Device.RegisterEvent", 0),
    ("device", "UnRegisterEvent", (), (None,), "Device.UnRegisterEvent", 0),
    ("stream", "StopAcquisition", (), (), "Stream.StopAcquisition", 0),
    ("stream", "CreateBuffer", (), (), "Stream.CreateBuffer", 0),
    ("stream", "FlushBuffers", (), (), "Stream.FlushBuffers", 0),
    ("stream", "AllocBufferQueue", (), (), "Stream.AllocBufferQueue", 1),
    ("ready", "GetBuffer", (), (), "Stream.GetBuffer", 0),
    ("params", "GetParamByIndex", (), (), "Array.GetParamByIndex", 0),
    ("params", "SetIntegerValue", ("N",), (), "Array.SetIntegerValue", 1),
    ("params", "SetEnumValue", ("N",), (), "Array.SetEnumValue", 1),
    ("Param", "IsVisible", (), (), "Int.IsVisible", 0),
    ("Category", "GetParamByIndex", (), (), "Category.GetParamByIndex", 0),
    ("Int", "SetValue", (), (), "Int.SetValue", 0),
    ("Enum", "SetValue", (), (), "Enum.SetValue", 0),
    ("Enum", "GetEnumEntryByIndex", (), (), "Enum.GetEnumEntryByIndex", 0),
]


@pytest.fixture
def ready(stream):
    """A stream that can fetch."""
    stream.AllocBufferQueue(1)
    return stream


@pytest.mark.parametrize("name, method, before, after, operation, position", INTEGERS)
def test_integers_are_converted_as_int_does(double, thing, name, method, before, after, operation,
                                            position):
    call = getattr(thing(name), method)
    for given, passed in ((7, 7), (True, 1), ("12", 12), (3.9, 3), (Index(), 5), (2 ** 31, 2 ** 31)):
        double.take()
        if given == 2 ** 31 and operation == "Device.ReadMem" and position == 1:
            continue  # no need for so much memory
        call(*before, given, *after)
        assert double.take_args(operation)[position] == passed


@pytest.mark.parametrize("name, method, before, after, operation, position", INTEGERS)
def test_integers_that_cannot_be_converted(double, thing, name, method, before, after, operation,
                                           position):
    called = thing(name)
    call, error = getattr(called, method), last_error(called)
    double.take()
    for given, exception in ((None, TypeError), (object(), TypeError), ("x", ValueError),
                             (math.nan, ValueError), (math.inf, OverflowError),
                             (1 << 64, OverflowError), (-(1 << 63) - 1, OverflowError),
                             (10 ** 400, OverflowError), (Raising(), LookupError),
                             (Liar(), TypeError), (1j, TypeError)):
        with pytest.raises(exception):
            call(*before, given, *after)
    if name != "interface":  # the only unsigned one
        with pytest.raises(OverflowError):
            call(*before, 1 << 63, *after)
    assert double.take() == [] and last_error(called) == error


@pytest.mark.parametrize("name, method, before, operation, position", [
    ("params", "SetIntegerValue", ("N",), "Array.SetIntegerValue", 1),
    ("params", "SetEnumValue", ("N",), "Array.SetEnumValue", 1),
    ("Int", "SetValue", (), "Int.SetValue", 0), ("Enum", "SetValue", (), "Enum.SetValue", 0),
    ("device", "RegisterEvent", (), "Device.RegisterEvent", 0)])
def test_integers_have_64_bits(double, thing, name, method, before, operation, position):
    call = getattr(thing(name), method)
    for value in (2 ** 63 - 1, -2 ** 63, -1):
        call(*before, value, *([print] if method == "RegisterEvent" else []))
        assert double.take_args(operation)[position] == value


class Releasing:
    """Conversions run Python code, which may release the very object that converts."""

    def __init__(self, thing):
        self.thing = thing

    def __int__(self):
        self.thing.Release()
        return 1

    __len__ = __int__


@pytest.mark.parametrize("name, method, before, after", [
    ("device", "ReadMem", (), (4,)), ("device", "ReadMem", (0,), ()),
    ("device", "WriteMem", (), ("x",)), ("device", "WriteMem", (0,), ()),
    ("device", "GetStreamByIndex", (), ()), ("device", "RegisterEvent", (), (print,)),
    ("device", "UnRegisterEvent", (), (None,)), ("stream", "StopAcquisition", (), ()),
    ("stream", "FlushBuffers", (), ()), ("stream", "CreateBuffer", (), ()),
    ("stream", "AllocBufferQueue", (), ())])
def test_argument_that_releases_the_object(double, thing, messages, name, method, before, after):
    called = thing(name)
    assert getattr(called, method)(*before, Releasing(called), *after) in (None, False, (1, 0))
    assert [call.name.split(".")[1] for call in double.take()] == ["Release"]
    assert messages() in (b"", b"wrong dataStream\n")


STRICT_TEXTS = [
    ("system", "CreateDeviceFromConfig", (), (), "System.CreateDeviceFromConfig", 0),
    ("system", "RegisterGenTLProvider", (), (), "System.RegisterGenTLProvider", 0),
    ("info", "ForceIP", (), ("m", "g"), "DeviceInfo.ForceIP", 0),
    ("info", "ForceIP", ("a",), ("g",), "DeviceInfo.ForceIP", 1),
    ("info", "ForceIP", ("a", "m"), (), "DeviceInfo.ForceIP", 2),
    ("device", "GetStreamByName", (), (), "Device.GetStreamById", 0),
    ("device", "SaveConfiguration", (), (), "Device.SaveConfiguration", 0),
    ("device", "LoadConfiguration", (), (), "Device.LoadConfiguration", 0),
    ("params", "SetEnumValueStr", (), ("s",), "Array.SetEnumValueStr", 0),
    ("params", "SetEnumValueStr", ("N",), (), "Array.SetEnumValueStr", 1),
    ("Enum", "SetValueStr", (), (), "Enum.SetValueStr", 0),
    ("module", "PySaveImage", ("@fetched",), (), "ZelImageSerializer_Save", 2),
    ("module", "PyStartMovieRecord", ("@fetched",), (25, "c"), "ZelImageSerializer_StartMovieRecord",
     2),
    ("module", "PyStartMovieRecord", ("@fetched", "f", 25), (), "SerializerParams.SetString", 1),
]


@pytest.mark.parametrize("name, method, before, after, operation, position", STRICT_TEXTS)
def test_texts_are_str_only(double, thing, name, method, before, after, operation, position):
    called, before = thing(name), prepared(thing, before)
    double.take()
    for given, exception in ((None, TypeError), (42, TypeError), (b"bytes", TypeError),
                             (Raising(), TypeError), ("\udc80", UnicodeEncodeError),
                             ("nul\0inside", ValueError)):
        with pytest.raises(exception):
            getattr(called, method)(*before, given, *after)
    assert double.take(operation) == []
    for given in ("Größe/画像.png", ""):
        getattr(called, method)(*before, given, *after)
        assert double.take_args(operation)[position] == given


LOOSE_TEXTS = [("params", method, (), (), "Array." + method, 0) for method in BY_NAME] + [
    ("params", method, (), (1,), "Array." + method, 0)
    for method in ("SetBooleanValue", "SetIntegerValue", "SetFloatValue", "SetStringValue",
                   "SetEnumValue")] + [
    ("params", "SetStringValue", ("N",), (), "Array.SetStringValue", 1),
    ("String", "SetValue", (), (), "String.SetValue", 0),
]


@pytest.mark.parametrize("name, method, before, after, operation, position", LOOSE_TEXTS)
def test_names_and_string_values_are_made_as_str_does(double, thing, name, method, before, after,
                                                      operation, position):
    call = getattr(thing(name), method)
    for given, exception in ((Raising(), LookupError), (Liar(), TypeError),
                             ("\udc80", UnicodeEncodeError), ("nul\0inside", ValueError)):
        with pytest.raises(exception):
            call(*before, given, *after)
    assert double.take() == []
    for given, passed in (("Gain", "Gain"), (42, "42"), (None, "None"), (b"x", "b'x'"), ("ä", "ä")):
        call(*before, given, *after)
        assert double.take_args(operation)[position] == passed


@pytest.mark.parametrize("name, before, operation", [
    ("params.SetBooleanValue", ("N",), "Array.SetBooleanValue"),
    ("Boolean.SetValue", (), "Boolean.SetValue")])
def test_truth_values(double, thing, name, before, operation):
    called, method = name.split(".")
    call = getattr(thing(called), method)
    for given in (0, 1, "", "no", [], [0], None, 0.0, math.nan):
        assert call(*before, given) is True
        assert double.take_args(operation)[-1] is bool(given)
    for given, exception in ((Raising(), LookupError), (Liar(), TypeError)):
        with pytest.raises(exception):
            call(*before, given)
    assert double.take() == []


@pytest.mark.parametrize("name, before, after, operation", [
    ("params.SetFloatValue", ("N",), (), "Array.SetFloatValue"),
    ("Float.SetValue", (), (), "Float.SetValue"),
    ("module.PyStartMovieRecord", ("@fetched", "f"), ("c",), "ZelImageSerializer_StartMovieRecord")])
def test_floats_are_converted_as_float_does(double, thing, name, before, after, operation):
    called, method = name.split(".")
    call, before = getattr(thing(called), method), prepared(thing, before)
    for given, passed in ((1, 1.0), ("2.5", 2.5), (True, 1.0), (-0.1, -0.1), (math.nan, "nan"),
                          (math.inf, "inf"), (1e308, 1e308)):
        double.take()
        call(*before, given, *after)
        assert double.take_args(operation)[-1] == passed
    for given, exception in ((None, TypeError), ("x", ValueError), (10 ** 400, OverflowError),
                             (Raising(), LookupError), (Liar(), TypeError), (1j, TypeError)):
        with pytest.raises(exception):
            call(*before, given, *after)
    assert double.take(operation) == []


# object, method, arguments, SDK operation, whether the answer is (True, text)
TEXT_ANSWERS = [
    ("system", "GetDisplayName", (), "System.GetDisplayName", False),
    ("system", "GetVersion", (), "System.GetVersion", False),
    ("interface", "GetDescription", (), "Interface.GetDescription", False),
    ("info", "GetDisplayName", (), "DeviceInfo.GetDisplayName", False),
    ("info", "GetUserDefinedName", (), "DeviceInfo.GetUserDefinedName", False),
    ("info", "GetIPAddress", (), "DeviceInfo.GetIPAddress", False),
    ("info", "GetIPMask", (), "DeviceInfo.GetIPMask", False),
    ("info", "GetIPGateway", (), "DeviceInfo.GetIPGateway", False),
    ("device", "GetDisplayName", (), "DeviceInfo.GetDisplayName", False),
    ("params", "GetStringValue", ("N",), "Array.GetStringValue", True),
    ("params", "GetEnumValueStr", ("N",), "Array.GetEnumValueStr", True),
    ("Param", "GetName", (), "Param.GetName", False),
    ("Param", "GetToolTip", (), "Param.GetToolTip", False),
    ("Param", "GetDescription", (), "Param.GetDescription", False),
    ("Param", "GetDisplayName", (), "Param.GetDisplayName", False),
    ("Float", "GetUnit", (), "Float.GetUnit", True),
    ("String", "GetValue", (), "String.GetValue", True),
    ("Enum", "GetValueStr", (), "Enum.GetValueStr", True),
    ("EnumEntry", "GetValueStr", (), "EnumEntry.GetValueStr", True),
]


@pytest.mark.parametrize("name, method, arguments, operation, paired", TEXT_ANSWERS)
def test_texts_from_the_sdk(double, thing, name, method, arguments, operation, paired):
    call = getattr(thing(name), method)
    for text in ("plain", "", "Größe µs 画像", "x" * 100000):
        double.answer(operation, text)
        assert call(*arguments) == ((True, text) if paired else text)
    for wrong in (b"\x92", b"ok\xff", b"\xed\xa0\x80"):
        double.answer(operation, wrong)
        with pytest.raises(UnicodeDecodeError):
            call(*arguments)
    double.answer(operation, None)  # against the rules, but no reason to crash
    assert call(*arguments) in ("", None, (True, ""), (False, None))


EVERY_METHOD = {
    "PyZelSystem": ("system", ["GetInterfaceList", "GetDisplayName", "GetVersion", "SelectCamera",
                               "ActionCamera", "CreateDeviceFromConfig", "RegisterGenTLProvider",
                               "GetLastError"]),
    "PyDeviceInterface": ("interface", ["GetDescription", "GetFirstDeviceInfo", "ReEnumerateDevices",
                                        "GetDeviceInfoList", "GetType", "GetLastError",
                                        "GetParameters"]),
    "PyDeviceInfo": ("info", ["GetInterface", "GetModel", "GetVendor", "GetVersion",
                              "GetSerialNumber", "GetDisplayName", "GetUserDefinedName",
                              "GetAccessStatus", "GetIPAddress", "GetIPMask", "GetIPGateway",
                              "GetIP", "ForceIP"]),
    "PyDevice": ("device", ["GetInfo", "GetDisplayName", "GetNumStreams", "GetCameraParameters",
                            "Release", "IsValid", "ReadMem", "WriteMem", "GetStreamByIndex",
                            "GetStreamByName", "SaveConfiguration", "LoadConfiguration",
                            "GetTransportParameters", "RegisterEvent", "UnRegisterEvent",
                            "GetLastError"]),
    "PyDataStream": ("stream", ["GetBufferSize", "GetBufferAlignment", "GetMinNumBuffers",
                                "StartAcquisition", "StopAcquisition", "CreateBuffer",
                                "GetBufferQueueSize", "QueueBuffer", "GetBuffer", "FlushBuffers",
                                "Release", "RevokeBuffer", "AllocBufferQueue", "ReleaseBufferQueue",
                                "CancelBuffer", "GetLastError"]),
    "PyBuffer": ("fetched", ["GetWidth", "GetHeight", "GetBufferPtr", "GetImage", "IsIncomplete",
                             "GetPixelFormat", "GetFrameID", "GetXOffset", "GetYOffset",
                             "GetXPadding", "GetYPadding", "GetTimestamp"]),
    "PyGenParams": ("params", BY_NAME + ["GetCount", "GetParamByIndex", "GetRootCategory",
                                         "SetBooleanValue", "SetIntegerValue", "SetFloatValue",
                                         "SetStringValue", "SetEnumValue", "SetEnumValueStr",
                                         "GetNodeMap", "GetLastError"]),
    "PyGenParam": ("Param", ["GetNode", "GetType", "GetName", "GetToolTip", "GetDescription",
                             "GetDisplayName", "GetVisibility", "IsVisible", "IsValueCached",
                             "IsAvailable", "IsWritable", "IsReadable", "IsStreamable"]),
    "PyGenParamNode": ("Node", ["IsFeature"]),
    "PyGenParamNodeMap": ("NodeMap", []),
    "PyGenParamCategory": ("Category", ["GetType", "GetCount", "GetParamByIndex"]),
    "PyGenParamBoolean": ("Boolean", ["GetType", "GetValue", "IsWritable", "IsReadable", "SetValue"]),
    "PyGenParamInt": ("Int", ["GetType", "GetValue", "IsWritable", "IsReadable", "GetMin", "GetMax",
                              "GetIncrement", "SetValue"]),
    "PyGenParamFloat": ("Float", ["GetType", "GetValue", "IsWritable", "IsReadable", "GetMin",
                                  "GetMax", "GetUnit", "SetValue"]),
    "PyGenParamString": ("String", ["GetType", "IsWritable", "IsReadable", "GetValue",
                                    "GetMaxLength", "SetValue"]),
    "PyGenParamCommand": ("Command", ["Execute", "IsDone"]),
    "PyGenParamEnum": ("Enum", ["GetCount", "GetValue", "GetValueStr", "SetValue", "SetValueStr",
                                "GetType", "GetEnumEntryByIndex"]),
    "PyGenParamEnumEntry": ("EnumEntry", ["GetValue", "GetValueStr", "GetType", "IsAvailable"]),
}


@pytest.mark.parametrize("type_name", EVERY_METHOD)
def test_types_and_their_methods(thing, type_name):
    name, methods = EVERY_METHOD[type_name]
    made = thing(name)
    assert type(made).__name__ == type_name
    assert sorted(made.__methods__) == sorted(methods)
    for method in methods:
        assert callable(getattr(made, method)) and not getattr(made, method).__doc__
    with pytest.raises(AttributeError):
        made.NoSuchMethod
    with pytest.raises(AttributeError):
        made.attribute = 1
    with pytest.raises(TypeError):
        type(made)()
    with pytest.raises(TypeError):
        getattr(made, methods[0] if methods else "__len__", None)(key=1)


@pytest.mark.parametrize("type_name", EVERY_METHOD)
def test_documentation_of_types(thing, type_name):
    expected = ("documentation for %s class" % type_name
                if type_name in ("PyZelSystem", "PyDevice") else None)
    assert type(thing(EVERY_METHOD[type_name][0])).__doc__ == expected


def test_methods_without_arguments_refuse_them(double, thing):
    for name, method in (("system", "GetInterfaceList"), ("device", "Release"),
                         ("stream", "StartAcquisition"), ("fetched", "GetBufferPtr"),
                         ("params", "GetCount"), ("Command", "Execute"), ("module", "GetLastError")):
        made = thing(name)
        double.take()
        with pytest.raises(TypeError):
            getattr(made, method)(1)
        assert double.take() == []
