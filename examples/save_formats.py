"""Save one frame of every pixel format that can become a picture, in every kind of file."""
from __future__ import annotations

import os
import sys
from typing import List

import libZelCameraApiPy as zel
from cameras import camera_of, every_camera, info_of, parser_of, stream_of

EXTENSIONS = ("png", "tiff", "jpg", "bmp", "pgm")


def formats_of(camera: zel.PyGenParams) -> List[str]:
    """Names of the pixel formats that can be chosen now."""
    enumeration = camera.GetEnum("PixelFormat")
    if enumeration is None:
        return []
    entries = (enumeration.GetEnumEntryByIndex(i) for i in range(enumeration.GetCount()[1] or 0))
    return [entry.GetValueStr()[1] or "?" for entry in entries if entry and entry.IsAvailable()]


def save_each_format(device: zel.PyDevice, folder: str) -> int:
    """Grabs and saves; returns the number of files written."""
    camera = camera_of(device)
    stream = stream_of(device)
    written = 0
    for name in formats_of(camera):
        camera.SetEnumValueStr("PixelFormat", name)
        if not stream.AllocBufferQueue(3) or not stream.StartAcquisition():
            print("%-16s no acquisition" % name)
            continue
        buffer = stream.GetBuffer(3000)
        stream.StopAcquisition(0)
        saved: List[str] = []
        for extension in EXTENSIONS:
            if extension == "pgm" and not name.startswith("Mono"):
                extension = "ppm"
            path = os.path.join(folder, "%s_%s.%s" % (
                info_of(device).GetModel().replace(" ", "_"), name, extension))
            if buffer is not None and zel.PySaveImage(buffer, path):
                saved.append(extension)
        written += len(saved)
        print("%-16s %s" % (name, " ".join(saved) or "cannot be saved as a picture"))
        stream.ReleaseBufferQueue()
    stream.Release()
    return written


def main() -> None:
    """Runs over all cameras that are free, or over the one that was named."""
    parser = parser_of(__doc__)
    parser.add_argument("--output", default="demo-output/formats")
    arguments = parser.parse_args()
    os.makedirs(arguments.output, exist_ok=True)
    total = 0
    for info in every_camera():
        if arguments.serial not in (None, info.GetSerialNumber()):
            continue
        device = zel.PyZelCreateDevice(info)
        if device.IsValid():
            print(device.GetDisplayName())
            total += save_each_format(device, arguments.output)
            device.Release()
    print("%d files in %s/" % (total, arguments.output))
    sys.exit(0 if total else "no picture was saved")


if __name__ == "__main__":
    main()
