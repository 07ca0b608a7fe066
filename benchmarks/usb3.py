"""USB3 Vision over the libusb of the tests, whose camera sends as fast as the host takes, beside
Aravis's C loop over the same one. The processor time of the camera's own threads is not counted.

Each loop runs twice: once it copies the frames, once it looks at them where they lie; our loop is the
script in the first case and C++ in the second. How late frames are is measured at 100 a second.

python usb3.py one WIDTH HEIGHT SECONDS [wait] prints the figures of our script alone, as JSON."""
import ctypes
import json
import os
import statistics
import subprocess
import sys
import time

SECONDS = 2.0
ROUNDS = 5
SIZES = (("16 KB", 128, 128), ("256 KB", 512, 512), ("1.5 MB", 1440, 1080))
BUILD = None


def ours(width, height, seconds, waits=False):
    """Figures of our script; each frame is copied into a bytearray."""
    import libZelCameraApiPy as zel
    bus = ctypes.CDLL("libusb-1.0.so.0")
    bus.zel_usb3_get.restype = ctypes.c_long

    def cpu():
        return time.process_time() - bus.zel_usb3_get(0, b"nanoseconds") / 1e9
    zel.PyZelSystem().GetInterfaceList()[0].ReEnumerateDevices(1000)
    device = zel.PyZelCreateDevice()
    camera = device.GetCameraParameters()
    camera.SetIntegerValue("Width", width)
    camera.SetIntegerValue("Height", height)
    if waits:
        camera.SetFloatValue("ExposureTime", 100.0)
        camera.SetBooleanValue("AcquisitionFrameRateEnable", True)
        camera.SetFloatValue("AcquisitionFrameRate", 100.0)
    stream = device.GetStreamByIndex(0)
    stream.AllocBufferQueue(16)
    begin = time.perf_counter()
    stream.StartAcquisition()
    stream.QueueBuffer(stream.GetBuffer(2000))
    first = time.perf_counter() - begin
    late = []
    frames, start, used = 0, time.perf_counter(), cpu()
    while time.perf_counter() - start < seconds:
        buffer = stream.GetBuffer(1000)
        if waits:
            late.append(time.monotonic_ns() - bus.zel_usb3_get(0, b"last-byte"))
        frames += buffer is not None and not buffer.IsIncomplete()
        stream.QueueBuffer(buffer)
    figures = {"frames": frames, "seconds": time.perf_counter() - start, "cpu": cpu() - used,
               "first": first, "late": statistics.median(late or [0]) / 1e9}
    begin = time.perf_counter()
    stream.StopAcquisition(0)
    figures["stop"] = time.perf_counter() - begin
    device.Release()
    return figures


def program(command, fast=1):
    """Figures of a program over the libusb of the tests, or None when it does not run here."""
    environment = dict(os.environ, LD_LIBRARY_PATH=os.path.join(BUILD, "usb3"),
                       ZELCAM_SIMULATOR="off", ZELCAM_VISION="usb", ZEL_USB3_SET="fast=%d" % fast)
    result = subprocess.run(command, stdout=subprocess.PIPE, stderr=subprocess.DEVNULL,
                            env=environment)
    return json.loads(result.stdout) if result.returncode == 0 else None


def median(figures, value):
    return statistics.median(value(one) for one in figures)


def run(table):
    """All rows of this file."""
    script = [sys.executable, os.path.abspath(__file__), "one"]
    loop, rival = (os.path.join(BUILD, "bin", name) for name in ("sdk_loop", "aravis_loop"))
    for name, width, height in SIZES:
        gigabytes = width * height / 1e9
        arguments = [str(width), str(height), str(SECONDS)]
        runs = {"copied": [], "rival copied": [], "used": [], "rival used": []}
        for _ in range(ROUNDS):  # in turn, so that drift meets all
            runs["copied"].append(program(script + arguments))
            runs["rival copied"].append(program([rival, "usb"] + arguments))
            runs["used"].append(program([loop] + arguments + ["use"]))
            runs["rival used"].append(program([rival, "usb"] + arguments + ["use"]))
        if any(None in figures for figures in runs.values()):
            table.note("USB3 %s frames" % name, "a loop does not run here")
            continue
        mine = runs["copied"]

        def rate(one):
            return one["frames"] / one["seconds"]

        def cost(one):
            return one["cpu"] / (one["frames"] * gigabytes)
        for how in ("copied", "used"):
            one, other = runs[how], runs["rival " + how]
            faster = median(one, rate) / median(other, rate)
            cheaper = median(one, cost) / median(other, cost)
            table.add("USB3 %s frames, %s" % (name, how), "%.0f fps" % median(one, rate),
                      "Aravis C loop %.0f fps" % median(other, rate), "%.2f" % faster, "1.0x",
                      faster >= 1.0)
            table.add("USB3 %s processor time, %s" % (name, how), "%.3f s/GB" % median(one, cost),
                      "Aravis C loop %.3f s/GB" % median(other, cost), "%.2f" % (1 / cheaper),
                      "1.25x", cheaper <= 0.8)
        late = [program(command + ["wait"], fast=0) for command in (
            script + arguments, [loop] + arguments, [rival, "usb"] + arguments)]
        if None not in late:
            table.add("USB3 %s last byte to program" % name, "script %.0f us, C++ %.0f us" % (
                late[0]["late"] * 1e6, late[1]["late"] * 1e6), "Aravis C loop %.0f us" % (
                    late[2]["late"] * 1e6), "%.2f" % (late[2]["late"] / late[1]["late"]))
        table.add("USB3 %s first frame, stop" % name, "%.1f ms, %.1f ms" % (
            median(mine, lambda one: one["first"]) * 1e3, median(mine, lambda one: one["stop"]) * 1e3),
            "", "")


if __name__ == "__main__":
    print(json.dumps(ours(int(sys.argv[2]), int(sys.argv[3]), float(sys.argv[4]), "wait" in sys.argv)))
