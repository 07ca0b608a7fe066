"""Served cameras, asked by a small client of its own: nothing of the SDK answers for itself."""

import pytest

from served_cameras import serve  # noqa: F401, a fixture
import gige_client

SMALL = {"interfaces": [{"type": "GEV", "cameras": [
    {"model": "Small", "serialNumber": "S%d" % i, "width": 640, "height": 480, "maxFrameRate": 500,
     "sensor": sensor} for i, sensor in enumerate(("Mono", "BayerRG"))]}]}


@pytest.fixture
def small():
    """A description of two cameras with small pictures and a fast link."""
    return SMALL


@pytest.fixture
def client():
    """client(address) opens a control channel; all are closed after the test."""
    opened = []

    def make(address, source="127.0.0.1"):
        opened.append(gige_client.Client(address, source))
        return opened[-1]

    yield make
    for each in opened:
        each.close()
