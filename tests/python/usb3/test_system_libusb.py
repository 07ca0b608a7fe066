"""The system's own libusb over a bus of umockdev: enumeration by descriptors, texts of the kernel."""

import os
import shutil
import struct
import subprocess
import sys

import pytest

PROGRAM = """
import libZelCameraApiPy as zel
interface = zel.PyZelSystem().GetInterfaceList()[0]
assert interface.ReEnumerateDevices(1000)[0]
for info in interface.GetDeviceInfoList():
    device = zel.PyZelCreateDevice(info)
    print(info.GetVendor(), info.GetModel(), info.GetSerialNumber(), info.GetAccessStatus(),
          device.IsValid(), zel.GetLastError() < 0, sep="|")
print(interface.GetParameters().GetIntegerValue("ClosedDeviceCount")[1])
"""


def endpoint(address):
    return struct.pack("<BBBBHB", 7, 5, address, 2, 1024, 0) + bytes([6, 0x30, 0, 0, 0, 0])


def interface(number, subclass, protocol, endpoints, extra=b""):
    return struct.pack("<BBBBBBBBB", 9, 4, number, 0, len(endpoints), 0xEF, subclass, protocol,
                       0) + extra + b"".join(endpoints)


def descriptors(subclass):
    """Of a device with a control, an event and a stream interface."""
    camera = bytes([20, 0x24, 1, 0, 0, 1, 0, 1, 0, 1, 0, 0, 0, 0, 0, 0, 0, 0, 0, 8])
    body = (interface(0, subclass, 0, [endpoint(0x81), endpoint(0x01)], camera)
            + interface(1, subclass, 1, [endpoint(0x82)])
            + interface(2, subclass, 2, [endpoint(0x83)]))
    device = struct.pack("<BBHBBBBHHHBBBB", 18, 1, 0x300, 0xEF, 2, 1, 9, 0x5A43, 1, 0x100, 1, 2, 3, 1)
    return device + struct.pack("<BBHBBBBB", 9, 2, 9 + len(body), 3, 1, 0, 0x80, 50) + body


def bus_entry(number, product, data):
    path = "/devices/pci0000:00/0000:00:14.0/usb2/2-%d" % number
    lines = ["P: " + path, "N: bus/usb/002/%03d=%s" % (number, data.hex().upper()),
             "E: DEVNAME=/dev/bus/usb/002/%03d" % number, "E: DEVTYPE=usb_device", "E: SUBSYSTEM=usb",
             "A: bConfigurationValue=1\\n", "A: busnum=2\\n", "A: devnum=%d\\n" % number,
             "A: speed=5000\\n", "A: manufacturer=Maker\\n", "A: product=%s\\n" % product,
             "A: serial=S%d\\n" % number, "H: descriptors=" + data.hex().upper()]
    return "\n".join(lines) + "\n\n"


def test_cameras_among_other_devices(tmp_path):
    if shutil.which("umockdev-run") is None:
        pytest.skip("umockdev is not installed")
    if os.environ.get("ZELCAM_TEST_SANITIZED"):
        pytest.skip("umockdev wants to be loaded first, and so does the sanitizer")
    (tmp_path / "bus").write_text(bus_entry(3, "Camera", descriptors(5))
                                  + bus_entry(4, "Other", descriptors(2))
                                  + bus_entry(5, "Cut", descriptors(5)[:50]))
    (tmp_path / "program.py").write_text(PROGRAM)
    environment = {name: value for name, value in os.environ.items() if name != "LD_LIBRARY_PATH"}
    result = subprocess.run(["umockdev-run", "-d", str(tmp_path / "bus"), "--", sys.executable,
                             str(tmp_path / "program.py")], env=environment, timeout=60,
                            stdout=subprocess.PIPE, stderr=subprocess.PIPE)
    assert result.returncode == 0, result.stderr.decode()
    # Listed with what the kernel knows; there is no camera behind it that could be opened.
    lines = result.stdout.decode().splitlines()
    assert [line.rsplit("|", 3)[0] for line in lines[:-1]] == ["Maker|Camera|S3"], lines
    assert all(line.endswith("|False|True") for line in lines[:-1]), lines
