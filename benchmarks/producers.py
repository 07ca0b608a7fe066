"""GenTL producers: what a frame costs over the producer's own delivery, time to register, list and
open, memory of an open device."""
import json
import os
import subprocess
import sys
import tempfile

from table import micro

BUILD = None

PROGRAM = """
import json, sys, time
sys.path.insert(0, %r)
import libZelCameraApiPy as zel
def resident():
    with open("/proc/self/statm") as text:
        return int(text.read().split()[1]) * 4096
system = zel.PyZelSystem()
start = time.perf_counter()
assert system.RegisterGenTLProvider(%r)
registered = time.perf_counter() - start
start = time.perf_counter()
interfaces = system.GetInterfaceList()
for interface in interfaces:
    interface.ReEnumerateDevices(1000)
infos = [info for interface in interfaces for info in interface.GetDeviceInfoList()]
listed = time.perf_counter() - start
devices, start = [], time.perf_counter()
for info in infos:
    device = zel.PyZelCreateDevice(info)
    if device.IsValid():
        devices.append(device)
    if len(devices) == 1:
        before = resident()  # with the code that the first one has called
opened = (time.perf_counter() - start) / len(devices)
json.dump({"registered": registered, "listed": listed, "opened": opened, "devices": len(devices),
           "memory": (resident() - before) / (len(devices) - 1)}, sys.stdout)
"""

# One camera of 64 x 48 pixels, fast enough to fill many buffers in no time.
CAMERA = {"interfaces": [{"type": "CL", "cameras": [
    {"model": "Tiny", "width": 64, "height": 48, "maxFrameRate": 2000}]}]}
BUFFERS, ROUNDS = 200, 9

# The frames wait when the clock starts. What the thread that fetches from the producer has done by then
# is told by the kernel.
FRAMES = """
import glob, json, statistics, sys, time
sys.path.insert(0, %r)
import libZelCameraApiPy as zel
BUFFERS, ROUNDS = %d, %d
def fetching():
    total = 0
    for task in glob.glob("/proc/self/task/*"):
        with open(task + "/comm") as name, open(task + "/schedstat") as times:
            total += int(times.read().split()[0]) if name.read().strip() == "zel-gentl" else 0
    return total / 1e9
assert zel.PyZelSystem().RegisterGenTLProvider(%r)
device = zel.PyZelCreateDevice()
camera, transport = device.GetCameraParameters(), device.GetTransportParameters()
camera.SetFloatValue("ExposureTime", camera.GetFloat("ExposureTime").GetMin()[1])
camera.SetFloatValue("AcquisitionFrameRate", camera.GetFloat("AcquisitionFrameRate").GetMax()[1])
stream = device.GetStreamByIndex(0)
assert stream.AllocBufferQueue(BUFFERS)
taken, fetched = [], []
for _ in range(ROUNDS):
    before = fetching()
    assert stream.FlushBuffers(stream.Flush_AllToInput) and stream.StartAcquisition()
    while transport.GetIntegerValue("StreamOutputBufferCount")[1] < BUFFERS:
        time.sleep(0.002)
    stream.StopAcquisition(0)
    fetched.append((fetching() - before) / BUFFERS)
    start = time.perf_counter()
    for _ in range(BUFFERS):
        stream.QueueBuffer(stream.GetBuffer(0))
    taken.append((time.perf_counter() - start) / BUFFERS)
json.dump({"taken": statistics.median(taken), "fetched": statistics.median(fetched)}, sys.stdout)
"""


def figures_of(command, **environment):
    """What a program printed as JSON, or None when it failed."""
    result = subprocess.run(command, stdout=subprocess.PIPE,
                            env=dict(os.environ, ZELCAM_VISION="off", **environment))
    return json.loads(result.stdout) if result.returncode == 0 else None


def frame_rows(table, folder, producer):
    """GetBuffer and QueueBuffer from Python beside the producer's own functions from C++."""
    with tempfile.NamedTemporaryFile("w", suffix=".json") as cameras:
        json.dump(CAMERA, cameras)
        cameras.flush()
        ours = figures_of([sys.executable, "-c", FRAMES % (folder, BUFFERS, ROUNDS, producer)],
                          ZELCAM_SIMULATOR=cameras.name)
        rival = figures_of([os.path.join(BUILD, "bin", "producer_loop"), producer, str(BUFFERS),
                            str(ROUNDS)], ZELCAM_SIMULATOR=cameras.name)
    if ours is None or rival is None:
        table.note("frame of a producer", "could not be measured")
        return
    for what, mine, own in (
            ("frame of a producer, waiting", ours["taken"], rival["waiting"]),
            ("frame of a producer, processor time", ours["taken"] + ours["fetched"],
             rival["coming"])):
        table.add(what, micro(mine), "producer's own delivery " + micro(own), "%.2f" % (own / mine),
                  "adds under 10 us", mine - own < 10e-6)


def run(table):
    """Rows for our own simulator loaded as a stranger's producer."""
    folder = os.path.abspath(os.path.join(BUILD, "python"))
    producer = os.path.join(folder, "zelcam_simulator.cti")
    frame_rows(table, folder, producer)
    figures = figures_of([sys.executable, "-c", PROGRAM % (folder, producer)])
    if figures is None:
        table.note("producer", "could not be measured")
        return
    table.add("register a producer", micro(figures["registered"]), "", "")
    table.add("list %d devices" % figures["devices"], micro(figures["listed"]), "", "")
    table.add("open a device of a producer", "%.2f ms" % (figures["opened"] * 1e3), "", "",
              "under 20 ms", figures["opened"] < 20e-3)
    table.add("memory of each further open device", "%.2f MB" % (figures["memory"] / 1e6), "", "")
