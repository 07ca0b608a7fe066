"""The road from PyZelSystem() to a saved picture, as scripts walk it."""

import re
import runpy
import subprocess
import sys

import pytest

from conftest import LOCAL, ROOT


def test_interfaces_and_cameras(interfaces, infos):
    assert sorted(interfaces) == [1, 2, 3, 4, 5]
    assert len(infos) == 6
    assert len({info.GetSerialNumber() for info in infos.values()}) == 6
    per_type = {kind: len(interface.GetDeviceInfoList()) for kind, interface in interfaces.items()}
    assert per_type == {1: 1, 2: 2, 3: 1, 4: 1, 5: 1}
    for interface in interfaces.values():
        assert interface.ReEnumerateDevices(1000) == (True, False)
        assert interface.GetDescription()
        assert interface.GetParameters().GetCount() > 0
        assert interface.GetFirstDeviceInfo().GetModel() in infos
    for info in infos.values():
        assert info.GetAccessStatus() == 1
        assert info.GetVendor() and info.GetDisplayName() and info.GetVersion()


def test_network_settings(interfaces, infos):
    for kind, interface in interfaces.items():
        for info in interface.GetDeviceInfoList():
            if kind != 2:
                assert info.GetIP() == (False, 0, 0, 0)
                assert not info.ForceIP("10.0.0.1", "255.0.0.0", "0.0.0.0")
                continue
            before = info.GetIP()
            texts = info.GetIPAddress(), info.GetIPMask(), info.GetIPGateway()
            assert before[0] and texts[0] == ".".join(str(b) for b in before[1].to_bytes(4, "big"))
            assert info.ForceIP("192.168.77.5", "255.255.255.0", "192.168.77.1")
            assert info.GetIP() == (True, 0xC0A84D05, 0xFFFFFF00, 0xC0A84D01)
            assert interface.ReEnumerateDevices(1000)[0]
            again = {i.GetSerialNumber(): i for i in interface.GetDeviceInfoList()}
            assert again[info.GetSerialNumber()].GetIPAddress() == "192.168.77.5"
            for wrong in ("192.168.77", "1.2.3.4.5", "256.1.1.1", "", "1.2.3.x", " 1.2.3.4", "1.2.3.4 "):
                assert not info.ForceIP(wrong, "255.255.255.0", "0.0.0.0"), wrong
            assert info.GetIPAddress() == "192.168.77.5"
            assert info.ForceIP(*texts)


@pytest.mark.parametrize("held", ["Control", "Exclusive"])
def test_the_access_status_is_what_opening_meets(zel, interfaces, held):
    interface = interfaces[2]
    parameters, info = interface.GetParameters(), interface.GetFirstDeviceInfo()
    assert parameters.SetEnumValueStr("SimulatorOtherHost", held)
    try:
        assert info.GetAccessStatus() == 4
        assert not zel.PyZelCreateDevice(info).IsValid() and zel.GetLastError() == -1005
    finally:
        assert parameters.SetEnumValueStr("SimulatorOtherHost", "None")
    device = zel.PyZelCreateDevice(info)
    assert device.IsValid() and info.GetAccessStatus() == 5
    device.Release()


def test_readme_shows_the_example_and_it_runs(run_program, tmp_path):
    readme = (ROOT / "README.md").read_text()
    shown = re.search(r"```python\n(.*?)```", readme, re.S).group(1)
    assert shown == (ROOT / "examples" / "first_frame.py").read_text()
    assert len(shown.splitlines()) <= 25
    result = run_program(shown, **LOCAL)
    assert result.stderr == b""
    assert (tmp_path / "first_frame.png").read_bytes().startswith(b"\x89PNG")


@pytest.mark.parametrize("name, arguments, made", [
    pytest.param("demo.py", ["--frames", "4", "--output", "."], ["movie.avi"],
                 marks=pytest.mark.measured),
    ("feature_tree.py", ["--visibility", "guru"], []),
    pytest.param("save_formats.py", ["--output", "."], [], marks=pytest.mark.measured),
    ("record_movie.py", ["--seconds", "0.5", "m.avi"], ["m.avi"]),
    ("settings.py", ["--serial", "20000001"], ["settings.txt"]),
    ("count_events.py", ["10"], []),
    ("replug.py", [], []),
    ("triggers.py", [], []),
    ("chunk_data.py", [], []),
    pytest.param("several_cameras.py", ["--seconds", "1.5", "--cameras", "3"], [],
                 marks=pytest.mark.measured),
    ("newest_frame.py", ["--frames", "4"], []),
    ("live_display.py", ["--frames", "5", "--no-window", "--serial", "10000002"], []),
    ("numpy_view.py", [], ["frame_cv2.png"]),
    ("action_command.py", ["--frames", "2"], []),
    ("force_ip.py", ["--serial", "10000001", "192.168.7.5"], []),
])
def test_examples_run(name, arguments, made, tmp_path):
    imports = "\n".join(re.findall(r"^import (?:numpy|cv2)", (ROOT / "examples" / name).read_text(),
                                   re.M) + ["import libZelCameraApiPy"])
    # The imaging libraries are Debian's, for its own interpreter.
    able = [python for python in (sys.executable, "/usr/bin/python3") if subprocess.run(
        [python, "-c", imports], stderr=subprocess.DEVNULL).returncode == 0]
    if not able:
        pytest.skip("no interpreter has all of " + imports.replace("\n", ", "))
    result = subprocess.run([able[0], str(ROOT / "examples" / name)] + arguments,
                            cwd=str(tmp_path), stdout=subprocess.PIPE, stderr=subprocess.PIPE,
                            timeout=120)
    assert result.returncode == 0, result.stdout.decode() + result.stderr.decode()
    assert result.stdout
    for path in made:
        assert (tmp_path / path).stat().st_size > 1000


def test_every_example_is_tried_and_names_its_camera():
    tried = {mark.args[1][i].values[0] if hasattr(mark.args[1][i], "values") else mark.args[1][i][0]
             for mark in test_examples_run.pytestmark for i in range(len(mark.args[1]))}
    programs = {path.name for path in (ROOT / "examples").glob("*.py")} - {"cameras.py"}
    assert programs - tried == {"first_frame.py"}
    for name in tried:
        assert "from cameras import" in (ROOT / "examples" / name).read_text(), name


def test_import_is_quick_to_load_and_brings_no_movie_library(run_program):
    result = run_program("""
import sys
import libZelCameraApiPy
sys.stderr.write(open("/proc/self/maps").read())
""", **LOCAL)
    assert b"libZelCameraApi.so" in result.stderr
    for library in (b"libavcodec", b"libZelMovie"):
        assert library not in result.stderr
