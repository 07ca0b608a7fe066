"""A served camera behind a wire that loses, doubles and reorders packets, in a network of its own;
and what a protocol analyser of somebody else says to everything that went over it."""

import json
import os
import pathlib
import shutil
import subprocess
import sys

import pytest

BUILD = pathlib.Path(os.environ.get("ZELCAM_TEST_BUILD", "build"))
SERVE = BUILD / "bin" / "zel_test_serve"
WIRE = pathlib.Path(__file__).with_name("tap_wire.py")
HOST, CAMERA = "10.99.0.1", "10.99.0.2"
DESCRIPTION = {"interfaces": [{"type": "GEV", "cameras": [
    {"width": 320, "height": 240, "serialNumber": "WIRE1", "maxFrameRate": 15}]}]}

CLIENT = """
import sys
import time
import libZelCameraApiPy as zel
interface = zel.PyZelSystem().GetInterfaceList()[0]
for _ in range(20):
    interface.ReEnumerateDevices(300)
    if interface.GetFirstDeviceInfo() is not None:
        break
device = zel.PyZelCreateDevice(interface.GetFirstDeviceInfo())
assert device.IsValid(), zel.GetLastError()
camera, transport = device.GetCameraParameters(), device.GetTransportParameters()
assert camera.SetEnumValueStr("TestPattern", "GreyHorizontalRamp")
events = []
assert device.RegisterEvent(int(sys.argv[2], 16), lambda data, size, key: events.append(size))
assert camera.SetEnumValueStr("EventSelector", "Test")
assert camera.SetEnumValueStr("EventNotification", "On")
stream = device.GetStreamByIndex(0)
assert transport.SetEnumValueStr("StreamReceiveMethod", sys.argv[1])
assert stream.AllocBufferQueue(6)
for extended in (0, 1):
    camera.SetBooleanValue("GevGVSPExtendedIDMode", bool(extended))
    assert stream.StartAcquisition(), stream.GetLastError()
    pictures, whole = set(), 0
    for _ in range(20):
        buffer = stream.GetBuffer(5000)
        assert buffer is not None, stream.GetLastError()
        if not buffer.IsIncomplete():
            whole += 1
            pictures.add(bytes(buffer.GetBufferPtr()))
        assert stream.QueueBuffer(buffer)
    count = {name: transport.GetIntegerValue("Stream%sPacketCount" % name)[1]
             for name in ("Resent", "Duplicate", "Missing", "Malformed", "Foreign")}
    stream.StopAcquisition(0)
    # A busy machine may keep a request for longer than a frame is waited for.
    assert whole >= 19 and len(pictures) == 1, (whole, len(pictures), count)
    assert (count["Missing"] == 0) == (whole == 20), count
    assert count["Resent"] > 8 and count["Duplicate"] > 8, count
    assert count["Malformed"] == count["Foreign"] == 0, count
assert camera.ExecuteCommand("TestEventGenerate")
parameters = interface.GetParameters()
assert parameters.SetIntegerValue("ActionDeviceKey", 5)
assert parameters.ExecuteCommand("ActionCommand")
assert parameters.SetBooleanValue("ActionScheduledTimeEnable", True)
assert parameters.ExecuteCommand("ActionCommand")
time.sleep(0.3)
assert events
stream.Release()
device.Release()
"""


class Wire:
    """The wire, the camera at its other end, and what went over it."""

    def __init__(self, folder, *faults, cameras=(CAMERA,)):
        self.capture = folder / "wire.pcap"
        config = folder / "camera.json"
        config.write_text(json.dumps(DESCRIPTION))
        pipe = dict(stdin=subprocess.PIPE, stdout=subprocess.PIPE)
        self.programs = [subprocess.Popen(["unshare", "-n", "sh", "-c", "echo; read x"], **pipe)]
        self.wait(b"\n")
        far = str(self.programs[0].pid)
        self.programs.append(subprocess.Popen(
            [sys.executable, str(WIRE), far, str(self.capture), *map(str, faults)], **pipe))
        self.wait(b"ready\n")
        enter = ["nsenter", "-t", far, "-n"]
        for prefix, name, address in [([], "wire0", HOST)] + [(enter, "wire1", one) for one in cameras]:
            subprocess.run(prefix + ["ip", "address", "add", address + "/24", "dev", name], check=True)
            subprocess.run(prefix + ["ip", "link", "set", name, "up"], check=True)
        self.programs.append(subprocess.Popen(
            enter + [str(SERVE), "--config", str(config), *cameras], **pipe))
        self.programs[2].stdout.readline()
        self.wait(b"ready\n")

    def wait(self, line):
        if self.programs[-1].stdout.readline() != line:
            self.end()
            pytest.skip("no networks or TAP adapters of our own here")

    def end(self):
        for program in reversed(self.programs):
            program.stdin.close()
            program.wait(20)
            program.stdout.close()


@pytest.fixture
def wire(tmp_path):
    started = []

    def start(*faults, **named):
        if not SERVE.exists():
            pytest.skip("the program that serves cameras was not built")
        started.append(Wire(tmp_path, *faults, **named))
        return started[-1]

    yield start
    for one in started:
        if not one.programs[0].stdin.closed:
            one.end()


def judged(tshark, capture):
    """Protocols and control commands of all packets, as the analyser sees them."""
    result = subprocess.run([tshark, "-n", "-r", str(capture), "-T", "fields", "-E", "separator=;",
                             "-e", "frame.protocols", "-e", "gvcp.cmd.command"],
                            stdout=subprocess.PIPE, stderr=subprocess.PIPE, timeout=200)
    assert result.returncode == 0, result.stderr.decode()
    protocols, commands = set(), set()
    for line in result.stdout.decode().splitlines():
        before, _, command = line.partition(";")
        protocols.update(before.split(":"))
        commands.update(int(one, 16) for one in command.split(",") if one)
    return protocols, commands


@pytest.mark.parametrize("method", ("Automatic", "Ring"))
def test_frames_over_a_bad_wire(wire, run_program, tmp_path, method):
    bad = wire(3, 3, 5)
    program = tmp_path / "client.py"
    program.write_text(CLIENT)
    source = "import sys; sys.argv[1:] = [%r, '9008']; exec(open(%r).read())" % (method, str(program))
    run_program(source, ZELCAM_VISION="wire0", timeout=120)
    bad.end()
    tshark = shutil.which("tshark")
    if tshark is None:
        pytest.skip("the packets were not judged: tshark is not installed")
    protocols, commands = judged(tshark, bad.capture)
    assert {"gvcp", "gvsp"} <= protocols and "_ws.malformed" not in protocols
    # Finding, memory, registers, packets sent again, events, actions.
    assert {0x02, 0x84, 0x82, 0x40, 0x0100} <= commands and commands & {0xC0, 0xC2}, commands


MOVE = """
import time
import libZelCameraApiPy as zel
interface = zel.PyZelSystem().GetInterfaceList()[0]
def found():
    for _ in range(20):
        interface.ReEnumerateDevices(300)
        for info in interface.GetDeviceInfoList():
            return info
info = found()
assert info.GetIPAddress() == "10.98.0.2" and info.GetAccessStatus() == 0
assert not zel.PyZelCreateDevice(info).IsValid()
assert info.ForceIP("10.99.0.5", "255.255.255.0", "0.0.0.0"), zel.GetLastError()
info = found()
assert info.GetIPAddress() == "10.99.0.5" and info.GetAccessStatus() == 1
device = zel.PyZelCreateDevice(info)
stream = device.GetStreamByIndex(0)
assert stream.AllocBufferQueue(4) and stream.StartAcquisition()
assert not stream.GetBuffer(5000).IsIncomplete()
stream.StopAcquisition(0)
stream.Release()
device.Release()
"""


def test_a_camera_of_a_foreign_subnet_is_brought_home(wire, run_program):
    wire(0, 0, 0, cameras=("10.98.0.2", "10.99.0.5"))
    run_program(MOVE, ZELCAM_VISION="wire0", timeout=90)
