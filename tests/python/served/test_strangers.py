"""Other makers' software over served cameras."""

import re
import shutil
import subprocess
import time

import pytest

import gige_client
from gige_client import CCP
from test_streams import run

TOOL, TEST, FAKE = "arv-tool-0.8", "arv-camera-test-0.8", "arv-fake-gv-camera-0.8"
needs_tools = pytest.mark.skipif(not all(map(shutil.which, (TOOL, TEST, FAKE))),
                                 reason="aravis-tools and aravis-tools-cli are not installed")
DUMPCAP, TSHARK = shutil.which("dumpcap"), shutil.which("tshark")


def output(*command, timeout=60):
    return subprocess.run(command, stdout=subprocess.PIPE, stderr=subprocess.PIPE, text=True,
                          timeout=timeout, check=True).stdout


@needs_tools
def test_a_stranger_lists_ours_beside_its_own_and_sets_features(serve, small):
    serve("127.0.0.2", "127.0.0.3", config=small)
    other = subprocess.Popen([FAKE, "-i", "127.0.0.1", "-s", "GV01"], stdout=subprocess.DEVNULL)
    try:
        time.sleep(0.5)
        listed = output(TOOL)
        assert sorted(re.findall(r"\((127\.0\.0\.\d)\)", listed)) == [
            "127.0.0.1", "127.0.0.2", "127.0.0.3"]
    finally:
        other.kill()
        other.wait()
    features = output(TOOL, "-a", "127.0.0.3", "features")
    for name in ("PixelFormat", "ExposureTime", "GevSCPSPacketSize", "ChunkModeActive"):
        assert "'%s'" % name in features
    assert "Width = 320" in output(TOOL, "-a", "127.0.0.2", "control", "Width=320", "Width")


@needs_tools
@pytest.mark.parametrize("loss", [0, 1])
def test_a_stranger_receives_every_frame(serve, small, client, loss):
    """With lost packets it asks for them again."""
    serve("127.0.0.2", config=small)
    camera = client("127.0.0.2")
    camera.write(CCP, 2)
    camera.set("SimulatorPacketLoss", float(loss))
    camera.write(CCP, 0)
    told = output(TEST, "-n", "127.0.0.2", "-f", "20", "--duration=3", "-p", "300", "-m", "2000")
    count = {name: int(value) for name, value in re.findall(r"n_(\w+)\s*= (\d+)", told)}
    assert count["completed_buffers"] >= 20 and count["failures"] == 0, told
    assert (count["resent_packets"] > 0) == bool(loss), told


@pytest.mark.skipif(not (DUMPCAP and TSHARK), reason="tshark is not installed")
def test_dissectors_find_nothing_malformed(serve, small, client, tmp_path):
    serve("127.0.0.2", config=small)
    capture = tmp_path / "capture.pcap"
    recorder = subprocess.Popen([DUMPCAP, "-q", "-P", "-i", "lo", "-w", str(capture)],
                                stderr=subprocess.PIPE)
    recorder.stderr.readline()
    time.sleep(0.5)
    try:
        camera = client("127.0.0.2")
        gige_client.discover("127.0.0.2", seconds=0.2)
        camera.description()
        camera.write(CCP, 2)
        camera.set("ChunkModeActive", 1)
        ports = []
        for extended in (0, 0x40000000):
            camera.write(0x960, extended)
            stream = camera.open_stream()
            ports.append(camera.read(gige_client.SCSP))
            assert len(run(camera, stream, 2)) == 2
            camera.resend(1, 2, 4)
            camera.write(gige_client.SCP, 0)
            stream.close()
        time.sleep(0.3)
    finally:
        recorder.terminate()
        recorder.wait()
        recorder.stderr.close()
    decode = [TSHARK, "-r", str(capture)] + ["-dudp.port==%d,gvsp" % port for port in set(ports)]

    def count(what):
        return len(output(*decode, "-Y", what).splitlines())

    assert count("gvcp") > 50 and count("gvsp") > 400
    assert count("_ws.malformed || _ws.expert.severity == error") == 0
