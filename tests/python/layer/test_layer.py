"""The Python layer: `with`, exceptions and arrays over the module and its image components."""

import logging
import os
import pathlib
import subprocess
import threading
import time

import pytest

os.environ.setdefault("ZELCAM_VISION", "off")

import zelcam  # noqa: E402

MONO, COLOUR = "ZG-1936M", "ZG-2448C"


@pytest.fixture
def numpy():
    return pytest.importorskip("numpy")


@pytest.fixture
def opened():
    """Opens cameras with their default settings."""
    cameras = []

    def open_one(**wanted):
        camera = zelcam.open(**wanted)
        cameras.append(camera)
        camera.features["UserSetSelector"] = "Default"
        camera.features.UserSetLoad()
        return camera

    yield open_one
    for camera in cameras:
        camera.close()


@pytest.fixture
def camera(opened):
    return opened(model=MONO)


def small(camera, width=64, height=48):
    camera.features.update(Width=width, Height=height)


def test_cameras_are_chosen_by_what_is_known_of_them(opened, tmp_path, messages):
    found = zelcam.cameras()
    assert len(found) == len({info.serial for info in found}) >= 6
    mono = next(info for info in found if info.model == MONO)
    for wanted in ({"serial": mono.serial}, {"model": MONO}, {"address": mono.address},
                   {"info": mono}, {"model": MONO, "index": 0}, {"index": found.index(mono)}):
        with zelcam.open(**wanted) as camera:
            assert camera.info.serial == mono.serial and camera.info.access == "open"
            with pytest.raises(zelcam.CameraBusy) as busy:
                zelcam.open(**wanted)
            assert busy.value.code == -1004
        assert mono.access == "free"
    for nobody in ({"serial": "none"}, {"model": MONO, "index": 1}, {"index": 99}):
        with pytest.raises(zelcam.CameraNotFound):
            zelcam.open(**nobody)
    with opened(model=COLOUR) as camera:
        camera.features["Gain"] = 3.0
        camera.save_settings(tmp_path / "colour.txt")
    with zelcam.open(config=tmp_path / "colour.txt") as camera:
        assert camera.info.model == COLOUR and camera.features["Gain"] == 3.0
        camera.features["Gain"] = 0.0
        (tmp_path / "bad.txt").write_text("nonsense")
        with pytest.raises(zelcam.ZelError, match="refused"):
            camera.load_settings(tmp_path / "bad.txt")
    with pytest.raises(zelcam.ZelError):
        camera.features["Gain"] = 1.0
    with pytest.raises(zelcam.ZelError):
        camera.start()
    assert b"Create device" not in messages()


def test_features_are_values_objects_and_clear_refusals(camera):
    features = camera.features
    features["ExposureTime"] = 5000
    assert features.ExposureTime.value == 5000.0 and features.ExposureTime.unit == "us"
    features.PixelFormat = "Mono12"
    assert features["PixelFormat"] == "Mono12" and "Mono8" in features.PixelFormat.entries
    features.ReverseX = True
    assert features["ReverseX"] is True
    width = features.Width
    assert width.kind == "integer" and width.min % width.increment == 0
    features["Width"] = width.max
    assert width.value == width.max == 1936
    assert features.get("NoSuchThing") is None and features.get("NoSuchThing", 7) == 7
    names = list(features)
    assert len(names) == len(features) and "Gain" in names and "Gain" in features
    assert all(name in dir(features) for name in names)
    for name in names:
        assert features.feature(name).name in repr(features.feature(name))
    for name, value, refusal, code in (
            ("ExposureTime", -1.0, zelcam.FeatureRange, -40204),
            ("Width", 10 ** 6, zelcam.FeatureRange, -40204), ("Width", 64.5, zelcam.FeatureType, -40203),
            ("Width", "64", zelcam.FeatureType, -40203), ("PixelFormat", "Mono99", ValueError, None),
            ("DeviceVendorName", "me", zelcam.FeatureAccess, -40202),
            ("Nothing", 1, zelcam.UnknownFeature, -40205), ("Nothing", 1, KeyError, -40205)):
        with pytest.raises(refusal) as refused:
            features[name] = value
        assert refused.value.feature == name and code in (None, refused.value.code)
        assert name in str(refused.value)
    with pytest.raises(AttributeError):
        features.Nothing
    with pytest.raises(zelcam.FeatureType):
        features.Width.execute()


def test_streams_start_and_stop_by_themselves(camera, messages):
    small(camera)
    ids = [frame.id for frame in camera.frames(5)]
    assert ids == list(range(5))
    for frame in camera.frames():
        break
    kept = bytes(frame.data)
    assert not camera.features["TLParamsLocked"] if "TLParamsLocked" in camera.features else True
    assert camera.grab().data is not frame.data and bytes(frame.data) == kept
    camera.features.update(TriggerMode="On", TriggerSource="Software")
    camera.start()
    with pytest.raises(zelcam.FrameTimeout) as late:
        camera.fetch(0.05)
    assert late.value.code == -1011 and "timeout" in late.value.text
    camera.trigger()
    assert camera.fetch(5).width == 64
    threading.Timer(0.1, camera.stop).start()
    with pytest.raises(zelcam.Aborted):
        camera.fetch(None)
    camera.features["TriggerMode"] = "Off"
    camera.start(newest=True)
    ids = [camera.fetch(5).id for _ in range(5) if not time.sleep(0.2)]
    assert ids[-1] - ids[0] > 4, "old frames were kept"
    camera.stop()
    assert camera.transport["StreamBufferHandlingMode"] == "OldestFirst"
    for nonsense in (-1.0, float("nan")):
        with pytest.raises(ValueError):
            camera.start()
            camera.fetch(nonsense)
    camera.features["SimulatorUnplugReturnTime"] = 100
    camera.features.SimulatorUnplug()
    with pytest.raises(zelcam.CameraLost):
        for _ in range(20):
            camera.fetch(5)
    end = time.monotonic() + 20
    while not any(info.model == MONO for info in zelcam.cameras()) and time.monotonic() < end:
        time.sleep(0.02)  # the next test finds it again
    messages()


@pytest.mark.parametrize("model", [MONO, COLOUR, "ZS-1920C"])
def test_arrays_hold_what_the_camera_sent(opened, numpy, model):
    camera = opened(model=model)
    small(camera)
    camera.features["TestPattern"] = "GreyHorizontalRamp"
    shown = {}
    for name in camera.features.PixelFormat.entries:
        camera.features["PixelFormat"] = name
        frame = camera.grab()
        if frame.format != name:
            assert frame.array.tobytes() == bytes(frame.data) and name.startswith(("YUV", "YCbCr"))
            continue
        assert frame.array.shape[:2] == (48, 64)
        array = frame.array
        deep = array.dtype == numpy.uint16
        bits = int("".join(filter(str.isdigit, name.replace("422_", "").replace("444_", ""))))
        assert deep == (bits > 8) and int(array.max()) < 1 << bits
        shown[name] = array.astype(int) << (16 - bits)
        if name.endswith(("p", "Packed")):
            plain = name[:-1] if name.endswith("p") else name[:-6]
            assert (shown[plain] == shown[name]).all(), name
        elif not deep:
            assert array.tobytes() == bytes(frame.data)
            assert array.base is not None, "a copy was made"
        if not name.startswith(("YUV", "YCbCr", "RGBa", "BGRa")) and (not deep or array.ndim == 2):
            rgb = frame.rgb()
            assert rgb.shape == (48, 64, 3) and rgb.dtype == numpy.uint8
            if name == "BGR8":
                assert (rgb == array[:, :, ::-1]).all()
            if name.startswith("Mono"):
                assert (rgb[:, :, 1] == array >> (bits - 8)).all()
                assert (frame.mono8() == array >> (bits - 8)).all()


def test_pictures_and_movies_are_made_of_any_frame(opened, tmp_path, numpy):
    image = pytest.importorskip("PIL.Image")
    camera, other = opened(model=MONO), opened(model=COLOUR)
    for each in (camera, other):
        small(each)
    camera.features["PixelFormat"] = "Mono12"
    frame, colour = camera.grab(), other.grab()
    camera.close()
    frame.save(tmp_path / "deep.png")
    assert (numpy.asarray(image.open(tmp_path / "deep.png")) >> 4 == frame.array).all()
    frame.save(str(tmp_path / "flat.bmp"))
    assert (numpy.asarray(image.open(tmp_path / "flat.bmp").convert("L")) == frame.mono8()).all()
    colour.save(tmp_path / "colour.ppm")
    assert (numpy.asarray(image.open(tmp_path / "colour.ppm")) == colour.rgb()).all()
    assert colour._repr_png_().startswith(b"\x89PNG")
    with pytest.raises(zelcam.ZelError) as refused:
        colour.save(tmp_path / "no" / "such.png")
    assert refused.value.code == -40002
    with other.record(tmp_path / "a.avi", rate=10) as first, \
            other.record(tmp_path / "b.mkv", rate=10, compressor="ffv1") as second:
        for each in other.frames(4):
            first.add(each)
            second.add(each)
        small(other, 32, 32)
        with pytest.raises(zelcam.ZelError):
            first.add(other.grab())
    for name in ("a.avi", "b.mkv"):
        counted = subprocess.run(
            ["ffprobe", "-v", "error", "-count_frames", "-show_entries", "stream=nb_read_frames",
             "-of", "csv=p=0", str(tmp_path / name)], stdout=subprocess.PIPE, check=True)
        assert counted.stdout.split()[0].rstrip(b",") == b"4"
    with pytest.raises(zelcam.ZelError):
        zelcam.Movie(tmp_path / "x.avi", 10, "nonsense").add(colour)
    assert not (tmp_path / "x.avi").exists()


def test_chunks_and_events(camera):
    small(camera)
    assert camera.grab().chunks == {}
    camera.features["ChunkModeActive"] = True
    for name in ("ExposureTime", "FrameID"):
        camera.features.update(ChunkSelector=name, ChunkEnable=True)
    camera.features["ExposureTime"] = 1234.0
    frames = []
    for frame in camera.frames(3):
        if frame.id != 1:
            assert frame.chunks["FrameID"] == frame.id and frame.chunks["ExposureTime"] == 1234.0
        frames.append(frame)
    assert frames[0].chunks["FrameID"] == 0
    with pytest.raises(zelcam.ZelError):
        frames[1].chunks
    seen = []
    camera.events.on("ExposureEnd", seen.append)
    camera.events.on("FrameStart", seen.append)
    list(camera.frames(3))
    end = time.monotonic() + 10
    while len(seen) < 6 and time.monotonic() < end:
        time.sleep(0.01)
    assert {event.name for event in seen} == {"ExposureEnd", "FrameStart"} and len(seen) >= 6
    camera.events.off("FrameStart")
    camera.start()
    for event in camera.events.stream("ExposureEnd", 3, timeout=10):
        assert event.name == "ExposureEnd" and event.data
    camera.stop()
    with pytest.raises(zelcam.FrameTimeout):
        next(camera.events.stream("ExposureEnd", timeout=0.05))
    with pytest.raises(zelcam.UnknownFeature):
        camera.events.on("Nothing", print)


def test_what_a_script_leaves_open_is_closed_at_its_end(run_program, tmp_path, caplog):
    run_program("""
import sys, zelcam
camera = zelcam.open(model=%r)
movie = camera.record("left.mkv", rate=20)
for frame in camera.frames(5):
    movie.add(frame)
camera.start()
""" % MONO)
    counted = subprocess.run(["ffprobe", "-v", "error", "-count_frames", "-show_entries",
                              "stream=nb_read_frames", "-of", "csv=p=0", str(tmp_path / "left.mkv")],
                             stdout=subprocess.PIPE, check=True)
    assert counted.stdout.split()[0].rstrip(b",") == b"5"
    with caplog.at_level(logging.INFO, "zelcam"):
        zelcam.open(model=MONO).close()
    assert [record.message.split()[0] for record in caplog.records] == ["opened", "closed"]


EXAMPLES = sorted((pathlib.Path(__file__).resolve().parents[3] / "examples" / "layer").glob("*.py"))


@pytest.mark.parametrize("example", [path for path in EXAMPLES if path.stem != "live_display"],
                         ids=lambda path: path.stem)
def test_example_runs(example, run_program):
    if "array" in example.read_text():
        pytest.importorskip("numpy")
    assert b"Traceback" not in run_program(example.read_text(), timeout=120).stderr
