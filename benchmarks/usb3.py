"""USB3 Vision over the libusb of the tests, whose camera sends as fast as the host takes, beside
Aravis's C loop over the same one. The processor time of the camera's own threads is not counted.

python usb3.py one WIDTH HEIGHT SECONDS prints the figures of our loop alone, as JSON."""
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


def ours(width, height, seconds):
    """Frames, seconds and CPU seconds of our loop; each frame is copied into a bytearray."""
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
    stream = device.GetStreamByIndex(0)
    stream.AllocBufferQueue(16)
    begin = time.perf_counter()
    stream.StartAcquisition()
    stream.QueueBuffer(stream.GetBuffer(2000))
    first = time.perf_counter() - begin
    frames, start, used = 0, time.perf_counter(), cpu()
    while time.perf_counter() - start < seconds:
        buffer = stream.GetBuffer(1000)
        frames += buffer is not None and not buffer.IsIncomplete()
        stream.QueueBuffer(buffer)
    figures = {"frames": frames, "seconds": time.perf_counter() - start, "cpu": cpu() - used,
               "first": first}
    begin = time.perf_counter()
    stream.StopAcquisition(0)
    figures["stop"] = time.perf_counter() - begin
    device.Release()
    return figures


def program(command):
    """Figures of a program over the libusb of the tests, or None when it does not run here."""
    environment = dict(os.environ, LD_LIBRARY_PATH=os.path.join(BUILD, "usb3"),
                       ZELCAM_SIMULATOR="off", ZELCAM_VISION="usb", ZEL_USB3_SET="fast=1")
    result = subprocess.run(command, stdout=subprocess.PIPE, stderr=subprocess.DEVNULL,
                            env=environment)
    return json.loads(result.stdout) if result.returncode == 0 else None


def run(table):
    """All rows of this file."""
    for name, width, height in SIZES:
        gigabytes = width * height / 1e9
        arguments = [str(width), str(height), str(SECONDS)]
        mine, theirs = [], []
        for _ in range(ROUNDS):  # in turn, so that drift meets both
            mine.append(program([sys.executable, os.path.abspath(__file__), "one"] + arguments))
            theirs.append(program([os.path.join(BUILD, "bin", "aravis_loop"), "usb"] + arguments))
        if None in mine or None in theirs:
            table.note("USB3 %s frames" % name, "a loop does not run here")
            continue

        def median(figures, value):
            return statistics.median(value(one) for one in figures)

        def rate(one):
            return one["frames"] / one["seconds"]

        def cost(one):
            return one["cpu"] / (one["frames"] * gigabytes)
        faster, cheaper = median(mine, rate) / median(theirs, rate), median(mine, cost) / median(theirs, cost)
        table.add("USB3 %s frames" % name,
                  "%.0f fps, %.2f CPU s/GB" % (median(mine, rate), median(mine, cost)),
                  "Aravis C loop %.0f fps, %.2f CPU s/GB" % (median(theirs, rate), median(theirs, cost)),
                  "%.2f" % faster, "1.0x", faster >= 1.0)
        table.add("USB3 %s processor time" % name, "", "Aravis C loop", "%.2f" % (1 / cheaper),
                  "1.25x", cheaper <= 0.8)
        table.add("USB3 %s first frame, stop" % name, "%.1f ms, %.1f ms" % (
            median(mine, lambda one: one["first"]) * 1e3, median(mine, lambda one: one["stop"]) * 1e3),
            "", "")


if __name__ == "__main__":
    print(json.dumps(ours(int(sys.argv[2]), int(sys.argv[3]), float(sys.argv[4]))))
