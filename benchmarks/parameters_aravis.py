"""The rival's part of the parameter benchmark: Aravis's Python bindings on its fake camera."""
import json
import sys
import time

import gi

gi.require_version("Aravis", "0.8")
from gi.repository import Aravis  # noqa: E402


def median_seconds(function, loops, rounds=5):
    """Median of the processor's seconds in one call."""
    values = []
    for _ in range(rounds):
        start = time.process_time()
        for _ in range(loops):
            function()
        values.append((time.process_time() - start) / loops)
    return sorted(values)[len(values) // 2]


def walk(genicam, name, values):
    """Reads every feature below a category."""
    node = genicam.get_node(name)
    if isinstance(node, Aravis.GcCategory):
        return sum(walk(genicam, child, values) for child in node.get_features())
    values.append(node.get_name())
    if isinstance(node, Aravis.GcFeatureNode) and not isinstance(node, Aravis.GcCommand):
        try:
            node.get_value_as_string()
        except Exception:  # what cannot be read is passed over, as by us
            pass
    return 1


def main():
    """Prints the figures as JSON."""
    loops = int(sys.argv[1])
    Aravis.enable_interface("Fake")
    camera = Aravis.Camera.new("Fake_1")
    device = camera.get_device()
    node = device.get_feature("Width")
    width = device.get_integer_feature_value("Width")
    exposure = device.get_float_feature_value("ExposureTimeAbs")
    entry = device.get_string_feature_value("PixelFormat")
    genicam = device.get_genicam()
    count = walk(genicam, "Root", [])
    figures = {
        "integer read by name": median_seconds(
            lambda: device.get_integer_feature_value("Width"), loops),
        "integer read by object": median_seconds(node.get_value, loops),
        "integer write by name": median_seconds(
            lambda: device.set_integer_feature_value("Width", width), loops),
        "integer write by object": median_seconds(lambda: node.set_value(width), loops),
        "float write": median_seconds(
            lambda: device.set_float_feature_value("ExposureTimeAbs", exposure), loops),
        "enumeration write": median_seconds(
            lambda: device.set_string_feature_value("PixelFormat", entry), loops),
        "float read by name": median_seconds(
            lambda: device.get_float_feature_value("ExposureTimeAbs"), loops),
        "walk per feature": median_seconds(lambda: walk(genicam, "Root", []), 1) / count,
    }
    json.dump(figures, sys.stdout)


if __name__ == "__main__":
    main()
