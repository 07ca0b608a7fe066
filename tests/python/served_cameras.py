"""Simulated cameras on the network, as a process: the fixture of every suite that needs GigE
Vision cameras. The suites run in a network of their own (see run_suite.py), so that any address
from 127.0.0.2 on is free. In a conftest.py:

    from served_cameras import serve    # a fixture

    def test_something(serve):
        cameras = serve("127.0.0.2", "127.0.0.3", config={"interfaces": [...]})
"""

import json
import os
import pathlib
import subprocess

import pytest

BUILD = pathlib.Path(os.environ.get("ZELCAM_TEST_BUILD", "build"))
PROGRAM = BUILD / "bin" / "zel_test_serve"


class ServedCameras:
    """The program that serves; without a description the built-in GigE cameras."""

    def __init__(self, *addresses, config=None, cameras=(), settings=None):
        command = [str(PROGRAM)]
        if config is not None:
            command += ["--config", str(config)]
        if settings is not None:
            command += ["--settings", str(settings)]
        for camera in cameras:
            command += ["--camera", camera]
        self.process = subprocess.Popen(command + list(addresses), stdin=subprocess.PIPE,
                                        stdout=subprocess.PIPE, stderr=subprocess.PIPE)
        self.lines = self._list()

    def _list(self):
        lines = []
        for line in iter(self.process.stdout.readline, b""):
            if line == b"ready\n":
                return lines
            lines.append(line.decode().split())
        raise RuntimeError(self.process.stderr.read().decode().strip())

    def where(self):
        """Present addresses by serial number."""
        self.process.stdin.write(b"\n")
        self.process.stdin.flush()
        return {line[2]: line[0] for line in self._list()}

    def is_alive(self):
        return self.process.poll() is None

    def kill(self):
        self.end(kill=True)

    def end(self, kill=False):
        """Ends the cameras; returns the exit code and what they wrote to standard error."""
        if kill:
            self.process.kill()
        self.process.stdin.close()
        code = self.process.wait(timeout=20)
        text = self.process.stderr.read().decode()
        self.process.stdout.close()
        self.process.stderr.close()
        return code, text


@pytest.fixture
def serve(tmp_path):
    """Starts cameras, and after the test ends them; they must not have complained."""
    if not PROGRAM.exists():
        pytest.skip("the program that serves cameras was not built")
    started = []

    def start(*addresses, config=None, **named):
        if isinstance(config, dict):
            path = tmp_path / ("cameras%d.json" % len(started))
            path.write_text(json.dumps(config))
            config = path
        started.append(ServedCameras(*addresses, config=config, **named))
        return started[-1]

    yield start
    for cameras in started:
        if not cameras.process.stdin.closed:
            assert cameras.end() == (0, "")
