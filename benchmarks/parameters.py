"""Parameters: reads, writes and a tree walk, beside Aravis's Python bindings on its fake camera."""
import json
import os
import statistics
import subprocess
import sys
import time

import libZelCameraApiPy as zel

from table import interleaved, micro

LOOPS = 5000
ROUNDS = 7
BUILD = ""  # Set by bench.py.


def many(function):
    """The function LOOPS times."""
    def run():
        for _ in range(LOOPS):
            function()
    return run


def processor_time(function, rounds):
    """Median of the processor's seconds in a call."""
    values = []
    for _ in range(rounds):
        start = time.process_time()
        function()
        values.append(time.process_time() - start)
    return statistics.median(values)


def medians(rounds):
    """Row -> the median of its values in all rounds."""
    return {name: statistics.median(one[name] for one in rounds) for name in rounds[0]}


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


def description_figures():
    """Opening a description of 1 MB and 300 features in both node maps; None where it was not built."""
    program = os.path.join(BUILD, "benchmarks", "description_loop")
    if not os.path.exists(program):
        program = os.path.join(BUILD, "bin", "description_loop")
    if not os.path.exists(program):
        return None
    result = subprocess.run([program, "25"], capture_output=True, text=True, check=True)
    return json.loads(result.stdout)


def opening(table):
    """Rows of opening and of memory."""
    figures = description_figures()
    if figures is None:
        table.note("open a description", "description_loop was not built")
        return
    ours, rival = figures["ours"], figures["rival"]
    what = "description of %.1f MB, %d features" % (figures["size"] / 1e6, figures["features"])
    table.add(what + ", opened", "%.1f ms" % (ours * 1e3), "Aravis %.1f ms" % (rival * 1e3),
              "%.2f" % (rival / ours), "2x, under 15 ms", ours < 15e-3 and rival / ours >= 2)
    table.add(what + ", memory", "%.2f MB" % (figures["our bytes"] / 1e6),
              "Aravis %.2f MB" % (figures["rival bytes"] / 1e6),
              "%.2f" % (figures["rival bytes"] / figures["our bytes"]))


def run(table):
    """All rows of this file: processor time, so that other work on the machine counts less."""
    device = zel.PyZelCreateDevice()
    camera = device.GetCameraParameters()
    width, formats = camera.GetInt("Width"), camera.GetEnum("PixelFormat")
    current, entry = width.GetValue()[1], formats.GetValueStr()[1]
    exposure = camera.GetFloatValue("ExposureTime")[1]
    # Function, the rival's row, the ratio asked for, whether 3 us are asked for as well.
    rows = {
        "integer read by name": (lambda: camera.GetIntegerValue("Width"), None, 3, True),
        "integer read by object": (width.GetValue, None, 8, True),
        "float read by name": (lambda: camera.GetFloatValue("ExposureTime"), None, 3, True),
        # Calculated by the camera: every read goes to its registers.
        "integer read, not kept": (lambda: camera.GetIntegerValue("PayloadSize"),
                                   "integer read by name", 2, True),
        "integer write by name": (lambda: camera.SetIntegerValue("Width", current), None, 1.5, False),
        "integer write by object": (lambda: width.SetValue(current), None, 1.5, False),
        "float write": (lambda: camera.SetFloatValue("ExposureTime", exposure), None, 1.5, False),
        "enumeration write": (lambda: camera.SetEnumValueStr("PixelFormat", entry), None, 1.5, False),
    }
    # In turn: what the machine does meanwhile meets both sides.
    mine, theirs = [], []
    for _ in range(ROUNDS):
        theirs.append(rival_figures())
        mine.append({name: processor_time(many(row[0]), 5) / LOOPS for name, row in rows.items()})
    ours = medians(mine)
    rival = None if None in theirs else medians(theirs)
    for name, (_, their_name, ratio, is_short) in rows.items():
        other = rival[their_name or name] if rival else None
        met = (other is None or other / ours[name] >= ratio) and (not is_short or ours[name] < 3e-6)
        table.add(name, micro(ours[name]), "Aravis bindings " + (micro(other) if other else "absent"),
                  "%.2f" % (other / ours[name]) if other else "",
                  "%gx" % ratio + (", under 3 us" if is_short else ""), met)
    count = walk(camera, camera.GetRootCategory())
    ours = processor_time(lambda: walk(camera, camera.GetRootCategory()), 9)
    other = rival.get("walk per feature") if rival else None
    table.add("tree walk, %d features, each" % count, micro(ours / count),
              "Aravis bindings " + (micro(other) if other else "absent"),
              "%.2f" % (other * count / ours) if other else "")
    info = device.GetInfo()
    device.Release()

    def reopen():
        zel.PyZelCreateDevice(info).Release()
    opened, = interleaved([reopen], 15)
    table.add("open and close a camera", "%.2f ms" % (opened * 1e3), "", "", "under 20 ms",
              opened < 20e-3)
    opening(table)


if __name__ == "__main__":
    sys.exit("run ./run bench")
