"""System, device interfaces and device descriptions."""

import libZelCameraApiPy as zel
import pytest


def names(calls):
    return [call.name for call in calls]


def test_every_system_is_a_new_wrapper_of_the_same(double):
    first, second = zel.PyZelSystem(), zel.PyZelSystem()
    assert first is not second
    assert names(double.take()) == ["ZelCam_GetSystem"] * 2
    assert [i.GetType() for i in first.GetInterfaceList()] == [
        i.GetType() for i in second.GetInterfaceList()] == [2, 1]
    assert first.GetLastError() == 0


def test_system_that_the_sdk_refuses(double, messages):
    double.answer("ZelCam_GetSystem", None)
    system = zel.PyZelSystem()
    assert messages() == b"Cannot create System\n"
    double.take()
    assert system.GetDisplayName() == system.GetVersion() == "none"
    assert system.GetInterfaceList() is None
    messages()
    assert system.CreateDeviceFromConfig("file") is None
    assert system.CreateDeviceFromConfig(42) is None  # nobody looks at the argument
    assert system.RegisterGenTLProvider("path") is False
    assert system.GetLastError() == 0 and double.take() == []


def test_interface_list(double, system, messages):
    interfaces = system.GetInterfaceList()
    assert type(interfaces) is list and len(interfaces) == 2
    calls = double.take()
    assert calls[0].args == [255]
    assert names(calls) == ["System.GetInterfaceList", "InterfaceList.GetFirst",
                            "Interface.GetParameters", "InterfaceList.GetNext",
                            "Interface.GetParameters", "InterfaceList.GetNext",
                            "InterfaceList.Release"]
    assert system.GetInterfaceList()[0] is not interfaces[0]
    double.take()
    double.answer("System.GetInterfaceList", [])
    assert system.GetInterfaceList() == []
    assert names(double.take())[-1] == "InterfaceList.Release"
    double.answer("System.GetInterfaceList", None)
    assert system.GetInterfaceList() is None
    assert messages() == b"Wrong InterfaceList\n" and system.GetLastError() == 0


def test_wrappers_outlive_their_system(double, interface):
    assert interface.GetDescription() == "An interface"


def test_system_placeholders(double, system):
    assert system.SelectCamera() is None and system.SelectCamera(1, "x") is None
    assert system.ActionCamera(1, 2, 3) is None
    assert double.take() == []


def test_device_from_configuration(double, system, messages):
    device = system.CreateDeviceFromConfig("camera.cfg", "ignored")
    assert device.IsValid() and device.GetNumStreams() == 1
    assert double.take()[0].args == ["camera.cfg", "err"]
    for result, err, message in (
            (None, -40002, b"-40002 File not found"), ("Device:one", -40004, b"-40004 Wrong configura"
                                                       b"tion"), (None, 0, b"0 OK")):
        double.answer("System.CreateDeviceFromConfig", result, err=err)
        assert system.CreateDeviceFromConfig("x") is None
        assert messages() == b"Create device from config error: " + message + b"\n"
        assert system.GetLastError() == system.GetLastError() == err


def test_gentl_provider(double, system, messages):
    double.answer("System.RegisterGenTLProvider", -1007)
    assert system.RegisterGenTLProvider("missing.cti") is False
    assert messages() == (
        b"Register GenTL Provider error: -1007 GenTL: ID could not be connected to a resource; e.g., "
        b"a device with the given ID is currently not available.\n")
    assert system.GetLastError() == -1007
    assert system.CreateDeviceFromConfig() is None
    with pytest.raises(TypeError):
        system.RegisterGenTLProvider(1)
    assert system.GetLastError() == -1007
    double.answer("System.RegisterGenTLProvider", 0)
    assert system.RegisterGenTLProvider("found.cti") is True and system.GetLastError() == 0


@pytest.mark.parametrize("name, value", [("USB3Vision", 1), ("GigEVision", 2), ("CameraLink", 3),
                                         ("CoaxPress", 4), ("HdSdi", 5), ("AllInterfaces", 255)])
def test_interface_constants(interface, name, value):
    assert getattr(interface, name) == value
    for other in (name.lower(), name + "x", name[:-1]):
        with pytest.raises(AttributeError):
            getattr(interface, other)
    assert callable(interface.GetType) and interface.GetType() == 2


@pytest.mark.parametrize("result, err, message", [
    (None, -40201, b"-40201 GenICam: Tree error"), (None, 0, b"0 OK"),
    ("Array:interface", -1010, b"-1010 GenTL: Communication error has occurred; e.g., a read or "
     b"write operation to a remote device failed.")])
def test_interface_without_parameters(double, system, messages, result, err, message):
    double.answer("System.GetInterfaceList", ["Interface:gige"])
    double.answer("Interface.GetParameters", result, err=err)
    (interface,) = system.GetInterfaceList()
    assert messages() == b"Get parameters error: " + message + b"\n"
    assert interface.GetParameters() is None and interface.GetLastError() == err
    assert interface.GetType() == 2


def test_interface_parameters_are_built_once(double, system):
    first, again = system.GetInterfaceList()[0], system.GetInterfaceList()[0]
    double.take()
    assert first.GetParameters() is first.GetParameters()
    assert first.GetParameters() is not again.GetParameters()
    assert double.take() == []
    double.answer("Array.GetCount", 3)
    assert first.GetParameters().GetCount() == 3
    assert double.take()[0].on == "Array:interface"


def test_enumeration_of_devices(double, interface):
    double.answer("Interface.ReEnumerateDevices", 0, changed=True)
    assert interface.ReEnumerateDevices() == (True, True)
    assert double.take_args("Interface.ReEnumerateDevices") == [2 ** 64 - 1]
    double.answer("Interface.ReEnumerateDevices", 0, changed=False)
    result = interface.ReEnumerateDevices(0, "ignored")
    assert result == (True, False) and [type(item) for item in result] == [bool, bool]
    assert double.take_args("Interface.ReEnumerateDevices") == [0]
    for given, passed in ((2 ** 63 + 1, 2 ** 63 + 1), (-1, 2 ** 64 - 1)):
        interface.ReEnumerateDevices(given)
        assert double.take_args("Interface.ReEnumerateDevices") == [passed]
    double.answer("Interface.ReEnumerateDevices", -1010, changed=True)
    assert interface.ReEnumerateDevices(500) == (False, False)
    assert interface.GetLastError() == -1010
    double.answer("Interface.ReEnumerateDevices", 0)  # an SDK that leaves the flag alone
    assert interface.ReEnumerateDevices() == (True, False) and interface.GetLastError() == 0


def test_device_lists(double, interface, messages):
    devices = interface.GetDeviceInfoList()
    assert type(devices) is list and len(devices) == 2
    calls = [name for name in names(double.take()) if not name.startswith("DeviceInfo.")]
    assert calls == ["Interface.GetDeviceInfoList", "DeviceInfoList.GetFirst",
                     "DeviceInfoList.GetNext", "DeviceInfoList.GetNext", "DeviceInfoList.Release"]
    double.answer("Interface.GetDeviceInfoList", [])
    assert interface.GetDeviceInfoList() == []
    double.answer("Interface.GetDeviceInfoList", None)
    assert interface.GetDeviceInfoList() is None
    assert messages() == b"Wrong DeviceInfoList\n" and interface.GetLastError() == 0


def test_null_interface(double, info, messages):
    double.answer("DeviceInfo.GetInterface", None)
    interface = info.GetInterface()
    assert messages() == b"Wrong devInterface\n"
    double.take()
    assert interface.GetType() == 0 and interface.GetParameters() is None
    assert interface.ReEnumerateDevices() == (False, False) and interface.GetLastError() == 0
    assert interface.GigEVision == 2
    assert interface.GetDescription() in (None, "")
    assert interface.GetFirstDeviceInfo() is None or interface.GetFirstDeviceInfo().GetModel() == ""
    assert interface.GetDeviceInfoList() is None
    assert double.take() == []
    messages()


def test_identity_is_read_once(double, interface):
    info = interface.GetFirstDeviceInfo()
    assert names(double.take()) == [
        "Interface.GetFirstDeviceInfo", "DeviceInfo.GetModel", "DeviceInfo.GetVendor",
        "DeviceInfo.GetVersion", "DeviceInfo.GetSerialNumber"]
    double.answer("DeviceInfo.GetModel", "unplugged")
    assert (info.GetModel(), info.GetVendor(), info.GetVersion(), info.GetSerialNumber()) == (
        "Model", "Vendor", "Version", "Serial")
    assert info.GetModel() is info.GetModel()
    assert double.take() == []
    assert (info.GetDisplayName(), info.GetUserDefinedName()) == ("Shown", "Mine")
    double.answer("DeviceInfo.GetDisplayName", "Renamed")
    assert info.GetDisplayName() == "Renamed"
    double.answer("DeviceInfo.GetAccessStatus", -7)
    assert info.GetAccessStatus() == -7


def test_identity_that_is_not_utf8(double, interface):
    double.answer("DeviceInfo.GetSerialNumber", b"\xff")
    with pytest.raises(UnicodeDecodeError):
        interface.GetFirstDeviceInfo()
    with pytest.raises(UnicodeDecodeError):
        interface.GetDeviceInfoList()
    assert names(double.take())[-1] == "DeviceInfoList.Release"  # also on the way out


def test_null_device_info(double, interface, messages):
    double.answer("Interface.GetFirstDeviceInfo", None)
    info = interface.GetFirstDeviceInfo()
    double.take()
    assert info.GetModel() == info.GetVendor() == info.GetVersion() == info.GetSerialNumber() == ""
    assert info.GetIPAddress() is None and info.GetIPMask() is None and info.GetIPGateway() is None
    assert info.GetDisplayName() in (None, "") and info.GetUserDefinedName() in (None, "")
    assert info.GetAccessStatus() in (None, 0)
    assert info.GetIP() == (False, 0, 0, 0)
    assert info.ForceIP("1.2.3.4", "255.0.0.0", "1.0.0.1") is False
    assert double.take() == []
    made = info.GetInterface()
    assert made is None or made.GetType() == 0
    messages()


def test_ip_settings(double, info):
    assert (info.GetIPAddress(), info.GetIPMask(), info.GetIPGateway()) == (
        "192.168.0.1", "255.255.255.0", "192.168.0.254")
    double.answer("DeviceInfo.GetIP", 0, address=0xC0A80001, mask=0xFFFFFF00, gateway=0xFFFFFFFF)
    result = info.GetIP()
    assert result == (True, 0xC0A80001, 0xFFFFFF00, 0xFFFFFFFF) and result[0] is True
    double.answer("DeviceInfo.GetIP", -1014, address=1, mask=2, gateway=3)
    assert info.GetIP() == (False, 0, 0, 0)
    double.answer("DeviceInfo.GetIP", 0)  # an SDK that leaves the numbers alone
    assert info.GetIP() == (True, 0, 0, 0)


def test_force_ip(double, info):
    assert info.ForceIP("10.0.0.1", "255.0.0.0", "10.0.0.254", "ignored") is True
    assert double.take_args("DeviceInfo.ForceIP") == ["10.0.0.1", "255.0.0.0", "10.0.0.254"]
    double.answer("DeviceInfo.ForceIP", -1005)
    assert info.ForceIP("", "", "") is False
    assert not hasattr(info, "GetLastError")


def test_interface_of_a_device(double, info):
    first = info.GetInterface()
    assert first.GetType() == 2 and first.GetParameters() is not None
    assert info.GetInterface() is not first
