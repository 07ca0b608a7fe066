"""Files that strangers have to understand: Pillow, OpenCV, ffprobe, pngcheck, tiffinfo."""
import os
import shutil
import subprocess
import sys

import pytest

sys.path.insert(0, os.path.dirname(os.path.abspath(__file__)))

try:
    import numpy as np
    from serializer_library import BGR8, MONO8, MONO12, RGB8, Serializer
except ImportError:
    np = None

EXTENSIONS = ("png", "tif", "bmp", "pgm", "ppm", "pnm", "jpg")


@pytest.fixture
def serializer():
    if np is None:
        pytest.skip("NumPy is not installed")
    build = os.environ.get("ZELCAM_TEST_BUILD")
    directory = os.path.join(build, "python") if build else os.environ.get("ZEL_PYTHON_DIR")
    if directory is None:
        pytest.skip("ZELCAM_TEST_BUILD does not say where the libraries are")
    component = Serializer(directory)
    yield component
    component.close()


def noise(*shape, high=256):
    kind = np.uint8 if high == 256 else np.uint16
    return np.random.default_rng(4).integers(0, high, shape, dtype=kind)


def tool(name, *arguments):
    """Runs a program that may be missing; its exit code must be 0."""
    if shutil.which(name) is None:
        pytest.skip(name + " is not installed")
    result = subprocess.run([name, *arguments], stdout=subprocess.PIPE, stderr=subprocess.PIPE)
    assert result.returncode == 0, result.stderr
    return result.stdout.decode()


def pillow_reader(path):
    return np.array(pytest.importorskip("PIL.Image").open(path))


def opencv_reader(path):
    cv2 = pytest.importorskip("cv2")
    read = cv2.imread(path, cv2.IMREAD_UNCHANGED)
    return read if read.ndim == 2 else read[..., ::-1]


@pytest.mark.parametrize("reader", (pillow_reader, opencv_reader))
@pytest.mark.parametrize("extension", EXTENSIONS)
def test_pictures(serializer, tmp_path, reader, extension):
    path = str(tmp_path / ("a." + extension))
    for array, pixel_type in ((noise(61, 83), MONO8), (noise(61, 83, 3), RGB8),
                              (noise(61, 83, 3), BGR8)):
        assert serializer.save(array, pixel_type, path) == 0
        read = reader(path).astype(int)
        expected = array[..., ::-1] if pixel_type == BGR8 else array
        if read.ndim > array.ndim:  # OpenCV shows a palette of grays as colour.
            read = read[..., 0]
        assert read.shape == expected.shape
        if extension != "jpg":
            assert (read == expected).all()


@pytest.mark.parametrize("reader", (pillow_reader, opencv_reader))
def test_twelve_bits(serializer, tmp_path, reader):
    array = noise(40, 50, high=4096)
    for extension, expected in (("tif", array), ("png", array << 4 | array >> 8)):
        path = str(tmp_path / ("a." + extension))
        assert serializer.save(array, MONO12, path) == 0
        assert (reader(path).astype(int) == expected).all()


def test_checkers_of_the_formats(serializer, tmp_path):
    path = str(tmp_path / "a.tif")
    assert serializer.save(noise(40, 50, high=4096), MONO12, path) == 0
    text = tool("tiffinfo", path)
    assert "Max Sample Value: 4095" in text and "Warning" not in text
    path = str(tmp_path / "a.png")
    assert serializer.save(noise(300, 400, 3), RGB8, path) == 0
    assert "OK" in tool("pngcheck", path)


@pytest.mark.parametrize("container, compressor, codec, rate", (
    ("avi", "uncompressed", "rawvideo", "2997/100"), ("avi", "mjpeg", "mjpeg", "2997/100"),
    ("mp4", "h264", "h264", None), ("mov", "mpeg4", "mpeg4", None),
    ("mkv", "ffv1", "ffv1", "2997/100"), ("webm", "vp9", "vp9", "2997/100")))
def test_movies(serializer, tmp_path, container, compressor, codec, rate):
    if compressor not in serializer.get_string("movie.compressors")[1].split("|"):
        pytest.skip("no compressor " + compressor)
    path = str(tmp_path / ("a." + container))
    frame = noise(96, 128, 3)
    assert serializer.set_string("movie.compressor", compressor) == 0
    assert serializer.start(frame, BGR8, path, 29.97) == 0
    for _ in range(7):
        assert serializer.append(frame, BGR8) == 0
    assert serializer.finish() == 0
    text = tool("ffprobe", "-v", "error", "-count_frames", "-show_entries",
                "stream=codec_name,width,height,avg_frame_rate,nb_read_frames", "-of",
                "default=nk=1:nw=1", path)
    name, width, height, average, count = text.split()
    assert (name, width, height, count) == (codec, "128", "96", "7")
    numerator, denominator = map(int, average.split("/"))
    assert abs(numerator / denominator - 29.97) < 0.001
    assert rate is None or average == rate
