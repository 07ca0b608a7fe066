"""The program zelcam, driven as a user does. Its cameras are the simulated ones."""

import json
import os
import pathlib
import signal
import subprocess
import time

import pytest

PROGRAM = pathlib.Path(os.environ.get("ZELCAM_TEST_BUILD", "build")) / "bin" / "zelcam"
ENVIRONMENT = {name: value for name, value in os.environ.items() if name != "LD_PRELOAD"}
ENVIRONMENT["ZELCAM_VISION"] = os.environ.get("ZELCAM_VISION", "off")


def pytest_collection_modifyitems(items):
    if not PROGRAM.exists():
        for item in items:
            item.add_marker(pytest.mark.skip(reason="the program zelcam was not built"))


class Answer:
    def __init__(self, done):
        self.code = done.returncode
        self.out, self.err = done.stdout.decode(), done.stderr.decode()

    @property
    def json(self):
        """The last line of the output."""
        return json.loads(self.out.splitlines()[-1])


@pytest.fixture
def zelcam(tmp_path):
    """zelcam("list", "--json") runs the program in a folder of its own; the code must be `code`,
    unless that is None."""

    def run(*arguments, code=0, timeout=60, stdin=b"", **environment):
        done = subprocess.run([str(PROGRAM), *map(str, arguments)], input=stdin, cwd=str(tmp_path),
                              stdout=subprocess.PIPE, stderr=subprocess.PIPE, timeout=timeout,
                              env=dict(ENVIRONMENT, **environment))
        answer = Answer(done)
        assert code in (None, answer.code), answer.out + answer.err
        return answer

    return run


@pytest.fixture
def started(tmp_path):
    """started("view") starts the program and gives the process, which is ended after the test."""
    processes = []

    def start(*arguments, **environment):
        processes.append(subprocess.Popen(
            [str(PROGRAM), *map(str, arguments)], cwd=str(tmp_path), stdout=subprocess.PIPE,
            stderr=subprocess.PIPE, env=dict(ENVIRONMENT, **environment)))
        return processes[-1]

    yield start
    for process in processes:
        if process.poll() is None:
            process.kill()
        process.communicate()


def interrupt(process, timeout=20):
    """Ctrl-C; returns code, output, errors."""
    process.send_signal(signal.SIGINT)
    out, err = process.communicate(timeout=timeout)
    return process.returncode, out.decode(), err.decode()


def wait_for(condition, seconds=20):
    end = time.monotonic() + seconds
    while time.monotonic() < end:
        found = condition()
        if found:
            return found
        time.sleep(0.05)
    return None
