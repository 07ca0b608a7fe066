"""Two dozen cameras in one process, compiled in and from a producer's file."""

import json

import pytest

CAMERAS, VICTIM = 24, 5
PROGRAM = """
CAMERAS, VICTIM = %d, %d
chosen = infos()[:CAMERAS]
assert len({info.GetSerialNumber() for info in chosen}) == CAMERAS
victim_gone = threading.Event()

class Line(threading.Thread):
    def __init__(self, number, info):
        super().__init__()
        self.number, self.ids, self.stamps, self.code = number, [], [], None
        self.device = zel.PyZelCreateDevice(info)
        assert self.device.IsValid(), zel.GetLastError()
        self.camera = self.device.GetCameraParameters()
        self.frames = 20 + number
        assert self.camera.SetFloatValue("AcquisitionFrameRate", 30.0)
        if number != VICTIM:
            assert self.camera.SetEnumValueStr("AcquisitionMode", "MultiFrame")
            assert self.camera.SetIntegerValue("AcquisitionFrameCount", self.frames)
        # A buffer for each frame: none is lost, however busy the machine is.
        self.stream = self.device.GetStreamByIndex(0)
        assert self.stream.AllocBufferQueue(self.frames)

    def run(self):
        while True:
            buffer = self.stream.GetBuffer(10000 if len(self.ids) < self.frames else 0)
            if buffer is None:
                self.code = self.stream.GetLastError()
                return
            assert buffer.GetWidth() == 64 and not buffer.IsIncomplete()
            self.ids.append(buffer.GetFrameID())
            self.stamps.append(buffer.GetTimestamp())
            if self.number == VICTIM:
                self.stream.QueueBuffer(buffer)
                if len(self.ids) == 3:
                    assert self.camera.SetIntegerValue("SimulatorUnplugReturnTime", 100)
                    assert self.camera.ExecuteCommand("SimulatorUnplug")
                    self.unplugged = time.monotonic()

lines = [Line(number, info) for number, info in enumerate(chosen)]
for line in lines:
    assert line.stream.StartAcquisition()
for line in lines:
    line.start()
for line in lines:
    line.join()
for line in lines:
    if line.number == VICTIM:
        assert len(line.ids) >= 3 and line.code not in (0, -1011), line.code
        continue
    assert line.ids == list(range(line.frames)), (line.number, line.ids, line.code)
    assert line.stamps == sorted(set(line.stamps)) and line.code == -1011
    transport = line.device.GetTransportParameters()
    assert transport.GetIntegerValue("StreamDeliveredFrameCount") == (True, line.frames)
    assert transport.GetIntegerValue("StreamLostFrameCount") == (True, 0)
    assert line.camera.GetIntegerValue("Width") == (True, 64)

lost = lines[VICTIM].device
assert lost.GetCameraParameters().GetIntegerValue("Width") == (False, None)
lost.Release()
end = time.monotonic() + 5
while chosen[VICTIM].GetSerialNumber() not in serials()[:CAMERAS]:
    assert time.monotonic() < end, "it comes back"
again = zel.PyZelCreateDevice(chosen[VICTIM])
assert again.IsValid(), zel.GetLastError()
stream = again.GetStreamByIndex(0)
assert stream.AllocBufferQueue(3) and stream.StartAcquisition()
assert stream.GetBuffer(5000) is not None
""" % (CAMERAS, VICTIM)


@pytest.mark.parametrize("source", ["compiled in", "file"])
def test_all_stream_together(scenario, producer, tmp_path, source):
    description = tmp_path / "line.json"
    cameras = [{"model": "Side", "count": CAMERAS - 1, "width": 64, "height": 32},
               {"model": "Top", "serialNumber": "T1", "width": 64, "height": 32}]
    description.write_text(json.dumps({"interfaces": [{"id": "Line1", "cameras": cameras}]}))
    path = producer("first.cti") if source == "file" else ""
    count = CAMERAS * (2 if source == "file" else 1)
    told = scenario("assert len(infos()) == %d" % count + PROGRAM,
                    ZELCAM_SIMULATOR=str(description), GENICAM_GENTL64_PATH=path)
    lines = told.splitlines()
    assert lines.count("Get buffer error: timeout") == CAMERAS - 1
    gone = [line for line in lines if line.startswith("wrong buffer. Error: -1010 ")]
    assert len(gone) == 1 and len(lines) == CAMERAS
