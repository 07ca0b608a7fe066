"""Pictures and movies of cameras of any family, read back."""

import struct
import zlib

import pytest

from camera_tools import reset

# What can be saved: mono and Bayer of 8, 10 and 12 bits.
SAVED = {"Mono8", "Mono10", "Mono12", "Mono10Packed", "Mono12Packed"} | {
    "Bayer%s%s" % (order, depth) for order in ("GR", "RG", "GB", "BG")
    for depth in ("8", "10", "12", "10Packed", "12Packed")}


def one_frame(device):
    """A frame with the present settings, and the stream to be released."""
    stream = device.GetStreamByIndex(0)
    assert stream.AllocBufferQueue(3) and stream.StartAcquisition()
    buffer = stream.GetBuffer(3000)
    assert buffer is not None and not buffer.IsIncomplete()
    stream.StopAcquisition(0)
    return stream, buffer


def read_pnm(path):
    """(width, height, channels, bytes) of a binary PNM file with 8 bits."""
    kind, size, deepest, pixels = path.read_bytes().split(b"\n", 3)
    width, height = map(int, size.split())
    assert deepest == b"255"
    return width, height, {b"P5": 1, b"P6": 3}[kind], pixels


def read_png(path):
    data, at, packed = path.read_bytes(), 8, b""
    assert data.startswith(b"\x89PNG\r\n\x1a\n")
    while at < len(data):
        length, kind = struct.unpack(">I4s", data[at:at + 8])
        body = data[at + 8:at + 8 + length]
        assert zlib.crc32(kind + body) == struct.unpack(">I", data[at + 8 + length:at + 12 + length])[0]
        if kind == b"IHDR":
            width, height, depth, colour = struct.unpack(">IIBB", body[:10])
        packed += body if kind == b"IDAT" else b""
        at += 12 + length
    assert depth == 8
    channels = {0: 1, 2: 3}[colour]
    raw, stride, rows = zlib.decompress(packed), width * channels, [bytearray(width * channels)]
    for y in range(height):
        method, row = raw[y * (stride + 1)], bytearray(raw[y * (stride + 1) + 1:(y + 1) * (stride + 1)])
        above = rows[-1]
        for x in range(stride):
            left = row[x - channels] if x >= channels else 0
            corner = above[x - channels] if x >= channels else 0
            guess = left + above[x] - corner
            paeth = min((left, above[x], corner), key=lambda value: abs(guess - value))
            row[x] = (row[x] + (0, left, above[x], (left + above[x]) // 2, paeth)[method]) & 255
        rows.append(row)
    return width, height, channels, b"".join(rows[1:])


def read_bmp(path):
    data = path.read_bytes()
    start, = struct.unpack("<I", data[10:14])
    width, height, _, bits = struct.unpack("<iiHH", data[18:30])
    channels, stride = bits // 8, (width * bits // 8 + 3) // 4 * 4
    rows = [data[start + y * stride:start + y * stride + width * channels] for y in range(abs(height))]
    pixels = b"".join(rows if height < 0 else reversed(rows))
    if channels == 3:  # stored as blue, green, red
        pixels = b"".join(pixels[i + 2:i - 1 if i else None:-1] for i in range(0, len(pixels), 3))
    return width, abs(height), channels, pixels


def samples(name, data, count):
    """The frame's samples, whatever their packing, as a list; None where this does not know it."""
    if name.endswith("Packed"):
        low = (2, 3) if name.endswith("10Packed") else (4, 15)
        values = []
        for i in range(0, len(data) - 2, 3):
            values += [data[i] << low[0] | data[i + 1] & low[1],
                       data[i + 2] << low[0] | data[i + 1] >> 4 & low[1]]
        return values[:count]
    return list(data) if name.endswith("8") else list(memoryview(bytes(data)).cast("H"))


def test_every_format_has_its_size_and_is_saved_or_refused(zel, every_camera, tmp_path, messages):
    seen = set()
    for device in every_camera():
        camera = device.GetCameraParameters()
        reset(camera)
        for name in ("Width", "Height"):
            feature = camera.GetInt(name)
            assert camera.SetIntegerValue(name, -(-36 // feature.GetIncrement()[1]) * feature.GetIncrement()[1])
        formats = camera.GetEnum("PixelFormat")
        for index in range(formats.GetCount()[1]):
            entry = formats.GetEnumEntryByIndex(index)
            if not entry.IsAvailable():
                continue
            name = entry.GetValueStr()[1]
            assert camera.SetEnumValue("PixelFormat", entry.GetValue()[1])
            stream, buffer = one_frame(device)
            data = buffer.GetBufferPtr()
            bits = (entry.GetValue()[1] >> 16) & 0xFF
            count = buffer.GetWidth() * buffer.GetHeight()
            assert buffer.GetPixelFormat() == entry.GetValue()[1]
            assert len(data) == (count * bits + 7) // 8 == stream.GetBufferSize(), name
            if name in ("Mono10", "Mono12", "Mono14") or name[:5] == "Bayer" and name[-2:] in "10 12 14":
                assert max(memoryview(bytes(data)).cast("H")) < 1 << int(name[-2:]), name
            saved = zel.PySaveImage(buffer, str(tmp_path / "frame.png"))
            assert saved == (name in SAVED), name
            assert len(set(data)) > 4, (name, "there is something to see")
            if name in SAVED and name not in seen:
                look_at_pictures(zel, buffer, name, data, tmp_path)
            seen.add(name)
            stream.Release()
    refused = messages()
    assert set(refused.splitlines()) <= {b"Error, not supported pixel type",
                                         b"Invalid zelImage buffer pointer"}
    assert "Mono8" in seen and any(name.startswith("Bayer") for name in seen)


def look_at_pictures(zel, buffer, name, data, tmp_path):
    """Saves as everything that can be read back here, and compares the pixels."""
    width, height = buffer.GetWidth(), buffer.GetHeight()
    values = samples(name, data, width * height)
    depth = int("".join(c for c in name if c.isdigit()))
    pictures = []
    for extension, reader in (("png", read_png), ("bmp", read_bmp),
                              ("pgm" if name.startswith("Mono") else "ppm", read_pnm)):
        path = tmp_path / ("frame." + extension)
        assert zel.PySaveImage(buffer, str(path)), (name, extension)
        pictures.append(reader(path))
        assert pictures[-1][:2] == (width, height), (name, extension)
    assert pictures[0][3] == pictures[2][3], name
    pixels = pictures[0][3]
    if name.startswith("Mono"):
        assert pictures[0][2] == 1
        wanted = bytes(value >> depth - 8 for value in values)
        assert pixels == wanted, name
        assert pictures[1][3] in (wanted, bytes(v for value in wanted for v in (value,) * 3)), name
        return
    assert pictures[1][3] == pixels and pictures[0][2] == 3, name
    # A sample keeps its value in the channel of its colour; deep ones are rounded.
    allowed = 0 if depth == 8 else 1
    order = name[5:7]
    tile = {"GR": "GRBG", "RG": "RGGB", "GB": "GBRG", "BG": "BGGR"}[order]
    for y in range(2, height - 2):
        for x in range(2, width - 2):
            channel = "RGB".index(tile[y % 2 * 2 + x % 2])
            sample = values[y * width + x] >> depth - 8
            difference = abs(pixels[(y * width + x) * 3 + channel] - sample)
            assert difference <= allowed, (name, x, y)


def test_other_files_and_wrong_names(zel, device, camera, tmp_path, messages):
    assert camera.SetEnumValueStr("PixelFormat", "Mono8")
    stream, buffer = one_frame(device)
    for extension, magic in (("tiff", b"II*\0"), ("tif", b"II*\0"), ("jpg", b"\xff\xd8\xff"),
                             ("JPEG", b"\xff\xd8\xff")):
        path = tmp_path / ("frame." + extension)
        assert zel.PySaveImage(buffer, str(path)), extension
        assert path.read_bytes().startswith(magic) and path.stat().st_size > 500
    for name in ("frame", "frame.xyz", "no/such/folder.png"):
        assert not zel.PySaveImage(buffer, str(tmp_path / name))
    assert messages().count(b"\n") >= 3
    stream.Release()


@pytest.mark.parametrize("pixel_format", ["Mono8", "BayerRG8"])
def test_movies_have_their_frames(zel, infos, open_device, tmp_path, pixel_format):
    for info in infos.values():
        device = open_device(info)
        camera = device.GetCameraParameters()
        if camera.SetEnumValueStr("PixelFormat", pixel_format):
            break
        device.Release()
    assert camera.SetIntegerValue("Width", 320) and camera.SetIntegerValue("Height", 240)
    stream = device.GetStreamByIndex(0)
    assert stream.AllocBufferQueue(4) and stream.StartAcquisition()
    path = tmp_path / "movie.avi"
    buffer = stream.GetBuffer(3000)
    assert zel.PyStartMovieRecord(buffer, str(path), 25.0, "mjpeg")
    assert stream.QueueBuffer(buffer)
    for _ in range(12):
        buffer = stream.GetBuffer(3000)
        assert zel.PySaveMovieFrame(buffer)
        assert stream.QueueBuffer(buffer)
    assert zel.PyFinishRecord()
    data = path.read_bytes()
    header = data.index(b"avih") + 8
    assert data[:4] == b"RIFF" and data[8:12] == b"AVI "
    assert struct.unpack("<I", data[header + 16:header + 20])[0] == data.count(b"\xff\xd8\xff") >= 12
    assert struct.unpack("<II", data[header + 32:header + 40]) == (320, 240)
    stream.Release()


def test_movies_of_packed_formats_show_what_unpacked_ones_do(zel, infos, open_device, tmp_path):
    """The first frame of an uncompressed movie of each, compared with the format it holds."""
    for kinds in (("Mono10", "Mono10p", "Mono12p"), ("BayerRG10", "BayerRG10p", "BayerRG12p")):
        means = {}
        for info in infos.values():
            device = open_device(info)
            camera = device.GetCameraParameters()
            if not camera.SetEnumValueStr("PixelFormat", kinds[1]):
                device.Release()
                continue
            for kind in kinds:
                assert camera.SetEnumValueStr("PixelFormat", kind)
                stream, buffer = one_frame(device)
                path = str(tmp_path / "movie.avi")
                assert zel.PyStartMovieRecord(buffer, path, 25.0, "uncompressed"), kind
                assert zel.PySaveMovieFrame(buffer) and zel.PySaveMovieFrame(buffer), kind
                assert zel.PyFinishRecord()
                stream.Release()
                data = open(path, "rb").read()
                at = data.index(b"00d", data.index(b"movi"))
                size, = struct.unpack("<I", data[at + 4:at + 8])
                means[kind] = sum(data[at + 8:at + 8 + size]) / size
            device.Release()
            break
        # The scene moves between the frames; a wrong depth is four times as bright or dark.
        for kind in means:
            assert abs(means[kind] - means[kinds[0]]) < 0.2 * means[kinds[0]], means
