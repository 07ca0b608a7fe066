"""Network settings of GigE Vision cameras: ForceIP, persistent settings, the transport's features."""

import signal
import subprocess
import time

import pytest

from conftest import PROGRAM

RESPONDER = PROGRAM.with_name("zel_test_gvcp_responder")


@pytest.fixture
def start_responder():
    """Starts a device that knows nothing but discovery and ForceIP."""
    started = []

    def start(*manners):
        process = subprocess.Popen([str(RESPONDER), "0x7F000009", *manners], stdin=subprocess.PIPE,
                                   stdout=subprocess.PIPE)
        started.append(process)
        assert process.stdout.readline() == b"ready\n"
    yield start
    for process in started:
        process.stdin.close()
        process.stdout.close()
        process.wait()


@pytest.mark.parametrize("manners, taken", [("", True), ("refuse", False), ("silent", False)])
def test_force_ip(interface, start_responder, manners, taken):
    start_responder(manners)
    for _ in range(20):  # a busy machine answers late
        assert interface.ReEnumerateDevices(200)[0]
        if interface.GetDeviceInfoList():
            break
    info, = interface.GetDeviceInfoList()
    assert (info.GetSerialNumber(), info.GetIPAddress()) == ("RESP1", "127.0.0.9")
    assert info.ForceIP("127.1.2.3", "255.0.0.0", "127.0.0.254") == taken
    wanted = ("127.1.2.3", "255.0.0.0", "127.0.0.254") if taken else ("127.0.0.9", "255.0.0.0", "0.0.0.0")
    for changed in (False, True):
        assert (info.GetIPAddress(), info.GetIPMask(), info.GetIPGateway()) == wanted
        assert info.GetIP()[1] == (0x7F010203 if taken else 0x7F000009)
        if not changed:
            assert interface.ReEnumerateDevices(200)[0]
            info, = interface.GetDeviceInfoList()
    assert info.GetAccessStatus() == 1


def test_persistent_settings_and_transport_features(start_camera, open_by_serial, messages):
    camera = start_camera("N1")
    device = open_by_serial("N1")
    transport = device.GetTransportParameters()
    for name, address, value in (("GevPersistentIPAddress", 0x064C, 0xC0A80155),
                                 ("GevPersistentSubnetMask", 0x065C, 0xFFFFFF00),
                                 ("GevPersistentDefaultGateway", 0x066C, 0xC0A801FE)):
        for number in (value, 0, 0xFFFFFFFF, value):
            assert transport.SetIntegerValue(name, number), name
            assert transport.GetIntegerValue(name) == (True, number)
            assert device.ReadMem(address, 4) == (0, number.to_bytes(4, "big"))
        assert not transport.SetIntegerValue(name, 1 << 32) and transport.GetLastError() == -40204
        assert not transport.SetIntegerValue(name, -1) and transport.GetLastError() == -40204
    assert device.WriteMem(0x0014, "\0\0\0\6") == (0, 4)
    for on, configuration in ((True, 7), (False, 6)):
        assert transport.SetBooleanValue("GevPersistentIPEnable", on)
        assert transport.GetBooleanValue("GevPersistentIPEnable") == (True, on)
        code, data = device.ReadMem(0x0014, 4)
        assert data[3] == configuration, "its other bits stay"
    assert transport.SetIntegerValue("GevPacketSize", 1000)
    assert transport.GetIntegerValue("GevPacketSize") == (True, 1000)
    assert transport.ExecuteCommand("GevPacketSizeNegotiate")
    # The test camera answers no test packets: what was set stays.
    assert transport.GetIntegerValue("GevPacketSize") == (True, 1000)
    camera.process.send_signal(signal.SIGSTOP)  # it stops answering
    time.sleep(0.1)
    assert transport.GetIntegerValue("GevPersistentIPAddress") == (False, None), "not an old value"
    assert transport.GetLastError() < 0
    camera.kill()
    messages()
