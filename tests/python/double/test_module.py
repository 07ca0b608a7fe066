"""The module itself: functions, placeholders and the error table."""

import fractions
import glob
import os
import subprocess
import sys
import warnings

import libZelCameraApiPy as zel
import pytest

FUNCTIONS = ["PyZelSystem", "PyZelCreateDevice", "PyCreateDisplay", "PyResetDisplay",
             "PyShowImageOnDisplay", "PyCreateGenParamTreeViewForArray",
             "PyDestroyGenParamTreeView", "PyActionCamera", "PySaveImage", "PyStartMovieRecord",
             "PySaveMovieFrame", "PyFinishRecord", "PyGetVideoCompressors", "GetLastError",
             "ErrorCodeToString"]

ERRORS = {
    0: "OK",
    -1001: "GenTL: Unspecified runtime error",
    -1002: "GenTL: Module or resource not initialized; e.g., GCInitLib was not called.",
    -1003: "GenTL: Requested operation not implemented;\te.g., no Port functions on a "
           "Buffer\tmodule.",
    -1004: "GenTL: Requested resource is already in use.",
    -1005: "GenTL: Requested operation is not allowed; e.g., a remote device is opened by another "
           "client.",
    -1006: "GenTL: Given handle does not support the operation; e.g., function call on wrong handle "
           "or NULL pointer.",
    -1007: "GenTL: ID could not be connected to a resource; e.g., a device with the given ID is "
           "currently not available.",
    -1008: "GenTL: The function has no data to work on.",
    -1009: "GenTL: One of the parameter given was not valid or out of range.",
    -1010: "GenTL: Communication error has occurred; e.g., a read or write operation to a remote "
           "device failed.",
    -1012: "GenTL: An operation has been aborted before it could be completed. For example, a wait "
           "operation through EventGetData has been terminated\tvia a call to EventKill.",
    -1013: "GenTL: The GenTL Consumer has not announced enough buffers to start the\tacquisition in "
           "the currently active\tacquisition mode.",
    -1014: "GenTL: Resource or information is not available at a given time in a current state.",
    -1015: "GenTL: A given address is out of range or invalid for internal reasons.",
    -1016: "GenTL: A provided buffer is too small to receive the expected amount of data. This may "
           "affect acquisition buffers in the Data Stream module if the buffers \t\t\tare smaller "
           "than the expected payload size but also buffers passed to any other function of the "
           "GenTL Producer\tinterface to retrieve information or IDs.",
    -1017: "GenTL: A provided index referencing a Producer internal object is out of bounds.",
    -1018: "GenTL: An error occurred parsing a buffer containing chunk data.",
    -1019: "GenTL: A register write function was trying to write an invalid value.",
    -1020: "GenTL: A requested resource is exhausted. This is a rather general error which might "
           "for example refer to a limited\tnumber of available handles being available.",
    -1021: "GenTL: The system and/or other hardware in the system (frame grabber) ran out of "
           "memory.",
    -1022: "GenTL: The required operation cannot be\texecuted because the responsible module / "
           "entity is busy executing actions that cannot be performed\tconcurrently \t\t\twith the "
           "requested operation.",
    -40001: "Unknown error",
    -40002: "File not found",
    -40003: "File read error",
    -40004: "Wrong configuration",
    -40005: "Invalid index",
    -40006: "No device",
    -40007: "Invalid argument",
    -40051: "Invalid state",
    -40101: "Flash erase error",
    -40121: "Not enough actual arguments",
    -40200: "GenICam: Generic error",
    -40201: "GenICam: Tree error",
    -40202: "GenICam: Access error",
    -40203: "GenICam: Parameter type is invalid",
    -40204: "GenICam: Parameter is out of range",
    -40205: "GenICam: Unknown parameter",
    -40206: "GenICam: Invalid argument",
    -40207: "GenICam: Runtime error",
}
TIMEOUT_MESSAGE = (b"GenTL: An operation\x92s timeout time expired before it could be completed.")


def test_contents_and_documentation():
    assert zel.__doc__ == "documentation for the ZelCameraApiPy module"
    assert sorted(name for name in dir(zel) if not name.startswith("_")) == sorted(FUNCTIONS)
    for name in FUNCTIONS:
        documented = name in ("PyZelSystem", "PyZelCreateDevice")
        assert (getattr(zel, name).__doc__ or "") == (
            "documentation for %s()" % name if documented else "")


@pytest.mark.parametrize("name", ["PyCreateDisplay", "PyShowImageOnDisplay", "PyActionCamera",
                                  "PyCreateGenParamTreeViewForArray", "PyDestroyGenParamTreeView"])
def test_placeholders(double, name):
    for arguments in ((), (1, "x", None), (object(),) * 100):
        assert getattr(zel, name)(*arguments) is None
    assert zel.PyResetDisplay() is None
    assert double.take() == []


def test_error_table_is_complete_and_exact():
    gaps = [code for code in range(-41000, 1001)
            if code != -1011 and zel.ErrorCodeToString(code) != ERRORS.get(code, "Unknown code")]
    assert gaps == []


def test_error_message_of_a_time_out_is_not_utf8(double, stream, messages):
    with pytest.raises(UnicodeDecodeError) as caught:
        zel.ErrorCodeToString(-1011)
    assert caught.value.object == TIMEOUT_MESSAGE
    # The bytes themselves come out where the code is reported on standard error.
    double.answer("Stream.CreateBuffer", None, err=-1011)
    stream.CreateBuffer(1)
    assert messages() == b"wrong buffer. Error: -1011 " + TIMEOUT_MESSAGE + b"\n"


@pytest.mark.parametrize("given, message", [
    (4294967295, "Unknown code"), (4294966274, ERRORS[-1022]), (-40001.9, "Unknown error"),
    (True, "Unknown code"), (1 << 32, "OK"),
    (-(1 << 63), "OK"), ((1 << 63) - 1, "Unknown code")])
def test_error_codes_are_cut_to_32_bits(given, message):
    assert zel.ErrorCodeToString(given) == message


def test_error_code_of_any_number_object():
    class Fixed:
        """A number of the old kind, which cuts itself off."""

        def __trunc__(self):
            return -40002

    if sys.version_info < (3, 14):  # int() takes it until then
        with warnings.catch_warnings():
            warnings.simplefilter("ignore")
            assert zel.ErrorCodeToString(Fixed()) == "File not found"
    assert zel.ErrorCodeToString(fractions.Fraction(-80005, 2)) == "File not found"


@pytest.mark.parametrize("given, exception", [
    (None, TypeError), ([], TypeError), ("x", TypeError), ("-40002", TypeError), (b"1", TypeError),
    (memoryview(b"1"), TypeError), (1j, TypeError), (1 << 63, OverflowError),
    (-(1 << 63) - 1, OverflowError), (float("nan"), ValueError)])
def test_error_codes_that_are_no_numbers(double, given, exception):
    double.answer("ZelCam_CreateDevice", None, err=-1004)
    zel.PyZelCreateDevice()
    with pytest.raises(exception):
        zel.ErrorCodeToString(given)
    assert zel.GetLastError() == -1004
    assert zel.ErrorCodeToString(0, "ignored") == "OK"
    assert zel.GetLastError() == zel.GetLastError() == -1004


def test_fresh_module_has_no_error_and_one_instance(run_program):
    run_program("""
import importlib, sys
import libZelCameraApiPy as zel
assert zel.GetLastError() == 0
zel.ErrorCodeToString()
assert zel.GetLastError() == -40121
del sys.modules["libZelCameraApiPy"]
import libZelCameraApiPy as again
assert again.GetLastError() == -40121
""")


def test_import_under_the_debug_name(run_program, tmp_path):
    (tmp_path / "libZelCameraApiPy_d.so").symlink_to(zel.__file__)
    run_program("import libZelCameraApiPy_d as zel; assert zel.ErrorCodeToString(0) == 'OK'")


def test_import_calls_nothing_and_leaves_cleanly(run_program, tmp_path):
    log = tmp_path / "log"
    result = run_program("import libZelCameraApiPy", ZELDOUBLE_LOG=str(log))
    assert not log.exists() and result.stdout == result.stderr == b""


def other_interpreters():
    """Programs of every CPython on this machine, by version, but the running version."""
    found = {}
    patterns = ("~/.pyenv/versions/*/bin/python3.?", "~/.pyenv/versions/*/bin/python3.??",
                "/usr/bin/python3.?", "/usr/bin/python3.??")
    for pattern in patterns:
        for path in glob.glob(os.path.expanduser(pattern)):
            version = os.path.basename(path)[len("python"):]
            if not version.endswith("m"):
                found[version] = path
    found.pop("%d.%d" % sys.version_info[:2], None)
    return sorted(found.items())


def test_another_version_of_the_interpreter_is_told_so():
    others = other_interpreters()
    if not others:
        pytest.skip("no other version of the interpreter on this machine")
    environment = dict(os.environ, PYTHONPATH=os.path.dirname(zel.__file__))
    for version, path in others:
        answer = subprocess.run([path, "-c", "import libZelCameraApiPy"], env=environment,
                                stdout=subprocess.PIPE, stderr=subprocess.PIPE).stderr.decode()
        assert answer.splitlines()[-1] == (
            "ImportError: libZelCameraApiPy was built for Python %d.%d and cannot run in Python %s"
            % (sys.version_info[0], sys.version_info[1], version))
