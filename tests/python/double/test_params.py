"""Parameter arrays and parameters of every kind."""

import math

import libZelCameraApiPy as zel
import pytest

CODES = ["ParamUnknown", "ParamInt", "ParamFloat", "ParamString", "ParamEnum", "ParamEnumEntry",
         "ParamBoolean", "ParamCommand", "ParamCategory"]
LEVELS = ["VisBeginner", "VisExpert", "VisGuru", "VisInvisible", "VisUndefined"]
INT64 = (0, 1, -1, 2 ** 63 - 1, -2 ** 63)


def test_constants(double, params):
    for names in (CODES, LEVELS):
        assert [getattr(params, name) for name in names] == list(range(len(names)))
    for name in ("paramInt", "ParamInt ", "Vis", "ParamCategoryX"):
        with pytest.raises(AttributeError):
            getattr(params, name)
    with pytest.raises(AttributeError):
        params.ParamInt = 5
    assert params.GetCount() == 0 and double.take_args("Array.GetCount") == []
    double.answer("Array.GetCount", -5)
    assert params.GetCount() == -5


# method, operation, arguments, what the SDK is given
SETTERS = [("SetIntegerValue", ("N", 5), ["N", 5]), ("SetFloatValue", ("N", 2), ["N", 2.0]),
           ("SetBooleanValue", ("N", "no"), ["N", True]), ("SetBooleanValue", ("N", 0), ["N", False]),
           ("SetStringValue", ("N", 5.5), ["N", "5.5"]), ("SetEnumValue", ("N", -2), ["N", -2]),
           ("SetEnumValueStr", ("N", "Mono8"), ["N", "Mono8"]), ("ExecuteCommand", ("N",), ["N"])]


@pytest.mark.parametrize("method, arguments, passed", SETTERS)
def test_setters_by_name(double, params, method, arguments, passed):
    call = getattr(params, method)
    for code in (-40202, 0, 3):
        double.answer("Array." + method, code)
        assert call(*arguments, "ignored") is (code == 0)
        assert double.take_args("Array." + method) == passed
        assert params.GetLastError() == params.GetLastError() == code


# reader, values, what comes back where the type could be mistaken
READERS = [("IntegerValue", INT64), ("EnumValue", INT64), ("BooleanValue", (True, False)),
           ("FloatValue", (0.0, -1.5, 1e308, 5e-324, math.inf, -math.inf))]


@pytest.mark.parametrize("what, values", READERS + [("StringValue", ("a", "")),
                                                    ("EnumValueStr", ("Mono8",))])
def test_getters_by_name(double, params, messages, what, values):
    method = "Get" + what
    call = getattr(params, method)
    for value in values:
        double.answer("Array." + method, value)
        result = call("N", "ignored")
        assert result == (True, value)
        assert type(result) is tuple and [type(item) for item in result] == [bool, type(value)]
        assert double.take_args("Array." + method) == ["N", "err"]
    double.answer("Array." + method, values[0], err=-40205)
    result = call("Unknown")
    assert result == (False, None) and result[0] is False
    assert params.GetLastError() == -40205
    double.answer("Array." + method, values[0], err=1)
    assert call("N") == (False, None) and params.GetLastError() == 1
    double.answer("Array." + method, values[0], err=0)
    assert call("N")[0] is True and params.GetLastError() == 0


def test_nan_is_a_value(double, params, parts):
    double.answer("Array.GetFloatValue", math.nan)
    good, value = params.GetFloatValue("N")
    assert good is True and math.isnan(value)
    double.answer("Float.GetValue", math.nan)
    assert math.isnan(parts("Float").GetValue()[1])


def test_error_that_the_sdk_leaves_alone_is_the_one_before(double, params):
    """The SDK writes straight into the last error."""
    double.answer("Array.SetIntegerValue", -40204)
    params.SetIntegerValue("N", 1)
    double.answer("Array.GetIntegerValue", 5, err=None)
    assert params.GetIntegerValue("N") == (False, None) and params.GetLastError() == -40204


def test_command_done(double, params, messages):
    for done in (True, False):
        double.answer("Array.IsCommandDone", done)
        result = params.IsCommandDone("Start")
        assert result == (True, done) and type(result[1]) is bool
    double.answer("Array.IsCommandDone", True, err=-40202)
    assert params.IsCommandDone("Start") == (False, None)
    assert messages() == b"Is command done error: -40202 GenICam: Access error\n"
    assert params.GetLastError() == -40202


@pytest.mark.parametrize("kind", ["Boolean", "Int", "Float", "String", "Enum", "Command"])
def test_parameters_by_name(double, params, messages, kind):
    call = getattr(params, "Get" + kind)
    made = call("Name", "ignored")
    assert type(made).__name__ == "PyGenParam" + kind and made is not call("Name")
    assert double.take("Array.Get" + kind)[0].args == ["Name", "err"]
    existing = kind + ":existing"
    for result, err in ((None, -40205), (existing, -40203), (None, 0)):
        double.answer("Array.Get" + kind, result, err=err)
        assert call("Näme") is None and params.GetLastError() == err
        text = {-40205: "-40205 GenICam: Unknown parameter", 0: "0 OK",
                -40203: "-40203 GenICam: Parameter type is invalid"}[err]
        assert messages() == ("" if kind != "Command" else
                              "Get command(Näme) error: %s\n" % text).encode()


def test_command_name_in_a_message_is_no_format(double, params, messages):
    double.answer("Array.GetCommand", None, err=-40205)
    name = "%s%n%d" + "x" * 5000
    assert params.GetCommand(name) is None
    assert messages() == b"Get command(" + name.encode() + b") error: -40205 GenICam: Unknown " \
                         b"parameter\n"


def test_parameter_of_any_kind(double, params, messages):
    for target, type_name in (("Int:Gain", "PyGenParam"), ("Enum:Format", "PyGenParam"),
                              ("Category:Analog", "PyGenParamCategory")):
        double.answer("Array.GetParam", target)
        double.answer("Array.GetParamByIndex", target)
        assert type(params.GetParam("N", "ignored")).__name__ == type_name
        assert type(params.GetParamByIndex(3, "ignored")).__name__ == type_name
        assert double.take("Array.GetParam")[0].args == ["N", "err"]
    double.answer("Array.SetIntegerValue", -40204)
    params.SetIntegerValue("N", 1)
    for result, err in ((None, -40205), ("Int:Gain", -40201), (None, 0)):
        double.answer("Array.GetParam", result, err=err)
        assert params.GetParam("N") is None
        assert params.GetLastError() == -40204  # this one keeps its code to itself
    double.answer("Array.GetParam", "Int:Gain")
    assert params.GetParam("N") is not None and params.GetLastError() == -40204
    for result, err in ((None, -40005), ("Int:Gain", -40201), (None, 0)):
        double.answer("Array.GetParamByIndex", result, err=err)
        assert params.GetParamByIndex(-1) is None and params.GetLastError() == err


@pytest.mark.parametrize("code, type_name", [(0, "PyGenParam"), (7, "PyGenParam"), (99, "PyGenParam"),
                                             (-1, "PyGenParam"), (8, "PyGenParamCategory")])
def test_type_code_decides(double, params, parts, code, type_name):
    double.answer("Category.GetType", code)
    double.answer("Array.GetParam", "Category:Analog")
    double.answer("Category.GetParamByIndex", "Category:Analog")
    assert type(params.GetParam("x")).__name__ == type_name
    child = parts("Category").GetParamByIndex(0)
    assert type(child).__name__ == type_name and child.GetType() == code


def test_category_that_is_none(double, params, parts):
    """A parameter that calls itself a category: the checked downcast gives an empty wrapper."""
    double.answer("Int:liar.GetType", 8)
    double.answer("Array.GetParam", "Int:liar")
    double.answer("Category.GetParamByIndex", "Int:liar")
    for empty in (params.GetParam("x"), parts("Category").GetParamByIndex(0)):
        double.take()
        assert type(empty).__name__ == "PyGenParamCategory"
        assert (empty.GetType(), empty.GetCount(), empty.GetParamByIndex(0)) == (0, 0, None)
        assert empty.GetParamByIndex("not looked at") is None
        assert double.take() == []


@pytest.mark.parametrize("method, failure, message", [
    ("GetRootCategory", None, b"Get root category error: "),
    ("GetNodeMap", (False, None), b"Get node map error: ")])
def test_root_and_node_map(double, params, messages, method, failure, message):
    call = getattr(params, method)
    made = call()
    if failure:
        good, made = made
        assert good is True
    assert type(made).__name__ == ("PyGenParamNodeMap" if failure else "PyGenParamCategory")
    for result, err, text in ((None, -40201, b"-40201 GenICam: Tree error\n"), (None, 0, b"0 OK\n"),
                              ("x", -40200, b"-40200 GenICam: Generic error\n")):
        double.answer("Array." + method, result and "Category:" + result, err=err)
        assert call() == failure
        assert messages() == message + text and params.GetLastError() == err


def test_last_errors_are_separate(double, device, params):
    transport = device.GetTransportParameters()
    double.answer("Array:camera.SetIntegerValue", -40202)
    assert params.SetIntegerValue("N", 1) is False and transport.SetIntegerValue("N", 1) is True
    assert (params.GetLastError(), transport.GetLastError(), device.GetLastError()) == (-40202, 0, 0)
    assert zel.PyZelCreateDevice().GetCameraParameters().GetLastError() == 0


def test_parameters_outlive_everything(double):
    params = zel.PyZelCreateDevice().GetCameraParameters()
    entry = params.GetEnum("x").GetEnumEntryByIndex(0)
    del params
    double.answer("EnumEntry.GetValue", 5)
    assert entry.GetValue() == (True, 5)


# --- what every parameter tells about itself --------------------------------------------------


@pytest.mark.parametrize("method", ["IsValueCached", "IsAvailable", "IsWritable", "IsReadable",
                                    "IsStreamable", "IsVisible"])
def test_flags(double, parts, method):
    param = parts("Param")
    arguments = [2] if method == "IsVisible" else []
    for answer in (True, False):
        double.answer("Param." + method, answer)
        assert getattr(param, method)(*arguments) is answer
        assert double.take_args("Int." + method) == arguments


def test_codes_of_a_parameter(double, parts):
    param = parts("Param")
    for code in (0, 4, 99, -1):
        double.answer("Param.GetVisibility", code)
        double.answer("Param.GetType", code)
        assert param.GetVisibility() == param.GetType() == code
    for level in INT64:
        double.take()
        param.IsVisible(level, "ignored")
        assert double.take_args("Int.IsVisible") == [level]


def test_node(double, parts):
    param = parts("Param")
    node = param.GetNode()
    assert type(node).__name__ == "PyGenParamNode" and node is not param.GetNode()
    for answer in (True, False):
        double.answer("Node.IsFeature", answer)
        assert node.IsFeature() is answer
    double.answer("Param.GetNode", None)
    assert param.GetNode() is None


def test_category(double, parts):
    root = parts("Category")
    assert root.GetType() == 8
    double.answer("Category.GetCount", 3)
    assert root.GetCount() == 3
    double.answer("Category.GetParamByIndex", "Float:Exposure")
    double.take()
    child = root.GetParamByIndex(1, "ignored")
    assert type(child).__name__ == "PyGenParam" and child.GetType() == 2
    assert double.take_args("Category.GetParamByIndex") == [1, "err"]
    for result, err in ((None, -40005), (None, 0), ("Float:Exposure", -40201)):
        double.answer("Category.GetParamByIndex", result, err=err)
        assert root.GetParamByIndex(3) is None
    for name in ("GetName", "IsVisible", "GetNode", "GetLastError"):
        assert not hasattr(root, name)


def test_walking_a_tree(double, params):
    """Root with two categories; the second one holds the first again."""
    double.answer("Category:Root.GetCount", 2)
    double.answers("Category:Root.GetParamByIndex", {"result": "Category:A"}, {"result": "Category:B"})
    double.answer("Category:A.GetCount", 1)
    double.answer("Category:A.GetParamByIndex", "Float:Exposure")
    double.answer("Category:B.GetCount", 1)
    double.answer("Category:B.GetParamByIndex", "Category:A")
    double.answer("Float.GetName", "ExposureTime")

    def leaves(category):
        for index in range(category.GetCount()):
            child = category.GetParamByIndex(index)
            yield from leaves(child) if child.GetType() == params.ParamCategory else [child.GetName()]

    assert list(leaves(params.GetRootCategory())) == ["ExposureTime"] * 2


# --- values through typed parameters ----------------------------------------------------------


@pytest.mark.parametrize("kind, code", [("Int", 1), ("Float", 2), ("String", 3), ("Enum", 4),
                                        ("EnumEntry", 5), ("Boolean", 6)])
def test_types_of_typed_parameters(double, parts, kind, code):
    param = parts(kind)
    assert param.GetType() == code
    double.answer("Param.GetType", 42)
    assert param.GetType() == 42  # asked, not assumed
    assert not hasattr(param, "GetLastError") and not hasattr(param, "GetName")


@pytest.mark.parametrize("kind, method, values", [
    ("Int", "GetValue", INT64), ("Int", "GetMin", INT64), ("Int", "GetMax", INT64),
    ("Int", "GetIncrement", INT64), ("Float", "GetValue", (1.5, math.inf)),
    ("Float", "GetMin", (-1e9,)), ("Float", "GetMax", (1e9,)), ("Float", "GetUnit", ("µs", "")),
    ("Boolean", "GetValue", (True, False)), ("String", "GetValue", ("text", "")),
    ("Enum", "GetCount", (0, 17, -1)), ("Enum", "GetValue", INT64), ("Enum", "GetValueStr", ("A",)),
    ("EnumEntry", "GetValue", INT64), ("EnumEntry", "GetValueStr", ("A", ""))])
def test_readers(double, parts, kind, method, values):
    call = getattr(parts(kind), method)
    for value in values:
        double.answer(kind + "." + method, value)
        result = call()
        assert result == (True, value)
        assert type(result) is tuple and [type(item) for item in result] == [bool, type(value)]
        assert double.take_args(kind + "." + method) == ["err"]
    for err in (-40202, 1):
        double.answer(kind + "." + method, values[0], err=err)
        result = call()
        assert result == (False, None) and result[0] is False


@pytest.mark.parametrize("kind, method, given, passed", [
    ("Int", "SetValue", 3.7, 3), ("Float", "SetValue", 3, 3.0), ("Boolean", "SetValue", "", False),
    ("Boolean", "SetValue", "False", True), ("String", "SetValue", 3.5, "3.5"),
    ("Enum", "SetValue", 3.7, 3), ("Enum", "SetValueStr", "Mono8", "Mono8"),
    ("Command", "Execute", None, None)])
def test_writers(double, parts, kind, method, given, passed):
    call = getattr(parts(kind), method)
    arguments = [] if given is None else [given, "ignored"]
    for code in (0, -40204, 1):
        double.answer(kind + "." + method, code)
        assert call(*arguments) is (code == 0)
        assert double.take_args(kind + "." + method) == ([] if given is None else [passed])


@pytest.mark.parametrize("kind", ["Int", "Float", "Boolean", "String"])
def test_access_of_scalars(double, parts, kind):
    param = parts(kind)
    for method in ("IsWritable", "IsReadable"):
        for answer in (True, False):
            double.answer("Param." + method, answer)
            assert getattr(param, method)() is answer


def test_answers_without_an_error_code(double, parts):
    """Length and completion ask without a place for the code and answer plainly."""
    for length in (0, 64, 2 ** 31 - 1, -1):
        double.answer("String.GetMaxLength", length, err=-40202)
        assert parts("String").GetMaxLength() == length
    for done in (True, False):
        double.answer("Command.IsDone", done, err=-40202)
        assert parts("Command").IsDone() is done
    double.answer("String.GetMaxLength", 5), double.answer("Command.IsDone", True)
    string, command = parts("String"), parts("Command")
    string.GetMaxLength(), command.IsDone()
    assert [call.args for call in double.take()] == [[None], [None]]


@pytest.mark.parametrize("kind", ["Command", "Enum", "EnumEntry", "Category"])
def test_what_these_do_not_offer(parts, kind):
    param = parts(kind)
    assert not hasattr(param, "IsWritable") and not hasattr(param, "IsReadable")
    assert hasattr(param, "GetType") == (kind != "Command")


def test_entries(double, parts):
    format_ = parts("Enum")
    entry = format_.GetEnumEntryByIndex(5, "ignored")
    assert double.take_args("Enum.GetEnumEntryByIndex") == [5]
    assert entry is not format_.GetEnumEntryByIndex(5)
    for answer in (True, False):
        double.answer("EnumEntry.IsAvailable", answer)
        assert entry.IsAvailable() is answer
    double.answer("Enum.GetEnumEntryByIndex", None)
    assert format_.GetEnumEntryByIndex(-1) is None


def test_listing_the_choices(double, parts):
    double.answer("Enum.GetCount", 3)
    double.answers("Enum.GetEnumEntryByIndex", *({"result": "EnumEntry:" + name}
                                                 for name in ("A", "B", "C")))
    for value, name in enumerate("ABC"):
        double.answer("EnumEntry:%s.GetValueStr" % name, name)
        double.answer("EnumEntry:%s.GetValue" % name, value)
        double.answer("EnumEntry:%s.IsAvailable" % name, name != "B")
    format_ = parts("Enum")
    entries = [format_.GetEnumEntryByIndex(index) for index in range(format_.GetCount()[1])]
    assert [(entry.GetValueStr()[1], entry.GetValue()[1]) for entry in entries
            if entry.IsAvailable()] == [("A", 0), ("C", 2)]
