"""Movie recording."""

import libZelCameraApiPy as zel
import pytest
from imaging_tools import (BAYER, BAYER_PACKED, BGR8, MONO8, MONO10, MONO10_PACKED, MONO12,
                           MONO12_PACKED, NONSENSE, REFUSED, RGB8, story)
from test_image_save import FIRST_USE, component_calls, frame

OPTIONS = [("GetComponent",), ("SetInteger", "add.palette", 0),
           ("SetInteger", "ticks.per.sec", 100000000), ("SetInteger", "min.quantizer", 15),
           ("SetInteger", "max.quantizer", 15)]


@pytest.fixture(autouse=True)
def no_movie(double, messages):
    zel.PyGetVideoCompressors()  # there is a serializer
    zel.PyFinishRecord()
    double.images.zeldouble_number_images()
    double.take()
    messages()
    yield
    double.reset()
    zel.PyFinishRecord()
    messages()


def start(fetched, name="m.avi", rate=25, compressor="MJPEG"):
    return zel.PyStartMovieRecord(fetched, name, rate, compressor)


@pytest.mark.parametrize("text, names", [
    ("H264|MJPEG|", ["H264", "MJPEG"]), ("H264|MJPEG", ["H264"]), ("H264", []), ("", []),
    ("|", [""]), ("A||B|C", ["A", "", "B"]), ("Größe|画|", ["Größe", "画"]),
    ("x" * 254 + "|", ["x" * 254])])
def test_compressors(double, text, names):
    double.answer("SerializerParams.GetString", 0, text=text)
    assert zel.PyGetVideoCompressors() == names
    assert double.take_args("SerializerParams.GetString") == ["movie.compressors", 256]


def test_compressors_that_cannot_be_had(double, messages):
    double.answer("SerializerParams.GetString", -40205, text="A|")
    assert zel.PyGetVideoCompressors() is None and zel.GetLastError() == -40205
    double.answer("ZelImageSerializer_GetComponent", None)
    assert zel.PyGetVideoCompressors() is None
    assert messages() == b"Error, ZelImageSerializer_GetComponent\n"


@pytest.mark.parametrize("text", [b"\xff|", b"ok|\x92|"])
def test_compressors_that_are_not_utf8(double, text):
    double.answer("SerializerParams.GetString", 0, text=text)
    with pytest.raises(UnicodeDecodeError):
        zel.PyGetVideoCompressors()


def test_compressors_without_a_nul(double):
    """A component that fills all 256 bytes: nothing behind them is read."""
    double.answer("SerializerParams.GetString", 0, text="A|" + "x" * 300)
    assert zel.PyGetVideoCompressors() == ["A"]


def unpacked_type(pixel_type):
    return MONO10 if pixel_type == MONO10_PACKED else MONO12


EVERY_TYPE = [MONO8, MONO10, MONO12, MONO10_PACKED, MONO12_PACKED, *BAYER, *BAYER_PACKED, *REFUSED]


def test_start(double, fetched):
    """Every pixel type can be started with; packed of any kind is what has a packing."""
    made = 0
    for pixel_type in EVERY_TYPE:
        frame(double, pixel_type)
        assert start(fetched, "Größe.avi", 12.5) is True, hex(pixel_type)
        expected = [("CreateImage", 4, 3, MONO8 if pixel_type >> 24 == 1 else BGR8, True)]
        if pixel_type & 0xF000:
            expected.append(("CreateImage", 4, 3, unpacked_type(pixel_type), True))
        expected += OPTIONS + [("SetString", "movie.compressor", "MJPEG"),
                               ("StartMovieRecord", "image%d" % (made + 1), "Größe.avi", 12.5)]
        made += 2 if pixel_type & 0xF000 else 1
        assert [line for line in story(double) if line[0] != "ReleaseImage"] == expected
        assert zel.GetLastError() == 0


@pytest.mark.parametrize("given, passed", [
    ("x" * 200, "x" * 127), ("x" * 127, "x" * 127), ("x" * 128, "x" * 127), ("", ""),
    ("ä" * 100, "ä".encode() * 63 + b"\xc3")])
def test_compressor_is_cut(double, fetched, given, passed):
    assert start(fetched, compressor=given) is True
    assert double.take_args("SerializerParams.SetString") == ["movie.compressor", passed]


def test_second_start_lets_the_old_images_go(double, fetched):
    frame(double, MONO12_PACKED)
    start(fetched)
    story(double)
    start(fetched)
    told = story(double)
    assert sorted(told[:2]) == [("ReleaseImage", "image1"), ("ReleaseImage", "image2")]
    assert not any(line[0] == "FinishRecord" for line in told)
    frame(double, MONO8)
    start(fetched)
    assert sorted(story(double)[:2]) == [("ReleaseImage", "image3"), ("ReleaseImage", "image4")]
    zel.PyFinishRecord()
    assert story(double) == [("FinishRecord",), ("ReleaseImage", "image5")]


def test_start_that_the_serializer_refuses(double, fetched, messages):
    double.answer("ZelImageSerializer_StartMovieRecord", -40003)
    assert start(fetched) is False and zel.GetLastError() == -40003
    assert messages() == b"ZelImageSerializer_StartMovieRecord failed.  error code: 0xFFFF63BD\n"


def test_start_without_parameters(double, fetched, messages):
    frame(double, MONO8)
    double.answer("ZelImageSerializer_GetComponent", None)
    assert start(fetched) is False
    assert messages() == b"Error, ZelImageSerializer_GetComponent\n"
    assert story(double) == [("CreateImage", 4, 3, MONO8, True), ("GetComponent",),
                             ("ReleaseImage", "image1")]
    zel.PyFinishRecord()
    assert ("ReleaseImage", "released") not in story(double)


def test_options_that_the_serializer_refuses_do_not_matter(double, fetched):
    double.answer("SerializerParams.SetInteger", -40204)
    double.answer("SerializerParams.SetString", -40205)
    assert start(fetched) is True and zel.GetLastError() == 0


def test_wrong_buffers(double, stream, messages):
    empty_double = ("Stream.CreateBuffer", None)
    double.answer(*empty_double)
    empty = stream.CreateBuffer(1)
    messages()
    for call in (start, zel.PySaveMovieFrame):
        for wrong in (42, None, stream, "x"):
            assert call(wrong) is False
            assert messages() == b"Invalid image buffer\n"
        assert call(empty) is False
        assert messages() == b"Invalid zelImage buffer\n"
    assert zel.PyStartMovieRecord(42, 42, "x", 42) is False  # nothing else is looked at
    assert messages() == b"Invalid image buffer\n"
    with pytest.raises(TypeError):
        zel.PyStartMovieRecord(empty, 42, 25, "x")  # here the arguments come first
    double.answer("Stream.CreateBuffer", "Buffer:frame")
    double.answer("Buffer.GetImage", None)
    assert start(stream.CreateBuffer(1)) is False
    assert messages() == b"Invalid zelImage buffer pointer\n"
    assert not any(line[0] in ("CreateImage", "ReleaseImage", "Save") for line in story(double))


@pytest.mark.parametrize("pixel_type", [MONO8, MONO10, MONO12, *BAYER])
def test_frames(double, fetched, pixel_type):
    frame(double, pixel_type)
    start(fetched)
    story(double)
    assert zel.PySaveMovieFrame(fetched, "ignored") is True
    component = "ImageConverter" if pixel_type >> 24 == 1 else "Bayer"
    assert story(double) == [(component, "source", "image1"), ("Save", "image1", None)]
    assert zel.GetLastError() == 0


@pytest.mark.parametrize("pixel_type", [MONO10_PACKED, MONO12_PACKED, *BAYER_PACKED])
def test_packed_frames(double, fetched, pixel_type):
    frame(double, pixel_type)
    start(fetched)
    double.take()
    assert zel.PySaveMovieFrame(fetched) is True
    calls = double.take("ZelImageUnpacker_Unpack")
    assert zel.PySaveMovieFrame(fetched) is True
    component = "ImageConverter" if pixel_type >> 24 == 1 else "Bayer"
    assert story(double) == [
        ("GetComponent",), ("SetInteger", "cameraType", 0), ("SetInteger", "width", 4),
        ("SetInteger", "height", 3), ("Unpack", "source", "image2"),
        (component, "image2", "image1"), ("Save", "image1", None)]
    ten = pixel_type == MONO10_PACKED
    target = calls[0].args[2]
    assert target == {
        "image": "image2", "pixelType": MONO10 if ten else MONO12, "width": 4, "height": 3,
        "bitsPerComponent": 10 if ten else 12, "components": 1,
        "packingAndDepth": 0x0200 if ten else 0x0300, "storedBits": 16}


def test_failures_of_a_frame(double, fetched, messages):
    frame(double, 0x030C1322)
    start(fetched)
    double.answer("ZelBayer_ConvertImage", -40007)
    assert zel.PySaveMovieFrame(fetched) is True and zel.GetLastError() == 0, "recorded all the same"
    assert messages() == b"ZelBayer_ConvertImage failed, error code: 0xFFFF63B9\n"
    double.answer("ZelBayer_ConvertImage", 0)
    double.answer("ZelImageSerializer_Save", -40003)
    assert zel.PySaveMovieFrame(fetched) is False and zel.GetLastError() == -40003
    assert messages() == b"ZelImageSerializer_Save failed.  error code: 0xFFFF63BD\n"
    double.answer("ZelImageUnpacker_Unpack", -1016)
    story(double)
    assert zel.PySaveMovieFrame(fetched) is False
    assert messages() == b"Error, ZelImageUnpacker_Unpack\n"
    double.answer("ZelImageUnpacker_GetComponent", None)
    assert zel.PySaveMovieFrame(fetched) is False
    assert messages() == b"Error, ZelImageUnpacker_GetComponent\n"
    told = story(double)
    assert not any(line[0] in ("Save", "ReleaseImage", "Bayer") for line in told)
    zel.PyFinishRecord()
    assert sorted(story(double)) == [("FinishRecord",), ("ReleaseImage", "image1"),
                                     ("ReleaseImage", "image2")]


def test_only_the_writer_decides_for_mono(double, fetched, messages):
    frame(double, MONO12)
    start(fetched)
    double.answer("ZelImageConverter_ConvertImage", -40007)
    assert zel.PySaveMovieFrame(fetched) is True and zel.GetLastError() == 0


@pytest.mark.parametrize("movie, then, width, recorded", [
    (BAYER[0], MONO8, 4, True), (BAYER[0], MONO12, 4, True), (BAYER[0], BAYER[7], 4, True),
    (RGB8, BAYER[0], 4, True), (MONO8, BAYER[0], 4, False), (MONO8, MONO8, 5, False),
    (BAYER[0], BAYER[0], 5, False)])
def test_frames_unlike_the_first(double, fetched, messages, movie, then, width, recorded):
    """Grey fits into a colour movie; what does not fit never repeats the frame before."""
    frame(double, movie)
    start(fetched)
    frame(double, then, width)
    assert zel.PySaveMovieFrame(fetched) is recorded
    assert [call.args[1]["image"] for call in double.take("ZelImageSerializer_Save")] == [
        "image1"] * recorded
    assert zel.GetLastError() == (0 if recorded else -40007)
    assert messages() == (b"" if recorded else
                          b"ZelImageSerializer_Save failed.  error code: 0xFFFF63B9\n")


@pytest.mark.parametrize("pixel_type", [RGB8, BGR8, 0x010C2307, 0x05100180, *NONSENSE])
def test_frames_of_other_types_do_no_harm(double, fetched, messages, pixel_type):
    start(fetched)
    frame(double, pixel_type)
    double.answer("ZelImageConverter_ConvertImage", -40007)
    double.answer("ZelImageUnpacker_Unpack", -40007)
    double.answer("ZelImageSerializer_Save", -40007)
    assert zel.PySaveMovieFrame(fetched) is False
    messages()


def test_frame_without_a_movie(double, fetched, messages):
    zel.PyGetVideoCompressors()  # makes the writer, which then says what is wrong
    zel.PyFinishRecord()
    double.take()
    double.answer("ZelImageSerializer_Save", -40051)
    for pixel_type in (MONO8, MONO12_PACKED, BAYER[0], 0x030C1322):
        frame(double, pixel_type)
        double.take()
        assert zel.PySaveMovieFrame(fetched) is False and zel.GetLastError() == -40051
        assert story(double) == [("Save", None, None)]
        assert messages() == b"ZelImageSerializer_Save failed.  error code: 0xFFFF638D\n"


def test_finish(double, fetched, messages):
    frame(double, MONO10_PACKED)
    start(fetched)
    story(double)
    double.answer("ZelImageSerializer_FinishRecord", -40003)
    assert zel.PyFinishRecord() is False and zel.GetLastError() == -40003
    assert messages() == b"ZelImageSerializer_FinishRecord failed.  error code: 0xFFFF63BD\n"
    told = story(double)
    assert told[0] == ("FinishRecord",)
    assert sorted(told[1:]) == [("ReleaseImage", "image1"), ("ReleaseImage", "image2")]
    double.answer("ZelImageSerializer_FinishRecord", 0)
    assert zel.PyFinishRecord() is True and zel.GetLastError() == 0  # also when nothing is open
    assert story(double) == [("FinishRecord",)]


def test_movie_and_pictures_share_their_serializer(run_program, tmp_path):
    calls = component_calls(run_program, tmp_path, """
assert zel.PyGetVideoCompressors() == []
save(0x01080101)
""", endings="_CreateComponent")
    assert calls == [("Serializer_CreateComponent", 1)]


def test_first_use_of_everything_without_a_serializer(run_program, tmp_path):
    component_calls(run_program, tmp_path, """
double.answer("ZelImageSerializer_FinishRecord", -40051)
double.answer("ZelImageSerializer_Save", -40051)
assert zel.PyFinishRecord() is False
assert zel.PySaveMovieFrame(stream.GetBuffer()) is False
""")
    component_calls(run_program, tmp_path, """
double.answer("ZelImageSerializer_CreateComponent", None)
assert zel.PyGetVideoCompressors() is None
assert zel.PyStartMovieRecord(stream.GetBuffer(), "m.avi", 25, "x") is False
double.answer("ZelImageSerializer_CreateComponent", "Serializer:late")
assert zel.PyStartMovieRecord(stream.GetBuffer(), "m.avi", 25, "x") is True
""")


def test_exit_while_recording(run_program):
    run_program(FIRST_USE % (__file__.rsplit("/", 1)[0], """
assert zel.PyStartMovieRecord(stream.GetBuffer(), "m.avi", 25, "x") is True
"""))
