"""GigE Vision over loopback beside Aravis's C loop and its Python bindings, on the same camera."""
import json
import os
import statistics
import subprocess
import time

import libZelCameraApiPy as zel

from table import micro

ADDRESS = "127.0.0.1"
SECONDS = 3.0
DRAIN_ROUNDS = 8
SIZES = (("16 KB", 128, 128), ("256 KB", 512, 512), ("4 MB", 2048, 2048))
BUILD = None


class Camera:
    """The test camera as a child process, ended with this object."""

    def __init__(self, serial):
        program = os.path.join(BUILD, "bin", "zel_bench_gige_camera")
        self.process = subprocess.Popen([program, ADDRESS, serial], stdin=subprocess.PIPE,
                                        stdout=subprocess.PIPE)
        self.process.stdout.readline()

    def __enter__(self):
        return self

    def __exit__(self, *_):
        self.process.stdin.close()
        self.process.wait()


def loopback():
    """The interface of the loopback adapter."""
    for interface in zel.PyZelSystem().GetInterfaceList():
        if interface.GetType() == 2 and "127.0.0.1" in interface.GetDescription():
            return interface
    return None


def ours(width, height):
    """Frames, seconds and CPU seconds of our loop."""
    interface = loopback()
    interface.ReEnumerateDevices(1000)
    device = zel.PyZelCreateDevice(interface.GetFirstDeviceInfo())
    camera = device.GetCameraParameters()
    camera.SetIntegerValue("Width", width)
    camera.SetIntegerValue("Height", height)
    camera.SetFloatValue("ExposureTimeAbs", 10.0)
    camera.SetFloatValue("AcquisitionFrameRate", camera.GetFloat("AcquisitionFrameRate").GetMax()[1])
    stream = device.GetStreamByIndex(0)
    stream.AllocBufferQueue(16)
    stream.StartAcquisition()
    frames, start, cpu = 0, time.perf_counter(), time.process_time()
    while time.perf_counter() - start < SECONDS:
        buffer = stream.GetBuffer(1000)
        if buffer is None:
            continue
        frames += not buffer.IsIncomplete()
        stream.QueueBuffer(buffer)
    figures = {"frames": frames, "seconds": time.perf_counter() - start,
               "cpu": time.process_time() - cpu}
    stream.StopAcquisition(0)
    stream.Release()
    device.Release()
    return figures


def wait_until(condition, seconds=10.0):
    """Whether the condition came true in time."""
    end = time.perf_counter() + seconds
    while time.perf_counter() < end:
        if condition():
            return True
        time.sleep(0.005)
    return False


def ours_drained(width, height, count, rounds):
    """Seconds per frame of each round: frames that arrived while the script was idle are fetched,
    copied and given back; the camera stands still meanwhile."""
    interface = loopback()
    interface.ReEnumerateDevices(1000)
    device = zel.PyZelCreateDevice(interface.GetFirstDeviceInfo())
    camera, transport = device.GetCameraParameters(), device.GetTransportParameters()
    camera.SetIntegerValue("Width", width)
    camera.SetIntegerValue("Height", height)
    stream = device.GetStreamByIndex(0)
    stream.AllocBufferQueue(count)
    stream.StartAcquisition()
    times = []
    for _ in range(rounds):
        camera.ExecuteCommand("AcquisitionStart")
        if not wait_until(lambda: transport.GetIntegerValue("StreamOutputBufferCount")[1] == count):
            break
        camera.ExecuteCommand("AcquisitionStop")
        time.sleep(0.2)
        size = 0
        start = time.perf_counter()
        for _ in range(count):
            buffer = stream.GetBuffer(0)
            size += len(buffer.GetBufferPtr())
            stream.QueueBuffer(buffer)
        times.append((time.perf_counter() - start) / count)
        assert size == count * width * height
    stream.StopAcquisition(0)
    stream.Release()
    device.Release()
    return times


def program(command):
    """Figures of a rival, or None when it does not run here."""
    result = subprocess.run(command, stdout=subprocess.PIPE, stderr=subprocess.DEVNULL)
    return json.loads(result.stdout) if result.returncode == 0 else None


def rate(figures):
    """Frames per second."""
    return figures["frames"] / figures["seconds"]


def drained_rows(table, bindings):
    """What one frame that has arrived costs a script, its copy included."""
    for name, width, height in SIZES:
        count = 16 if width > 1000 else 64
        mine, theirs = [], {"bytes": [], "bytearray": []}
        for _ in range(2):  # in turn, so that drift meets both
            mine += ours_drained(width, height, count, DRAIN_ROUNDS)
            figures = program(["/usr/bin/python3", bindings, ADDRESS, str(width), str(height),
                               "drain", str(count), str(DRAIN_ROUNDS)])
            for kind, times in (figures or {}).items():
                theirs[kind] += times
        for kind, times in theirs.items():  # ours is a bytearray
            if not mine or not times:
                table.add("GigE %s frame fetched" % name, "", "no figures", "")
                continue
            ratio = statistics.median(times) / statistics.median(mine)
            table.add("GigE %s frame fetched" % name, micro(statistics.median(mine)),
                      "Aravis Python, %s %s" % (kind, micro(statistics.median(times))),
                      "%.2f" % ratio, "1.50x", ratio >= 1.5)


def run(table):
    """All rows of this file."""
    interface = loopback()
    if interface is None:
        table.note("GigE Vision", "no loopback interface (ZELCAM_VISION?)")
        return
    loop = os.path.join(BUILD, "bin", "aravis_loop")
    bindings = os.path.join(os.path.dirname(os.path.abspath(__file__)), "vision_aravis.py")
    with Camera("BENCH1"):
        for name, width, height in SIZES:
            arguments = [ADDRESS, str(width), str(height), str(SECONDS)]
            mine = ours(width, height)
            c_loop = program([loop] + arguments)
            python = program(["/usr/bin/python3", bindings] + arguments)
            megabytes = width * height / 1e6
            text = "%.0f fps, %.0f MB/s, %.2f CPU s/GB" % (
                rate(mine), rate(mine) * megabytes,
                mine["cpu"] / (mine["frames"] * megabytes / 1e3))
            for rival, figures, target in (("Aravis C loop", c_loop, 0.95),
                                           ("Aravis Python", python, 1.5)):
                if figures is None:
                    table.add("GigE %s frames" % name, text, rival + " absent", "")
                    continue
                ratio = rate(mine) / rate(figures)
                table.add("GigE %s frames" % name, text,
                          "%s %.0f fps, %.2f CPU s/GB" % (
                              rival, rate(figures),
                              figures["cpu"] / (figures["frames"] * megabytes / 1e3)),
                          "%.2f" % ratio, "%.2fx" % target, ratio >= target)
        drained_rows(table, bindings)
        times = []
        for _ in range(5):
            start = time.perf_counter()
            interface.ReEnumerateDevices(1000)
            times.append(time.perf_counter() - start)
        median = sorted(times)[2]
        table.add("GigE discovery", "%.0f ms" % (median * 1e3), "Aravis 1000 ms (flat)",
                  "%.1f" % (1 / median), "under 150 ms", median < 0.15)
