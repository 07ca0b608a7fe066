"""Pixel types, and the log of the image components in short form."""

MONO8, MONO10, MONO12 = 0x01080101, 0x01100202, 0x01100306
MONO10_PACKED, MONO12_PACKED = 0x010C1204, 0x010C1308
RGB8, BGR8 = 0x02180171, 0x02180172
BAYER = [first + i for first in (0x0308010D, 0x03100211, 0x03100315) for i in range(4)]
# packed type: the unpacked type of the same order and depth
BAYER_PACKED = {first + 2 * i: unpacked + i for first, unpacked in
                ((0x030C121A, 0x03100211), (0x030C1322, 0x03100315)) for i in range(4)}

# First code and number of codes of every run of the other pixel types.
REFUSED_RUNS = [
    (0x010A2203, 1), (0x010C3205, 1), (0x010C2307, 1), (0x010C3309, 1), (0x0110040A, 1),
    (0x0110050B, 1), (0x0108310C, 1), (0x03100429, 4), (0x0310052D, 4), (0x04080131, 16),
    (0x04100241, 16), (0x04100351, 16), (0x04100461, 16), (0x02180171, 2), (0x02200173, 2),
    (0x02300275, 2), (0x02300377, 2), (0x02300479, 2), (0x0230057B, 2), (0x0218317D, 1),
    (0x0220327E, 1), (0x0224337F, 1), (0x05100180, 2), (0x05200282, 1), (0x05143283, 1),
    (0x05200184, 1), (0x05100185, 1)]
REFUSED = [first + i for first, count in REFUSED_RUNS for i in range(count)] + [
    first + 2 * i for first in (0x030A2219, 0x030C2321) for i in range(4)]
NONSENSE = [0, 1, 0xFFFFFFFF, 0x01080001, 0x01080102, 0x03080111]

assert len({MONO8, MONO10, MONO12, MONO10_PACKED, MONO12_PACKED} | set(BAYER) | set(BAYER_PACKED)
           | set(REFUSED)) == 133


def short(argument):
    return argument["image"] if isinstance(argument, dict) else argument


def story(double):
    """The component calls since the last look, without the creation of components: first the
    operation, then its arguments with images by name and without the component's handle."""
    lines = []
    for call in double.take():
        if call.name.startswith(("Buffer.", "Stream.", "Device.")) or \
                call.name.endswith("_CreateComponent"):
            continue
        operation = call.name.rsplit("_", 1)[-1].rsplit(".", 1)[-1].replace("Zel", "")
        if operation == "ConvertImage":
            operation = call.name[3:].split("_")[0]
        arguments = [short(argument) for argument in call.args]
        if "_" in call.name:
            del arguments[0]
        lines.append((operation, *arguments))
    return lines


def unpacking(target_type, name="image1", width=4, height=3):
    return [("GetComponent",), ("SetInteger", "cameraType", 0), ("SetInteger", "width", width),
            ("SetInteger", "height", height), ("CreateImage", width, height, target_type, True),
            ("Unpack", "source", name)]
