"""What a script waits for before its first frame: the import, the first camera of a process, the list of
very many; and the memory of an open camera. Each process is new."""
import json
import os
import statistics
import subprocess
import sys
import tempfile
import time

BUILD = None
ROUNDS = 15
CAMERAS = 10000

OPEN = """
import json, os, sys, time
import libZelCameraApiPy as zel
def resident():
    with open("/proc/self/statm") as text:
        return int(text.read().split()[1]) * os.sysconf("SC_PAGE_SIZE")
infos = []
for interface in zel.PyZelSystem().GetInterfaceList():
    interface.ReEnumerateDevices(1000)
    infos += interface.GetDeviceInfoList()
def opened(info):
    start = time.perf_counter()
    device = zel.PyZelCreateDevice(info)
    assert device.IsValid()
    return device, time.perf_counter() - start
device, first = opened(infos[0])
device.Release()
device, again = opened(infos[0])
before, devices = resident(), [opened(info)[0] for info in infos[1:]]
json.dump({"first": first, "again": again, "memory": (resident() - before) / len(devices)}, sys.stdout)
"""

LIST = """
import json, sys, time
import libZelCameraApiPy as zel
start = time.perf_counter()
interfaces = zel.PyZelSystem().GetInterfaceList()
for interface in interfaces:
    interface.ReEnumerateDevices(1000)
count = sum(len(interface.GetDeviceInfoList()) for interface in interfaces)
json.dump({"seconds": time.perf_counter() - start, "count": count}, sys.stdout)
"""


def output_of(script, **environment):
    """What a new interpreter prints that runs the script on the built-in cameras."""
    folder = os.path.abspath(os.path.join(BUILD, "python"))
    return subprocess.run([sys.executable, "-c", script], check=True, stdout=subprocess.PIPE, env=dict(
        os.environ, ZELCAM_VISION="off", PYTHONPATH=folder, **environment)).stdout


def whole_life(script):
    """Seconds from the start of an interpreter to its end."""
    start = time.perf_counter()
    output_of(script)
    return time.perf_counter() - start


def run(table):
    """All rows of this file."""
    whole_life("import libZelCameraApiPy")
    lives = [(whole_life("import libZelCameraApiPy"), whole_life("pass")) for _ in range(ROUNDS)]
    ours, bare = (statistics.median(column) for column in zip(*lives))
    table.add("import, over the bare interpreter", "%.1f ms" % (1e3 * (ours - bare)),
              "interpreter alone %.1f ms" % (1e3 * bare), "", "under 6 ms", ours - bare < 6e-3)
    figures = [json.loads(output_of(OPEN)) for _ in range(ROUNDS)]
    first, again, memory = (statistics.median(one[name] for one in figures)
                            for name in ("first", "again", "memory"))
    table.add("first camera of a process, opened", "%.2f ms" % (1e3 * first), "", "", "under 3 ms",
              first < 3e-3)
    table.add("the same camera, opened again", "%.2f ms" % (1e3 * again), "", "", "under 3 ms",
              again < 3e-3)
    table.add("memory of each further open camera", "%.2f MB" % (memory / 1e6), "", "",
              "under 0.8 MB", memory < 0.8e6)
    with tempfile.NamedTemporaryFile("w", suffix=".json") as file:
        json.dump({"interfaces": [{"type": "GEV", "cameras": [{"model": "Many"}] * CAMERAS}]}, file)
        file.flush()
        found = json.loads(output_of(LIST, ZELCAM_SIMULATOR=file.name))
    table.add("%d cameras of a file, listed" % found["count"], "%.2f s" % found["seconds"], "", "",
              "under 2 s", found["count"] == CAMERAS and found["seconds"] < 2)
