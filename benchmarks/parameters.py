"""Parameters: reads, writes and a tree walk, beside Aravis's Python bindings on its fake camera."""
import json
import os
import subprocess
import sys

import libZelCameraApiPy as zel

from table import interleaved, micro

LOOPS = 5000


def many(function):
    """The function LOOPS times."""
    def run():
        for _ in range(LOOPS):
            function()
    return run


def walk(parameters, category):
    """Reads name and value of every feature below a category; returns how many."""
    count = 0
    for index in range(category.GetCount()):
        child = category.GetParamByIndex(index)
        kind = child.GetType()
        if kind == parameters.ParamCategory:
            count += walk(parameters, child)
            continue
        count += 1
        name = child.GetName()
        if not child.IsReadable():
            continue
        if kind == parameters.ParamInt:
            parameters.GetIntegerValue(name)
        elif kind == parameters.ParamFloat:
            parameters.GetFloatValue(name)
        elif kind == parameters.ParamEnum:
            parameters.GetEnumValueStr(name)
        elif kind == parameters.ParamString:
            parameters.GetStringValue(name)
        elif kind == parameters.ParamBoolean:
            parameters.GetBooleanValue(name)
    return count


def rival_figures():
    """The same work through the bindings, in Debian's interpreter; None where they are absent."""
    script = os.path.join(os.path.dirname(__file__), "parameters_aravis.py")
    result = subprocess.run(["/usr/bin/python3", script, str(LOOPS)], capture_output=True, text=True)
    return json.loads(result.stdout) if result.returncode == 0 else None


def run(table):
    """All rows of this file."""
    rival = rival_figures()
    device = zel.PyZelCreateDevice()
    camera = device.GetCameraParameters()
    width, formats = camera.GetInt("Width"), camera.GetEnum("PixelFormat")
    current, entry = width.GetValue()[1], formats.GetValueStr()[1]
    rows = {
        "integer read by name": lambda: camera.GetIntegerValue("Width"),
        "integer read by object": width.GetValue,
        "integer write by name": lambda: camera.SetIntegerValue("Width", current),
        "integer write by object": lambda: width.SetValue(current),
        "enumeration write": lambda: camera.SetEnumValueStr("PixelFormat", entry),
        "float read by name": lambda: camera.GetFloatValue("ExposureTime"),
        # Calculated by the camera: every read goes to its registers.
        "integer read, not kept": lambda: camera.GetIntegerValue("PayloadSize"),
    }
    for name, function in rows.items():
        ours = interleaved([many(function)], 9)[0] / LOOPS
        asks = name.endswith("not kept")
        other = rival.get("integer read by name" if asks else name) if rival else None
        read = "read" in name and not asks
        met = None
        if read:
            met = ours < 3e-6 and (other is None or other / ours >= 2)
        elif asks:
            met = ours < 3e-6
        table.add(name, micro(ours), "Aravis bindings " + (micro(other) if other else "absent"),
                  "%.2f" % (other / ours) if other else "", "under 3 us" if asks else "2x, under 3 us" if read else "", met)
    count = walk(camera, camera.GetRootCategory())
    ours = interleaved([lambda: walk(camera, camera.GetRootCategory())], 9)[0]
    other = rival.get("walk per feature") if rival else None
    table.add("tree walk, %d features, each" % count, micro(ours / count),
              "Aravis bindings " + (micro(other) if other else "absent"),
              "%.2f" % (other * count / ours) if other else "")
    info = device.GetInfo()
    device.Release()

    def reopen():
        zel.PyZelCreateDevice(info).Release()
    opening, = interleaved([reopen], 15)
    table.add("open and close a camera", "%.2f ms" % (opening * 1e3), "", "", "under 20 ms",
              opening < 20e-3)


if __name__ == "__main__":
    sys.exit("run ./run bench")
