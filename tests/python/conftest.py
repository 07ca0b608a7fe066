"""What all Python tests share: the watched standard streams and programs in their own process."""

import os
import signal
import subprocess
import sys

import pytest

# Where the tests run in the background, Ctrl-C is ignored; the programs they start would inherit that.
signal.signal(signal.SIGINT, signal.default_int_handler)


def pytest_configure(config):
    config.addinivalue_line("markers", "long: takes long; runs only with run_suite.py --long")
    config.addinivalue_line("markers", "measured: speed or memory of a build without ThreadSanitizer, "
                                       "which makes both ten times worse")


def pytest_collection_modifyitems(items):
    skipped = {}
    if not os.environ.get("ZELCAM_LONG_TESTS"):
        skipped["long"] = "takes long; run with --long"
    if "thread" in os.environ.get("ZELCAM_TEST_SANITIZED", ""):
        skipped["measured"] = "measures speed or memory, which ThreadSanitizer makes ten times worse"
    for item in items:
        for marker, reason in skipped.items():
            if item.get_closest_marker(marker):
                item.add_marker(pytest.mark.skip(reason=reason))


@pytest.fixture(autouse=True)
def messages(capfdbinary):
    """messages() returns the bytes on standard error since the last look. Nothing may ever be
    written to standard output, and what no test looked at may not have been written at all."""

    def take():
        out, err = capfdbinary.readouterr()
        assert out == b"", "written to standard output"
        return err

    yield take
    assert take() == b"", "written to standard error and not expected"


@pytest.fixture
def run_program(tmp_path):
    """Runs a Python program in an interpreter of its own; its exit code must be `code`."""

    def run(source, code=0, timeout=60, python=sys.executable, **environment):
        path = tmp_path / "program.py"
        path.write_text(source)
        result = subprocess.run([python, "-X", "faulthandler", str(path)], timeout=timeout,
                                stdout=subprocess.PIPE, stderr=subprocess.PIPE,
                                env=dict(os.environ, **environment), cwd=str(tmp_path))
        assert result.returncode == code, result.stderr.decode(errors="replace")
        return result

    return run


# What follows is for suites that have open_device(), which gives devices back after the test.

@pytest.fixture
def device(open_device):
    """The default camera, with its default settings."""
    return open_device()


@pytest.fixture
def camera(device):
    return device.GetCameraParameters()


@pytest.fixture
def stream(device):
    """A stream with eight buffers, not started."""
    stream = device.GetStreamByIndex(0)
    assert stream.AllocBufferQueue(8)
    yield stream
    stream.StopAcquisition(0)
    stream.Release()


@pytest.fixture
def running(stream):
    assert stream.StartAcquisition()
    return stream
