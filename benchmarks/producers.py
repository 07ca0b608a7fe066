"""GenTL producers: time to register and list, to open, memory of an open device."""
import os
import subprocess
import sys

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
devices, start, before = [], time.perf_counter(), resident()
for info in infos:
    device = zel.PyZelCreateDevice(info)
    if device.IsValid():
        devices.append(device)
opened = (time.perf_counter() - start) / len(devices)
json.dump({"registered": registered, "listed": listed, "opened": opened, "devices": len(devices),
           "memory": (resident() - before) / len(devices)}, sys.stdout)
"""


def run(table):
    """Rows for our own simulator loaded as a stranger's producer."""
    import json
    folder = os.path.abspath(os.path.join(BUILD, "python"))
    producer = os.path.join(folder, "zelcam_simulator.cti")
    result = subprocess.run([sys.executable, "-c", PROGRAM % (folder, producer)],
                            stdout=subprocess.PIPE, env=dict(os.environ, ZELCAM_VISION="off"))
    if result.returncode != 0:
        table.note("producer", "could not be measured")
        return
    figures = json.loads(result.stdout)
    table.add("register a producer", micro(figures["registered"]), "", "")
    table.add("list %d devices" % figures["devices"], micro(figures["listed"]), "", "")
    table.add("open a device of a producer", "%.2f ms" % (figures["opened"] * 1e3), "", "",
              "under 20 ms", figures["opened"] < 20e-3)
    table.add("memory of an open device", "%.2f MB" % (figures["memory"] / 1e6), "", "")
