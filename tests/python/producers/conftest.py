"""Fixtures over producers that are loaded from files, each scenario in an interpreter of its own."""

import os
import pathlib
import shutil

import pytest

PRELUDE = """
import sys, threading, time
import libZelCameraApiPy as zel
system = zel.PyZelSystem()
def infos():
    found = []
    for interface in system.GetInterfaceList():
        assert interface.ReEnumerateDevices(1000)[0]
        found += interface.GetDeviceInfoList()
    return found
def serials():
    return [info.GetSerialNumber() for info in infos()]
"""


@pytest.fixture
def producer(tmp_path):
    """Makes the producer available under a name, as a library of its own; gives its path."""
    source = pathlib.Path(os.environ["ZELCAM_TEST_BUILD"]) / "python" / "zelcam_simulator.cti"

    def copy(name):
        path = tmp_path / name
        path.parent.mkdir(exist_ok=True)
        shutil.copy(str(source), str(path))
        return str(path)

    return copy


@pytest.fixture
def scenario(run_program):
    """Runs a program after the prelude, with no cameras but those of the producers it loads."""

    def run(source, **environment):
        settings = {"ZELCAM_VISION": "off", "ZELCAM_SIMULATOR": "off", "GENICAM_GENTL64_PATH": "",
                    "ZELCAM_LOG": ""}
        result = run_program(PRELUDE + source, **dict(settings, **environment))
        assert result.stdout == b""
        return result.stderr.decode(errors="replace")

    return run
