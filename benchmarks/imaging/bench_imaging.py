"""Speed and quality of the image components as ratios against named rivals, in one run.

Every rows_<name>.py beside this file adds its rows by `run(table, build)`. Needs an interpreter with
NumPy, OpenCV and Pillow; what is absent is named in the table.
"""
import argparse
import importlib
import os
import platform
import sys

HERE = os.path.dirname(os.path.abspath(__file__))
sys.path.insert(0, HERE)
sys.path.insert(0, os.path.join(HERE, ".."))

from table import Table  # noqa: E402


def names():
    """What can be measured."""
    return sorted(name[len("rows_"):-len(".py")] for name in os.listdir(HERE)
                  if name.startswith("rows_") and name.endswith(".py"))


def machine():
    """One line on the machine and the rivals."""
    with open("/proc/cpuinfo", encoding="utf-8") as lines:
        models = [line.split(":", 1)[1].strip() for line in lines if line.startswith("model name")]
    parts = [models[0] if models else "unknown processor", "%d cores" % os.cpu_count(),
             "load %.1f" % os.getloadavg()[0], "CPython " + platform.python_version()]
    for module in ("numpy", "cv2", "PIL"):
        try:
            parts.append("%s %s" % (module, importlib.import_module(module).__version__))
        except ImportError:
            parts.append("no " + module)
    return ", ".join(parts)


def main(chosen=None):
    """Measures what is chosen, else what is asked for, else everything; prints the table."""
    parser = argparse.ArgumentParser(description=__doc__)
    parser.add_argument("--build", required=True, help="build directory")
    if chosen is None:
        parser.add_argument("names", nargs="*", help="any of: " + " ".join(names()))
    arguments = parser.parse_args()
    asked = chosen or arguments.names or names()
    unknown = [name for name in asked if name not in names()]
    if unknown:
        sys.exit("nothing named '%s'; there are: %s" % (unknown[0], " ".join(names())))
    table = Table()
    for name in asked:
        importlib.import_module("rows_" + name).run(table, arguments.build)
    print("\n%s\n\n%s" % (machine(), table.markdown()))


if __name__ == "__main__":
    main()
