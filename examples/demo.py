"""Find every camera, show what it is, grab frames from each and leave pictures and a movie.

Runs on the built-in simulated cameras when no real one is connected.
"""
from __future__ import annotations

import os
import sys
import time
from typing import Any, Dict, List, Optional

import libZelCameraApiPy as zel
from cameras import camera_of, info_of, parser_of, stream_of

INTERFACE_TYPES = {1: "USB3 Vision", 2: "GigE Vision", 3: "Camera Link", 4: "CoaXPress", 5: "HD-SDI"}
ACCESS = {1: "free", 2: "read only", 3: "no access", 4: "busy", 5: "open", 6: "open, read only"}
SHOWN = ("Width", "Height", "PixelFormat", "ExposureTime", "Gain", "AcquisitionFrameRate",
         "DeviceTemperature")
# What a picture file can be made of, best first.
SAVED_FORMATS = ("BayerRG8", "BayerGB8", "BayerGR8", "BayerBG8", "RGB8", "Mono8")


def value_of(parameters: zel.PyGenParams, name: str) -> Optional[str]:
    """Value of a parameter as text with its unit, or None."""
    parameter: Any = parameters.GetParam(name)
    if parameter is None or not parameter.IsReadable():
        return None
    kind = parameter.GetType()
    if kind == parameters.ParamFloat:
        number = parameters.GetFloat(name)
        unit = number.GetUnit()[1] if number is not None else ""
        return ("%g %s" % (parameters.GetFloatValue(name)[1] or 0.0, unit or "")).strip()
    readers: Dict[int, Any] = {parameters.ParamInt: parameters.GetIntegerValue,
               parameters.ParamEnum: parameters.GetEnumValueStr,
               parameters.ParamBoolean: parameters.GetBooleanValue,
               parameters.ParamString: parameters.GetStringValue}
    return str(readers[kind](name)[1]) if kind in readers else None


def find_cameras(system: zel._PyZelSystem) -> List[zel.PyDeviceInfo]:
    """Prints what is connected and returns the device infos."""
    found: List[zel.PyDeviceInfo] = []
    for interface in system.GetInterfaceList() or []:
        interface.ReEnumerateDevices(1000)
        kind = INTERFACE_TYPES.get(interface.GetType(), "?")
        print("%-11s  %s" % (kind, interface.GetDescription()))
        for info in interface.GetDeviceInfoList() or []:
            address = info.GetIPAddress() if info.GetIP()[0] else ""
            print("  %-34s serial %-12s %-6s %s" % (
                info.GetDisplayName(), info.GetSerialNumber(),
                ACCESS.get(info.GetAccessStatus(), "?"), address))
            found.append(info)
    return found


def save_rgb(buffer: zel.PyBuffer, name: str) -> bool:
    """Writes red, green and blue as they came: PySaveImage is for grey and Bayer frames."""
    size = 3 * buffer.GetWidth() * buffer.GetHeight()
    with open(name, "wb") as file:
        file.write(b"P6 %d %d 255\n" % (buffer.GetWidth(), buffer.GetHeight()))
        file.write(bytes(buffer.GetBufferPtr())[:size])
    return True


def grab(device: zel.PyDevice, frames: int, folder: str, movie: bool) -> bool:
    """Grabs frames from an open device, saves pictures (and a movie); returns False on failure."""
    camera = camera_of(device)
    for name in SAVED_FORMATS:
        if camera.SetEnumValueStr("PixelFormat", name):
            break
    for name in SHOWN:
        value = value_of(camera, name)
        if value is not None:
            print("    %-22s %s" % (name, value))

    stream = stream_of(device)
    if not stream.AllocBufferQueue(max(8, stream.GetMinNumBuffers())):
        print("    no buffers: code %d" % stream.GetLastError())
        return False
    stream.StartAcquisition()
    good = True
    ids: List[int] = []
    stamps: List[int] = []
    incomplete, bytes_seen = 0, 0
    stem = os.path.join(folder, info_of(device).GetModel().replace(" ", "_"))
    start = time.perf_counter()
    for index in range(frames):
        buffer = stream.GetBuffer(3000)
        if buffer is None:
            print("    frame %d did not arrive: code %d" % (index, stream.GetLastError()))
            good = False
            break
        ids.append(buffer.GetFrameID())
        stamps.append(buffer.GetTimestamp())
        incomplete += buffer.IsIncomplete()
        bytes_seen += len(buffer.GetBufferPtr())
        if movie and index == 0:
            good &= zel.PyStartMovieRecord(buffer, os.path.join(folder, "movie.avi"), 25.0, "mjpeg")
        if movie:
            good &= zel.PySaveMovieFrame(buffer)
        stream.QueueBuffer(buffer)
    seconds = time.perf_counter() - start
    if movie:
        good &= zel.PyFinishRecord()
        print("    movie                  %s" % os.path.join(folder, "movie.avi"))
    if good:
        period = (stamps[-1] - stamps[0]) / 1e6 / max(1, len(stamps) - 1)
        print("    %d frames in %.2f s: %.1f fps, %.0f MB/s, camera period %.2f ms, ids %d to %d, "
              "%d lost, %d incomplete" % (
                  len(ids), seconds, len(ids) / seconds, bytes_seen / seconds / 1e6, period,
                  ids[0], ids[-1], ids[-1] - ids[0] + 1 - len(ids), incomplete))
        buffer = stream.GetBuffer(3000)
        in_colour = camera.GetEnumValueStr("PixelFormat")[1] == "RGB8"
        for extension in ("ppm",) if in_colour else ("png", "tiff", "jpg"):
            name = stem + "." + extension
            save = save_rgb if in_colour else zel.PySaveImage
            saved = buffer is not None and save(buffer, name)
            print("    %-22s %s" % ("saved" if saved else "NOT SAVED", name))
            good &= saved
    stream.StopAcquisition(0)
    stream.ReleaseBufferQueue()
    stream.Release()
    return good


def main() -> None:
    """Runs the demonstration; exit code 0 when every picture was saved."""
    parser = parser_of(__doc__)
    parser.add_argument("--frames", type=int, default=100, help="frames from each camera")
    parser.add_argument("--output", default="demo-output", help="folder for the pictures")
    arguments = parser.parse_args()
    os.makedirs(arguments.output, exist_ok=True)

    system = zel.PyZelSystem()
    print("%s %s" % (system.GetDisplayName(), system.GetVersion()))
    infos = [info for info in find_cameras(system)
             if arguments.serial in (None, info.GetSerialNumber())]
    if not infos:
        sys.exit("no camera was found")
    good = True
    for number, info in enumerate(infos):
        print("%s" % info.GetDisplayName())
        device = zel.PyZelCreateDevice(info)
        if not device.IsValid():
            print("    cannot be opened: %s" % zel.ErrorCodeToString(zel.GetLastError()))
            good = False
            continue
        good &= grab(device, max(2, arguments.frames), arguments.output, number == 0)
        device.Release()
    print("look into %s/" % arguments.output if good else "not everything worked")
    sys.exit(0 if good else 1)


if __name__ == "__main__":
    main()
