"""Saving a buffer as a picture: which components do what, and every failure."""

import json

import libZelCameraApiPy as zel
import pytest
from imaging_tools import (BAYER, BAYER_PACKED, MONO8, MONO10, MONO10_PACKED, MONO12, MONO12_PACKED,
                           NONSENSE, REFUSED, RGB8, story, unpacking)

PLAIN = ["a.png", "a.tif", "a.TIFF", "a.Tiff", "a", "a.tiff.png", "dir.tiff/a", "a.tiff ", "a."]
TIFF = ["a.tiff", ".tiff", "a.b.tiff", "dir.x/a.tiff"]


def frame(double, pixel_type, width=4, height=3):
    double.answer("Buffer.GetImage", {"pixelType": pixel_type, "width": width, "height": height})
    double.take()


def to_mono8(source, name="image1"):
    return [("CreateImage", 4, 3, MONO8, True), ("ImageConverter", source, name)]


@pytest.mark.parametrize("name", PLAIN + TIFF)
def test_mono8_is_saved_as_it_is(double, fetched, name):
    frame(double, MONO8)
    assert zel.PySaveImage(fetched, name, "ignored") is True
    assert story(double) == [("Save", "source", name)] and zel.GetLastError() == 0


@pytest.mark.parametrize("pixel_type", [MONO10, MONO12])
def test_deep_mono(double, fetched, pixel_type):
    frame(double, pixel_type)
    for name in TIFF:
        assert zel.PySaveImage(fetched, name) is True
        assert story(double) == [("Save", "source", name)]
    for number, name in enumerate(PLAIN, 1):
        assert zel.PySaveImage(fetched, name) is True
        image = "image%d" % number
        assert story(double) == to_mono8("source", image) + [("Save", image, name),
                                                             ("ReleaseImage", image)]


@pytest.mark.parametrize("packed, unpacked", [(MONO10_PACKED, MONO10), (MONO12_PACKED, MONO12)])
def test_packed_mono(double, fetched, packed, unpacked):
    frame(double, packed)
    assert zel.PySaveImage(fetched, "a.tiff") is True
    assert story(double) == unpacking(unpacked) + [("Save", "image1", "a.tiff"),
                                                   ("ReleaseImage", "image1")]
    assert zel.PySaveImage(fetched, "a.png") is True
    told = story(double)
    assert told[:-2] == unpacking(unpacked, "image2") + to_mono8("image2", "image3") + [
        ("Save", "image3", "a.png")]
    assert sorted(told[-2:]) == [("ReleaseImage", "image2"), ("ReleaseImage", "image3")]


@pytest.mark.parametrize("pixel_type", BAYER)
def test_bayer(double, fetched, pixel_type):
    frame(double, pixel_type)
    assert zel.PySaveImage(fetched, "a.tiff") is True
    assert story(double) == [("CreateImage", 4, 3, RGB8, True), ("Bayer", "source", "image1"),
                             ("Save", "image1", "a.tiff"), ("ReleaseImage", "image1")]


@pytest.mark.parametrize("packed, unpacked", BAYER_PACKED.items())
def test_packed_bayer(double, fetched, packed, unpacked):
    frame(double, packed)
    assert zel.PySaveImage(fetched, "a.png") is True
    assert story(double) == unpacking(unpacked) + [
        ("CreateImage", 4, 3, RGB8, True), ("Bayer", "image1", "image2"),
        ("Save", "image2", "a.png"), ("ReleaseImage", "image2"), ("ReleaseImage", "image1")]


def test_refused_pixel_types(double, fetched, messages):
    """All other rows of the format table, numbers of another standard, and nonsense."""
    double.answer("ZelImageSerializer_Save", -40007)
    frame(double, MONO8)
    zel.PySaveImage(fetched, "x")
    messages()
    for pixel_type in REFUSED + NONSENSE:
        frame(double, pixel_type)
        assert zel.PySaveImage(fetched, "a.tiff") is False, hex(pixel_type)
        assert messages() == b"Error, not supported pixel type\n"
        assert story(double) == []
    assert zel.GetLastError() == -40007  # as it was


def test_components_say_what_is_wrong_with_a_missing_image(double, fetched, messages):
    double.answer("ZelCreateImage", refused=True)
    double.answer("ZelImageSerializer_Save", -40007)
    double.answer("ZelImageUnpacker_Unpack", -40007)
    frame(double, MONO12)
    assert zel.PySaveImage(fetched, "a.png") is False and zel.GetLastError() == -40007
    assert story(double)[-2:] == [("ImageConverter", "source", None), ("Save", None, "a.png")]
    assert messages() == b"ZelImageSerializer_Save failed, error code: -40007\n"
    frame(double, MONO12_PACKED)
    assert zel.PySaveImage(fetched, "a.png") is False and zel.GetLastError() == -40007
    assert story(double)[-1] == ("Unpack", "source", None)
    double.answer("ZelImageUnpacker_Unpack", 0)
    for pixel_type in (MONO12_PACKED, next(iter(BAYER_PACKED))):
        frame(double, pixel_type)
        assert zel.PySaveImage(fetched, "a.png") is False
    messages()


def test_large_images_keep_their_size(double, fetched):
    frame(double, MONO12_PACKED, 20480, 20479)
    zel.PySaveImage(fetched, "a.tiff")
    assert story(double)[:6] == unpacking(MONO12, width=20480, height=20479)


@pytest.mark.parametrize("wrong", [42, None, "buffer", "@stream", "@device", "@image"])
def test_wrong_buffers(double, thing, fetched, messages, wrong):
    if isinstance(wrong, str) and wrong[0] == "@":
        wrong = fetched.GetImage() if wrong == "@image" else thing(wrong[1:])
    double.take()
    assert zel.PySaveImage(wrong, "a.png") is False
    assert messages() == b"Invalid image buffer\n"
    assert zel.PySaveImage(wrong, 42) is False  # the name is not looked at
    assert messages() == b"Invalid image buffer\n"
    assert story(double) == []


def test_buffer_without_a_frame(double, stream, messages):
    double.answer("Stream.CreateBuffer", None, err=-1)
    empty = stream.CreateBuffer(1)
    messages()
    assert zel.PySaveImage(empty, "a.png") is False
    assert messages() == b"Invalid zelImage buffer\n"
    double.answer("Stream.CreateBuffer", "Buffer:frame")
    double.answer("Buffer.GetImage", None)
    assert zel.PySaveImage(stream.CreateBuffer(1), "a.png") is False
    assert messages() == b"Invalid zelImage buffer pointer\n"
    assert story(double) == []


def test_failed_direct_save(double, fetched, messages):
    for pixel_type, name in ((MONO8, "a.png"), (MONO12, "a.tiff"), (MONO12, "a.png"),
                             (MONO12_PACKED, "a.tiff"), (MONO12_PACKED, "a.png")):
        frame(double, pixel_type)
        double.answer("ZelImageSerializer_Save", -40003)
        assert zel.PySaveImage(fetched, name) is False
        assert messages() == b"ZelImageSerializer_Save failed, error code: -40003\n"
        assert zel.GetLastError() == -40003
        told = story(double)
        made = sum(line[0] == "CreateImage" for line in told)
        assert sum(line[0] == "ReleaseImage" for line in told) == made


def test_failed_conversion_to_8_bits_does_not_matter(double, fetched):
    frame(double, MONO10)
    double.answer("ZelImageConverter_ConvertImage", -40007)
    assert zel.PySaveImage(fetched, "a.png") is True and zel.GetLastError() == 0


@pytest.mark.parametrize("pixel_type", [MONO10_PACKED, 0x030C121C])
def test_failed_unpacking(double, fetched, messages, pixel_type):
    frame(double, pixel_type)
    double.answer("ZelImageUnpacker_Unpack", -1016)
    assert zel.PySaveImage(fetched, "a.png") is False
    assert messages() == b"Error, ZelImageUnpacker_Unpack\n" and zel.GetLastError() == -1016
    assert story(double)[-2:] == [("Unpack", "source", "image1"), ("ReleaseImage", "image1")]
    double.answer("ZelImageUnpacker_GetComponent", None)
    assert zel.PySaveImage(fetched, "a.png") is False
    assert messages() == b"Error, ZelImageUnpacker_GetComponent\n" and zel.GetLastError() == -1016
    assert story(double) == [("GetComponent",)]


def test_failed_demosaicing_saves_all_the_same(double, fetched, messages):
    frame(double, BAYER[0])
    double.answer("ZelBayer_ConvertImage", -40007)
    assert zel.PySaveImage(fetched, "a.png") is True
    assert messages() == b"ZelBayer_ConvertImage failed, error code: 0xFFFF63B9\n"
    assert zel.GetLastError() == 0 and ("Save", "image1", "a.png") in story(double)


@pytest.mark.parametrize("pixel_type", [BAYER[5], 0x030C1328])
def test_failed_colour_save(double, fetched, messages, pixel_type):
    frame(double, pixel_type)
    double.answer("ZelBayer_ConvertImage", 16)
    double.answer("ZelImageSerializer_Save", -40002)
    name = "größe%s%n.png"
    assert zel.PySaveImage(fetched, name) is False
    assert messages() == ("ZelBayer_ConvertImage failed, error code: 0x10\n"
                          "ZelImageSerializer_Save failed, filename: %s  error code: 0xFFFF63BE\n"
                          ).replace("%s", name, 1).encode()
    assert zel.GetLastError() == -40002
    told = story(double)
    made = [line for line in told if line[0] == "CreateImage"]
    assert sorted(line[1] for line in told if line[0] == "ReleaseImage") == [
        "image%d" % number for number in range(1, len(made) + 1)]


def test_no_memory_for_a_colour_image(double, fetched, messages):
    double.answer("ZelCreateImage", refused=True)
    frame(double, BAYER[0])
    assert zel.PySaveImage(fetched, "a.png") is False
    assert messages() == b"Error, unable to create RGB image\n"
    assert story(double) == [("CreateImage", 4, 3, RGB8, True)]
    double.answers("ZelCreateImage", {}, {"refused": True})
    frame(double, 0x030C1322)
    assert zel.PySaveImage(fetched, "a.png") is False
    assert messages() == b"Error, unable to create RGB image\n"
    assert story(double)[-1] == ("ReleaseImage", "image1")


@pytest.mark.parametrize("pixel_type", [MONO12, MONO12_PACKED, 0x030C1322])
def test_no_memory_at_all(double, fetched, messages, pixel_type):
    """Components refuse a missing image; nothing crashes and nothing is saved."""
    frame(double, pixel_type)
    double.answer("ZelCreateImage", refused=True)
    double.answer("ZelImageUnpacker_Unpack", -40007)
    double.answer("ZelImageSerializer_Save", -40007)
    assert zel.PySaveImage(fetched, "a.png") is False
    assert messages() != b""
    assert not any("image1" in line for line in story(double))


FIRST_USE = """
import os, sys
sys.path.insert(0, %r)
import libZelCameraApiPy as zel
from scripted import Double
double = Double(os.path.join(os.environ["ZELCAM_TEST_BUILD"], "double"))
double.reset()
stream = zel.PyZelCreateDevice().GetStreamByIndex(0)
stream.AllocBufferQueue(1)
def save(pixel_type, name="a.png", result=True):
    double.answer("Buffer.GetImage", {"pixelType": pixel_type, "width": 4, "height": 3})
    assert zel.PySaveImage(stream.GetBuffer(), name) is result
%s
"""


def component_calls(run_program, tmp_path, steps, endings=("_CreateComponent", "_DeleteComponent")):
    log = tmp_path / "log"
    run_program(FIRST_USE % (__file__.rsplit("/", 1)[0], steps), ZELDOUBLE_LOG=str(log))
    calls = [json.loads(line) for line in log.read_text().splitlines()]
    return [(call["call"][3:].replace("Image", ""), *call["args"]) for call in calls
            if call["call"].endswith(endings)]


def test_components_are_made_once_and_when_needed(run_program, tmp_path):
    calls = component_calls(run_program, tmp_path, """
save(0x01080101); save(0x01100306, "a.tiff"); save(0x0308010D); save(0x010C1204); save(0x030C1328)
""")
    created = [call for call in calls if call[0].endswith("_CreateComponent")]
    assert created == [("Serializer_CreateComponent", 0), ("Converter_CreateComponent",),
                       ("Bayer_CreateComponent",), ("Unpacker_CreateComponent",)]
    deleted = [call for call in calls if call not in created]
    assert calls == created + deleted
    assert deleted in ([], [("Serializer_DeleteComponent", "Serializer:one"),
                            ("Bayer_DeleteComponent", "Bayer:one"),
                            ("Unpacker_DeleteComponent", "Unpacker:one"),
                            ("Converter_DeleteComponent", "Converter:one")])


def test_serializer_is_made_before_the_buffer_is_looked_at(run_program, tmp_path):
    calls = component_calls(run_program, tmp_path, """
double.answer("Stream.CreateBuffer", None)
assert zel.PySaveImage(42, "a") is False
double.core.zeldouble_record(1)
assert not any(call.name.startswith("ZelImage") for call in double.calls())
assert zel.PySaveImage(stream.CreateBuffer(1), "a") is False
""", endings="_CreateComponent")
    assert calls == [("Serializer_CreateComponent", 0)]


def test_components_that_cannot_be_made(run_program, tmp_path):
    """Saving fails by the codes that come back for missing components, or by the missing."""
    component_calls(run_program, tmp_path, """
for name in ("ImageSerializer", "ImageUnpacker", "Bayer", "ImageConverter"):
    double.answer("Zel%s_CreateComponent" % name, None)
double.answer("ZelImageUnpacker_GetComponent", None)
double.answer("ZelImageSerializer_Save", -40007)
for pixel_type in (0x01080101, 0x01100306, 0x0308010D, 0x010C1204, 0x030C1328):
    save(pixel_type, result=False)
""")
